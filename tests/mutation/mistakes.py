"""The mechanical mistakes: which changes of a line of C++ there are, and which lines have any."""

import contextlib
import dataclasses
import pathlib
import re

RELATIONS = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">",
             "&&": "||", "||": "&&", "+": "-", "-": "+", "%": "/",
             "+=": "-=", "-=": "+="}
# Spaces tell an operator from a template, a reference and a sign: the sources are formatted.
RELATION = re.compile(r"(?<= )(" + "|".join(map(re.escape, sorted(RELATIONS, key=len)[::-1])) +
                      r")(?= )")
NUMBER = re.compile(r"(?<![\w.'])(0x[0-9A-Fa-f]+|\d+)(?![\w.'])")
TRUTH = re.compile(r"\b(true|false)\b")
STEP = re.compile(r"\+\+|--")
CONDITION = re.compile(r"\b(if|while) \((?![^)]*;)(.+)\) \{$")
CALL = re.compile(r"[\w:.\->]+\(.*\);$")
TEXT = re.compile(r'"((?:[^"\\]|\\.)*)"')
# Declarations and what the compiler alone reads.
NO_CODE = re.compile(r"(//|#|\*|static_assert|using |template|return;|Q_|QT_|friend |namespace )")
NO_CALL = re.compile(r"(return|if|for|while|else|case|delete|throw|explicit|virtual)\b")


@dataclasses.dataclass(frozen=True)
class Mistake:
    """Lines of a file, and what stands there by mistake. The first line has the number 1."""
    path: str
    number: int
    before: tuple
    after: tuple

    def room(self):
        return self.path.split("/", maxsplit=1)[0]

    def key(self):
        """What tells it from others wherever the lines have moved."""
        return (self.path, tuple(line.strip() for line in self.before),
                tuple(line.strip() for line in self.after))

    @contextlib.contextmanager
    def made_in(self, root):
        """A copy of the sources has the mistake for a while."""
        path = pathlib.Path(root, self.path)
        text = path.read_text(encoding="utf-8")
        lines = text.split("\n")
        at = self.number - 1
        assert tuple(lines[at:at + len(self.before)]) == self.before
        lines[at:at + len(self.before)] = self.after
        path.write_text("\n".join(lines), encoding="utf-8")
        try:
            yield
        finally:
            path.write_text(text, encoding="utf-8")


def masked(line):
    """The line with its texts and its comment blanked, at the same columns."""
    line = TEXT.sub(lambda text: '"' + " " * len(text[1]) + '"', line)
    return re.sub(r"//.*$", lambda comment: " " * len(comment[0]), line)


def replaced(line, match, text):
    return line[:match.start()] + text + line[match.end():]


def in_code(line):
    """Each single change of an operator, a constant or a condition."""
    code = masked(line)
    for match in RELATION.finditer(code):
        yield replaced(line, match, RELATIONS[match[0]])
    for match in NUMBER.finditer(code):
        for step in (1, -1):
            value = int(match[0], 8 if match[0][0] == "0" and match[0].isdigit() else 0) + step
            if value >= 0:
                yield replaced(line, match, hex(value) if match[0].startswith("0x") else str(value))
    for match in TRUTH.finditer(code):
        yield replaced(line, match, "false" if match[0] == "true" else "true")
    for match in STEP.finditer(code):
        yield replaced(line, match, "--" if match[0] == "++" else "++")
    match = CONDITION.search(code)
    if match:
        start, end = match.span(2)
        yield f"{line[:start]}!({line[start:end]}){line[end:]}"


def in_texts(line):
    """Each letter of a text, as the next one of the alphabet."""
    without_comment = len(masked(line).rstrip())
    for text in TEXT.finditer(line[:without_comment]):
        for at in range(text.start(1), text.end(1)):
            letter = line[at]
            if re.match("[A-Ya-y]", letter) and line[at - 1] not in "\\%":
                yield line[:at] + chr(ord(letter) + 1) + line[at + 1:]


def is_call(line):
    """Whether the line is a whole statement that calls something."""
    code = masked(line).strip()
    balanced = code.count("(") == code.count(")")
    return bool(CALL.fullmatch(code)) and balanced and not NO_CALL.match(code)


def is_code(line):
    return bool(line.strip()) and not NO_CODE.match(line.strip())


def of_lines(path, lines):
    """By the number of its first line, the mistakes that can be made in a file."""
    possible = {}
    for at, line in enumerate(lines):
        if not is_code(line):
            continue
        changes = [((line,), (changed,)) for changed in (*in_code(line), *in_texts(line))]
        following = lines[at + 1] if at + 1 < len(lines) else ""
        inside = line.startswith("    ") and is_call(line)
        # A header declares; only a file of code has calls.
        if inside and path.endswith(".cpp"):
            changes.append(((line,), (";",)))
            if is_call(following) and following != line:
                changes.append(((line, following), (following, line)))
        if changes:
            possible[at + 1] = [Mistake(path, at + 1, *change) for change in changes]
    return possible
