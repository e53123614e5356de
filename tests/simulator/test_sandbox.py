"""The private panel itself: what it shows, what it keeps, what it keeps away."""

import os
import signal
import subprocess
import sys
import unittest

from patience import PATIENCE_S, wait_for
from sandbox_world import ROOT, SANDBOX, World

BUILD = sys.argv.pop(1)

BRIGHTNESS = slice(29, 31)
ETH0_MAC, ETH1_MAC = slice(33, 39), slice(166, 172)
ETH0_IP, ETH0_GATEWAY, ETH0_MASK = slice(41, 45), slice(45, 49), slice(49, 53)
ETH1_IP, ETH1_GATEWAY, ETH1_MASK = slice(174, 178), slice(178, 182), slice(182, 186)
CLOSE_HIDDEN = 157
HARDWARE_OPTIONS = 256 + 6
SCREEN_WIDTH = 256 + 14


def screen_width(image):
    return image[SCREEN_WIDTH] | image[SCREEN_WIDTH + 1] >> 4 << 8


class SandboxTest(unittest.TestCase):
    def setUp(self):
        self.world = World(BUILD)
        self.addCleanup(self.world.clean)

    def output(self, script, *options):
        result = self.world.panel(script, *options)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        return result.stdout.decode()


class Command(SandboxTest):
    def test_exit_status_is_the_command_s(self):
        for status in (0, 1, 2, 77, 255):
            self.assertEqual(self.world.panel(f"exit {status}").returncode, status)

    def test_death_by_a_signal_shows_in_the_exit_status(self):
        self.assertEqual(self.world.panel("exec python3 -c 'import os; os.abort()'").returncode,
                         128 + signal.SIGABRT)

    def test_command_that_does_not_exist_fails(self):
        self.assertEqual(self.world.panel("exec /no/such/command").returncode, 127)

    def test_streams_pass_through(self):
        result = self.world.panel("cat; echo wrong >&2", input=b"\0through\n")
        self.assertEqual((result.stdout, result.stderr), (b"\0through\n", b"wrong\n"))

    def words_inside(self, *words, build=BUILD):
        """What becomes of the words of a command in a panel."""
        result = subprocess.run([SANDBOX, "--build", build, "--", "printf", "%s\\n", *words],
                                capture_output=True, env=self.world.environment(), check=True)
        return result.stdout.decode().split("\n")[:-1]

    def test_arguments_keep_their_spaces(self):
        words = ["a b", "", "*", " /c", "-d"]
        self.assertEqual(self.words_inside(*words), words)

    def test_word_in_the_checkout_or_the_build_becomes_the_panel_s(self):
        link = self.world.folder / "another way"
        link.symlink_to(BUILD)
        for outside, inside in (
                (ROOT, "/panel-source"), (f"{ROOT}/a  b", "/panel-source/a  b"),
                (BUILD, "/panel-build"), (f"{BUILD}/x/*", "/panel-build/x/*"),
                (f"{BUILD}-more", f"{BUILD}-more".replace(str(ROOT), "/panel-source")),
                (f"{ROOT}-more", f"{ROOT}-more"), (f" {ROOT}", f" {ROOT}"),
                (f"--at={ROOT}", f"--at={ROOT}"), (f"{link}/x", f"{link}/x")):
            with self.subTest(word=outside):
                self.assertEqual(self.words_inside(outside), [inside])
        self.assertEqual(self.words_inside(f"{link}/x", f"{BUILD}/y", build=link),
                         ["/panel-build/x", "/panel-build/y"])


