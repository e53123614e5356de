"""Many panels in one network and the control room in it: what each of them is, what can be done to
them, and that nothing of it gets out."""

import http.client
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.parse
import urllib.request

from hall_under_test import ROOT, Hall
from patience import PATIENCE_S, wait_for

BUILD = sys.argv.pop(1)
PANELS = ("panel-001", "panel-002", "panel-003")


def processes_with(text):
    """The machine's processes that have this text on their command lines."""
    found = []
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        try:
            if text in (process / "cmdline").read_text(errors="replace"):
                found.append(process.name)
        except OSError:
            continue
    return found


class HallTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.hall = Hall(BUILD, len(PANELS))
        cls.addClassCleanup(cls.hall.clean)

    def output(self, script):
        result = self.hall.run(script)
        self.assertEqual(result.status, 0, result.output + self.hall.log())
        return result.output

    def fails(self, script):
        result = self.hall.run(script)
        self.assertNotEqual(result.status, 0, result.output)
        return result.output


class Panels(HallTest):
    def test_each_has_its_own_name_address_and_hardware(self):
        table = self.output("cat /plant/panels.csv").split()
        self.assertEqual(table, ["name,address", *(f"panel-{n:03},10.64.1.{n}" for n in (1, 2, 3))])
        seen = [self.output(f"ssh {name} 'panelctl export --identity; ifconfig eth0; hostname'")
                for name in PANELS]
        for number, text in enumerate(seen, 1):
            self.assertIn(f'"ip": "10.64.1.{number}"', text)
            self.assertIn(f"inet addr:10.64.1.{number} ", text)
            self.assertIn(f"HWaddr 02:00:5E:00:00:0{number}", text)
            self.assertIn(f'"eth0_mac": "02:00:5e:00:00:0{number}"', text)
        keys = [line.split()[2] for line in self.output("cat /plant/known_hosts").splitlines()]
        self.assertEqual(len(set(keys)), len(PANELS))

    def test_status_and_streams_of_a_command_come_back(self):
        result = self.hall.run("printf 'in\\0put' | ssh panel-001 'cat; echo wrong >&2; exit 7' "
                               "2>/control-room/errors | od -c; echo ${PIPESTATUS[1]};"
                               "cat /control-room/errors")
        self.assertEqual(result.output.split("\n")[1:], ["0000006", "7", "wrong", ""])
        self.assertIn("i   n  \\0   p   u   t", result.output)

    def test_a_change_is_one_panel_s_alone_and_stays_when_its_power_is_cut(self):
        self.output("""
            ssh panel-001 'panelctl device set brightness 200; panelctl reg write language chinese
                panelctl dns set eth0 first 10.64.0.2'
            plant cut panel-001; plant start panel-001""")
        levels = [self.output(f"ssh {name} panelctl export | grep -E 'brightness|language|10.64.0.2'")
                  for name in PANELS]
        self.assertIn("200", levels[0])
        self.assertIn("chinese", levels[0])
        self.assertIn('"10.64.0.2"', levels[0])
        for other in levels[1:]:
            self.assertIn("140", other)
            self.assertIn("english", other)

    def test_it_follows_an_import_over_to_another_address_and_back(self):
        settings = ('{"version":1,"network":{"eth0":{"ip":"10.65.1.2","mask":"255.255.0.0",'
                    '"gateway":"10.65.0.1"}}}')
        self.output(f"""
            echo '{settings}' | timeout 5 ssh panel-002 'panelctl import --now --confirm 600 -' >/dev/null
            until ssh -o HostName=10.65.1.2 panel-002 panelctl confirm; do sleep 0.2; done
            ssh -o HostName=10.65.1.2 panel-002 'echo there'
            ssh -o HostName=10.65.1.2 panel-002 'panelctl reg list >/dev/null'""")
        self.output("""
            plant cut panel-002; plant start panel-002
            ssh -o HostName=10.65.1.2 panel-002 ifconfig eth0 | grep -q 10.65.1.2
            ! ssh -o ConnectTimeout=1 panel-002 true""")
        self.output("plant replace panel-002; plant trust panel-002; ssh panel-002 true")

    def test_restart_comes_back(self):
        self.output("""
            first=$(ssh panel-003 'cat /proc/1/stat | cut -d" " -f22')
            ssh panel-003 reboot
            until second=$(ssh -o ConnectTimeout=1 panel-003 'cat /proc/1/stat | cut -d" " -f22') &&
                [ "$first" != "$second" ]; do sleep 0.1; done""")

    def test_an_import_that_was_cut_off_is_taken_back_by_the_start(self):
        self.output("""
            ssh panel-003 'panelctl export >/hmi_data/before.json
                cat >/root/plat-intf/setbright.new <<END
#!/bin/sh
: >/panel/run/hangs; sleep 1000
END
                chmod +x /root/plat-intf/setbright.new; mv /root/plat-intf/setbright.new /root/plat-intf/setbright'
            echo '{"version":1,"display":{"brightness":76,"language":"chinese"}}' |
                ssh panel-003 'panelctl import --now -' &
            until ssh panel-003 '[ -e /panel/run/hangs ]'; do sleep 0.1; done
            ssh panel-003 'grep -q before /hmi_data/panelctl.journal'
            plant cut panel-003; wait; plant start panel-003
            ssh panel-003 '[ ! -e /hmi_data/panelctl.journal ] && panelctl export | cmp - /hmi_data/before.json'""")


