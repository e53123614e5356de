"""Stands between a viewer and the VNC server of a panel, so that whatever a viewer sends, the server
gets only what it can bear.

Servers inside the program that they show are written for well-meant viewers. Qt's, for one, takes
the length of a pasted text as a signed number and allocates it, and asks nobody whether a part of
the screen that it is to send lies on the screen: a few bytes end the whole panel. Here every message
of a viewer is read whole, checked, put into its bounds and written anew; one that is nonsense ends
that viewer's session and nothing else.

To both sides this speaks RFB 3.3 without a password, to the server as one more viewer that shares
the screen. Pictures are raw: they only travel within a machine.
"""

import contextlib
import os
import re
import socket
import stat
import struct
import threading

VERSION = b"RFB 003.003\n"
NO_PASSWORD = 1
RAW, DESKTOP_SIZE, CURSOR = 0, -223, -239
ENCODINGS = (RAW, DESKTOP_SIZE, CURSOR)
MOST_ENCODINGS = 1024
LONGEST_TEXT = 1 << 16  # bytes of a pasted text, which nobody gets, or of a name
LARGEST_CURSOR = 256  # pixels
PIECE = 1 << 16  # bytes passed on at once
PATIENCE_S = 30  # for a greeting, or for a viewer that reads nothing


class Refused(Exception):
    """A side said something that it may not say. The text tells what."""


def connect(path):
    """A connection to a server's socket file.

    The folder is the panel's, which could put a link to a socket of the machine in its place: the
    file is opened first, then looked at, then connected to by that very descriptor.
    """
    server = socket.socket(socket.AF_UNIX)
    file = -1
    try:
        file = os.open(path, os.O_PATH | os.O_NOFOLLOW)
        if not stat.S_ISSOCK(os.fstat(file).st_mode):
            raise OSError(f"{path} is no socket")
        server.settimeout(PATIENCE_S)
        server.connect(f"/proc/self/fd/{file}")
    except OSError:
        server.close()
        raise
    finally:
        if file >= 0:
            os.close(file)
    return server


class Stream:
    """Bytes from a side, in the numbers that are asked for. receive() returns some, none at the
    end."""

    def __init__(self, receive):
        self._receive = receive
        self._kept = bytearray()

    def take(self, count):
        while len(self._kept) < count:
            piece = self._receive()
            if not piece:
                raise EOFError
            self._kept += piece
        taken = bytes(self._kept[:count])
        del self._kept[:count]
        return taken

    def pieces(self, count):
        """The next bytes in pieces, so that nobody has to keep them all."""
        while count > 0:
            piece = self.take(min(count, PIECE))
            count -= len(piece)
            yield piece

    def numbers(self, form):
        return struct.unpack(form, self.take(struct.calcsize(form)))


class Requests:
    """What a viewer may ask for before it got what it asked for: one whole picture and one of what
    changes. Further requests wait and become one. A server that took each at once would have to
    keep a picture for each.

    A rectangle is (x, y, width, height); send(changes_only, rectangle) asks the server.
    """

    def __init__(self, send):
        self._send = send
        self._open = set()
        self._waiting = None
        self._news = threading.Condition()

    def ask(self, changes_only, rectangle):
        with self._news:
            if False in self._open or (changes_only and self._open):
                self._wait(changes_only, rectangle)
            else:
                self._open.add(changes_only)
                self._send(changes_only, rectangle)

    def answered(self):
        with self._news:
            self._open.clear()
            if self._waiting:
                changes_only, rectangle = self._waiting
                self._waiting = None
                self._open.add(changes_only)
                self._send(changes_only, rectangle)
            self._news.notify_all()

    def settle(self, change):
        """Calls a function while nothing is open, after asking for what is always answered."""
        with self._news:
            later, self._waiting = self._waiting, None
            if self._open == {True}:
                self._open.add(False)
                self._send(False, (0, 0, 1, 1))
            if not self._news.wait_for(lambda: not self._open, PATIENCE_S):
                raise Refused("a server that does not answer")
            change()
        if later:
            self.ask(*later)

    def _wait(self, changes_only, rectangle):
        if self._waiting:
            changes_only = changes_only and self._waiting[0]
            rectangle = around(rectangle, self._waiting[1])
        self._waiting = changes_only, rectangle


def around(one, other):
    """The smallest rectangle with both in it."""
    x, y = min(one[0], other[0]), min(one[1], other[1])
    right = max(one[0] + one[2], other[0] + other[2])
    bottom = max(one[1] + one[3], other[1] + other[3])
    return x, y, right - x, bottom - y


def pixel_bytes(form):
    """Bytes of a pixel in a pixel format of 16 bytes; refuses a format that makes no sense."""
    bits, depth, big, true_color, *colors = struct.unpack(">BBBBHHHBBBxxx", form)
    if bits not in (8, 16, 32) or not 1 <= depth <= bits or big > 1 or true_color != 1:
        raise Refused("a pixel format that does not exist")
    for most, shift in zip(colors[:3], colors[3:]):
        if not 1 <= most <= 255 or most & (most + 1) or shift + most.bit_length() > bits:
            raise Refused("a color that does not fit into its pixel")
    return bits // 8


