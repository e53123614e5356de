"""Every source of every target compiles for a machine of 32 bits, with the flags of its target and
with warnings as errors: `long`, `size_t` and pointers are narrow there. Only the compiler looks, so
the headers of this machine's Qt do, and nothing of the build is touched. What most sources include
is parsed once; the release variant sees to it that each includes what it needs.

usage: test_narrow.py SOURCES BUILD COMPILER [DEFINITION...]
"""

import json
import pathlib
import shlex
import subprocess
import sys
import tempfile
import unittest

ROOT, BUILD = (pathlib.Path(word) for word in sys.argv[1:3])
COMPILER, DEFINITIONS = sys.argv[3], sys.argv[4:]
del sys.argv[1:]

# What no target has: a test wants it not to compile.
NOT_BUILT = {ROOT / "tests" / "regstore" / "register_misuse.cpp"}
NARROWING = """#include <cstddef>
#include <cstdint>
std::size_t sizeOf(std::uint64_t value) { return value; }
"""


def compilations(aside):
    """The compilation database with all that can be built. It is asked for aside, since BUILD may
    have no benchmarks and precompiles no headers; what is generated for a target is in BUILD.
    Generated sources are left out: they are the same for every machine, and their headers are
    looked at with the others."""
    result = subprocess.run(
        ["cmake", "-S", ROOT, "-B", aside, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
         "-DPANEL_BENCHMARKS=ON", "-DPANEL_PRECOMPILE=ON"],
        capture_output=True, text=True, check=False)
    if result.returncode != 0:
        raise RuntimeError(result.stderr)
    text = pathlib.Path(aside, "compile_commands.json").read_text(encoding="utf-8")

    def moved(word):
        is_precompiled = f"{aside}/CMakeFiles/panel_headers" in word
        return word if is_precompiled else word.replace(aside, str(BUILD))

    entries = [{"file": moved(entry["file"]),
                "words": [moved(word) for word in shlex.split(entry["command"])]}
               for entry in json.loads(text)]
    return [entry for entry in entries if BUILD not in pathlib.Path(entry["file"]).parents]


def is_header(entry):
    return "c++-header" in entry["words"]


def command_for(entry, *last):
    """The words that compile a source with the flags of its target, but for its output."""
    words = entry["words"].copy()
    while not pathlib.Path(words[0]).name.endswith("++"):
        words.pop(0)  # a cache in front of the compiler
    output = words.index("-o")
    del words[output:output + 2]
    flags = [word for word in words[1:] if word != "-c" and not word.startswith("-O")]
    # Qt's headers include some that are the same for every machine. No remarks about compilers
    # older than C++17.
    return [COMPILER, *flags, *(f"-D{definition}" for definition in DEFINITIONS),
            "-Wno-psabi", "-idirafter", "/usr/include", *last]


def complaint(entry, command=None, source=""):
    """What the compiler, which only checks, has against it."""
    result = subprocess.run([*(command or command_for(entry)), "-fsyntax-only"], cwd=BUILD,
                            input=source, text=True, capture_output=True, check=False)
    return result.stderr if result.returncode != 0 else ""


class NarrowMachine(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        entries = compilations(folder.name)
        cls.entries = [entry for entry in entries if not is_header(entry)]
        for entry in filter(is_header, entries):
            output = pathlib.Path(folder.name, entry["words"][entry["words"].index("-o") + 1])
            subprocess.run(command_for(entry, "-o", output), cwd=BUILD, check=True)

    def test_every_source_compiles(self):
        complaints = [text for text in map(complaint, self.entries) if text]
        if complaints:
            self.fail("\n".join(complaints))

    def test_no_source_is_forgotten(self):
        sources = {path for folder in ROOT.iterdir()
                   if folder.is_dir() and folder.name != "build" and folder.name[0] != "."
                   for path in folder.rglob("*.cpp")}
        compiled = {pathlib.Path(entry["file"]) for entry in self.entries}
        self.assertEqual(sources - compiled - NOT_BUILT, set())

    def test_a_narrowing_is_noticed_with_the_flags_of_every_target(self):
        commands = {}
        for entry in self.entries:
            command = command_for(entry)
            command.remove(entry["file"])
            commands.setdefault(" ".join(command), (entry, [*command, "-x", "c++", "-"]))
        for entry, command in commands.values():
            with self.subTest(entry["file"]):
                self.assertIn("conversion", complaint(entry, command, NARROWING))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