class FreshDevice(SandboxTest):
    def test_image_holds_the_factory_settings(self):
        self.world.kept("true")
        image = self.world.state("image")
        self.assertEqual(len(image), 1024)
        self.assertEqual(int.from_bytes(image[BRIGHTNESS], "little"), 140)
        self.assertEqual(image[CLOSE_HIDDEN], 0)
        self.assertEqual(bytes(image[ETH0_IP]), bytes([192, 168, 1, 10]))
        self.assertEqual(bytes(image[ETH0_MASK]), bytes([255, 255, 255, 0]))
        self.assertEqual(bytes(image[ETH0_GATEWAY]), bytes([192, 168, 1, 1]))
        self.assertEqual(bytes(image[ETH1_IP]), bytes([192, 168, 2, 10]))
        self.assertEqual(bytes(image[ETH1_MASK]), bytes([255, 255, 255, 0]))
        self.assertEqual(bytes(image[ETH1_GATEWAY]), bytes([192, 168, 2, 1]))

    def test_mac_addresses_are_two_that_no_real_device_has(self):
        self.world.kept("true")
        image = self.world.state("image")
        for address in (image[ETH0_MAC], image[ETH1_MAC]):
            self.assertEqual(address[0] & 3, 2, "locally administered, no group")
        self.assertNotEqual(image[ETH0_MAC], image[ETH1_MAC])

    def test_key_click_is_on_and_every_other_stored_register_zero(self):
        self.world.kept("true")
        for name in ("fw.dat", "fb.dat", "sfw.dat", "rw.dat"):
            self.assertEqual(self.world.area(name), bytes(4096), name)
        bits = self.world.area("sfb.dat")
        self.assertEqual(bits, b"\0\0\2" + bytes(4093))  # register 79: bit 17

    def test_volatile_registers_are_zero_and_no_pipe_exists(self):
        self.assertEqual(self.output(
            "cd /tmp; ls -p | grep -v /; cat mw.dat mb.dat smw.dat smb.dat | tr -d '\\0' | wc -c;"
            "cat mw.dat mb.dat smw.dat smb.dat | wc -c"),
            "mb.dat\nmw.dat\nsmb.dat\nsmw.dat\n0\n16384\n")

    def test_font_and_settings_folder_are_there(self):
        self.assertEqual(self.output("ls /hmi; ls /hmi/Config; head -c 4 /hmi/default.ttf;"
                                     "touch /hmi/Config/system_settings.ini"),
                         "Config\ndefault.ttf\nttcf")

    def test_hardware_is_as_the_options_say(self):
        for size, adapters, width in (("800x480", 1, 800), ("1024x600", 1, 1024),
                                      ("1280x800", 2, 1280), ("1920x1080", 2, 1920)):
            with self.subTest(size=size, adapters=adapters):
                self.world.kept("true", "--size", size, "--adapters", str(adapters))
                image = self.world.state("image")
                self.assertEqual(screen_width(image), width)
                self.assertEqual(image[HARDWARE_OPTIONS], adapters - 1)

    def test_screen_width_is_packed_in_twelve_bits(self):
        for size, low, high in (("1920x1080", 0x80, 0x70), ("1280x800", 0x00, 0x50)):
            self.world.kept("true", "--size", size)
            image = self.world.state("image")
            self.assertEqual((image[SCREEN_WIDTH], image[SCREEN_WIDTH + 1]), (low, high))

    def test_screen_gives_programs_a_display_and_the_device_its_width(self):
        self.assertEqual(self.output("echo $QT_QPA_PLATFORM"), "offscreen\n")
        result = self.world.kept("echo $QT_QPA_PLATFORM", "--screen", "800x480")
        self.assertTrue(result.stdout.startswith(b"vnc:size=800x480"), result.stdout)
        self.assertEqual(screen_width(self.world.state("image")), 800)


