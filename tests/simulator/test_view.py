"""Who may look at a panel, what a viewer can do to it, and how a panel ends that cannot be seen."""

import base64
import contextlib
import http.client
import os
import pathlib
import random
import re
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import unittest
import urllib.request

from panel_under_test import ROOT, Panel
from patience import PATIENCE_S, wait_for
from vnc_operator import Operator

BUILD = sys.argv.pop(1)
SERVE = ROOT / "simulator" / "view" / "serve"
sys.path.insert(0, str(SERVE.parent))

import screen_filter  # noqa: E402  -- beside the program

WIDTH, HEIGHT = 64, 48
PIXELS = struct.pack(">BBBBHHHBBBxxx", 32, 24, 0, 1, 255, 255, 255, 16, 8, 0)
KEY = base64.b64encode(bytes(16)).decode()


def pixel_format(*numbers):
    return b"\0\0\0\0" + struct.pack(">BBBBHHHBBBxxx", *numbers)


def encodings(*codes):
    return struct.pack(f">BxH{len(codes)}i", 2, len(codes), *codes)


def request(changes_only, x, y, width, height):
    return struct.pack(">BBHHHH", 3, changes_only, x, y, width, height)


def pasted(length, content=b""):
    return struct.pack(">BxxxI", 6, length) + content


# What no viewer in its senses says, and what some servers cannot bear.
HOSTILE = {
    "a text of negative length": pasted(0x80000000, b"x" * 100),
    "a text of 4 GB": pasted(0xFFFFFFFF, b"x" * 100),
    "a text longer than anybody pastes": pasted(1 << 20, b"x" * (1 << 20)),
    "pixels of no bits": pixel_format(0, 24, 0, 1, 255, 255, 255, 16, 8, 0),
    "pixels of 24 bits": pixel_format(24, 24, 0, 1, 255, 255, 255, 16, 8, 0),
    "colors beyond their pixel": pixel_format(32, 24, 0, 1, 255, 255, 255, 255, 8, 0),
    "colors of no bits": pixel_format(32, 24, 0, 1, 0, 255, 255, 16, 8, 0),
    "colors of 16 bits": pixel_format(32, 24, 0, 1, 65535, 255, 255, 0, 8, 0),
    "a palette": pixel_format(8, 8, 0, 0, 7, 7, 3, 0, 3, 6),
    "too many encodings": struct.pack(">BxH", 2, 65535) + bytes(4 * 65535),
    "an unknown message": bytes([200]) * 50,
    "a message of servers": bytes([1]) * 20,
}


class Server:
    """A VNC server that remembers what it was sent, and answers nothing unless told."""

    def __init__(self, path):
        self.messages = []
        self.got = threading.Condition()
        self._viewer = None
        self._door = socket.socket(socket.AF_UNIX)
        self._door.bind(str(path))
        self._door.listen()
        threading.Thread(target=self._serve, daemon=True).start()

    def close(self):
        with contextlib.suppress(OSError):
            self._door.shutdown(socket.SHUT_RDWR)
        self._door.close()

    def answer(self):
        """Sends a picture of one black point, and rings a bell: who hears it knows that the view is
        through with the picture."""
        self._viewer.sendall(struct.pack(">BxH", 0, 1) + struct.pack(">HHHHi", 0, 0, 1, 1, 0) +
                             bytes(4) + b"\2")

    def wait_for(self, *messages):
        """Waits until it has been sent these messages since the last time, and no others."""
        with self.got:
            self.got.wait_for(lambda: len(self.messages) >= len(messages), PATIENCE_S)
            sent, self.messages = self.messages, []
        assert sent == list(messages), f"{sent} instead of {list(messages)}"

    def _serve(self):
        with contextlib.suppress(OSError):
            while True:
                viewer, _ = self._door.accept()
                threading.Thread(target=self._listen, args=(viewer,), daemon=True).start()

    def _listen(self, viewer):
        with viewer, viewer.makefile("rb") as file, contextlib.suppress(OSError):
            self._talk(viewer, file)

    def _talk(self, viewer, file):
        viewer.sendall(b"RFB 003.008\n")
        if file.read(12) != b"RFB 003.003\n":
            return
        viewer.sendall(struct.pack(">I", 1))
        file.read(1)
        viewer.sendall(struct.pack(">HH", WIDTH, HEIGHT) + PIXELS + struct.pack(">I", 1) + b"x")
        self._viewer = viewer
        sizes = {0: 19, 2: 3, 3: 9, 4: 7, 5: 5, 6: 7}
        while kind := file.read(1):
            message = kind + file.read(sizes[kind[0]])
            if kind[0] == 2:
                message += file.read(4 * struct.unpack(">H", message[2:])[0])
            with self.got:
                self.messages.append(message)
                self.got.notify_all()


