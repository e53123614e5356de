"""What makes builds for ARM and runs them here: what it tells when it cannot."""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

BUILD = sys.argv.pop(1)
ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SYSROOT = ROOT / "arm/sysroot"

# apt-get that has a list of packages, and none of the packages.
APT_WITHOUT_PACKAGES = r"""
case $1 in
update)
    lists=$(sed -n 's/^Dir::State::lists "\(.*\)";$/\1/p' "$APT_CONFIG")
    : >"$lists/a_Packages"
    ;;
install) exit 100 ;;
esac
"""

CTEST = """
cat <<'LIST'
{"tests": [
  {"name": "runs", "properties": [{"name": "LABELS", "value": ["other"]}]},
  {"name": "plain"},
  {"name": "cannot", "properties": [{"name": "LABELS", "value": ["not emulated: for a reason"]}]}
]}
LIST
"""


class ArmTest(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name, "with space")
        self.tools = pathlib.Path(scratch.name, "tools")
        self.tools.mkdir()

    def tool(self, name, script):
        """Puts a program before the machine's own of that name."""
        path = self.tools / name
        path.write_text("#!/bin/sh\n" + script, encoding="utf-8")
        path.chmod(0o755)

    def run_tool(self, *command):
        path = f"{self.tools}:{os.environ['PATH']}"
        return subprocess.run(list(map(str, command)), env={**os.environ, "PATH": path},
                              capture_output=True, text=True)

    def assert_fails_with(self, result, *texts):
        self.assertEqual(result.returncode, 2, result.stderr)
        line = result.stderr.splitlines()[-1]
        for text in texts:
            self.assertIn(text, line)


class Sysroot(ArmTest):
    def test_without_package_lists_it_says_so(self):
        self.tool("apt-get", "exit 100")
        result = self.run_tool(SYSROOT, "armhf", self.folder)
        self.assert_fails_with(result, "package lists of armhf cannot be fetched", "apt.log")

    def test_packages_that_cannot_be_fetched_are_named(self):
        self.tool("apt-get", APT_WITHOUT_PACKAGES)
        result = self.run_tool(SYSROOT, "arm64", self.folder)
        self.assert_fails_with(result, "qtbase5-dev", "of arm64 cannot be fetched")
        self.assertFalse((self.folder / "complete").exists())

    def test_what_is_complete_is_not_fetched_again(self):
        self.tool("apt-get", "exit 100")
        self.folder.mkdir()
        complete = self.folder / "complete"
        contents = self.run_tool(SYSROOT, "--contents", "armhf").stdout
        complete.write_text(contents, encoding="utf-8")
        self.assertEqual(self.run_tool(SYSROOT, "armhf", self.folder).returncode, 0)
        complete.write_text("older " + contents, encoding="utf-8")
        self.assertEqual(self.run_tool(SYSROOT, "armhf", self.folder).returncode, 2)

    def test_other_architectures_are_unknown(self):
        self.assert_fails_with(self.run_tool(SYSROOT, "sparc", self.folder), "'sparc'")


class Toolchain(ArmTest):
    def configured(self, *options):
        return self.run_tool("cmake", "-S", ROOT, "-B", self.folder, "--toolchain",
                             ROOT / "arm/toolchain.cmake", *options)

    def test_a_missing_sysroot_is_told(self):
        result = self.configured("-DPANEL_TARGET=arm-linux-gnueabihf")
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("PANEL_SYSROOT is not set", result.stderr)
        result = self.configured("-DPANEL_TARGET=arm-linux-gnueabihf", "-DPANEL_SYSROOT=/no/such")
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("/no/such is no sysroot", result.stderr)


class Emulator(ArmTest):
    def sandbox(self, *options):
        return self.run_tool(ROOT / "simulator/sandbox", "--build", BUILD, *options, "--", "true")

    def test_a_missing_emulator_or_prefix_is_told(self):
        self.assert_fails_with(self.sandbox("--emulator", "no-such-emulator", "/usr"),
                               "install the Debian package qemu-user-static")
        self.assert_fails_with(self.sandbox("--emulator", "sh", "/no/such"), "/no/such")


class Labels(ArmTest):
    def test_reasons_are_printed_with_their_tests(self):
        self.tool("ctest", CTEST)
        result = self.run_tool(ROOT / "arm/not-emulated", BUILD)
        self.assertEqual(result.stdout, "cannot is not run under emulation: for a reason\n")


if __name__ == "__main__":
    unittest.main()
