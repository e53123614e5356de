"""What the panel's stand-in tools do and what they write down, one tool after the other."""

import sys
import time
import unittest

from sandbox_world import World

BUILD = sys.argv.pop(1)
TOOLS = "/root/plat-intf/"
LENGTHS_OF_NO_IMAGE = (0, 1, 1023, 1025, 2048)


class Effects:
    """What each tool does to the files of the device. `prepare` goes before every script."""

    prepare = ""

    def setUp(self):
        self.world = World(BUILD)
        self.addCleanup(self.world.clean)

    def run_ok(self, script, **settings):
        result = self.world.kept(self.prepare + script, **settings)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        return result.stdout

    def test_readee_prints_the_whole_image(self):
        image = self.run_ok(TOOLS + "readee")
        self.assertEqual(len(image), 1024)
        self.assertEqual(image, self.world.state("image"))

    def test_writeee_stores_the_whole_image(self):
        image = bytes(index % 251 for index in range(1024))
        self.run_ok(TOOLS + "writeee count=16", input=image)
        self.assertEqual(self.world.state("image"), image)

    def test_writeee_refuses_any_other_length(self):
        for length in LENGTHS_OF_NO_IMAGE:
            with self.subTest(length=length):
                status = self.run_ok(
                    f"{TOOLS}readee >/tmp/before; {TOOLS}writeee count=16; echo $?;"
                    f"{TOOLS}readee | cmp - /tmp/before", input=b"x" * length)
                self.assertEqual(status, b"1\n")

    def test_change_is_never_seen_half_done(self):
        # Whoever has the file open while it is written keeps the old content, whole.
        image = self.run_ok(f"exec 3</panel/state/image; {TOOLS}writeee count=16; cat <&3",
                            input=b"n" * 1024)
        self.assertEqual(image[29:31], b"\x8c\0")
        self.assertEqual(len(image), 1024)
        self.assertEqual(self.world.state("image"), b"n" * 1024)
        level = self.run_ok(f"{TOOLS}setbright 90; exec 3</panel/state/backlight;"
                            f"{TOOLS}setbright 92; cat <&3")
        self.assertEqual(level, b"90\n")

    def test_nothing_is_left_beside_what_is_replaced(self):
        self.assertEqual(self.run_ok(
            f"ls /panel/state >/tmp/before; {TOOLS}writeee count=16; {TOOLS}setbright 92;"
            f"ls /panel/state | diff /tmp/before -", input=b"n" * 1024), b"")

    def test_brightness_set_is_the_brightness_got(self):
        self.assertEqual(self.run_ok(TOOLS + "getbright"), b"140\n")
        self.assertEqual(self.run_ok(f"{TOOLS}setbright 92; {TOOLS}getbright"), b"92\n")
        self.assertEqual(self.world.state("backlight").strip(), b"92")

    def test_backlight_starts_at_the_level_in_the_image(self):
        self.run_ok("true")
        image = bytearray(self.world.state("image"))
        image[29:31] = (300).to_bytes(2, "little")
        self.world.set_state("image", bytes(image))
        self.assertEqual(self.run_ok(TOOLS + "getbright"), b"300\n")

    def test_setbeep_appends_each_beep(self):
        self.run_ok(f"{TOOLS}setbeep 1; {TOOLS}setbeep 0; {TOOLS}setbeep 1")
        self.assertEqual(self.world.state("beeps"), b"1\n0\n1\n")

    def test_tools_that_take_a_text_store_it_as_it_came(self):
        for tool, kept in (("setmpi", "mpi"), ("setserial", "serial"), ("writelogo", "logo")):
            with self.subTest(tool=tool):
                content = f"\0 {tool}\n\xff no newline".encode("latin-1")
                self.run_ok(TOOLS + tool, input=content)
                self.assertEqual(self.world.state(kept), content)

    def test_readlogo_gives_the_logo_back(self):
        logo = bytes(range(256)) * 4000
        self.run_ok(TOOLS + "writelogo", input=logo)
        self.assertEqual(self.run_ok(TOOLS + "readlogo"), logo)

    def test_getusbslave_tells_the_state_of_the_socket(self):
        self.assertEqual(self.run_ok(TOOLS + "getusbslave"), b"plug-out\n")
        self.world.set_state("usbslave", b"plug-in")
        self.assertEqual(self.run_ok(TOOLS + "getusbslave"), b"plug-in\n")