class View(unittest.TestCase):
    """The view of a server that stands for a panel's."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="view-test.")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.server = Server(self.folder / "vnc")
        self.addCleanup(self.server.close)

    def serve(self, *options):
        """Starts the program and returns the file it was told to make."""
        made = self.folder / "made"
        made.unlink(missing_ok=True)
        process = subprocess.Popen([SERVE, "--screen", self.folder / "vnc", *options, made],
                                   stderr=subprocess.PIPE, text=True)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        wait_for(made.exists, "the view to be there")
        return made

    def viewer(self, door):
        """A viewer that has been greeted."""
        viewer = Operator(door)
        self.addCleanup(viewer.close)
        return viewer

    def is_ended(self, viewer):
        """Whether a viewer's session ends."""
        viewer.settimeout(20)
        with contextlib.suppress(ConnectionError):
            while viewer.recv(4096):
                pass
        return True


class Filter(View):
    GREETING = (b"\0\0\0\0" + PIXELS, encodings(0))

    def start(self):
        self.door = self.serve("--socket")
        viewer = self.viewer(self.door)._socket
        self.server.wait_for(*self.GREETING)
        return viewer

    def test_hostile_messages_end_their_viewer_and_reach_nobody(self):
        first = self.start()
        for name, message in HOSTILE.items():
            with self.subTest(message=name):
                viewer = self.viewer(self.door)._socket
                self.server.wait_for(*self.GREETING)
                with contextlib.suppress(ConnectionError):
                    viewer.sendall(message)
                self.assertTrue(self.is_ended(viewer))
                # Who looked already looks on.
                first.sendall(struct.pack(">BBHH", 5, 0, 1, 2))
                self.server.wait_for(struct.pack(">BBHH", 5, 0, 1, 2))

    def test_nonsense_of_every_kind_reaches_the_server_as_sense_only(self):
        first = self.start()
        noise = random.Random(1)
        for _ in range(100):
            viewer = self.viewer(self.door)._socket
            with contextlib.suppress(ConnectionError):
                viewer.sendall(bytes([noise.choice((0, 2, 3, 4, 5, 6, noise.randrange(256)))]) +
                               noise.randbytes(noise.randrange(200)))
                viewer.shutdown(socket.SHUT_WR)
            self.assertTrue(self.is_ended(viewer))
        last = struct.pack(">BBHH", 5, 77, 1, 2)
        first.sendall(last)
        wait_for(lambda: last in self.server.messages, "the last message")
        for message in self.server.messages:
            self.assertIn(message[0], (0, 2, 3, 4, 5))
            if message[0] in (3, 5):
                x, y = struct.unpack(">HH", message[2:6])
                self.assertTrue(x < WIDTH and y < HEIGHT, message)

    def test_messages_are_put_into_their_bounds(self):
        viewer = self.start()
        for said, heard in (
                (request(0, 60, 40, 65535, 65535), [request(0, 60, 40, 4, 8)]),
                (request(1, WIDTH, 0, 1, 1) + request(1, 0, 0, 0, 9), []),
                (struct.pack(">BBHH", 5, 255, 65535, 65535),
                 [struct.pack(">BBHH", 5, 255, WIDTH - 1, HEIGHT - 1)]),
                (struct.pack(">BBxxI", 4, 7, 0xFFFFFFFF), [struct.pack(">BBxxI", 4, 1, 0xFFFFFFFF)]),
                (encodings(5, 16, -239, 0, -239, 7), [encodings(0, -239)]),
                (pasted(5, b"hello"), [])):
            with self.subTest(said=said):
                # The key afterwards tells that nothing else came.
                viewer.sendall(said + struct.pack(">BBxxI", 4, 0, 1))
                self.server.wait_for(*heard, struct.pack(">BBxxI", 4, 0, 1))

    def test_a_flood_of_requests_costs_the_server_one_picture(self):
        viewer = self.start()
        mark = struct.pack(">BBxxI", 4, 0, 1)
        viewer.sendall(request(0, 0, 0, 8, 8) + request(0, 0, 0, 64, 2) * 500 +
                       request(1, 0, 0, 2, 48) * 500 + mark)
        self.server.wait_for(request(0, 0, 0, 8, 8), mark)
        self.server.answer()
        self.server.wait_for(request(0, 0, 0, 64, 48))
        self.server.answer()
        pictures = b""
        while len(pictures) < 2 * 21:
            pictures += viewer.recv(4096)
        viewer.sendall(request(1, 0, 0, 1, 1) + request(1, 0, 0, 3, 3) + request(0, 0, 0, 2, 2) + mark)
        self.server.wait_for(request(1, 0, 0, 1, 1), request(0, 0, 0, 2, 2), mark)

    def test_a_link_in_place_of_the_socket_is_not_followed(self):
        door = self.start() and self.door
        (self.folder / "vnc").rename(self.folder / "elsewhere")
        (self.folder / "vnc").symlink_to(self.folder / "elsewhere")
        with self.assertRaises(ConnectionError):
            self.viewer(door)

    def test_no_more_than_eight_look_at_once(self):
        self.start()
        others = [self.viewer(self.door) for _ in range(7)]
        with self.assertRaises(ConnectionError):
            self.viewer(self.door)
        others[0].close()

        def has_place():
            with contextlib.suppress(ConnectionError):
                return self.viewer(self.door)
            return None
        wait_for(has_place, "the place of one who left")


