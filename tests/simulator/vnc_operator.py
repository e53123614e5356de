"""An operator in front of a simulated panel: looks at its screen and presses on it, over the VNC
display that people use as well. Speaks RFB 3.3 with raw 32-bit pixels."""

import json
import pathlib
import socket
import struct
import time
import zlib

from patience import PATIENCE_S, wait_for

RAW = 0


class Operator:
    """One look at the screen of a panel.

    socket_path: the socket of its display
    panel: the panel's /panel folder as seen from outside; None for an operator who only presses
    """

    def __init__(self, socket_path, panel=None):
        self._panel = pathlib.Path(panel) if panel else None
        self._socket = self._connect(str(socket_path))
        try:
            self._shake_hands()
        except (OSError, AssertionError):
            self.close()
            raise

    def close(self):
        self._socket.close()

    def press(self, x, y):
        """Presses and lets go of a point, in pixels."""
        self._pointer(x, y, 0)
        self._pointer(x, y, 1)
        time.sleep(0.1)
        self._pointer(x, y, 0)

    def press_widget(self, **wanted):
        """Presses the middle of the one visible widget with these properties."""
        widget = self.find(**wanted)
        self.press(widget["x"] + widget["width"] // 2, widget["y"] + widget["height"] // 2)

    def find(self, **wanted):
        """The visible widget whose properties contain the wanted texts; waits for it."""
        def found():
            return next((widget for widget in self.widgets()
                         if all(text in str(widget[key]) for key, text in wanted.items())), None)

        return wait_for(found, f"{wanted} on the screen")

    def widgets(self):
        """All visible widgets, as the panel describes them."""
        answer = self._panel / "run" / "widgets.json"
        answer.unlink(missing_ok=True)
        (self._panel / "run" / "describe").touch()
        wait_for(answer.exists, "the panel to describe its widgets")
        return json.loads(answer.read_text())

    def screenshot(self, path):
        """Writes the screen as a PNG."""
        rows = self._read_screen()
        lines = b"".join(b"\0" + row for row in rows)
        header = struct.pack(">IIBBBBB", self.width, self.height, 8, 2, 0, 0, 0)
        with open(path, "wb") as file:
            file.write(b"\x89PNG\r\n\x1a\n" + _chunk(b"IHDR", header) +
                       _chunk(b"IDAT", zlib.compress(lines)) + _chunk(b"IEND", b""))

    def pixel(self, x, y):
        """Red, green and blue of a point."""
        row = self._read_screen()[y]
        return tuple(row[3 * x:3 * x + 3])

    @staticmethod
    def _connect(path):
        def connected():
            connection = socket.socket(socket.AF_UNIX)
            connection.settimeout(PATIENCE_S)
            try:
                connection.connect(path)
                return connection
            except OSError:
                connection.close()
                return None

        return wait_for(connected, f"a display at {path}")

    def _receive(self, count):
        received = b""
        while len(received) < count:
            piece = self._socket.recv(count - len(received))
            if not piece:
                raise ConnectionError("the display closed the connection")
            received += piece
        return received

    def _shake_hands(self):
        assert self._receive(12).startswith(b"RFB ")
        self._socket.sendall(b"RFB 003.003\n")
        assert struct.unpack(">I", self._receive(4))[0] == 1, "the display wants a password"
        self._socket.sendall(b"\1")  # share it with others
        self.width, self.height = struct.unpack(">HH", self._receive(4))
        self._receive(16)
        self._receive(struct.unpack(">I", self._receive(4))[0])
        # 32 bits, little-endian, blue in the lowest byte.
        pixels = struct.pack(">BBBBHHHBBBxxx", 32, 24, 0, 1, 255, 255, 255, 16, 8, 0)
        self._socket.sendall(b"\0\0\0\0" + pixels)
        self._socket.sendall(struct.pack(">BxHi", 2, 1, RAW))

    def _pointer(self, x, y, buttons):
        self._socket.sendall(struct.pack(">BBHH", 5, buttons, x, y))

    def _read_screen(self):
        self._socket.sendall(struct.pack(">BBHHHH", 3, 0, 0, 0, self.width, self.height))
        screen = [bytearray(3 * self.width) for _ in range(self.height)]
        missing = self.width * self.height
        while missing > 0:
            kind = self._receive(1)[0]
            assert kind == 0, f"unexpected message {kind}"
            (rectangles,) = struct.unpack(">xH", self._receive(3))
            for _ in range(rectangles):
                missing -= self._read_rectangle(screen)
        return [bytes(row) for row in screen]

    def _read_rectangle(self, screen):
        x, y, width, height, encoding = struct.unpack(">HHHHi", self._receive(12))
        assert encoding == RAW, f"unexpected encoding {encoding}"
        for line in range(height):
            pixels = self._receive(4 * width)
            row = bytearray(3 * width)
            row[0::3], row[1::3], row[2::3] = pixels[2::4], pixels[1::4], pixels[0::4]
            screen[y + line][3 * x:3 * (x + width)] = row
        return width * height


def _chunk(kind, data):
    checksum = zlib.crc32(kind + data)
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", checksum)
