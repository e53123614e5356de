"""What each kind of value looks like, as somebody types it and as bytes. Written from the
description of the device, not from the program's code."""


def octets(text):
    return bytes(int(octet) for octet in text.split("."))


# Values that have words, in the order in which the program lists them. The languages' are those of
# their buttons.
WORDS = {
    "switch": {"off": 0, "on": 1},
    "language": {"chinese": 0, "english": 1},
    "default_adapter": {"auto": 0, "eth0": 1, "eth1": 2},
}


def word(kind):
    """Words that stand for numbers."""
    def encode(text, before):
        number = WORDS[kind][text] if text in WORDS[kind] else int(text)
        return number.to_bytes(len(before), "little")
    return encode


def words_that_fit(kind):
    """As a complaint about another word lists them."""
    *others, last = WORDS[kind]
    return f"{', '.join(others)} or {last}"


def number(text, before):
    return int(text, 0).to_bytes(len(before), "little")


def address(text, before):
    return octets(text).ljust(len(before), b"\0")


def width(text, before):
    """12 bits: the first byte, and above it the upper half of the second."""
    pixels = int(text, 0)
    return bytes([pixels & 0xFF, pixels >> 8 << 4 | before[1] & 0x0F])


def adapters(text, before):
    return bytes([before[0] & 0xFE | (text == "2")]) + before[1:]


ENCODE = {
    "number": number, "level": number, "width": width, "adapter_count": adapters, "ipv4": address,
    "netmask": address, "switch": word("switch"), "language": word("language"),
    "default_adapter": word("default_adapter"),
    "bytes": lambda text, before: bytes.fromhex(text),
    "mac": lambda text, before: bytes.fromhex(text.replace(":", "")),
}

FITTING = {
    "level": ["0", "76", "80", "140", "200", "0x8c"],
    "width": ["1", "255", "256", "800", "1024", "1920", "4095"],
    "adapter_count": ["1", "2"],
    "ipv4": ["0.0.0.0", "1.2.3.4", "10.255.0.1", "192.168.1.10", "223.255.255.254"],
    "netmask": ["0.0.0.0", "128.0.0.0", "255.255.255.0", "255.255.255.255"],
    "switch": ["on", "off", "1", "0"],
    "language": [*WORDS["language"], *map(str, reversed(WORDS["language"].values()))],
    "default_adapter": ["eth1", "auto", "eth0", "2", "1", "0"],
    "mac": ["02:00:5e:0a:00:01", "FE:dc:BA:98:76:54", "00:00:00:00:00:01"],
}

UNFIT = {
    "number": ["one", "1 ", " 1", "0x", "0xg", "1.0", "1e1", "99999999999999999999999"],
    "level": ["75", "77", "78", "199", "201", "65535", "65536", "dim", "4", "off"],
    "width": ["0", "4096", "wide", "1024x600", "65536"],
    "adapter_count": ["0", "3", "two", "01"],
    "ipv4": ["192.168.1", "192.168.1.256", "1.2.3.4.5", "1.2.3.4 ", "::1", "panel", "127.0.0.1",
             "224.0.0.1", "255.255.255.255", "0.0.0.1"],
    "netmask": ["255.0.255.0", "0.255.255.255", "255.255.255.1", "24", "255.255.255"],
    "switch": ["2", "ON", "yes", "onn"],
    "language": ["255", "klingon", "English"],
    "default_adapter": ["3", "eth2", "none"],
    "mac": ["02:00:5e:0a:00", "02:00:5e:0a:00:01:02", "02-00-5e-0a-00-01", "02005e0a0001",
            "0g:00:5e:0a:00:01", "020:0:5e:0a:00:01", "01:00:5e:0a:00:01", "00:00:00:00:00:00"],
    "bytes": [],
}


def byte_size(row):
    return (row["size"] + 7) // 8 if row["unit"] == "bits" else row["size"]


def fitting(row):
    """Values that fit a register or field, as somebody types them."""
    size, kind = byte_size(row), row["kind"]
    if kind == "bytes":
        return [bytes(range(1, size + 1)).hex(), bytes(range(255, 255 - size, -1)).hex().upper(),
                bytes(size).hex()]
    if kind == "number":
        return ["0", "1", hex(0x1234567890 % 256 ** size), str(256 ** size - 1)]
    return FITTING[kind]


def unfit(row):
    """Values that do not."""
    size, kind = byte_size(row), row["kind"]
    if kind == "bytes":
        return ["00" * size + "0", "00" * (size - 1), "00" * (size + 1), "0g" * size,
                " " * 2 * size]
    return UNFIT[kind] + [""] + ([str(256 ** size), "-1"] if kind == "number" else [])


def encode(row, text, before):
    """The bytes of a value; bits that are not part of it as they were."""
    return ENCODE[row["kind"]](text, before)


def shown(row, text):
    """How the program prints a value that somebody typed, so that it can be typed again."""
    kind = row["kind"]
    if kind in WORDS:
        words = {str(number): word for word, number in WORDS[kind].items()}
        return words.get(text, text)
    if kind in ("number", "level", "width"):
        return str(int(text, 0))
    return text.lower()