class CompiledTools(Effects, unittest.TestCase):
    """One program by ten names. The emulated panel has it, and benchmarks."""

    PROGRAM = "/panel-build/simulator/platform-tool/platform_tool"
    prepare = f"for tool in {TOOLS}*; do ln -sf {PROGRAM} $tool; done;"

    FILES = {"readee": "image", "writeee": "image", "getbright": "backlight", "setbright 9": "backlight",
             "setbeep 1": "beeps", "getusbslave": "usbslave", "setmpi": "mpi", "setserial": "serial",
             "readlogo": "logo", "writelogo": "logo"}

    def assert_fails_without(self, file, line, put="", take=""):
        """The tool has status 1, prints nothing and leaves nothing behind while a file of the device
        is away, and what is put into its place is there."""
        self.assertEqual(self.run_ok(
            f"cd /panel/state; ls >/tmp/before; [ ! -e {file} ] || mv {file} /tmp/away; {put}\n"
            f"{TOOLS}{line}; echo $?\n"
            f"{take}\n[ ! -e /tmp/away ] || mv /tmp/away {file}; ls | diff /tmp/before -",
            input=b"n" * 1024), b"1\n")

    def test_what_cannot_be_done_is_told_by_the_status(self):
        # From a folder nothing is read, and no file takes its place.
        for line, file in self.FILES.items():
            with self.subTest(line=line):
                self.assert_fails_without(file, line, f"mkdir {file}", f"rmdir {file}")

    def test_a_file_that_is_not_there_is_no_empty_one(self):
        for line in ("readee", "getbright", "getusbslave", "readlogo"):
            with self.subTest(line=line):
                self.assert_fails_without(self.FILES[line], line)

    def test_nothing_is_written_down(self):
        self.assertEqual(self.run_ok(f"{TOOLS}getbright; {TOOLS}setbeep 1; find /panel/log -type f"), b"140\n")

    def test_another_name_does_nothing(self):
        self.assertEqual(self.run_ok(f"ln -s {self.PROGRAM} /tmp/route; /tmp/route del default"), b"")


class ScriptTools(Effects, unittest.TestCase):
    """The simulated panel's own: each call is written down, and what it got."""

    def test_calls_are_written_down_as_they_came(self):
        image = bytes(index % 251 for index in range(1024))
        for line, content in (("readee", b""), ("writeee count=16", image), ("getbright", b""),
                              ("setbright 92", b""), ("setbeep 1", b""), ("getusbslave", b""),
                              ("setmpi", b"a\0b"), ("setserial", b"no newline"),
                              ("writelogo", bytes(range(256)) * 40), ("readlogo", b"")):
            with self.subTest(line=line):
                self.run_ok(TOOLS + line, input=content)
                self.assertEqual(self.world.commands(), [TOOLS + line])
                if content:
                    self.assertEqual(self.world.input_of(0), content)

    def test_refused_image_is_written_down_too(self):
        for length in LENGTHS_OF_NO_IMAGE:
            with self.subTest(length=length):
                self.run_ok(f"! {TOOLS}writeee count=16", input=b"x" * length)
                self.assertEqual(self.world.commands(), [TOOLS + "writeee count=16"])
                self.assertEqual(self.world.input_of(0), b"x" * length)

    def test_inputs_are_kept_under_the_line_of_their_call(self):
        self.run_ok(f"""
            {TOOLS}getbright
            printf one | {TOOLS}setserial
            {TOOLS}setbeep 1
            printf two | {TOOLS}setmpi""")
        self.assertEqual(self.world.commands(),
                         [TOOLS + name for name in ("getbright", "setserial", "setbeep 1",
                                                    "setmpi")])
        self.assertEqual(self.world.input_of(1), b"one")
        self.assertEqual(self.world.input_of(3), b"two")

    def test_line_of_a_call_comes_after_its_whole_input(self):
        self.assertEqual(self.run_ok(f"""
            mkfifo /tmp/slow
            {TOOLS}setserial </tmp/slow & exec 3>/tmp/slow
            printf begin >&3
            until [ "$(cat /panel/log/input/*)" = begin ]; do :; done 2>/dev/null
            {TOOLS}getbright >/dev/null
            cat /panel/log/commands
            printf ' end' >&3; exec 3>&-
            wait"""), f"{TOOLS}getbright\n".encode())
        self.assertEqual(self.world.commands(), [TOOLS + "getbright", TOOLS + "setserial"])
        self.assertEqual(self.world.input_of(1), b"begin end")

    def test_calls_at_the_same_time_are_all_written_down(self):
        self.run_ok(f"""
            for i in $(seq 40); do
                printf "$i" | {TOOLS}setserial "$i" &
            done
            wait""")
        commands = self.world.commands()
        self.assertEqual(sorted(commands),
                         sorted(f"{TOOLS}setserial {i}" for i in range(1, 41)))
        for index, line in enumerate(commands):
            self.assertEqual(self.world.input_of(index).decode(), line.split()[-1])

    def test_tools_may_be_replaced_and_restored(self):
        output = self.run_ok(f"""
            rm {TOOLS}getbright
            {TOOLS}getbright 2>/dev/null || echo gone
            cp /panel/tools/getbright {TOOLS}getbright
            {TOOLS}getbright""")
        self.assertEqual(output, b"gone\n140\n")
        self.assertEqual(self.run_ok(TOOLS + "getbright"), b"140\n")