class Greeting(unittest.TestCase):
    def test_a_viewer_that_never_says_its_greeting_has_gone(self):
        for said in (b"", b"RFB 003", b"RFB 003.003\n"):
            with self.subTest(said=said), contextlib.ExitStack() as open_ones:
                viewer, here, server, beyond = (
                    open_ones.enter_context(end) for pair in (socket.socketpair(), socket.socketpair())
                    for end in pair)
                viewer.sendall(said)
                beyond.sendall(b"RFB 003.008\n" + struct.pack(">I", 1))
                session = screen_filter.Session(lambda: here.recv(100), here.sendall, server, 0.1)
                served = threading.Thread(
                    target=session.run, args=(lambda: here.shutdown(socket.SHUT_RDWR),), daemon=True)
                served.start()
                served.join(20)
                self.assertFalse(served.is_alive(), "it has a place for ever")


class Page(View):
    def start(self, *options):
        self.address = self.serve(*options, "--address").read_text().strip()
        self.host, self.path = re.fullmatch(r"http://([^/]*)(/.*/)", self.address).groups()

    def answer(self, path, method="GET", **headers):
        """The answer to a request that is sent as it is."""
        connection = http.client.HTTPConnection(self.host, timeout=PATIENCE_S)
        self.addCleanup(connection.close)
        headers = {"Host": self.host, **headers}
        connection.putrequest(method, path, skip_host=True)
        for name, value in headers.items():
            connection.putheader(name.replace("_", "-"), value)
        connection.endheaders()
        return connection.getresponse()

    def upgrade(self, path="screen", **headers):
        return self.answer(self.path + path, Upgrade="websocket", Connection="Upgrade",
                           Sec_WebSocket_Version="13", Sec_WebSocket_Key=KEY, **headers)

    def browser(self):
        """A socket to the screen, as a browser's page has it, after the greeting's first line."""
        browser = socket.create_connection(self.host.split(":"), 20)
        self.addCleanup(browser.close)
        browser.sendall((f"GET {self.path}screen HTTP/1.1\r\nHost: {self.host}\r\n"
                         f"Origin: http://{self.host}\r\nUpgrade: websocket\r\n"
                         f"Sec-WebSocket-Key: {KEY}\r\n\r\n").encode())
        heard = b""
        while not heard.endswith(b"RFB 003.003\n"):
            piece = browser.recv(4096)
            self.assertTrue(piece, heard)
            heard += piece
        self.assertTrue(heard.startswith(b"HTTP/1.1 101 "), heard)
        return browser

    def test_colors_are_swapped_back_unless_the_server_keeps_to_their_order(self):
        for options, swapped in ((), True), (("--true-colors",), False):
            with self.subTest(options=options):
                self.start(*options)
                page = self.answer(self.path).read().decode()
                self.assertEqual('class="blue-first"' in page, swapped)

    def test_the_page_and_its_parts_are_served_to_who_knows_the_address(self):
        self.start()
        for path in ("", "screen.js", "core/rfb.js", "vendor/pako/lib/zlib/inflate.js"):
            self.assertEqual(self.answer(self.path + path).status, 200, path)
        for path in ("x", "../run", "core/../core/rfb.js", "core/%2e%2e/rfb.js", "index.html",
                     "core//etc/passwd.js", "package.json", "core/"):
            self.assertEqual(self.answer(self.path + path).status, 404, path)
        self.assertEqual(self.answer(self.path, "POST").status, 501)
        self.assertNotEqual(self.address,
                            self.serve("--address").read_text().strip(), "a secret of each one's")

    def test_who_does_not_know_the_address_gets_nothing(self):
        self.start()
        other = "y" if self.path[1] == "x" else "x"
        for path in ("/", "/screen", "/core/rfb.js", self.path[:-2] + "/", self.path[:-1],
                     f"/{other}{self.path[2:]}", "*", ""):
            self.assertEqual(self.answer(path).status, 403, path)

    def test_pages_of_others_and_made_up_names_get_nothing(self):
        self.start()
        port = self.host.split(":")[1]
        for host in ("panel.example.com", f"panel.example.com:{port}", f"127.0.0.1.example.com:{port}",
                     "", "127.0.0.2"):
            self.assertEqual(self.answer(self.path, Host=host).status, 403, host)
            self.assertEqual(self.upgrade(Host=host).status, 403, host)
        for origin in ("http://www.example.com", "null", f"https://{self.host}",
                       "http://127.0.0.1:1", f"http://localhost:{port}"):
            self.assertEqual(self.upgrade(Origin=origin).status, 403, origin)
        self.assertEqual(self.upgrade(Origin=f"http://{self.host}").status, 101)

    def test_names_of_a_forwarded_port_are_this_machine(self):
        self.start()
        for host in ("localhost:7000", "127.0.0.1:7000", "[::1]:7000", "localhost"):
            self.assertEqual(self.upgrade(Host=host, Origin=f"http://{host}").status, 101, host)

    def test_only_the_inspector_may_show_it_within_a_page(self):
        inspector = self.folder / "inspector"
        self.start("--framed-by", inspector)

        def frames():
            policy = self.answer(self.path).headers["Content-Security-Policy"]
            return policy.split("frame-ancestors ")[1]
        self.assertEqual(frames(), "'none'")
        inspector.write_text("http://127.0.0.1:6180/a_Secret-0/\n")
        self.assertEqual(frames(), "http://127.0.0.1:6180 http://localhost:6180")
        inspector.write_text("http://www.example.com/\n")
        self.assertEqual(frames(), "'none'")

    def test_frames_that_no_browser_sends_end_their_connection_only(self):
        self.start()
        for name, frame in (("not masked", b"\x82\x01x"), ("of 16 exabytes", b"\x82\xff" + b"\xff" * 12),
                            ("of 200 KB", b"\x82\xff" + struct.pack(">Q", 200000) + bytes(4)),
                            ("text", b"\x81\x81\0\0\0\0x"), ("of an extension", b"\xc2\x81\0\0\0\0x"),
                            ("a long ping", b"\x89\xfe\x01\x00" + bytes(260)),
                            ("of an unknown kind", b"\x83\x81\0\0\0\0x"), ("half", b"\x82")):
            with self.subTest(frame=name):
                browser = self.browser()
                browser.sendall(frame)
                if name == "half":
                    browser.shutdown(socket.SHUT_WR)
                self.assertTrue(self.is_ended(browser))
        self.browser()

    def test_masked_bytes_reach_the_screen_and_pings_are_answered(self):
        self.start()
        browser = self.browser()
        mask = b"\x11\x22\x33\x44"
        content = bytes(byte ^ mask[at % 4] for at, byte in enumerate(b"RFB 003.003\n\1"))
        browser.sendall(b"\x89\x82" + bytes(4) + b"hi" + b"\x82" + bytes([0x80 | len(content)]) + mask +
                        content)
        heard = b""
        while not heard.endswith(b"\0\0\0\1x"):
            piece = browser.recv(4096)
            self.assertTrue(piece, heard)
            heard += piece
        self.assertTrue(heard.startswith(b"\x8a\x02hi"), heard)

    def test_a_ninth_browser_is_asked_to_come_later(self):
        self.start()
        browsers = [self.browser() for _ in range(8)]
        self.assertEqual(self.upgrade().status, 503)
        browsers[0].close()
        wait_for(lambda: self.upgrade().status == 101, "a place")

    def test_an_address_that_answers_is_told_when_all_the_usual_ports_are_taken(self):
        for port in range(6080, 6180):
            taken = socket.socket()
            self.addCleanup(taken.close)
            taken.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            with contextlib.suppress(OSError):
                taken.bind(("127.0.0.1", port))
                taken.listen()
        self.start()
        self.assertNotIn(int(self.host.split(":")[1]), range(6080, 6180))
        self.assertEqual(self.answer(self.path).status, 200)


