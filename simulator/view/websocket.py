"""The server's side of a WebSocket (RFC 6455) that carries bytes, for short messages from a browser
and long ones to it."""

import base64
import hashlib
import socket
import struct
import threading

GUID = b"258EAFA5-E914-47DA-95CA-C5AB0DC85B11"
LONGEST_FRAME = 1 << 17  # bytes; a browser sends presses and keys
CONTINUATION, TEXT, BINARY, CLOSE, PING, PONG = 0, 1, 2, 8, 9, 10


class ProtocolError(OSError):
    """The browser does not keep to the protocol."""


def accept_key(key):
    """The answer to a browser's Sec-WebSocket-Key."""
    return base64.b64encode(hashlib.sha1(key.encode() + GUID).digest()).decode()


def unmask(mask, content):
    """The content of a frame from a browser, whose every byte is changed by one of four."""
    length = len(content)
    masks = (mask * (length // 4 + 1))[:length]
    return (int.from_bytes(content, "big") ^ int.from_bytes(masks, "big")).to_bytes(length, "big")


class WebSocket:
    """file: reads what the browser sends; connection: the socket itself."""

    def __init__(self, file, connection):
        self._file = file
        self._connection = connection
        self._sending = threading.Lock()

    def receive(self):
        """The bytes of the next frame that has any; none when the browser has ended."""
        while True:
            operation, content = self._frame()
            if operation == CLOSE:
                return b""
            if operation == PING:
                self._send_frame(PONG, content)
            elif operation in (CONTINUATION, BINARY):
                if content:
                    return content
            elif operation != PONG:
                raise ProtocolError(f"a frame of kind {operation}")

    def send(self, content):
        self._send_frame(BINARY, content)

    def close(self):
        """Ends it, whoever waits for it."""
        try:
            self._connection.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass

    def _take(self, count):
        taken = self._file.read(count)
        if len(taken) < count:
            raise ProtocolError("the end within a frame")
        return taken

    def _frame(self):
        head = self._file.read(2)
        if len(head) < 2:
            return CLOSE, b""
        operation, length = head[0] & 0x0F, head[1] & 0x7F
        if head[0] & 0x70 or not head[1] & 0x80:
            raise ProtocolError("a frame that is not masked, or of an extension")
        if operation >= CLOSE and (length > 125 or not head[0] & 0x80):
            raise ProtocolError("a long control frame")
        if length == 126:
            (length,) = struct.unpack(">H", self._take(2))
        elif length == 127:
            (length,) = struct.unpack(">Q", self._take(8))
        if length > LONGEST_FRAME:
            raise ProtocolError("a frame that is too long")
        mask = self._take(4)
        return operation, unmask(mask, self._take(length))

    def _send_frame(self, operation, content):
        length = len(content)
        head = struct.pack(">B", 0x80 | operation)
        if length < 126:
            head += struct.pack(">B", length)
        elif length < 1 << 16:
            head += struct.pack(">BH", 126, length)
        else:
            head += struct.pack(">BQ", 127, length)
        with self._sending:
            self._connection.sendall(head + content)