class KeptDevice(SandboxTest):
    CHANGE = """
        head -c 1024 /dev/zero | tr '\\0' '\\1' >/panel/state/image
        printf 1234 >/hmi_data/sfw.dat
        printf '[General]\\nbuzzer=off\\n' >/hmi/Config/system_settings.ini
        printf LOGO >/panel/state/logo
        for place in /tmp /run /root /etc /var/run; do echo here >$place/left-behind; done
        echo here >/tmp/smw.dat
        rm /root/plat-intf/readee
        """

    def test_stored_things_survive_and_volatile_ones_are_lost(self):
        self.world.kept(self.CHANGE)
        result = self.world.kept("""
            cat /hmi_data/sfw.dat /hmi/Config/system_settings.ini /panel/state/logo
            ls /tmp/left-behind /run/left-behind /root/left-behind /etc/left-behind 2>/dev/null
            tr -d '\\0' </tmp/smw.dat
            ls /root/plat-intf/readee""")
        self.assertEqual(result.stdout,
                         b"1234[General]\nbuzzer=off\nLOGO/root/plat-intf/readee\n")
        image = bytearray(self.world.state("image"))
        image[HARDWARE_OPTIONS] = image[SCREEN_WIDTH] = image[SCREEN_WIDTH + 1] = 1
        self.assertEqual(bytes(image), b"\1" * 1024)

    def test_fresh_makes_the_device_new(self):
        self.world.kept("true")
        image = self.world.state("image")
        self.world.kept(self.CHANGE)
        result = self.world.kept("wc -c </hmi_data/sfw.dat; ls /hmi/Config; cat /panel/state/logo",
                                 "--fresh")
        self.assertEqual(result.stdout, b"4096\n")
        self.assertEqual(self.world.state("image"), image)

    def test_new_hardware_around_a_kept_device_changes_nothing_else(self):
        self.world.kept(self.CHANGE)
        before = self.world.state("image")
        self.world.kept("true", "--size", "1920x1080", "--adapters", "2")
        after = self.world.state("image")
        changed = [at for at in range(1024) if before[at] != after[at]]
        self.assertEqual(changed, [SCREEN_WIDTH, SCREEN_WIDTH + 1])
        self.assertEqual(after[HARDWARE_OPTIONS] & 1, 1)
        self.world.kept("true", "--adapters", "1")
        self.assertEqual(self.world.state("image")[HARDWARE_OPTIONS] & 1, 0)

    def test_device_runs_in_one_panel_at_a_time(self):
        first = self.world.start("echo up; cat", "--state", self.world.device,
                                 stdin=subprocess.PIPE)
        self.assertEqual(first.stdout.readline(), b"up\n")
        second = self.world.panel("true", "--state", self.world.device, "--fresh")
        self.assertEqual(second.returncode, 2)
        self.assertIn(b"runs already", second.stderr)
        self.assertEqual(first.communicate(b"still here\n")[0], b"still here\n")
        self.assertEqual(self.world.panel("true", "--state", self.world.device).returncode, 0)

    def test_damaged_device_is_reported_with_the_way_out(self):
        self.world.kept("true")
        self.world.set_state("image", b"too short")
        result = self.world.kept("true")
        self.assertEqual(result.returncode, 2)
        self.assertRegex(result.stderr,
                         rb"\Asandbox: the device image .* is damaged; --fresh .*\n\Z")
        self.assertEqual(self.world.kept("true", "--fresh").returncode, 0)

    def stored(self):
        """Every file of the kept device."""
        return {path: path.read_bytes() for path in self.world.device.rglob("*")
                if path.is_file()}

    def test_start_that_breaks_off_leaves_the_old_device(self):
        self.world.kept(self.CHANGE)
        before = self.stored()
        # No file may become larger than this; whoever writes more is killed.
        for kilobytes, options in ((1, ["--fresh"]), (0, [])):
            command = self.world.command("true", "--state", self.world.device, *options)
            result = subprocess.run(
                ["bash", "-c", f'ulimit -f {kilobytes}; ulimit -c 0; exec "$@"', "bash", *command],
                env=self.world.environment(), capture_output=True, timeout=PATIENCE_S, check=False)
            self.assertEqual(result.returncode, 2, result.stderr)
            after = self.stored()
            self.assertEqual({path: after[path] for path in before}, before)
        result = self.world.kept("cat /panel/state/logo", "--fresh")
        self.assertEqual((result.returncode, result.stdout), (0, b""))
        self.assertEqual(sorted(os.listdir(self.world.device)),
                         ["Config", "hmi_data", "state"])

    def test_device_without_an_image_is_made_new(self):
        self.world.kept(self.CHANGE)
        (self.world.device / "state" / "image").unlink()
        self.assertEqual(self.world.kept("cat /panel/state/logo; ls /hmi/Config").stdout, b"")
        self.assertEqual(self.world.area("sfw.dat"), bytes(4096))
        self.assertEqual(len(self.world.state("image")), 1024)


