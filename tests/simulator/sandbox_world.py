"""Starts commands in simulated panels of the build under test, and looks at what they leave."""

import os
import pathlib
import subprocess
import tempfile

from patience import PATIENCE_S

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SANDBOX = ROOT / "simulator" / "sandbox"


class World:
    """A folder for the panels of one test: their devices, their volatile parts, their scratch."""

    def __init__(self, build):
        self.build = pathlib.Path(build).resolve()
        self._folder = tempfile.TemporaryDirectory(prefix="sandbox-test.")
        self.folder = pathlib.Path(self._folder.name)
        self.device = self.folder / "device"
        self.volatile = self.folder / "volatile"
        self.scratch = self.folder / "scratch"
        self.scratch.mkdir()

    def clean(self):
        self._folder.cleanup()

    def command(self, script, *options):
        """The words that run a shell script in a panel."""
        return [SANDBOX, "--build", self.build, *options, "--", "sh", "-c", script]

    def start(self, script, *options, **settings):
        """Starts a shell script in a panel and returns the process."""
        return subprocess.Popen(self.command(script, *options), env=self.environment(),
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, **settings)

    def panel(self, script, *options, **settings):
        """Runs a shell script in a panel of its own and returns what came of it."""
        return subprocess.run(self.command(script, *options), env=self.environment(),
                              capture_output=True, timeout=PATIENCE_S, check=False, **settings)

    def kept(self, script, *options, **settings):
        """The same, with the device and the volatile parts kept in this world's folders."""
        return self.panel(script, "--state", self.device, "--run", self.volatile, *options,
                          **settings)

    def environment(self):
        return {**os.environ, "TMPDIR": str(self.scratch)}

    def commands(self):
        """The calls written down in the last kept panel."""
        return (self.volatile / "log" / "commands").read_text().splitlines()

    def input_of(self, index):
        """What the call at this index took from its standard input."""
        return (self.volatile / "log" / "input" / str(index)).read_bytes()

    def state(self, name):
        """A file of the kept device."""
        return (self.device / "state" / name).read_bytes()

    def set_state(self, name, content):
        (self.device / "state" / name).write_bytes(content)

    def area(self, name):
        """A stored register area of the kept device."""
        return (self.device / "hmi_data" / name).read_bytes()
