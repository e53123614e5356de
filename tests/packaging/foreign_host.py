"""A project of somebody else: the example host, built against an installed panel-settings and run
in a simulated panel."""

import os
import pathlib
import subprocess
import tempfile

from patience import PATIENCE_S, wait_for
from vnc_operator import Operator

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
EXAMPLE = ROOT / "docs" / "example-host"
PLUGIN = "lib/panel-settings/plugins/libSettingsPlugin.so"
PANELCTL = "bin/panelctl"
MANUAL = "share/man/man1/panelctl.1.gz"
SCHEMA = "share/panel-settings/settings.schema.json"
COMPLETIONS = {"share/bash-completion/completions/panelctl",
               "share/zsh/vendor-completions/_panelctl"}
SCREEN = (1024, 600)
CLOSE_BUTTON = (SCREEN[0] - 55 + 20, 15 + 20)  # the middle of 40 x 40 pixels


def run(*words, **settings):
    """Runs a program that has to succeed; returns its output."""
    result = subprocess.run(words, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                            stdin=subprocess.DEVNULL, check=False, **settings)
    if result.returncode != 0:
        raise AssertionError(f"{words} ended with {result.returncode}:\n{result.stdout}")
    return result.stdout


def files_in(folder):
    """The files of a folder, relative to it."""
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if not path.is_dir()}


def configure(project, folder, prefix, *options):
    """Configures a CMake project that finds panel-settings below the prefix; returns its cache."""
    run("cmake", "-S", project, "-B", folder, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
        f"-DCMAKE_PREFIX_PATH={prefix}", *options)
    lines = (folder / "CMakeCache.txt").read_text().splitlines()
    return dict(line.split("=", 1) for line in lines if ":" in line and "=" in line)


def build(project, folder, prefix):
    """The same, and builds it."""
    cache = configure(project, folder, prefix)
    run("cmake", "--build", folder)
    return cache


class Host:
    """The example host running in a panel, with the files below a prefix as its /opt/panel."""

    def __init__(self, build, program, prefix, plugin=PLUGIN, emulator=()):
        """@param emulator  runs a host of the build for another architecture: --emulator's values"""
        self._folder = tempfile.TemporaryDirectory(prefix="host-test.")
        self.folder = pathlib.Path(self._folder.name)
        self._plugin = plugin
        self.volatile = self.folder / "volatile"
        self.device = self.folder / "device"
        screen = self.folder / "screen"
        scratch = self.folder / "scratch"
        for place in (screen, scratch):
            place.mkdir()
        # The loader writes down what it maps and unmaps, one file a process.
        script = ("export LD_DEBUG=files LD_DEBUG_OUTPUT=/panel/log/loader; "
                  f"exec /opt/host/{program.name} /opt/panel/{plugin}")
        command = ["sh", "-c", script]
        if emulator:
            command = [program, f"/opt/panel/{plugin}"]
        with open(self.folder / "output", "wb") as output:
            self._process = subprocess.Popen(
                [ROOT / "simulator" / "sandbox", "--build", build, "--screen", "%dx%d" % SCREEN,
                 "--run", self.volatile, "--state", self.device,
                 "--screen-socket", screen / "vnc", "--bind", prefix, "/opt/panel",
                 "--bind", program.parent, "/opt/host", "--env", "QT_FORCE_STDERR_LOGGING=1",
                 *(["--emulator", *emulator] if emulator else []),
                 "--", "/panel/lib/with-screen", *command],
                env={**os.environ, "TMPDIR": str(scratch)}, stdin=subprocess.DEVNULL,
                stdout=output, stderr=subprocess.STDOUT)
        self._screen = screen / "vnc"

    def operator(self):
        """Somebody in front of the panel's screen."""
        wait_for(self._screen.exists, "the host's display")
        return Operator(self._screen)

    def close_settings(self):
        """Presses the close button, first to bring the light back and then in earnest."""
        wait_for(lambda: "register 20" in self.output(), "the dialog, which sets its language")
        operator = self.operator()
        for _ in range(2):
            operator.press(*CLOSE_BUTTON)
        wait_for(lambda: "register 86" in self.output(), "the dialog to close")
        operator.close()

    def make_dark(self):
        """Puts the lamp out behind the host's back."""
        (self.device / "state" / "backlight").write_text("0\n")

    def commands(self):
        """The commands run so far."""
        log = self.volatile / "log" / "commands"
        return log.read_text().splitlines() if log.exists() else []

    def backlight(self):
        """The raw level of the lamp."""
        return int((self.device / "state" / "backlight").read_text())

    def output(self):
        """What the host has printed so far."""
        return (self.folder / "output").read_text()

    def end(self):
        """Waits for the host to end by itself; returns its status and what it printed."""
        return self._process.wait(timeout=PATIENCE_S), self.output()

    def unloaded(self):
        """How often the plugin left the process while the host was running."""
        logs = (self.volatile / "log").glob("loader.*")
        lines = [line for log in logs for line in log.read_text(errors="replace").splitlines()]
        return len([line for line in lines if f"file=/opt/panel/{self._plugin}" in line
                    and "destroying link map" in line])

    def clean(self):
        if self._process.poll() is None:
            self._process.terminate()
            self._process.wait(timeout=PATIENCE_S)
        self._folder.cleanup()
