"""The table of rooms in docs/architecture.md, held against the includes of the sources.

A row's last cell names what a room may include besides its own headers and those of the C, C++ and
POSIX libraries: other rooms, single headers, modules of Qt. "Everything" sets no limit, and a folder
without a row has none either; but a room is included only by those that name it.
"""

import pathlib
import re

INCLUDE = re.compile(r'^\s*#\s*include\s+(?:"([^"]+)"|<(Q\w+)>)', re.M)
# What the headers of a module need of others comes with it.
MODULES = {"Core": ("QtCore",), "Gui": ("QtCore", "QtGui"), "Network": ("QtCore", "QtNetwork"),
           "Widgets": ("QtCore", "QtGui", "QtWidgets")}
# Where the headers of Qt's modules lie on Debian.
QT_HEADERS = sorted(pathlib.Path("/usr/include").glob("*/qt5"))


def rooms_of(document):
    """By room, the names of its last cell: rooms, headers and folders of Qt's modules."""
    allowed = {}
    for line in document.splitlines():
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        found = re.fullmatch(r"`(\w+)`", cells[0])
        if line.startswith("|") and found and len(cells) == 3 and cells[2] != "everything":
            names = set(re.findall(r"`([\w/]+(?:\.h)?)`", cells[2]))
            for module in re.findall(r"Qt (\w+)", cells[2]):
                names.update(MODULES[module])
            allowed[found[1]] = names
    return allowed


def is_of_qt(header, modules):
    """Whether a header of Qt's belongs to one of these modules."""
    return any((folder / module / header).exists() for folder in QT_HEADERS for module in modules)


def is_allowed(room, header, qt_header, allowed):
    """Whether a file of a room may include this header, or this one of Qt's."""
    if qt_header:
        return is_of_qt(qt_header, allowed[room])
    other = header.partition("/")[0]
    return "/" not in header or other == room or other in allowed[room] or header in allowed[room]


def violations(root, names, document):
    """A line for each include that the table in the document does not allow. Names are the paths
    of the sources, relative to the root."""
    allowed = rooms_of(document)
    if not allowed:
        yield "docs/architecture.md: there is no table of rooms"
    for name in names:
        room = name.partition("/")[0]
        if room not in allowed:
            continue
        text = (root / name).read_text(encoding="utf-8")
        for header, qt_header in INCLUDE.findall(text):
            if not is_allowed(room, header, qt_header, allowed):
                yield f"{name}: {room} may not include {header or qt_header}"
