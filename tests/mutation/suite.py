"""The tests of a build, one by one, in the order in which a mistake is most likely found soon."""

import dataclasses
import json
import os
import pathlib
import queue
import re
import signal
import subprocess
import threading
import time

LEAST_SECONDS = 30
LIMIT_FACTOR = 5  # of the time without a mistake


def run(command, log, limit=None, started=lambda process: None):
    """Runs a command in a session of its own, its output added to a log. Its status, or None when
    it took longer than the limit; nothing of it is left then. Whoever gets the process may end its
    session."""
    with open(log, "ab") as output:
        process = subprocess.Popen(list(map(str, command)), stdin=subprocess.DEVNULL, stdout=output,
                                   stderr=subprocess.STDOUT, start_new_session=True)
        started(process)
        try:
            return process.wait(timeout=limit)
        except subprocess.TimeoutExpired:
            return None
        finally:
            end(process)


def end(process):
    if process.poll() is None:
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()


class Memory:
    """What earlier mistakes taught, kept in a file: how long a test takes, which of them passed
    without a mistake in the very same sources, and which noticed mistakes in which file."""

    def __init__(self, path):
        self._path = path
        kept = json.loads(path.read_text()) if path.exists() else {}
        self.seconds = kept.get("seconds", {})
        self.noticed = kept.get("noticed", {})
        self._sources = kept.get("sources")
        self.passed = set(kept.get("passed", []))

    def forgets(self, test):
        """How long a test takes is to be measured anew."""
        self.passed.discard(test)
        self.seconds.pop(test, None)

    def of_sources(self, identity):
        """Forgets what passed in other sources."""
        if self._sources != identity:
            self._sources = identity
            self.passed = set()

    def takes(self, test, seconds):
        self.seconds[test] = seconds
        self.passed.add(test)
        self._save()

    def notices(self, test, path):
        of_file = self.noticed.setdefault(path, {})
        of_file[test] = of_file.get(test, 0) + 1
        self._save()

    def price(self, test, path):
        """Seconds for a mistake noticed, by experience; without any, half a one is assumed."""
        return self.seconds.get(test, 0) / (self.noticed.get(path, {}).get(test, 0) + 0.5)

    def _save(self):
        self._path.write_text(json.dumps({
            "sources": self._sources, "passed": sorted(self.passed), "seconds": self.seconds,
            "noticed": self.noticed}, indent=1))


@dataclasses.dataclass
class Failure:
    """A test that did not pass, by its result or because it took far too long."""
    test: str
    too_long: bool = False


class Suite:
    """The tests that a configured build has. Each is linked when its turn has come: most mistakes
    are noticed by the first one."""

    def __init__(self, build, log, jobs, memory):
        self._build = build
        self._log = log
        self._jobs = jobs
        self.memory = memory
        self._tests = {}
        self._left_out = ""
        self._building = threading.Lock()

    def load(self, left_out):
        self._left_out = left_out
        listed = subprocess.run(["ctest", "--test-dir", self._build, "--show-only=json-v1"],
                                check=True, capture_output=True, text=True).stdout
        self._tests = {test["name"]: test for test in json.loads(listed)["tests"]
                       if not re.search(left_out, test["name"])}

    def below(self, folder, but=None):
        """The names of the tests that a folder of the build has, but for those of another one."""
        def is_in(test, top):
            return self._build / top in (self._folder(test), *self._folder(test).parents)
        return [name for name, test in self._tests.items()
                if is_in(test, folder) and not (but and is_in(test, but))]

    def _folder(self, test):
        return next(pathlib.Path(each["value"]) for each in test["properties"]
                    if each["name"] == "WORKING_DIRECTORY")

    def touched(self, names, since):
        """Those that anything built since a time may have changed: their program is new, or names a
        library that is, or they have none."""
        def is_new(path):
            return path.stat().st_mtime >= since
        libraries = [path.name.encode() for path in self._build.rglob("*.so") if is_new(path)]

        def is_touched(program):
            return is_new(program) or any(name in program.read_bytes() for name in libraries)
        return [name for name in names
                if not (programs := self._programs(name)) or any(map(is_touched, programs))]

    def _programs(self, name):
        if "command" not in self._tests[name]:  # ctest tells none that was not built yet
            self.load(self._left_out)
        words = map(pathlib.Path, self._tests[name].get("command", []))
        return [word for word in words if self._build in word.parents and not word.is_dir()]

    def makes(self, targets):
        """Whether these targets, or files of the build, can be built."""
        with self._building:
            return run(["cmake", "--build", self._build, "--parallel", self._jobs, "--target",
                        *targets], self._log) == 0

    def set_aside(self, name):
        """It is asked no more."""
        del self._tests[name]
        self._left_out += f"|^{re.escape(name)}$"

    def limit(self, name):
        """Seconds after which a test takes far too long. None while nobody knows how long it takes
        without a mistake; in earlier sources is good enough, as what is too long is looked into."""
        known = self.memory.seconds.get(name)
        return None if known is None else LEAST_SECONDS + LIMIT_FACTOR * known

    def failed(self, names, path=""):
        """The failure of the first of the tests that fails or takes far too long, None when all
        pass. They run side by side; what takes little time and has noticed much in the file comes
        first."""
        waiting = queue.SimpleQueue()
        for name in sorted(names, key=lambda name: self.memory.price(name, path)):
            waiting.put(name)
        race = Race()
        workers = [threading.Thread(target=self._work, args=(waiting, race))
                   for _ in range(self._jobs)]
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()
        return race.failed

    def _work(self, waiting, race):
        while not race.failed:
            try:
                name = waiting.get_nowait()
            except queue.Empty:
                return None
            limit = self.limit(name)
            programs = self._programs(name)
            if programs and not self.makes([path.name for path in programs]):
                return race.lose(Failure(name))
            began = time.monotonic()
            status = run(["ctest", "--test-dir", self._build, "--tests-regex",
                          f"^{re.escape(name)}$", "--output-on-failure"],
                         self._log, limit, race.join)
            if status != 0:
                race.lose(Failure(name, too_long=status is None))
            elif name not in self.memory.passed:
                self.memory.takes(name, time.monotonic() - began)
        return None


class Race:
    """Tests that run side by side until the first of them fails."""

    def __init__(self):
        self.failed = None
        self._running = []
        self._lock = threading.Lock()

    def join(self, process):
        with self._lock:
            self._running.append(process)
            if self.failed:
                end(process)

    def lose(self, failure):
        """A test has failed; those still running are ended, which is no failure of theirs."""
        with self._lock:
            if not self.failed:
                self.failed = failure
                for process in self._running:
                    end(process)
