"""The panel around panelctl: its files, put back before each test, and the program's runs."""

import contextlib
import json
import os
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import threading
import time
import unittest

PROGRAM = sys.argv.pop(1)
WAIT_S = 240
# For what the sanitizers' search for leaks cannot look at, as a program under strace.
NO_LEAK_SEARCH = {"ASAN_OPTIONS": f"{os.environ.get('ASAN_OPTIONS', '')}:detect_leaks=0"}

IMAGE = pathlib.Path("/panel/state/image")
COMMANDS = pathlib.Path("/panel/log/commands")
RESOLVER = pathlib.Path("/etc/resolv.conf")
TOOLS = pathlib.Path("/root/plat-intf")
FACTORY = IMAGE.read_bytes()


def start(*words, **settings):
    return subprocess.run([PROGRAM, *map(str, words)], capture_output=True, timeout=WAIT_S,
                          check=False, **settings)


TABLES = json.loads(start("tables", "--json").stdout)
REGISTERS = TABLES["registers"]
FIELDS = [field for field in TABLES["fields"] if field["kind"] != "reserved"]
AREAS = {area["area"]: pathlib.Path(area["file"]) for area in TABLES["areas"]}
REGISTER_PIPE = pathlib.Path(TABLES["pipes"]["registers"])
AREA_PIPE = pathlib.Path(TABLES["pipes"]["areas"])


def noise(size, seed=1):
    """Bytes in which a change of any one shows; the same at every run."""
    return random.Random(seed).randbytes(size)


def place_of(field):
    """Where a field lies in the image."""
    return slice(field["imageOffset"], field["imageOffset"] + field["size"])


def patched(content, place, value):
    changed = bytearray(content)
    changed[place] = value
    return bytes(changed)


def wait_for(condition, what):
    deadline = time.monotonic() + WAIT_S
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"waited in vain for {what}")
        time.sleep(0.01)


def send(pipe, *numbers):
    """Sends a notice as the runtime and the settings do."""
    end = os.open(pipe, os.O_WRONLY | os.O_NONBLOCK)
    try:
        os.write(end, b"".join(number.to_bytes(4, "little") for number in numbers))
    finally:
        os.close(end)


def has_reader(pipe):
    with contextlib.suppress(OSError):
        os.close(os.open(pipe, os.O_WRONLY | os.O_NONBLOCK))
        return True
    return False


class Listener:
    """Hears the notices of a pipe, as a runtime does."""

    def __init__(self, pipe):
        if not pipe.exists():
            os.mkfifo(pipe)
        self._end = os.open(pipe, os.O_RDWR | os.O_NONBLOCK)

    def heard(self):
        """The bytes since the last call."""
        with contextlib.suppress(BlockingIOError):
            return os.read(self._end, 65536)
        return b""

    def close(self):
        os.close(self._end)


class PanelTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        IMAGE.write_bytes(FACTORY)
        RESOLVER.write_bytes(b"")
        for path in AREAS.values():
            path.write_bytes(bytes(4096))
        for pipe in (REGISTER_PIPE, AREA_PIPE):
            pipe.unlink(missing_ok=True)
        self.folder = pathlib.Path("/tmp/panelctl-test")
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir()
        self.file = self.folder / "image"

    def output(self, *words, **settings):
        """What the program prints when it succeeds, which it does without complaint."""
        result = start(*words, **settings)
        self.assertEqual((result.returncode, result.stderr), (0, b""), words)
        return result.stdout.decode()

    def json(self, *words):
        return json.loads(self.output(*words, "--json"))

    def silent(self, *words):
        """Runs something that succeeds without a word."""
        self.assertEqual(self.output(*words), "", words)

    def complaint(self, status, *words, **settings):
        """The one line of a program that fails and prints nothing else."""
        result = start(*words, **settings)
        self.assertEqual((result.returncode, result.stdout), (status, b""), (words, result.stderr))
        return self.one_line(result.stderr)

    def one_line(self, text):
        line = text.decode()
        self.assertRegex(line, r"\Apanelctl: [^\n]+\n\Z")
        return line

    def image_file(self, content=None):
        """A file with an image of noise, or of the content."""
        self.file.write_bytes(noise(1024) if content is None else content)
        return self.file

    @contextlib.contextmanager
    def tool(self, name, script):
        """Puts another program in the place of a platform tool; without a script, none."""
        path = TOOLS / name
        kept = path.read_bytes()
        path.unlink()
        if script is not None:
            path.write_text(f"#!/bin/sh\n{script}\n")
            path.chmod(0o755)
        try:
            yield
        finally:
            path.write_bytes(kept)
            path.chmod(0o755)

    def hear(self, pipe):
        listener = Listener(pipe)
        self.addCleanup(listener.close)
        return listener


class Watch:
    """A running `reg watch`."""

    def __init__(self, *options):
        self._process = subprocess.Popen([PROGRAM, "reg", "watch", *options],
                                         stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        # Whoever waits for a line in vain gets an empty one.
        self._patience = threading.Timer(WAIT_S, self._process.kill)
        self._patience.start()
        wait_for(lambda: has_reader(REGISTER_PIPE) and has_reader(AREA_PIPE), "somebody to listen")

    def line(self):
        return self._process.stdout.readline().decode()

    def send(self, number):
        self._process.send_signal(number)

    def _status(self):
        """The fields of its process behind the name, the first being its state."""
        text = pathlib.Path(f"/proc/{self._process.pid}/stat").read_text()
        return text.rpartition(")")[2].split()

    def is_stopped(self):
        return self._status()[0] == "T"

    def ticks(self):
        """Processor time it has used, in hundredths of a second."""
        return sum(int(field) for field in self._status()[11:13])

    def end(self, number=signal.SIGTERM):
        """Sends a signal; returns status, and what was printed that no line() has taken."""
        self.send(number)
        output, errors = self._process.communicate()
        return self._process.returncode, output, errors

    def clean(self):
        self._patience.cancel()
        if self._process.poll() is None:
            self._process.kill()
        self._process.communicate()