class Session:
    """One viewer. receive() and send(bytes) are its side; server is a connected socket. A viewer
    that is not greeted within the patience, in seconds, has gone."""

    def __init__(self, receive, send, server, patience=PATIENCE_S):
        self._patience = patience
        self._viewer = Stream(receive)
        self._to_viewer = send
        self._server_socket = server
        self._server = Stream(lambda: server.recv(PIECE))
        self._sending = threading.Lock()
        self._requests = Requests(self._send_request)
        self._width = self._height = 0
        self._pixel_bytes = 4
        self._from_viewer = {0: self._pixel_format, 2: self._encodings, 3: self._request,
                             4: self._key, 5: self._pointer, 6: self._pasted_text}
        self._from_server = {0: self._update, 1: self._color_map, 2: self._bell,
                             3: self._copied_text}

    def run(self, close):
        """Serves the viewer until one side ends or is refused; close() then ends its side. Raises
        Refused when the viewer was."""
        hurry = threading.Timer(self._patience, close)
        hurry.daemon = True
        hurry.start()
        try:
            self._greet()
            hurry.cancel()
            self._server_socket.settimeout(None)
            back = threading.Thread(target=self._carry_back, args=(close,), daemon=True)
            back.start()
            while True:
                self._handle(self._viewer, self._from_viewer)
        except (OSError, EOFError):
            pass
        finally:
            hurry.cancel()
            with contextlib.suppress(OSError):
                self._server_socket.shutdown(socket.SHUT_RDWR)
            close()

    def _carry_back(self, close):
        with contextlib.suppress(OSError, EOFError, Refused):
            while True:
                self._handle(self._server, self._from_server)
        with contextlib.suppress(OSError):
            self._server_socket.shutdown(socket.SHUT_RDWR)
        close()

    @staticmethod
    def _handle(stream, handlers):
        (kind,) = stream.take(1)
        if kind not in handlers:
            raise Refused(f"a message of unknown kind {kind}")
        handlers[kind]()

    def _greet(self):
        if not self._server.take(12).startswith(b"RFB 003."):
            raise Refused("a server that speaks something else")
        self._to_server(VERSION)
        self._to_viewer(VERSION)
        if not re.fullmatch(rb"RFB \d{3}\.\d{3}\n", self._viewer.take(12)):
            raise Refused("a viewer that speaks something else")
        (security,) = self._server.numbers(">I")
        if security != NO_PASSWORD:
            raise Refused("a server that wants a password")
        self._to_viewer(struct.pack(">I", security))
        self._viewer.take(1)
        self._to_server(b"\1")  # whoever looks already may go on
        self._width, self._height = self._server.numbers(">HH")
        form = self._server.take(16)
        self._pixel_bytes = pixel_bytes(form)
        (length,) = self._server.numbers(">I")
        if length > LONGEST_TEXT:
            raise Refused("a name that is too long")
        self._to_viewer(struct.pack(">HH", self._width, self._height) + form +
                        struct.pack(">I", length) + self._server.take(length))

    def _to_server(self, message):
        with self._sending:
            self._server_socket.sendall(message)

    def _send_request(self, changes_only, rectangle):
        self._to_server(struct.pack(">BBHHHH", 3, changes_only, *rectangle))

    # ---- What a viewer says

    def _pixel_format(self):
        form = self._viewer.take(19)[3:]
        size = pixel_bytes(form)

        def change():
            self._pixel_bytes = size
            self._to_server(b"\0\0\0\0" + form)
        self._requests.settle(change)  # a picture on its way is in the old format

    def _encodings(self):
        (count,) = self._viewer.numbers(">xH")
        if count > MOST_ENCODINGS:
            raise Refused("too many encodings")
        wanted = [code for code in self._viewer.numbers(f">{count}i") if code in ENCODINGS]
        wanted = list(dict.fromkeys([RAW, *wanted]))
        self._to_server(struct.pack(f">BxH{len(wanted)}i", 2, len(wanted), *wanted))

    def _request(self):
        changes_only, x, y, width, height = self._viewer.numbers(">BHHHH")
        width, height = min(width, self._width - x), min(height, self._height - y)
        if width > 0 and height > 0:
            self._requests.ask(bool(changes_only), (x, y, width, height))

    def _key(self):
        down, code = self._viewer.numbers(">BxxI")
        self._to_server(struct.pack(">BBxxI", 4, bool(down), code))

    def _pointer(self):
        buttons, x, y = self._viewer.numbers(">BHH")
        self._to_server(struct.pack(">BBHH", 5, buttons, min(x, max(self._width - 1, 0)),
                                    min(y, max(self._height - 1, 0))))

    def _pasted_text(self):
        """A panel has no clipboard."""
        self._skip_text(self._viewer)

    @staticmethod
    def _skip_text(stream):
        (length,) = stream.numbers(">xxxI")
        if length > LONGEST_TEXT:
            raise Refused("a text that is too long")
        stream.take(length)

    # ---- What the server says

    def _update(self):
        (count,) = self._server.numbers(">xH")
        self._to_viewer(struct.pack(">BxH", 0, count))
        for _ in range(count):
            self._rectangle()
        self._requests.answered()

    def _rectangle(self):
        head = self._server.take(12)
        x, y, width, height, encoding = struct.unpack(">HHHHi", head)
        size = 0
        if encoding == RAW:
            if x + width > self._width or y + height > self._height:
                raise Refused("a picture beyond the screen")
            size = width * height * self._pixel_bytes
        elif encoding == CURSOR:
            if max(width, height) > LARGEST_CURSOR:
                raise Refused("a cursor that is too large")
            size = width * height * self._pixel_bytes + (width + 7) // 8 * height
        elif encoding == DESKTOP_SIZE:
            self._width, self._height = width, height
        else:
            raise Refused("an encoding that nobody asked for")
        self._to_viewer(head)
        for piece in self._server.pieces(size):
            self._to_viewer(piece)

    def _color_map(self):
        head = self._server.take(5)
        self._to_viewer(b"\1" + head + self._server.take(6 * struct.unpack(">xHH", head)[1]))

    def _bell(self):
        self._to_viewer(b"\2")

    def _copied_text(self):
        self._skip_text(self._server)
