"""A simulated panel started the way people start it, for tests that look at it from outside."""

import contextlib
import os
import pathlib
import re
import signal
import socket
import subprocess
import tempfile

from patience import PATIENCE_S, wait_for
from vnc_operator import Operator

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent


class Panel:
    """Runs simulator/run without a viewer, in a folder of its own."""

    def __init__(self, build, *options):
        self._folder = tempfile.TemporaryDirectory(prefix="panel-test.")
        self.folder = pathlib.Path(self._folder.name)
        self.state = self.folder / "device"
        self._output = self.folder / "output"
        self._build = build
        self._options = options
        self._process = None
        self._boot = None

    def start(self, *options, **environment):
        """Boots the panel and returns when its home page is there."""
        self.launch(*options, **environment)
        return self.look()

    def launch(self, *options, **environment):
        """Boots the panel and does not wait for it."""
        scratch = self.folder / "scratch"
        scratch.mkdir(exist_ok=True)
        with open(self._output, "wb") as output:
            self._process = subprocess.Popen(
                [ROOT / "simulator" / "run", "--build", self._build, "--state", self.state,
                 "--display", "none", *self._options, *options],
                env={**os.environ, "TMPDIR": str(scratch), **environment},
                stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT)

    def look(self):
        """A new operator in front of the panel as it runs now."""
        operator = Operator(wait_for(self._find_screen, "the panel's display"), self.run_folder())
        operator.find(name="HomePage")
        self._boot = self.boot()
        return operator

    def look_after_restart(self):
        """An operator in front of the panel that comes after the one last looked at: a press on
        "Restart" returns before that is gone."""
        wait_for(lambda: self.boot() not in (None, self._boot), "the panel to come up again")
        return self.look()

    def boot(self):
        """What tells one start of the panel from the next; None while there is none."""
        try:
            return (self.run_folder() / "run" / "main").stat().st_mtime_ns
        except FileNotFoundError:
            return None

    def stop(self):
        """Ends the panel and returns what it printed."""
        self._process.send_signal(signal.SIGTERM)
        self._process.wait(timeout=PATIENCE_S)
        return self.printed()

    def end(self):
        """Waits until the panel has ended by itself and returns its status."""
        return self._process.wait(timeout=PATIENCE_S)

    def kill(self, program):
        """Kills the one process of the panel, or beside it, that runs this program."""
        found = [number for number, line in self._processes() if program in line[:3]]
        os.kill(found[-1], signal.SIGKILL)

    def _processes(self):
        """Id and words of every process that was started for the panel."""
        parents = {}
        for folder in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                status = (folder / "stat").read_text().rpartition(")")[2].split()
                words = (folder / "cmdline").read_bytes().decode(errors="replace").split("\0")
                parents[int(folder.name)] = int(status[1]), [word.split("/")[-1] for word in words]
        for number, (parent, words) in sorted(parents.items()):
            while parent not in (0, self._process.pid):
                parent = parents[parent][0] if parent in parents else 0
            if parent:
                yield number, words

    def page(self):
        """The address of the page that shows it; None while there is none."""
        found = re.search(r"^The panel is at (\S+)$", self.printed(), re.M)
        return found[1] if found else None

    def printed(self):
        """What it has printed since it was started."""
        return self._output.read_text()

    def crash(self):
        """Kills the script that runs the panel, which then can tidy up nothing."""
        self._process.kill()
        self._process.wait(timeout=PATIENCE_S)

    def plant(self, verb):
        """Carries out a verb of the plant, as `plant VERB` would in the panel, and returns what it
        says."""
        with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as door:
            door.connect(str(self._run_folder() / "panel" / "run" / "plant"))
            door.sendall(verb.encode() + b"\n")
            answer = door.makefile().read()
        done, _, text = answer.partition("\n")
        if done != "done":
            raise ValueError(f"plant {verb}: {text}")
        return text

    def inspector(self):
        """The address of its inspector; None while there is none."""
        address = self.run_folder().parent / "inspector"
        return address.read_text().strip() if address.exists() else None

    def run_folder(self):
        """Its /panel as seen from outside."""
        return self._run_folder() / "panel"

    def running(self):
        return self._process.poll() is None

    def remains(self):
        """What the panel left in its scratch folder."""
        return list((self.folder / "scratch").iterdir())

    def image(self):
        return (self.state / "state" / "image").read_bytes()

    def brightness(self):
        """The raw level in the device image."""
        return int.from_bytes(self.image()[29:31], "little")

    def backlight(self):
        """The raw level of the lamp."""
        return int((self.state / "state" / "backlight").read_text())

    def clean(self):
        if self._process and self.running():
            self.stop()
        self._folder.cleanup()

    def _run_folder(self):
        folders = list((self.folder / "scratch").glob("panel-run.*"))
        return folders[0] if folders else None

    def _find_screen(self):
        folder = self._run_folder()
        screen = folder / "screen" / "vnc" if folder else None
        return screen if screen and screen.exists() else None
