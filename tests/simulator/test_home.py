"""What the two commands start, from a checkout in the home folder of an ordinary user whose name
has a space and Chinese letters, with such a folder for temporary files or a long one, and without a
locale."""

import pathlib
import re
import subprocess
import sys
import unittest
import urllib.request

from checkout import ROOT, Checkout
from patience import PATIENCE_S, wait_for
from vnc_operator import Operator

BUILD = sys.argv.pop(1)
NAME = "设置 面板"
HOME = pathlib.Path("/home/操作 员")
PLACE = HOME / NAME
PROGRAMS = (
    "panelctl/panelctl", "plugin/libSettingsPlugin.so", "simulator/host/panel-host",
    "resources/qrc_SettingsResource.cpp", "tests/resources/test_resources",
    "tests/resources/test_translations", "tests/resources/test_bundle_lifetime",
    "tests/resources/libbundle_carrier.so",
)
SHORT, LONG = "临 时", ("a long folder " * 12).strip()  # a socket's path has 107 bytes
STAND_INS = "替 身"
TESTS = ("test_bundle_lifetime", "test_panelctl", "test_resources", "test_translations")


def sources():
    """Every file of the checkout under test that belongs to the project."""
    listed = subprocess.run(
        ["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
        cwd=ROOT, check=True, capture_output=True).stdout.decode().split("\0")
    return [name for name in listed if name and (ROOT / name).exists()]


class Home(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.checkout = Checkout(BUILD, as_root=False, name=NAME)
        cls.addClassCleanup(cls.checkout.clean)
        for folder in (SHORT, LONG):
            (cls.checkout.home / folder).mkdir()
        cls.checkout.take_sources(*sources())
        cls.checkout.hand_over()
        configured = cls.at_home("cmake", "--preset", "release")
        if configured.returncode != 0:
            raise AssertionError(configured.stdout)
        cls.checkout.take_programs(*PROGRAMS)
        cls.checkout.hand_over()

    @classmethod
    def command(cls, *words, temporary=LONG):
        """The words that run a command in the checkout, which lies below /home."""
        return cls.checkout.words(
            "bwrap", "--dev-bind", "/", "/", "--tmpfs", "/home", "--bind", cls.checkout.home, HOME,
            "--chdir", PLACE, "--die-with-parent", "--clearenv", "--setenv", "HOME", HOME,
            "--setenv", "PATH", "/usr/bin:/bin:/usr/sbin:/sbin",
            "--setenv", "TMPDIR", HOME / temporary, "--", *words)

    @classmethod
    def at_home(cls, *words, **settings):
        return subprocess.run(cls.command(*words, **settings), stdin=subprocess.DEVNULL, text=True, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=PATIENCE_S)

    def assert_succeeds(self, *words, **settings):
        done = self.at_home(*words, **settings)
        self.assertEqual(done.returncode, 0, done.stdout)
        return done.stdout

    def test_it_is_an_ordinary_user_s_home(self):
        self.assertNotEqual(self.assert_succeeds("id", "-u"), "0\n")
        self.assertEqual(self.assert_succeeds("pwd"), f"{PLACE}\n")
        self.assertIn(f"CMAKE_HOME_DIRECTORY:INTERNAL={PLACE}\n",
                      self.assert_succeeds("cat", "build/release/CMakeCache.txt"))

    def test_tests_pass(self):
        passed = self.assert_succeeds("ctest", "--preset", "release", "-R",
                                      f"^({'|'.join(TESTS)})$")
        self.assertIn(f"100% tests passed, 0 tests failed out of {len(TESTS)}\n", passed)

    def test_panel_is_private(self):
        self.assert_succeeds("python3", "-B", "tests/simulator/test_sandbox.py",
                             PLACE / "build" / "release", "Privacy", "Command",
                             temporary=SHORT)

    def test_panel_is_shown(self):
        door = self.checkout.home / "door"
        panel = subprocess.Popen(
            self.command("simulator/run", "--build", "build/release", "--state", "device",
                         "--display", "none", "--screen-socket", HOME / "door"),
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.addCleanup(panel.stdout.close)
        self.addCleanup(panel.wait)
        self.addCleanup(panel.terminate)
        wait_for(lambda: door.exists() or panel.poll() is not None, "the panel's display")
        self.assertIsNone(panel.poll(), "the panel ended")
        operator = Operator(door)
        operator.close()

    def stand_in(self, name, text):
        """A program that answers in another's place: what it does needs a network or an hour."""
        program = self.checkout.home / STAND_INS / name
        program.parent.mkdir(exist_ok=True)
        program.write_text(f"#!/bin/sh\n{text}\n")
        program.chmod(0o755)

    def test_panel_run_shows_it(self):
        self.stand_in("cmake", f"[ \"$PWD $1\" = '{PLACE} --build' ]")  # it is built already
        self.stand_in("dpkg-query", "printf installed")
        path = f"PATH={HOME / STAND_INS}:/usr/bin:/bin:/usr/sbin:/sbin"
        output = self.checkout.home / "output"
        with open(output, "wb") as file:
            panel = subprocess.Popen(
                self.command("env", path, "./panel", "run", "--inspect", temporary=SHORT),
                stdin=subprocess.DEVNULL, stdout=file, stderr=subprocess.STDOUT)
        self.addCleanup(panel.wait)
        self.addCleanup(panel.terminate)

        def addresses():
            self.assertIsNone(panel.poll(), output.read_text())
            return re.findall(r"^(?:The panel|Its inspector) is at (\S+)$", output.read_text(), re.M)
        wait_for(lambda: len(addresses()) == 2, "the addresses of both pages")
        for address, title in zip(addresses(), ("Simulated panel", "Inspector")):
            with urllib.request.urlopen(address, timeout=PATIENCE_S) as answer:
                self.assertIn(title, answer.read().decode())
        device = self.checkout.home / ".local" / "state" / "panel-settings"
        self.assertEqual((device / "state" / "image").stat().st_size, 1024)


if __name__ == "__main__":
    unittest.main(verbosity=2)
