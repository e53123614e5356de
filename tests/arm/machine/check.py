#!/usr/bin/env python3
"""check.py OPTION...: what somebody would try on the first panel of a new board, on the emulated one.

Presses on its touch screen and looks from inside. The options are those of the machine's start. Each
line that is printed has been seen to be true; the first that is not ends the check with status 1.

    --pictures FOLDER   takes the screen's pictures
"""

import argparse
import pathlib
import re
import signal
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
sys.dont_write_bytecode = True
from emulated_panel import EmulatedPanel, wait_for  # noqa: E402  -- beside this file

IMAGE = "/panel/state/image"
BRIGHTNESS_OFFSET, ADDRESS_OFFSET = 29, 41
ADDRESS = "192.168.1.57"
LEASES = "192.168.2.1"  # of eth1: begin with
IDLE_S = 20
# How long a test takes says nothing here.
TESTS_RUN_IN = ("cd /tmp; LD_LIBRARY_PATH=/panel/program QT_QPA_PLATFORM=minimal "
                "QTEST_FUNCTION_TIMEOUT=7200000")
FLASH = "first_id_byte=0x98 second_id_byte=0xe3"
BLOCK_BYTES = 8192
BLOCKS = 16  # of the part of the flash that is tested: comparing all 512 would take hours
# The first, neighbors, the middle and its neighbor, the last ones.
BAD_BLOCKS = ("0", "1,2", "2,8,9", "0,3,7,14,15")
PICTURES_TO_REST = 5