class Mishaps(HallTest):
    def test_panel_without_power_or_cable_is_not_there_and_comes_back(self):
        ask = "ssh -o ConnectTimeout=1 panel-001 true"
        for away, back in (("cut", "start"), ("unplug", "plug")):
            with self.subTest(away=away):
                self.fails(f"plant {away} panel-001; {ask}")
                self.output(f"plant {back} panel-001; until {ask}; do sleep 0.1; done")
        self.assertEqual(self.output("plant cut panel-003; plant status; plant start panel-003"),
                         "panel-001 on\npanel-002 on\npanel-003 off\n")

    def test_another_device_in_its_place_is_not_taken_for_it(self):
        self.output("plant replace panel-002")
        self.assertIn("Host key verification failed", self.fails("ssh panel-002 true"))
        self.assertIn("02:00:5e:01:00:02", self.output(
            "plant trust panel-002; ssh panel-002 panelctl export --identity"))

    def test_full_disk_takes_no_more_and_has_room_again(self):
        text = self.fails("plant fill panel-002; plant trust panel-002;"
                          "echo '{\"version\":1,\"display\":{\"brightness\":76}}' |"
                          "ssh panel-002 panelctl import -")
        self.assertIn("No space left on device", text)
        self.output("plant empty panel-002; echo '{\"version\":1,\"display\":{\"brightness\":76}}' |"
                    "ssh panel-002 panelctl import -; ssh panel-002 panelctl export | grep 76")

    def test_what_is_no_verb_is_refused(self):
        for words in ("cut", "cut panel-009", "explode panel-001", "status panel-001"):
            with self.subTest(words=words):
                self.assertRegex(self.fails(f"plant {words}"), "^plant: ")


class Walls(HallTest):
    def test_control_room_has_no_powers_and_nothing_to_write_on(self):
        self.assertEqual(self.output("grep CapEff /proc/self/status").split()[1], "0" * 16)
        for place in ("/usr", "/plant", "/panel-source", "/panel-build",
                      "/collections/ansible_collections/panel/plant"):
            self.assertIn("Read-only", self.fails(f"LC_ALL=C touch {place}/x"), place)
        self.assertIn("Read-only", self.fails("echo 1 >/proc/sys/kernel/printk"))
        self.assertEqual(self.output("ls /home; ls -A /root 2>/dev/null | wc -l"), "operator\n0\n")

    def test_machine_s_processes_and_network_are_out_of_sight(self):
        self.assertLessEqual(set(self.output("cat /proc/[0-9]*/comm").split()),
                             {"bwrap", "bash", "cat"})
        names = re.findall(r"^ *(\w+):", self.output("cat /proc/net/dev"), re.M)
        self.assertEqual(sorted(names), ["hall", "lo", "p1", "p2", "p3"])

    def test_panel_s_root_has_no_more_powers_than_in_a_panel_alone(self):
        self.assertEqual(self.output("ssh panel-001 busybox grep CapEff /proc/self/status").split()[1],
                         f"{1 << 1 | 1 << 10 | 1 << 12 | 1 << 13:016x}")


