"""A hall of simulated panels, for tests that work in its control room."""

import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time

from vnc_operator import Operator

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
# For a whole script: a story is five plays, in one of which a panel has a minute to come back.
WAIT_S = 480


class Result:
    """What came of a script in the control room."""

    def __init__(self, status, output):
        self.status, self.output = status, output


def recap_of(report):
    """What the report of a play counts for each panel."""
    return {name: {key: int(value) for key, value in re.findall(r"(\w+)=(\d+)", counts)}
            for name, counts in re.findall(r"^(panel-\d+) +: (.*)$", report, re.M)}


class Hall:
    """Runs simulator/hall/start with a shell in the control room that takes one script at a time."""

    def __init__(self, build, panels, scratch_name="hall-test.", displays=()):
        self._folder = tempfile.TemporaryDirectory(prefix=scratch_name)
        self.folder = pathlib.Path(self._folder.name)
        self.files = self.folder / "files"
        self.scratch = self.folder / "scratch"
        self.scratch.mkdir()
        # The control room fills its folder with the examples when it is empty, which here it is not.
        shutil.copytree(ROOT / "ansible" / "examples", self.files)
        self._count = 0
        self._log = open(self.folder / "log", "w+b")
        self._process = subprocess.Popen(
            [ROOT / "simulator" / "hall" / "start", "--build", build, "--panels", str(panels),
             *(word for name in displays for word in ("--display", name)),
             "--files", self.files, "--", "bash"],
            env={**os.environ, "TMPDIR": str(self.scratch)}, stdin=subprocess.PIPE,
            stdout=self._log, stderr=self._log)

    def start(self, script):
        """Begins a script and returns its number."""
        self._count += 1
        name = self.files / f".script{self._count}"
        name.write_text(script)
        base = f".script{self._count}"
        self._process.stdin.write(
            f"{{ bash {base} >{base}.out 2>&1; echo $? >{base}.new; mv {base}.new {base}.status; }} &\n"
            .encode())
        self._process.stdin.flush()
        return self._count

    def result(self, number):
        """What came of it, when it has ended."""
        base = self.files / f".script{number}"
        status = base.with_name(base.name + ".status")
        self._wait_for(status.exists)
        output = base.with_name(base.name + ".out").read_text(errors="replace")
        return Result(int(status.read_text()), output)

    def run(self, script):
        return self.result(self.start(script))

    def exported(self, name, *options, address=None):
        """What `panelctl export` says on this panel, asked at an address that the control room does
        not know yet, if there is one."""
        place = f"-o HostName={address}" if address else ""
        result = self.run(f"ssh {place} {name} panelctl export {' '.join(options)}")
        if result.status != 0:
            raise AssertionError(result.output)
        return json.loads(result.output)

    def output_so_far(self, number):
        path = self.files / f".script{number}.out"
        return path.read_text(errors="replace") if path.exists() else ""

    def log(self):
        self._log.seek(0)
        return self._log.read().decode(errors="replace")

    def page(self, name):
        """The address of the page that shows this panel, as it was printed; None for one without."""
        found = re.search(rf"^{name} is at (\S+)$", self.log(), re.M)
        return found[1] if found else None

    def look(self, name):
        """A new operator in front of this panel."""
        (place,) = self.scratch.glob("plant.*/hall")
        operator = Operator(place / "screens" / name, place / "run" / name)
        operator.find(name="HomePage")
        return operator

    def end(self):
        """Ends the control room's shell, and with it the hall; its status."""
        self._process.stdin.close()
        return self._process.wait(timeout=WAIT_S)

    def kill(self, number):
        self._process.send_signal(number)
        self._process.wait(timeout=WAIT_S)

    def clean(self):
        if self._process.poll() is None:
            self._process.kill()
            self._process.wait()
        self._process.stdin.close()
        self._log.close()
        self._folder.cleanup()

    def _wait_for(self, condition):
        deadline = time.monotonic() + WAIT_S
        while not condition():
            if self._process.poll() is not None and not condition():
                raise AssertionError(f"the hall has ended: {self.log()}")
            if time.monotonic() > deadline:
                raise AssertionError(f"waited in vain; the hall says: {self.log()}")
            time.sleep(0.05)