class ShellTools(unittest.TestCase):
    DANGEROUS = (
        "ifconfig eth0 192.168.1.10 netmask 255.255.255.0", "route del default",
        "udhcpc -i eth0 -p /var/run/udhcpc0.pid", "kill 1", "killall udhcpc", "ping -c 1 example",
        "sync", "reboot", "date -s 2024-01-02", "hwclock -w")

    def setUp(self):
        self.world = World(BUILD)
        self.addCleanup(self.world.clean)

    def test_recorded_panel_only_writes_these_calls_down(self):
        # `kill` is a word of the shell itself; env takes the program.
        script = "\n".join("env " + line for line in self.DANGEROUS)
        result = self.world.kept(script + "\necho survived")
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, b"survived\n", b""))
        self.assertEqual(self.world.commands(), list(self.DANGEROUS))

    def test_recorded_panel_writes_file_and_process_tools_down_and_runs_them(self):
        result = self.world.kept("""
            touch /tmp/a; cp /tmp/a /tmp/b; rm /tmp/a; ls /tmp
            ps | grep -c 'sh -c'""")
        self.assertEqual(result.stderr, b"")
        *names, count = result.stdout.decode().split()
        self.assertIn("b", names)
        self.assertNotIn("a", names)
        self.assertGreaterEqual(int(count), 1)
        commands = self.world.commands()
        self.assertEqual(commands[:3], ["touch /tmp/a", "cp /tmp/a /tmp/b", "rm /tmp/a"])
        self.assertEqual(sorted(commands[3:]), ["grep -c sh -c", "ps"])

    def test_live_panel_has_the_real_tools_and_writes_every_call_down(self):
        result = self.world.kept(
            "ping -c 1 -W 2 127.0.0.1 >/dev/null && ifconfig lo | grep -c 127.0.0.1;"
            f"{TOOLS}getbright", "--mode", "live")
        self.assertEqual((result.stdout, result.stderr), (b"1\n140\n", b""))
        commands = self.world.commands()
        self.assertEqual(sorted(commands[1:3]), ["grep -c 127.0.0.1", "ifconfig lo"])
        self.assertEqual([commands[0], *commands[3:]],
                         ["ping -c 1 -W 2 127.0.0.1", TOOLS + "getbright"])

    def test_live_panel_has_every_shell_tool(self):
        names = ["ifconfig", "route", "udhcpc", "kill", "killall", "ping", "rm", "cp", "touch",
                 "sync", "reboot", "date", "hwclock", "ps", "grep"]
        result = self.world.panel("for name; do env which $name >/dev/null || echo $name; done"
                                  .replace("for name", "for name in " + " ".join(names)),
                                  "--mode", "live")
        self.assertEqual((result.returncode, result.stdout), (0, b""))

    def test_reboot_ends_the_panel_and_leaves_its_mark(self):
        result = self.world.kept("reboot; while :; do sleep 0.1; done", "--mode", "live")
        self.assertEqual(result.returncode, 143)
        self.assertTrue((self.world.volatile / "run" / "reboot").exists())

    def test_mark_of_a_restart_is_gone_at_the_next_start(self):
        self.world.kept("reboot; while :; do sleep 0.1; done", "--mode", "live")
        result = self.world.kept("test ! -e /panel/run/reboot", "--mode", "live")
        self.assertEqual(result.returncode, 0)

    def test_clock_of_the_machine_is_out_of_reach(self):
        # Setting the clock to what it is: harmless even if it were let through.
        result = self.world.panel('/usr/bin/date -s "@$(date +%s)" >/dev/null', "--mode", "live")
        self.assertNotEqual(result.returncode, 0)
        self.assertIn(b"cannot set date", result.stderr)
        result = self.world.panel("ls /dev | grep -E 'rtc|mtd|mem|sd|vd'", "--mode", "live")
        self.assertEqual(result.stdout, b"")

    def test_clock_of_the_panel_is_set_and_ticks_on(self):
        before = time.time()
        result = self.world.panel(
            "date -s 2031-3-7 >/dev/null; date -s 9:5:58 >/dev/null; date '+%F %T'; sleep 2.1; "
            "busybox date '+%F %T'", "--mode", "live")
        first, second = result.stdout.decode().splitlines()
        self.assertIn(first, ("2031-03-07 09:05:58", "2031-03-07 09:05:59"))
        self.assertIn(second, ("2031-03-07 09:06:00", "2031-03-07 09:06:01"))
        self.assertLess(abs(time.time() - before), 30)  # the machine's own goes on

    def test_a_date_that_is_none_changes_nothing(self):
        result = self.world.panel(
            "date -s 2024-5-5 >/dev/null; date -s 2024-2-31 >/dev/null; date +%F",
            "--mode", "live")
        self.assertEqual(result.stdout, b"2024-05-05\n")
        self.assertIn(b"invalid date", result.stderr)

    def test_clock_outlives_a_restart_only_through_the_hardware_clock(self):
        kept = ("--mode", "live", "--state", self.world.folder / "clock")
        self.world.panel("date -s 2031-3-7 >/dev/null; hwclock --systohc --utc; "
                         "date -s 2040-1-1 >/dev/null", *kept)
        self.assertEqual(self.world.panel("date +%F", *kept).stdout, b"2031-03-07\n")

    def test_hardware_clock_is_only_set(self):
        result = self.world.panel("hwclock --show", "--mode", "live")
        self.assertEqual(result.returncode, 1)
        self.assertIn(b"only set", result.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