class Display(unittest.TestCase):
    """A hall in which the second of two panels has a display."""

    @classmethod
    def setUpClass(cls):
        cls.hall = Hall(BUILD, 2, "hall-display-test.", displays=["panel-002"])
        cls.addClassCleanup(cls.hall.clean)

    def setUp(self):
        self.assertEqual(self.output("panelctl device set brightness 140"), "")

    def output(self, script):
        """Of a script in the panel with the display."""
        result = self.hall.run(f"ssh panel-002 '{script}'")
        self.assertEqual(result.status, 0, result.output + self.hall.log())
        return result.output

    def look(self):
        """An operator in front of the settings."""
        operator = self.hall.look("panel-002")
        self.addCleanup(operator.close)
        operator.press_widget(name="open")
        operator.find(name="generalSettingsListWidget")
        return operator

    def exported_brightness(self):
        return json.loads(self.output("panelctl export"))["display"]["brightness"]

    def enter_brightness(self, operator, digit):
        operator.press_widget(name="brightnessLineEdit")
        operator.press_widget(name=f"pushButton{digit}")
        operator.press_widget(name="pushButtonEnter")

    @staticmethod
    def first_octets(operator):
        """The uppermost address on the network page."""
        fields = [widget for widget in operator.widgets() if widget["class"] == "QLineEdit"]
        fields.sort(key=lambda widget: (widget["y"], widget["x"]))
        return ".".join(widget["text"] for widget in fields[:4])

    def ask_for_screen(self, secret=None):
        """The answer of its page's server to a browser that has this secret, or the one printed."""
        page = urllib.parse.urlsplit(self.hall.page("panel-002"))
        connection = http.client.HTTPConnection(page.netloc, timeout=PATIENCE_S)
        connection.request("GET", (secret or page.path) + "screen", headers={
            "Upgrade": "websocket", "Sec-WebSocket-Key": "A" * 22 + "=="})
        answer = connection.getresponse()
        self.addCleanup(connection.close)
        return answer

    def test_its_page_is_printed_and_shows_it_to_who_knows_the_address(self):
        self.output("true")
        self.assertRegex(self.hall.log(),
                         r"^panel-002 is at http://127\.0\.0\.1:\d+/[A-Za-z0-9_-]{20,}/\n$")
        with urllib.request.urlopen(self.hall.page("panel-002"), timeout=PATIENCE_S) as answer:
            self.assertIn("Simulated panel", answer.read().decode())
        self.assertEqual(self.ask_for_screen("/somebody/").status, 403)
        screen = self.ask_for_screen()
        self.assertEqual(screen.status, 101)
        self.assertIn(b"RFB 003.", screen.fp.read(10))

    def test_what_is_pressed_on_it_is_read_in_the_control_room(self):
        self.enter_brightness(self.look(), 5)
        wait_for(lambda: self.exported_brightness() == 92, "the level of the keypad")
        other = self.hall.run("ssh panel-001 'panelctl export; pidof panel-host'")
        self.assertIn('"brightness": 140', other.output)
        self.assertEqual(other.status, 1, other.output)

    def test_dialog_and_control_room_set_the_same_adapter(self):
        operator = self.look()
        operator.press_widget(name="networkPushButton")
        wait_for(lambda: self.first_octets(operator) == "10.64.1.2", "its address on the page")
        self.assertIn("inet addr:10.64.1.2 ", self.output("ifconfig eth0"))

    def test_it_comes_back_after_a_power_cut(self):
        self.output("panelctl device set brightness 92")
        result = self.hall.run("plant cut panel-002; plant status; plant start panel-002")
        self.assertEqual((result.status, result.output), (0, "panel-001 on\npanel-002 off\n"))
        wait_for(lambda: self.look().find(name="brightnessLineEdit")["text"] == "05", "the level")
        self.assertEqual(self.ask_for_screen().status, 101)

    def test_restart_that_is_pressed_restarts_it(self):
        def start():
            return self.hall.run(
                "ssh -o ConnectTimeout=1 panel-002 'cut -d\" \" -f22 /proc/1/stat'").output

        first = start()
        self.look().press_widget(name="restartPushButton")
        wait_for(lambda: re.fullmatch(r"\d+\n", second := start()) and second != first,
                 "the panel to come up again")
        wait_for(lambda: self.ask_for_screen().status == 101, "its page")
        self.look()

    def test_one_that_does_not_exist_is_refused_before_anything_starts(self):
        with tempfile.TemporaryDirectory(prefix="hall-display-test.") as folder:
            done = subprocess.run(
                [ROOT / "simulator" / "hall" / "start", "--build", BUILD, "--panels", "2",
                 "--display", "panel-001", "--display", "panel-003", "--", "touch", "started"],
                env={**os.environ, "TMPDIR": folder}, text=True, stdin=subprocess.DEVNULL,
                capture_output=True, check=False)
            self.assertEqual((done.returncode, done.stdout, done.stderr),
                             (1, "", "plant: there is no panel-003\n"))
            self.assertEqual(os.listdir(folder), [])


class End(unittest.TestCase):
    def setUp(self):
        self.hall = Hall(BUILD, 2, "hall-end-test.", displays=["panel-001"])
        self.addCleanup(self.hall.clean)
        self.assertEqual(self.hall.run("ssh panel-002 true").status, 0, self.hall.log())

    def assert_nothing_is_left(self):
        deadline = time.monotonic() + 60
        while processes_with(str(self.hall.folder)) or list(self.hall.scratch.iterdir()):
            self.assertLess(time.monotonic(), deadline, processes_with(str(self.hall.folder)))
            time.sleep(0.05)

    def test_control_room_begins_with_the_examples_and_ends_with_its_command_s_status(self):
        done = subprocess.run(
            [ROOT / "simulator" / "hall" / "start", "--build", BUILD, "--panels", "1", "--", "bash",
             "-c", "ls; exit 7"], env={**os.environ, "TMPDIR": str(self.hall.scratch)}, text=True,
            stdin=subprocess.DEVNULL, capture_output=True, check=False)
        self.assertEqual((done.returncode, done.stderr), (7, ""))
        self.assertIn("hall.csv", done.stdout.split())

    def test_nothing_is_left_when_the_control_room_ends(self):
        self.assertEqual(self.hall.end(), 0)
        self.assert_nothing_is_left()

    def test_nothing_is_left_when_the_hall_is_killed(self):
        self.assertTrue(processes_with(str(self.hall.folder)))
        self.hall.kill(signal.SIGKILL)
        self.assert_nothing_is_left()


if __name__ == "__main__":
    unittest.main(verbosity=2)
