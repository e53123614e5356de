"""Every source of every target compiles for a machine of 32 bits, with the flags of its target and
with warnings as errors: `long`, `size_t` and pointers are narrow there. Only the compiler looks, so
the headers of this machine's Qt do. What most sources include is parsed once; the release variant
sees to it that each includes what it needs. What has been looked at and has not changed, nor what it
includes, is not looked at again.

usage: test_narrow.py SOURCES BUILD COMPILER [DEFINITION...]
"""

import json
import pathlib
import shlex
import subprocess
import sys
import unittest

ROOT, BUILD = (pathlib.Path(word) for word in sys.argv[1:3])
COMPILER, DEFINITIONS = sys.argv[3], sys.argv[4:]
del sys.argv[1:]

FOLDER = BUILD / "narrow" / COMPILER
# What no target has: a test wants it not to compile.
NOT_BUILT = {ROOT / "tests" / "regstore" / "register_misuse.cpp"}
# With a complaint about these lines, the flags of a target notice what this is about.
NARROWING = """#include <cstddef>
#include <cstdint>
std::size_t sizeOf(std::uint64_t value) { return value; }
"""
RULES = """
rule headers
  command = $compile -MD -MF $out.d -MT $out -o $out
  depfile = $out.d
  deps = gcc
rule check
  command = $compile -fsyntax-only -MD -MF $out.d -MT $out && touch $out
  depfile = $out.d
  deps = gcc
rule narrowing
  command = if $compile -fsyntax-only 2>$out.err; then false; else grep -q conversion $out.err; fi && touch $out
"""


def compilations():
    """The compilation database with all that can be built. It is asked for in a folder of its own,
    since BUILD may have no benchmarks and precompiles no headers; what is generated for a target is
    in BUILD. Generated sources are left out: they are the same for every machine, and their headers
    are looked at with the others."""
    aside = str(FOLDER)
    result = subprocess.run(
        ["cmake", "-S", ROOT, "-B", aside, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
         "-DPANEL_BENCHMARKS=ON", "-DPANEL_PRECOMPILE=ON"],
        capture_output=True, text=True, check=False)
    if result.returncode != 0:
        raise RuntimeError(result.stderr)
    text = (FOLDER / "compile_commands.json").read_text(encoding="utf-8")

    def moved(word):
        is_precompiled = f"{aside}/CMakeFiles/panel_headers" in word
        return word if is_precompiled else word.replace(aside, str(BUILD))

    entries = [{"file": moved(entry["file"]),
                "words": [moved(word) for word in shlex.split(entry["command"])]}
               for entry in json.loads(text)]
    generated = {BUILD, FOLDER}
    return [entry for entry in entries
            if is_header(entry) or not generated.intersection(pathlib.Path(entry["file"]).parents)]


def is_header(entry):
    return "c++-header" in entry["words"]


def output_of(entry):
    return entry["words"][entry["words"].index("-o") + 1]


def command_for(entry):
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
            "-Wno-psabi", "-idirafter", "/usr/include"]


def escaped(text):
    return text.replace("$", "$$").replace(" ", "$ ").replace(":", "$:")


def step(rule, output, source, words, *needed):
    """A step of the build: words that compile the source, when something of it has changed."""
    compile_it = shlex.join(words).replace("$", "$$")
    needs = "".join(f" {escaped(name)}" for name in needed)
    return f"build {escaped(output)}: {rule} {escaped(source)} |{needs}\n  compile = {compile_it}\n"


def steps(entries):
    """All that is looked at. One name for each: a source may belong to several targets."""
    headers = {str(FOLDER / output_of(entry)): entry for entry in entries if is_header(entry)}
    for output, entry in headers.items():
        yield step("headers", output, entry["file"], command_for(entry))
    lines = str(FOLDER / "narrowing.cpp")
    flags_seen = set()
    for entry in entries:
        if is_header(entry):
            continue
        words = command_for(entry)
        yield step("check", f"{output_of(entry)}.seen", entry["file"], words, *headers)
        words = [lines if word == entry["file"] else word for word in words]
        if tuple(words) not in flags_seen:
            flags_seen.add(tuple(words))
            yield step("narrowing", f"{output_of(entry)}.narrowing", lines, words, *headers)


class NarrowMachine(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.entries = compilations()
        lines = FOLDER / "narrowing.cpp"
        if not lines.exists() or lines.read_text() != NARROWING:
            lines.write_text(NARROWING)

    def test_every_source_compiles_and_every_target_notices_a_narrowing(self):
        folder = FOLDER / "seen"
        folder.mkdir(exist_ok=True)
        (folder / "build.ninja").write_text(RULES + "".join(steps(self.entries)))
        result = subprocess.run(["ninja", "-C", folder, "--quiet", "-j1", "-k0"],
                                capture_output=True, text=True, check=False)
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def test_no_source_is_forgotten(self):
        sources = {path for folder in ROOT.iterdir()
                   if folder.is_dir() and folder.name != "build" and folder.name[0] != "."
                   for path in folder.rglob("*.cpp")}
        compiled = {pathlib.Path(entry["file"]) for entry in self.entries}
        self.assertEqual(sources - compiled - NOT_BUILT, set())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
