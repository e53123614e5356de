"""A checkout of its own, with programs that are built already, in a folder of somebody's: for tests
that start panels as different people and from different places."""

import os
import pathlib
import shutil
import subprocess
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SOMEBODY = 61234  # a number that no account has
STARTER = ("simulator", "tests/lsan.supp")


def may_be_anybody():
    return os.geteuid() == 0


class Checkout:
    """The checkout, in a folder that goes with it.

    build: the build whose programs are taken
    as_root: who owns the folder and starts what is started: root, or an ordinary user. Only root
        can be both.
    name: how the folder is called
    """

    def __init__(self, build, as_root, name="checkout"):
        self._built = pathlib.Path(build).resolve()
        self._folder = tempfile.TemporaryDirectory(prefix="home.")
        self.home = pathlib.Path(self._folder.name).resolve()
        self.home.chmod(0o755)
        self.scratch = self.home / "scratch"
        self.scratch.mkdir()
        self.root = self.home / name
        self.build = self.root / "build" / "release"
        self.sandbox = self.root / "simulator" / "sandbox"
        self._lower = may_be_anybody() and not as_root

    def clean(self):
        self._folder.cleanup()

    def take_sources(self, *names):
        """Copies these files and folders of the checkout under test."""
        for name in names:
            self._copy(ROOT / name, self.root / name)

    def take_programs(self, *names):
        """Copies these files and folders of the build under test."""
        for name in names:
            self._copy(self._built / name, self.build / name)

    def hand_over(self):
        """Gives everything here to the one who starts things."""
        if self._lower:
            for path in (self.home, *self.home.rglob("*")):
                os.chown(path, SOMEBODY, SOMEBODY, follow_symlinks=False)

    def words(self, *command):
        """The command, started by that person."""
        lower = ["setpriv", f"--reuid={SOMEBODY}", f"--regid={SOMEBODY}", "--clear-groups", "--"]
        return [*(lower if self._lower else []), *command]

    def environment(self):
        """What that person's programs are told. The system's own come first: those of the one who
        tests may be closed to others."""
        return {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "HOME": str(self.home),
                "TMPDIR": str(self.scratch)}

    def run(self, *command, **settings):
        """Runs a command as that person and returns what came of it."""
        return subprocess.run(
            self.words(*command), env=self.environment(), cwd=self.home, check=False, text=True,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
            **{"stdin": subprocess.DEVNULL, "timeout": 240, **settings})

    @staticmethod
    def _copy(source, target):
        target.parent.mkdir(parents=True, exist_ok=True)
        if source.is_dir():
            shutil.copytree(source, target, symlinks=True, dirs_exist_ok=True)
        else:
            shutil.copy2(source, target, follow_symlinks=False)