class Privacy(SandboxTest):
    def test_panel_has_its_own_name_processes_and_network(self):
        self.assertEqual(self.output("hostname; id -u; ls /sys/class/net 2>/dev/null;"
                                     "tail -n +3 /proc/net/dev | cut -d: -f1 | tr -d ' '"),
                         "panel\n0\nlo\n")
        processes = self.output("echo /proc/[0-9]*").split()
        self.assertLessEqual(len(processes), 3)

    def test_panel_s_root_has_the_same_powers_whoever_starts_it(self):
        powers = "grep CapEff /proc/self/status | cut -f2"
        wanted = 1 << 1 | 1 << 10 | 1 << 12 | 1 << 13  # files, low ports, network, raw sockets
        self.assertEqual(int(self.output(powers), 16), wanted)

    def test_network_of_the_panel_can_be_set_up(self):
        self.assertEqual(self.output("ifconfig lo:1 10.9.8.7 netmask 255.255.255.0 up &&"
                                     "route add default gw 10.9.8.1 && route -n | grep -c ^0.0.0.0;"
                                     "ping -c 1 -W 2 10.9.8.7 | grep -c '1 packets received'",
                                     "--mode", "live"), "1\n1\n")

    def test_machine_s_files_are_out_of_reach(self):
        (self.world.folder / "secret").write_text("secret")
        for path in (self.world.folder / "secret", "/home", "/etc/shadow", "/var/lib/dpkg"):
            self.assertNotEqual(self.world.panel(f"test -e {path}").returncode, 0, path)
        for folder in ("/panel-source", "/usr"):
            result = self.world.panel(f"touch {folder}/left-behind")
            self.assertNotEqual(result.returncode, 0)
            self.assertIn(b"Read-only", result.stderr)

    def test_checkout_and_build_have_a_place_that_no_machine_has(self):
        self.assertEqual(self.output(
            "cmp /panel-source/simulator/sandbox /panel-source/simulator/../simulator/sandbox &&"
            "ls /panel-source/CMakeLists.txt /panel-build/CMakeCache.txt"),
            "/panel-build/CMakeCache.txt\n/panel-source/CMakeLists.txt\n")
        for place in ("/panel-source", "/panel-build"):
            self.assertFalse(os.path.exists(place), place)

    def test_resolver_file_can_be_edited(self):
        self.assertEqual(self.output("echo nameserver 10.0.0.1 >/etc/resolv.conf;"
                                     "cp /etc/resolv.conf /etc/resolvbak.conf;"
                                     "rm /etc/resolv.conf; cat /etc/resolvbak.conf"),
                         "nameserver 10.0.0.1\n")

    def test_environment_is_the_panel_s_own(self):
        environment = {**self.world.environment(), "LD_BIND_NOT": "1", "LANG": "de_DE.UTF-8",
                       "QT_STYLE_OVERRIDE": "x", "TMPDIR": str(self.world.scratch)}
        result = subprocess.run(
            self.world.command("env -u PWD -u SHLVL -u _ -u OLDPWD", "--env", "ASAN_OPTIONS=a=b:c",
                               "--env", "EMPTY="),
            env=environment, capture_output=True, check=True)
        variables = dict(line.split("=", 1) for line in result.stdout.decode().splitlines())
        self.assertEqual(variables["PATH"].split(":")[0], "/panel/bin")
        for name, value in (("ASAN_OPTIONS", "a=b:c"), ("EMPTY", ""), ("HOME", "/root"),
                            ("LANG", "C.UTF-8"), ("PANEL_MODE", "recorded"),
                            ("QT_QPA_PLATFORM", "offscreen"), ("QT_STYLE_OVERRIDE", "fusion"),
                            ("XDG_RUNTIME_DIR", "/run")):
            self.assertEqual(variables[name], value)
        for name in ("LD_BIND_NOT", "TMPDIR"):
            self.assertNotIn(name, variables)

    def test_bound_folder_is_shared(self):
        self.output("echo shared >/panel-screen/file", "--bind", self.world.folder,
                    "/panel-screen")
        self.assertEqual((self.world.folder / "file").read_text(), "shared\n")

    def test_panels_at_the_same_time_do_not_meet(self):
        script = """
            echo %d >/tmp/mine; /root/plat-intf/setbright %d; echo %d >/etc/resolv.conf
            echo ready; read -r go
            cat /tmp/mine /etc/resolv.conf; /root/plat-intf/getbright; cat /panel/log/commands"""
        panels = [self.world.start(script % (n, n, n), stdin=subprocess.PIPE)
                  for n in range(80, 86)]
        for panel in panels:
            self.assertEqual(panel.stdout.readline(), b"ready\n")
        for number, panel in zip(range(80, 86), panels):
            output, _ = panel.communicate(b"go\n")
            self.assertEqual(output.decode(), f"{number}\n" * 3 +
                             f"/root/plat-intf/setbright {number}\n/root/plat-intf/getbright\n")


