"""What makes builds for ARM and runs them here: what it tells when it cannot."""

import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import unittest

from patience import wait_for

BUILD = sys.argv.pop(1)
ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SYSROOT = ROOT / "arm/sysroot"
PARTS = ROOT / "arm/machine/parts"
START = ROOT / "arm/machine/start"

# apt-get that has a list of packages, and none of the packages.
APT_WITHOUT_PACKAGES = r"""
case $1 in
update)
    lists=$(sed -n 's/^Dir::State::lists "\(.*\)";$/\1/p' "$APT_CONFIG")
    : >"$lists/a_Packages"
    ;;
install | download) exit 100 ;;
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


class MachineParts(ArmTest):
    def test_what_cannot_be_fetched_is_named(self):
        self.tool("apt-get", "exit 100")
        self.assert_fails_with(self.run_tool(PARTS, self.folder),
                               "package lists of armhf cannot be fetched", "apt.log")
        self.tool("apt-get", APT_WITHOUT_PACKAGES)
        self.assert_fails_with(self.run_tool(PARTS, self.folder),
                               "linux-image-armmp-lpae busybox-static util-linux of armhf cannot be "
                               "fetched")
        self.assertFalse((self.folder / "complete").exists())


class MachineStart(ArmTest):
    """The machine's start, up to the point where the emulator would begin."""

    def setUp(self):
        super().setUp()
        # Programs of the build are this machine's here.
        self.tool("qemu-arm-static", 'shift 2; exec "$@"')
        self.called = self.tools / "called"
        self.tool("bwrap", f'printf "%s\\n" "$@" >"{self.called}"; exit 0')
        self.folder.mkdir()
        for name in ("parts", "libraries", "screen"):
            (self.folder / name).mkdir()
        self.state = self.folder / "state"
        self.disk = self.state / "disk"

    def command(self, *options, build=BUILD):
        return [START, "--build", build, "--parts", self.folder / "parts",
                "--libraries", self.folder / "libraries", "--state", self.state,
                "--screen-socket", self.folder / "screen/vnc", "--archives", os.devnull, *options]

    def start(self, *options, **places):
        return self.run_tool(*self.command(*options, **places))

    def field(self, name):
        """A field of the device image on the disk."""
        image = self.folder / "image"
        subprocess.run(["debugfs", "-R", "dump /state/image image", self.disk], check=True,
                       cwd=self.folder, capture_output=True,
                       env={**os.environ, "PATH": os.environ["PATH"] + ":/usr/sbin"})
        shown = self.run_tool(pathlib.Path(BUILD, "panelctl/panelctl"), "device", "show",
                              "--image", image).stdout
        return re.search(rf"^ *{name} +(\S+)", shown, re.MULTILINE)[1]

    def assert_switched_off(self, result):
        self.assertEqual(result.stderr, "arm: the machine was switched off\n")
        self.assertEqual(result.returncode, 1)

    def test_device_is_made_once_and_gets_the_hardware_of_each_start(self):
        self.assert_switched_off(self.start("--size", "800x480", "--adapters", "1"))
        self.assertEqual((self.field("screen_width"), self.field("hw_options")), ("800", "1"))
        made = self.disk.stat().st_ino
        self.assert_switched_off(self.start("--size", "1280x800", "--adapters", "2"))
        self.assertEqual((self.field("screen_width"), self.field("hw_options")), ("1280", "2"))
        self.assertEqual(self.disk.stat().st_ino, made)
        self.assert_switched_off(self.start("--fresh"))
        self.assertNotEqual(self.disk.stat().st_ino, made)

    def test_broken_disk_is_told_and_a_fresh_one_cures(self):
        self.state.mkdir(mode=0o700)
        self.disk.write_bytes(b"nonsense" * 4096)
        self.assert_fails_with(self.start(), "the disk of the device in", "is damaged",
                               "--fresh makes a new device")
        self.assertFalse(self.called.exists())
        self.assert_switched_off(self.start("--fresh"))
        self.assertEqual(self.field("brightness"), "140")

    def test_memory_that_is_not_there_is_told(self):
        self.tool("bwrap", "echo 'qemu-system-arm: cannot set up guest memory: no' >&2; exit 1")
        result = self.start()
        self.assert_fails_with(result, "not enough free memory", "640 MiB")
        self.assertEqual(result.stderr.count("\n"), 1)

    def test_memory_that_is_not_free_is_told_before_anything_is_made(self):
        meminfo = self.folder / "meminfo"
        meminfo.write_text("MemTotal: 9999999 kB\nMemAvailable: 307200 kB\n", encoding="utf-8")
        result = self.run_tool("unshare", "--user", "--map-root-user", "--mount", "sh", "-c",
                               'mount --bind "$0" /proc/meminfo && exec "$@"', meminfo,
                               *self.command())
        self.assertEqual(result.stderr, "arm: not enough free memory: the machine takes 640 MiB, "
                                        "300 are free\n")
        self.assertEqual(result.returncode, 2)
        self.assertFalse(self.disk.exists() or self.called.exists())

    def test_a_failing_emulator_says_why(self):
        for script, told in (("echo 'qemu-system-arm: for a reason' >&2; exit 1",
                              "the machine failed: qemu-system-arm: for a reason"),
                             ("exit 3", "the machine failed: it ended with status 3"),
                             ("kill -KILL $$", "the machine was killed; it takes 640 MiB of memory")):
            with self.subTest(script=script):
                self.tool("bwrap", script)
                result = self.start()
                self.assertEqual(result.stderr, f"arm: {told}\n")
                self.assertEqual(result.returncode, 1)

    def test_a_product_that_is_not_built_is_told(self):
        result = self.start(build=self.folder)
        self.assertEqual(result.stderr, f"arm: the product is not built in {self.folder}\n")
        self.assertFalse(self.state.exists())

    def test_ctrl_c_ends_the_machine_and_leaves_the_device_alone(self):
        scratch, screen = self.tools / "scratch", self.folder / "screen/vnc"
        scratch.mkdir()
        self.tool("bwrap", f'echo $$ >"{self.called}.new"; mv "{self.called}.new" "{self.called}"; '
                           f': >"{screen}"; exec sleep 1000000')
        environment = {**os.environ, "PATH": f"{self.tools}:{os.environ['PATH']}",
                       "TMPDIR": str(scratch)}
        for number, status in ((signal.SIGINT, 130), (signal.SIGTERM, 143), (signal.SIGHUP, 143)):
            with self.subTest(signal=number):
                self.called.unlink(missing_ok=True)
                process = subprocess.Popen(list(map(str, self.command())), env=environment,
                                           start_new_session=True, stdin=subprocess.DEVNULL)
                wait_for(lambda: self.called.exists() and screen.exists(), "the machine")
                self.assertTrue(list(scratch.iterdir()))
                # A terminal's Ctrl-C reaches the machine, too, which hears of none.
                os.kill(process.pid, number)
                self.assertEqual(process.wait(), status)
                machine = pathlib.Path("/proc", self.called.read_text(encoding="utf-8").strip())
                self.assertFalse(machine.exists())
                self.assertFalse(screen.exists())
                self.assertEqual(list(scratch.iterdir()), [])
                self.assertEqual([path.name for path in self.state.iterdir()], ["disk"])

    def test_clock_of_a_counted_machine_counts_instructions_of_its_one_processor(self):
        for options, processors, clock in (((), "2", []),
                                           (("--counted",), "1", ["shift=0,sleep=off"])):
            with self.subTest(options):
                self.start(*options)
                self.assertEqual(self.values_of("-smp"), [processors])
                self.assertEqual(self.values_of("-icount"), clock)

    def values_of(self, option):
        """The words behind an option of the emulator that was started last."""
        words = self.called.read_text(encoding="utf-8").splitlines()
        return [words[at + 1] for at, word in enumerate(words) if word == option]

    def test_no_packet_can_leave(self):
        self.start("--adapters", "2")
        words = self.called.read_text(encoding="utf-8").splitlines()
        self.assertIn("--unshare-net", words)
        networks = self.values_of("-netdev")
        self.assertEqual(len(networks), 2)
        for network in networks:
            self.assertRegex(network, "^user,.*restrict=on")
        adapters = [word for word in words if word.startswith("virtio-net-device")]
        # The machine numbers them backwards.
        self.assertEqual([word.partition("mac=")[2] for word in adapters],
                         ["02:00:5e:0a:00:02", "02:00:5e:0a:00:01"])


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