class Shown(unittest.TestCase):
    """A panel that runs, shown the way people see it."""

    def setUp(self):
        self.panel = Panel(BUILD)
        self.addCleanup(self.panel.clean)
        self.tools = self.panel.folder / "bin"
        self.tools.mkdir()

    def start(self, display, viewer="sleep 1000"):
        """Boots the panel for a machine with this display, whose viewer is a stand-in."""
        program = self.tools / "xtigervncviewer"
        program.write_text(f"#!/bin/sh\n{viewer}\n")
        program.chmod(0o755)
        self.panel.launch("--display", display, DISPLAY=":77",
                          PATH=f"{self.tools}:{os.environ['PATH']}")

    def wait_for_page(self):
        wait_for(self.panel.page, "the address of the page")
        with urllib.request.urlopen(self.panel.page(), timeout=PATIENCE_S) as answer:
            self.assertIn("Simulated panel", answer.read().decode())

    def test_no_viewer_can_end_the_panel(self):
        self.start("window")
        self.panel.look().close()
        door = self.panel.run_folder().parent / "screen.socket"
        wait_for(door.exists, "the panel to be shown")
        noise = random.Random(2)
        said = [*HOSTILE.values(), encodings(5) + request(0, 0, 0, 64, 64),
                request(0, 0, 0, 65535, 65535) * 3000,
                *(bytes([noise.choice((0, 2, 3, 4, 5, 6))]) + noise.randbytes(noise.randrange(300))
                  for _ in range(100))]
        for message in said:
            viewer = Operator(door)
            with contextlib.suppress(ConnectionError):
                viewer._socket.sendall(message)
            viewer.close()
        operator = self.panel.look()
        self.addCleanup(operator.close)
        self.assertTrue(self.panel.running())
        self.assertNotIn("the panel failed", self.panel.printed())

    def test_a_panel_that_dies_is_told_with_a_status(self):
        for display in ("none", "browser", "window"):
            with self.subTest(display=display):
                self.start(display)
                self.panel.look().close()
                if display == "browser":
                    self.wait_for_page()
                self.panel.kill("panel-host")
                self.assertEqual(self.panel.end(), 1)
                self.assertEqual(self.panel.printed().splitlines()[-1],
                                 "run: the panel failed: ended by SIGKILL")
                self.assertEqual(self.panel.remains(), [])

    def test_a_panel_that_cannot_start_is_told_with_a_status(self):
        self.panel.state.write_text("no folder")
        self.start("browser")
        self.assertEqual(self.panel.end(), 2)
        self.assertIn("sandbox: ", self.panel.printed().splitlines()[-1])
        self.assertIsNone(self.panel.page())

    def test_a_page_that_dies_is_told_with_a_status(self):
        self.start("browser")
        self.wait_for_page()
        self.panel.kill("serve")
        self.assertEqual(self.panel.end(), 1)
        self.assertEqual(self.panel.printed().splitlines()[-1],
                         "run: the panel is no longer shown: ended by SIGKILL")

    def test_a_browser_shows_what_no_window_can(self):
        self.start("auto", "echo starting; echo \"Can't open display: :77\"; exit 1")
        self.wait_for_page()
        self.assertIn("run: no window can be opened (Can't open display: :77)\n",
                      self.panel.printed())
        self.panel.look().close()

    def test_a_closed_window_is_a_good_end(self):
        self.start("auto", "exit 0")
        self.assertEqual(self.panel.end(), 0)
        self.assertEqual(self.panel.printed().splitlines(),
                         ["Starting a simulated panel of 1024x600; Ctrl-C ends it."])
        self.assertEqual(self.panel.remains(), [])

    def test_nothing_is_said_that_is_of_no_use(self):
        operator = self.panel.start()
        self.addCleanup(operator.close)
        operator.press_widget(name="open")
        operator.find(name="generalSettingsListWidget")
        operator.press_widget(name="restartPushButton")
        self.panel.look_after_restart().close()
        self.assertIn("The panel restarts.", self.panel.printed())
        for noise in ("QVncServer", "SIOCDELRT", "ninja"):
            self.assertNotIn(noise, self.panel.printed())


if __name__ == "__main__":
    unittest.main(verbosity=2)
