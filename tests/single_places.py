"""Rules about texts and facts in the sources that no compiler knows: how a fixed text is spelled, and
that each fact which several rooms need stands in one file."""

import re

PRODUCT = ("adapters", "common", "device", "dialogs", "fileio", "general", "mtd", "network",
           "panelctl", "plugin", "regstore", "settings")
STRING = r'"(?:[^"\\\n]|\\.)*"'
OTHER_SPELLING = re.compile(
    r"\b(?:QStringLiteral\(|(?:QLatin1String|QString|QString::from(?:Latin1|Utf8|Local8Bit))"
    rf"\(\s*({STRING})(?!_))")
COMMENT = re.compile(rf"({STRING})|//[^\n]*")
# What there is of each kind of fact, and the one file that has it. Whoever needs it names it.
FACTS = (
    ("the file of an area or a notice pipe", r'"(/(?:tmp|hmi_data)/\w+\.dat|/tmp/fifo_\w+)"',
     "regstore/AreaFiles.h"),
    ("a path of the resolver file", r"(/etc/resolv\w*\.conf)", "device/ResolverFile.h"),
    ("the settings file or a key of it", r'"(/hmi/Config/\w+\.ini|[A-Z]\w*/(?:enable|buzzer))"',
     "device/SettingsKeys.h"),
    ("a file of a DHCP client", r'"(/var/run/udhcpc\w*\.pid)"', "adapters/AdapterTable.h"),
    ("the scale of the backlight", r"((?:lowestRaw|rawPerLevel) =|[-+=<>] ?(?:76|200)\b)",
     "device/Brightness.h"),
    ("a register by its number", r"\b(RegisterName\{\d+|SysReg_\w+\(\d+|\w*[Rr]egister\w* = \d+)",
     "regstore/RegisterNames.h"),
    ("a register by the text of its name", r'Register \w+\("(\w+)"\)', "regstore/NamedRegister.h"),
)


def without_comments(text):
    """The code alone; its lines keep their numbers."""
    return COMMENT.sub(lambda found: found[1] or "", text)


def spellings(name, text):
    """A line for each fixed text of the product that is not "..."_l1. What Latin-1 does not have may
    be said to be UTF-8."""
    if name.partition("/")[0] not in PRODUCT:
        return
    code = without_comments(text)
    for found in OTHER_SPELLING.finditer(code):
        if not found[1] or found[1].isascii():
            line = code[:found.start()].count("\n") + 1
            yield f'{name}:{line}: a fixed text is "..."_l1 here, not {found[0][:30]}'


def repetitions(name, text):
    """A line for each fact in a file of the product that belongs into another one."""
    if name.partition("/")[0] not in PRODUCT:
        return
    code = without_comments(text)
    for what, pattern, home in FACTS:
        if name != home:
            for found in re.finditer(pattern, code):
                line = code[:found.start()].count("\n") + 1
                yield f"{name}:{line}: {what}, {found[1]}, belongs into {home} alone"


def homeless(texts):
    """A line for each fact that its file does not have, so that the rule would look for nothing."""
    for what, pattern, home in FACTS:
        if not re.search(pattern, without_comments(texts.get(home, ""))):
            yield f"{home}: {what} is not here"


def violations(root, names):
    """A line for everything that is wrong in the sources of these names, relative to the root."""
    texts = {name: (root / name).read_text(encoding="utf-8") for name in names}
    for name, text in texts.items():
        yield from spellings(name, text)
        yield from repetitions(name, text)
    yield from homeless(texts)
