"""The inspector beside a running panel: it tells what the panel does, and only looks."""

import http.client
import json
import os
import pathlib
import signal
import sys
import time
import unittest
import urllib.error
import urllib.request

from panel_under_test import Panel
from patience import PATIENCE_S, wait_for

BUILD = sys.argv.pop(1)


def processes_mentioning(text):
    """The command lines of all processes that name it, by process id."""
    found = {}
    for name in filter(str.isdigit, os.listdir("/proc")):
        try:
            line = pathlib.Path("/proc", name, "cmdline").read_bytes().replace(b"\0", b" ").decode()
        except OSError:
            continue
        if text in line and int(name) != os.getpid():
            found[int(name)] = line
    return found


def footprint(files):
    """What reading may not change of files: content, and all times."""
    prints = {}
    for path in files:
        status = path.lstat()
        prints[str(path)] = (status.st_size, status.st_mtime_ns, status.st_ctime_ns,
                             status.st_atime_ns)
    return prints


class Inspector(unittest.TestCase):
    def setUp(self):
        self.panel = Panel(BUILD, "--inspect")
        self.addCleanup(self.panel.clean)

    def start(self, *options):
        """Boots the panel with its inspector and opens the settings."""
        operator = self.panel.start(*options)
        self.addCleanup(operator.close)
        wait_for(lambda: self.panel.inspector(), "the inspector's address")
        self.address = self.panel.inspector()
        wait_for(lambda: self.events("start"), "the inspector to see the panel")
        return operator

    def open_settings(self, operator):
        operator.press_widget(name="open")
        operator.find(name="generalSettingsListWidget")
        wait_for(lambda: self.events("notice"), "the notice of the language")

    def get(self, path):
        with urllib.request.urlopen(self.address + path, timeout=PATIENCE_S) as answer:
            return json.load(answer)

    def snapshot(self):
        return self.get("snapshot.json")

    def events(self, kind):
        return [event for event in self.snapshot()["events"] if event["kind"] == kind]

    def register(self, number):
        return next(row for row in self.snapshot()["registers"] if row["id"] == number)

    def status(self, path, **headers):
        """The status of a request below the address, which is sent as it is."""
        return self.status_of(f"/{self.address.split('/')[3]}{path}", **headers)

    def status_of(self, path, **headers):
        """The status of a request that is sent as it is."""
        host, port = self.address.split("/")[2].split(":")
        connection = http.client.HTTPConnection(host, int(port), timeout=PATIENCE_S)
        self.addCleanup(connection.close)
        connection.putrequest("GET", path, skip_host="Host" in headers)
        for name, value in headers.items():
            connection.putheader(name, value)
        connection.endheaders()
        return connection.getresponse().status

    def enter_brightness(self, operator, digit):
        operator.press_widget(name="brightnessLineEdit")
        operator.press_widget(name=f"pushButton{digit}")
        operator.press_widget(name="pushButtonEnter")

    def test_commands_come_in_their_order_with_the_time_they_were_run(self):
        before = time.time()
        operator = self.start()
        self.open_settings(operator)
        self.enter_brightness(operator, 5)
        wait_for(lambda: self.panel.brightness() == 92, "the level in the image")
        wait_for(lambda: any("writeee" in event["text"] for event in self.events("command")),
                 "the write to be seen")
        commands = self.events("command")
        logged = (self.panel.run_folder() / "log" / "commands").read_text().splitlines()
        self.assertEqual([event["text"] for event in commands], logged[:len(commands)])
        times = [event["time"] for event in commands]
        self.assertEqual(times, sorted(times))
        # The machine's clock, in which a hundredth of a second is the smallest step.
        self.assertGreater(times[0], before)
        self.assertLess(times[-1], time.time() + 0.02)
        writes = [event for event in commands if "writeee" in event["text"]]
        self.assertEqual({event["input"] for event in writes}, {1024})
        self.assertIsNone(commands[0]["input"])

    def test_changed_bytes_are_told_with_their_field(self):
        operator = self.start()
        self.open_settings(operator)
        self.assertEqual(self.snapshot()["changed"], {})
        self.enter_brightness(operator, 5)
        wait_for(lambda: self.events("image"), "the changed bytes")
        change = self.events("image")[0]
        self.assertEqual((change["record"], change["field"], change["offsets"]),
                         ("Flash_WR_1", "brightness", [29]))
        self.assertEqual((change["before"], change["after"]), ("140", "92"))
        seen = self.snapshot()
        self.assertEqual(bytes.fromhex(seen["image"]), self.panel.image())
        self.assertEqual(list(seen["changed"]), ["29"])

    def test_registers_and_notices_are_told_with_their_names(self):
        operator = self.start()
        self.open_settings(operator)
        self.assertEqual(self.register(20)["text"], "Chinese")
        operator.press_widget(name="English")
        wait_for(lambda: self.register(20)["text"] == "English", "the language to change")
        change = self.events("register")[-1]
        self.assertEqual((change["id"], change["name"], change["before"], change["after"]),
                         (20, "language", "Chinese", "English"))
        wait_for(lambda: len(self.events("notice")) == 2, "the second notice")
        notice = self.events("notice")[-1]
        self.assertEqual((notice["pipe"], notice["words"], notice["text"]),
                         ("fifo_sysreg", [20], "register 20 language"))
        # A bit among others, and one in the panel's own /tmp.
        self.assertEqual(self.register(79)["text"], "on")
        operator.press_widget(style="/switch_on.png")
        wait_for(lambda: self.register(79)["text"] == "off", "the buzzer to be off")
        self.assertEqual(self.register(86)["text"], "off")
        self.assertEqual(self.register(60)["hex"], "00 " * 7 + "00")

    def test_the_runtime_hears_every_notice_as_without_an_inspector(self):
        operator = self.start()
        self.open_settings(operator)
        operator.press_widget(style="close.png", window="Settings")
        wait_for(lambda: [86] in [event["words"] for event in self.events("notice")],
                 "the notice of the close button")
        heard = self.panel.stop()
        self.assertEqual(heard.count("notice: register 20\n"), 1)
        self.assertEqual(heard.count("notice: register 86\n"), 1)

    def test_looking_changes_no_file(self):
        operator = self.start()
        self.open_settings(operator)
        wait_for(lambda: self.snapshot()["last"] > 0, "events")
        operator.press_widget(style="close.png", window="Settings")
        wait_for(lambda: [86] in [event["words"] for event in self.events("notice")],
                 "the notice of the close button")
        # The notice comes before the runtime has closed them, and their timers read registers until
        # they are gone: from the screen first, and at the runtime's next answer altogether.
        wait_for(lambda: all(widget["window"] != "Settings" for widget in operator.widgets()),
                 "the settings to close")
        operator.widgets()
        # Nobody presses and no program of the panel reads these: whatever happens to them now, the
        # inspector did. It looks ten times a second. A time of access so old is renewed by any
        # reader that does not take care.
        files = [self.panel.state / "state" / "image",
                 *sorted((self.panel.state / "hmi_data").iterdir()),
                 *(self.panel.run_folder() / "log" / name
                   for name in ("commands", "times", "notices"))]
        for path in files:
            os.utime(path, ns=(0, path.stat().st_mtime_ns))
        before = footprint(files)
        for _ in range(20):
            self.snapshot()
            time.sleep(0.1)
        self.assertEqual(footprint(files), before)

    def test_events_after_a_number_are_those_and_no_others(self):
        operator = self.start()
        self.open_settings(operator)
        seen = self.snapshot()
        middle = seen["events"][3]["number"]
        later = self.get(f"events.json?since={middle}")
        self.assertFalse(later["reset"])
        self.assertEqual(later["events"][:len(seen["events"]) - 4], seen["events"][4:])
        # Somebody who waits for the next one gets it when it comes.
        last = self.snapshot()["last"]
        operator.press_widget(name="generalPushButton")
        news = self.get(f"events.json?since={last}")["events"]
        self.assertEqual(news[0]["number"], last + 1)
        self.assertIn("setbeep", news[0]["text"])
        # Who remembers another inspector's numbers has to start anew.
        self.assertTrue(self.get("events.json?since=999999")["reset"])

    def test_two_browsers_see_the_same_at_once(self):
        operator = self.start()
        self.open_settings(operator)
        last = self.snapshot()["last"]
        host = self.address.split("/")[2]
        waiting = [http.client.HTTPConnection(host, timeout=PATIENCE_S) for _ in range(2)]
        for browser in waiting:
            self.addCleanup(browser.close)
            browser.request("GET", f"/{self.address.split('/')[3]}/events.json?since={last}")
        self.snapshot()  # answered while they wait, or they would have waited in vain
        operator.press_widget(name="generalPushButton")
        first = [json.load(browser.getresponse())["events"][0] for browser in waiting]
        self.assertEqual(first[0], first[1])
        self.assertEqual(first[0]["number"], last + 1)

    def test_a_restart_of_the_panel_is_seen(self):
        operator = self.start()
        self.open_settings(operator)
        # Even an inspector that sees nothing meanwhile tells the last command of the old panel.
        inspector = next(number for number, line in
                         processes_mentioning(str(self.panel.folder)).items()
                         if "simulator/inspect" in line)
        first = self.panel.boot()
        os.kill(inspector, signal.SIGSTOP)
        try:
            operator.press_widget(name="restartPushButton")
            wait_for(lambda: self.panel.boot() not in (None, first), "a new panel")
        finally:
            os.kill(inspector, signal.SIGCONT)
        wait_for(lambda: len(self.events("start")) == 2, "the inspector to see it")
        kinds = [(event["kind"], event["text"]) for event in self.snapshot()["events"]]
        self.assertIn(("command", "reboot"), kinds)
        self.assertLess(kinds.index(("command", "reboot")),
                        kinds.index(("start", "the panel started"), 1))
        # And followed into its new life.
        wait_for(lambda: self.register(60)["hex"] is not None, "the areas of the new panel")
        operator = self.panel.look()
        self.addCleanup(operator.close)
        self.open_settings(operator)
        wait_for(lambda: self.snapshot()["events"][-1]["kind"] != "start", "what it does then")

    def test_page_is_served_and_nothing_else_on_the_disk(self):
        self.start()
        with urllib.request.urlopen(self.address, timeout=PATIENCE_S) as answer:
            self.assertIn("<title>Inspector", answer.read().decode())
            self.assertIn("frame-ancestors 'none'", answer.headers["Content-Security-Policy"])
        for path in ("/../simulator/run", "/..%2f..%2fetc/passwd", "/etc/passwd", "//etc/passwd",
                     "/inspect.html", "/state/image", "/web/"):
            with self.subTest(path=path):
                self.assertEqual(self.status(path), 404)
        for query in ("", "?since=", "?since=-1", "?since=x", "?since=" + "9" * 40):
            with self.subTest(query=query):
                self.assertEqual(self.status("/events.json" + query), 400)

    def test_who_does_not_know_the_address_gets_nothing(self):
        self.start()
        secret = self.address.split("/")[3]
        self.assertGreaterEqual(len(secret), 22)
        other = ("x" if secret[0] != "x" else "y") + secret[1:]
        for path in ("/", "/snapshot.json", "/events.json?since=0", f"/{secret[:-1]}/", f"/{secret}",
                     f"/{secret[:-1]}/snapshot.json", f"/{other}/", "*", "//"):
            with self.subTest(path=path):
                self.assertEqual(self.status_of(path), 403)
        self.assertEqual(self.status("/snapshot.json"), 200)

    def test_a_line_of_a_log_that_nobody_can_read_is_passed_over(self):
        operator = self.start()
        self.open_settings(operator)
        log = self.panel.run_folder() / "log"
        with open(log / "notices", "ab") as file:
            file.write(b"\n1\nnonsense\n\xff\n1.0 fifo_sysreg\n1.0 fifo_sysreg x\n1.0 fifo_localreg 5\n"
                       b"nan fifo_sysreg 1\n1.0 fifo_sysreg -9999\n1e999 fifo_sysreg 20\n")
        with open(log / "times", "ab") as file:
            file.write(b"soon\n")
        with open(log / "commands", "ab") as file:
            file.write(b"without a time\n")
        operator.press_widget(name="English")
        wait_for(lambda: self.register(20)["text"] == "English", "the language to change")
        wait_for(lambda: len(self.events("notice")) > 1, "the notice of the language")
        told = self.snapshot()["events"]
        self.assertFalse([event for event in told if "without" in event["text"]])
        times = [event["time"] for event in told]
        self.assertEqual([time for time in times if not 0 < time < 1e12], [])

    def test_requests_from_elsewhere_are_refused(self):
        self.start()
        own = self.address.split("/")[2]
        self.assertEqual(self.status("/snapshot.json", Host=own), 200)
        for host in ("localhost", "localhost:7000", "127.0.0.1:7000", "[::1]:7000"):
            with self.subTest(host=host):  # the other end of a tunnel
                self.assertEqual(self.status("/snapshot.json", Host=host), 200)
                self.assertEqual(self.status("/snapshot.json", Host=host,
                                             Origin=f"http://{host}"), 200)
                self.assertEqual(self.status("/snapshot.json", Host=host,
                                             Origin="http://localhost:6999"), 403)
        for host in ("panel.example.com", f"panel.example.com:{own.split(':')[1]}", "127.0.0.2",
                     "localhost.example.com:80", ""):
            with self.subTest(host=host):
                self.assertEqual(self.status("/snapshot.json", Host=host), 403)
        self.assertEqual(self.status("/snapshot.json", Origin="http://www.example.com"), 403)
        self.assertEqual(self.status("/snapshot.json", Origin="null"), 403)
        with self.assertRaises(urllib.error.HTTPError) as refused:
            urllib.request.urlopen(urllib.request.Request(self.address, data=b"x"),
                                   timeout=PATIENCE_S)
        self.assertEqual(refused.exception.code, 501)

    def test_ends_with_the_panel_and_leaves_nothing(self):
        self.start()
        folder = str(self.panel.folder)
        running = processes_mentioning(folder).values()
        self.assertTrue([line for line in running if "simulator/inspect" in line])
        wait_for(lambda: f"Its inspector is at {self.address}\n" in self.panel.printed(),
                 "the line that tells where it is")
        self.panel.stop()
        wait_for(lambda: not processes_mentioning(folder), "every process to end")
        self.assertEqual(self.panel.remains(), [])
        with self.assertRaises(OSError):
            urllib.request.urlopen(self.address, timeout=PATIENCE_S)

    def test_ends_when_the_script_that_runs_the_panel_is_killed(self):
        self.start()
        self.panel.crash()
        wait_for(lambda: not processes_mentioning(str(self.panel.folder)), "every process to end")
        wait_for(lambda: not self.panel.remains(), "the scratch folder to go")

    def test_page_beside_a_browser_panel_shows_its_screen(self):
        self.start("--display", "browser")
        for address in (self.address, self.panel.page()):
            self.assertEqual(processes_mentioning(address.split("/")[3]), {}, "it is a secret")
        with urllib.request.urlopen(self.address, timeout=PATIENCE_S) as answer:
            page = answer.read().decode()
        screen = page.split('<body data-screen="')[1].split('"')[0]
        with urllib.request.urlopen(screen, timeout=PATIENCE_S) as answer:
            self.assertIn("Simulated panel", answer.read().decode())


class WithoutInspector(unittest.TestCase):
    def test_nothing_listens_unless_asked_for(self):
        panel = Panel(BUILD)
        self.addCleanup(panel.clean)
        panel.start().close()
        self.assertIsNone(panel.inspector())
        self.assertFalse([line for line in processes_mentioning(str(panel.folder)).values()
                          if "simulator/inspect" in line])


if __name__ == "__main__":
    unittest.main(verbosity=2)
