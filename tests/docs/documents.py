"""The documents of the repository, as the tests of the documents read them."""

import pathlib
import re
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
PICTURES = ROOT / "docs" / "pictures"


def documents():
    """Every .md file that is, or is about to be, part of the repository."""
    listed = subprocess.run(
        ["git", "ls-files", "--cached", "--others", "--exclude-standard", "*.md"],
        cwd=ROOT, check=True, capture_output=True, text=True).stdout.splitlines()
    return [ROOT / name for name in listed if (ROOT / name).exists()]


def prose(path):
    """The text of a document without its code blocks and code spans."""
    text = re.sub(r"^```.*?^```", "", path.read_text(encoding="utf-8"), flags=re.S | re.M)
    return re.sub(r"`[^`\n]*`", "", text)


def links(path):
    """The targets of all links and pictures of a document, in order."""
    return re.findall(r"\]\(([^)\s]+)\)", prose(path))


def pictures(path):
    """The targets of the pictures of a document, in order."""
    return re.findall(r"!\[[^\]]*\]\(([^)\s]+)\)", prose(path))


def anchors(path):
    """What '#...' may name in a document: its headings as a browser of repositories names them."""
    headings = re.findall(r"^#+ (.+)$", re.sub(r"^```.*?^```", "", path.read_text(encoding="utf-8"),
                                              flags=re.S | re.M), flags=re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).strip().replace(" ", "-")
            for heading in headings}


def tables(path):
    """The tables of a document by the heading above them: lists of rows, cells by column title."""
    found, heading, titles = {}, "", None
    for line in path.read_text(encoding="utf-8").splitlines():
        if line.startswith("#"):
            heading, titles = line.lstrip("# "), None
        elif not line.startswith("|"):
            titles = None
        elif titles is None:
            titles = cells(line)
            found.setdefault(heading, [])
        elif not re.fullmatch(r"[|\- ]+", line):
            found[heading].append(dict(zip(titles, cells(line), strict=True)))
    return found


def cells(line):
    return [cell.strip().replace("\\|", "|")
            for cell in re.split(r"(?<!\\)\|", line.strip())[1:-1]]


def code(cell):
    """What stands in a cell as code, `...`; None when it is no single code span."""
    span = re.fullmatch(r"`([^`]+)`", cell)
    return span.group(1) if span else None