class Check:
    def __init__(self, panel, pictures):
        self.panel = panel
        self.pictures = pictures
        self._last = time.monotonic()

    def say(self, line):
        now = time.monotonic()
        print(f"{line} ({now - self._last:.0f} s)", flush=True)
        self._last = now

    def picture(self, name):
        """Takes a picture when the screen has come to rest, or nearly: a clock ticks on it."""
        if not self.pictures:
            return
        path = self.pictures / f"{name}.png"
        before = None
        for _ in range(PICTURES_TO_REST):
            self.panel.picture(path)
            if path.read_bytes() == before:
                break
            before = path.read_bytes()
            self.panel.widgets()

    def look(self, line):
        return self.panel.look(line)

    def expect(self, line, wanted, what):
        """Waits until a line of shell in the machine prints something with these texts in it."""
        return self.panel.wait_for_look(line, lambda shown: all(text in shown for text in wanted), what)

    # ---- The way of an operator

    def open_settings(self):
        """Returns the seconds from the press to the page on the screen: on the clock, and of a
        processor."""
        button = self.panel.find(name="open")
        before = self.panel.page()
        begin = time.monotonic(), self.panel.processor_seconds()
        self.press(button)
        self.panel.wait_for_another_page(before)
        taken = time.monotonic() - begin[0], self.panel.processor_seconds() - begin[1]
        self.panel.find(name="generalSettingsListWidget")
        return taken

    def enter(self, digits):
        for digit in digits:
            self.panel.press_widget(name=f"pushButton{digit}")
        self.panel.press_widget(name="pushButtonEnter")
        wait_for(lambda: not any(widget["name"] == "pushButtonEnter"
                                 for widget in self.panel.widgets()), "the keypad to go")

    def octet_of_address(self):
        """The last octet's field of the shown adapter: of the row that is the highest."""
        fields = [widget for widget in self.panel.widgets() if widget["class"] == "QLineEdit" and
                  re.fullmatch(r"\d{1,3}", widget["text"])]
        return min(fields, key=lambda widget: (widget["y"], -widget["x"]))

    def press(self, widget, across=0.5, down=0.5):
        self.panel.press(int(widget["x"] + widget["width"] * across),
                         int(widget["y"] + widget["height"] * down))

    # ---- What is checked

    def memory(self):
        """The runtime's, in MB: what it shares with nobody or in part, and all that it has."""
        shown = self.look("cat /proc/$(pidof panel-host)/smaps_rollup")
        return [int(re.search(rf"^{name}: +(\d+) kB", shown, re.MULTILINE)[1]) / 1024
                for name in ("Pss", "Rss")]

    def busy(self):
        """Processor time of the runtime so far, and the time since the start, in seconds."""
        shown = self.look("cat /proc/$(pidof panel-host)/stat /proc/uptime").split()
        return (int(shown[13]) + int(shown[14])) / 100, float(shown[-2])

    def check_figures(self):
        alone = self.memory()
        seconds, worked = self.open_settings()
        self.picture("general-en")
        self.say(f"the settings are on the screen {seconds:.1f} s after the first press, for which the "
                 f"emulator worked {worked:.1f} s")
        both = self.memory()
        self.say(f"memory of the runtime with the dialog: {both[0]:.1f} MB (PSS), {both[1]:.1f} MB (RSS); "
                 f"the dialog's own share {both[0] - alone[0]:.1f} MB")
        used, begin = self.busy()
        worked, clock = self.panel.processor_seconds(), time.monotonic()
        time.sleep(IDLE_S)  # nothing is waited for: this is what is measured
        used_later, end = self.busy()
        worked = (self.panel.processor_seconds() - worked) / (time.monotonic() - clock)
        share = (used_later - used) / (end - begin)
        self.say(f"the idle runtime with the dialog takes {share:.1%} of an emulated processor, more "
                 f"where the machine around it is busy; the emulator works {worked:.1%} of the time")

    def check_brightness(self):
        self.panel.press_widget(name="brightnessLineEdit")
        self.panel.find(name="pushButtonEnter")
        self.picture("keypad-en")
        self.enter("32")
        self.expect_brightness()
        self.say("the brightness entered on the keypad is in the image")

    def expect_brightness(self):
        self.expect(f"od -An -j{BRIGHTNESS_OFFSET} -N2 -tu2 {IMAGE}", ["200"], "the level in the image")

    def check_address(self):
        self.panel.press_widget(name="networkPushButton")
        self.panel.find(name="TestButton")
        self.press(self.octet_of_address())
        self.enter("57")
        self.expect_address()
        self.picture("network-en")
        self.say("the address entered is in the image, on eth0 and in the routing table")

    def expect_address(self):
        octets = ADDRESS.split(".")
        self.panel.wait_for_look(f"od -An -j{ADDRESS_OFFSET} -N4 -tu1 {IMAGE}",
                                 lambda shown: shown.split() == octets, "the address in the image")
        self.expect("ifconfig eth0", [f"inet addr:{ADDRESS} "], "the address on eth0")
        self.expect("ip route show dev eth0", ["192.168.1.0/24", f"src {ADDRESS}"],
                    "the address in the routing table")

    def check_lease(self):
        # The tab bar has a tab for each adapter, and none has a widget of its own.
        self.press(self.panel.find(name="qt_tabwidget_tabbar"), across=0.75)
        self.panel.find(text="02:00:5e:0a:00:02")
        boxes = [widget for widget in self.panel.widgets() if widget["class"] == "QComboBox"]
        self.press(min(boxes, key=lambda widget: widget["y"]))
        choices = self.panel.find(**{"class": "QComboBoxListView"})
        self.press(choices, down=0.75)
        self.expect_lease()
        self.say("the dialog got a lease for eth1")

    def expect_lease(self):
        self.panel.wait_for_look("ifconfig eth1", lambda shown: re.search(
            rf"inet addr:{re.escape(LEASES)}\d\d ", shown), "a lease on eth1")

    def check_clock(self):
        self.panel.press_widget(name="generalPushButton")
        self.panel.press_widget(style="setting_button.png")
        for name, digits in (("year", "2031"), ("hour", "7"), ("minute", "1")):
            self.panel.press_widget(name=f"{name}LineEdit")
            self.enter(digits)
        self.expect_clock()
        self.panel.press_widget(style="close.png", window="DateTimeDialog")
        self.say("the clock set in the dialog is in the hardware clock")

    def expect_clock(self):
        for command in ("hwclock -r -u", "date"):
            self.panel.wait_for_look(command, lambda shown: "2031" in shown and " 07:" in shown,
                                     f"the time set in the dialog, from {command},")

    def check_restart(self):
        self.panel.press_widget(name="Chinese")
        wait_for(lambda: "系统设置" in self.panel.texts(), "the Chinese texts")
        button = self.panel.find(name="restartPushButton")
        self.panel.restart(lambda: self.press(button))
        self.say("the Restart button restarts the machine")
        self.expect_clock()
        self.say("the clock went on")
        self.open_settings()
        self.picture("general-zh")
        assert {"系统设置", "重启", "亮度："} <= self.panel.texts(), "the texts are not Chinese"
        assert self.panel.find(name="brightnessLineEdit")["text"] == "32", "another brightness"
        self.expect_brightness()
        self.expect_address()
        self.expect_lease()
        self.say("language, brightness, address and lease are as they were left")

    def run_test(self, name, *rows):
        words = " ".join(f"'{row}'" for row in rows)
        shown = self.look(f"{TESTS_RUN_IN} /panel/program/{name} {words}; echo status $?")
        totals = re.search(r"^Totals: (\d+) passed, 0 failed, (\d+) skipped", shown, re.MULTILINE)
        assert totals and shown.endswith("status 0"), f"{name} in the machine:\n{shown}"
        return int(totals[1]), shown

    def check_tests(self):
        for name in ("test_fileio", "test_regstore"):
            self.say(f"{name} in the machine: {self.run_test(name)[0]} passed")
        self.use_flash("")
        passed, shown = self.run_test("test_mtd", "-v1")
        assert "(real: " in shown, "test_mtd did not see the flash of the machine"
        self.say(f"test_mtd in the machine, with its flash: {passed} passed")

    def use_flash(self, bad_blocks):
        """Gives the machine a new flash as /dev/mtd0, with these bad blocks."""
        shown = self.look(f"rmmod nandsim && insmod /lib/modules/*-nandsim.ko {FLASH} parts={BLOCKS} "
                          f"{bad_blocks and 'badblocks=' + bad_blocks} && cat /proc/mtd "
                          "/sys/class/mtd/mtd0/bad_blocks")
        size = f"mtd0: {BLOCKS * BLOCK_BYTES:08x} {BLOCK_BYTES:08x}"
        assert size in shown, f"not the flash that is wanted:\n{shown}"
        marked = len(bad_blocks.split(",")) if bad_blocks else 0
        assert shown.endswith(f"\n{marked}"), f"not {marked} bad blocks:\n{shown}"

    def check_bad_blocks(self):
        """What is written around bad blocks comes back, wherever they are."""
        tags = self.look(f"{TESTS_RUN_IN} /panel/program/test_mtd -datatags")
        rows = re.findall(r"sizes_comeBack\s(real: \d+ bytes at \d+)$", tags, re.MULTILINE)
        assert rows, f"test_mtd has no rows for the flash of the machine:\n{tags[:500]}"
        for bad_blocks in BAD_BLOCKS:
            self.use_flash(bad_blocks)
            self.run_test("test_mtd", *(f"sizes_comeBack:{row}" for row in rows))
        self.say(f"{len(rows)} lengths and places on the flash come back, with bad blocks "
                 f"{' and '.join(BAD_BLOCKS)}")

    def check_alignment(self):
        shown = self.look("cat /proc/cpu/alignment")
        assert re.search(r"^User:\s+0$", shown, re.MULTILINE), f"unaligned accesses:\n{shown}"
        self.say("no unaligned access")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--pictures", type=pathlib.Path)
    own, options = parser.parse_known_args()
    panel = EmulatedPanel(*options)
    check = Check(panel, own.pictures)
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    try:
        panel.start("--fresh", "--language", "english")
        check.say("the home page is there")
        check.check_figures()
        check.check_brightness()
        check.check_address()
        check.check_lease()
        check.check_clock()
        check.check_restart()
        check.check_tests()
        check.check_bad_blocks()
        check.check_alignment()
    except (AssertionError, OSError) as why:
        print(f"not so: {why}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130
    finally:
        panel.clean()
    return 0


if __name__ == "__main__":
    sys.exit(main())