class Remains(SandboxTest):
    def assert_nothing_remains(self):
        self.assertEqual(os.listdir(self.world.scratch), [])

    @staticmethod
    def word(number):
        """How long to sleep, told apart from every other sleep of the machine."""
        return f"3600.{number:02}{os.getpid()}"

    def processes(self, word):
        """The processes of the machine with this word on their command line."""
        found = []
        for name in filter(str.isdigit, os.listdir("/proc")):
            try:
                with open(f"/proc/{name}/cmdline", "rb") as file:
                    if word.encode() in file.read().split(b"\0"):
                        found.append(name)
            except OSError:
                pass
        return found

    def test_nothing_remains_after_the_end(self):
        self.world.panel("touch /tmp/x /root/x /etc/x")
        self.assert_nothing_remains()

    def test_nothing_remains_after_a_failure(self):
        self.world.panel("exit 3")
        self.world.panel("exec /no/such/command")
        self.assert_nothing_remains()

    def test_background_processes_end_with_the_panel(self):
        word = self.word(0)
        self.world.panel(f"sleep {word} & exit 0")
        wait_for(lambda: not self.processes(word), "the background process to end")
        self.assert_nothing_remains()

    def test_nothing_remains_after_a_signal(self):
        for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT):
            with self.subTest(signal=number.name):
                word = self.word(number)
                panel = self.world.start(f"sleep {word} & echo up; wait", restore_signals=True)
                self.assertEqual(panel.stdout.readline(), b"up\n")
                panel.send_signal(number)
                panel.communicate(timeout=PATIENCE_S)
                self.assertGreater(panel.returncode, 128)
                wait_for(lambda: not self.processes(word), "the processes to end")
                self.assert_nothing_remains()


class Options(SandboxTest):
    def assert_refused(self, arguments, text, **environment):
        result = subprocess.run([SANDBOX, *arguments], capture_output=True, text=True, check=False,
                                env={**self.world.environment(), **environment})
        self.assertEqual(result.returncode, 2, result.stderr)
        self.assertEqual(result.stdout, "")
        self.assertEqual(len(result.stderr.splitlines()), 1, result.stderr)
        self.assertIn(text, result.stderr)
        self.assertEqual(os.listdir(self.world.scratch), [])

    def test_wrong_options_give_one_clear_line(self):
        build = ["--build", BUILD]
        for arguments, text in (
                ([], "no command"),
                ([*build], "no command"),
                (["--", "true"], "--build is missing"),
                (["--build", "/no/such/build", "--", "true"], "no build"),
                (["--build", "/usr", "--", "true"], "not built in /usr"),
                ([*build, "--sise", "1x1", "--", "true"], "unknown option '--sise'"),
                ([*build, "true"], "unknown option 'true'"),
                ([*build, "--mode", "dead", "--", "true"], "not 'dead'"),
                ([*build, "--mode"], "--mode needs a value"),
                ([*build, "--size", "big", "--", "true"], "not 'big'"),
                ([*build, "--size", "0x600", "--", "true"], "not '0x600'"),
                ([*build, "--size", "4096x600", "--", "true"], "not '4096x600'"),
                ([*build, "--screen", "800", "--", "true"], "not '800'"),
                ([*build, "--adapters", "3", "--", "true"], "not '3'"),
                ([*build, "--adapters", "0", "--", "true"], "not '0'"),
                ([*build, "--env", "NAME", "--", "true"], "not 'NAME'"),
                ([*build, "--env", "=x", "--", "true"], "not '=x'"),
                ([*build, "--bind", "/usr"], "--bind needs"),
                ([*build, "--state", "/dev/null/x", "--", "true"], "/dev/null/x")):
            with self.subTest(arguments=arguments):
                self.assert_refused(arguments, text)

    def test_missing_bubblewrap_is_named_with_its_package(self):
        tools = self.world.folder / "bin"
        tools.mkdir()
        for name in ("bash", "dirname", "readlink"):
            (tools / name).symlink_to(f"/usr/bin/{name}")
        self.assert_refused(["--build", BUILD, "--", "true"], "install the Debian package",
                            PATH=str(tools))

    def test_help_is_printed(self):
        result = subprocess.run([SANDBOX, "--help"], capture_output=True, text=True, check=True)
        self.assertTrue(result.stdout.startswith("usage: sandbox"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
