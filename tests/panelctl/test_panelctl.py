"""panelctl's command line, its helps and its tables."""

import itertools
import json
import os
import pathlib
import re
import subprocess
import sys
import unittest

from panel_values import WORDS, fitting, shown, unfit
from panel_world import (AREAS, FACTORY, FIELDS, PROGRAM, REGISTER_PIPE, REGISTERS, TABLES, WAIT_S,
                         PanelTest)

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tests"))

from terminal import said_on_terminal  # noqa: E402

COMMAND_NAMES = ["reg list", "reg read", "reg write", "reg watch", "device show", "device set",
                 "device dump", "device check", "device fields", "device create", "dns show",
                 "dns set", "dns clear", "areas create", "areas check", "export",
                 "import", "confirm", "recover", "tables", "complete", "help"]


class CommandLine(PanelTest):
    def synopses(self, *words):
        """The commands in a help, by name: the words behind it."""
        lines = [line.strip() for line in self.output(*words, "--help").splitlines()]
        found = {}
        for line in lines:
            name = next((name for name in COMMAND_NAMES
                         if f"{line} ".startswith(f"panelctl {name} ")), None)
            if name:
                found[name] = line.removeprefix(f"panelctl {name}").strip()
        return found

    def test_help_lists_every_command(self):
        self.assertEqual(list(self.synopses()), COMMAND_NAMES)
        self.assertEqual(self.output("-h"), self.output("--help"))

    def test_help_of_a_group_lists_its_commands(self):
        for group in ("reg", "device", "dns", "areas"):
            with self.subTest(group=group):
                self.assertEqual(list(self.synopses(group)),
                                 [name for name in COMMAND_NAMES if name.split()[0] == group])

    def test_every_command_explains_itself_and_its_options(self):
        for name, parameters in self.synopses().items():
            with self.subTest(name=name):
                help_text = self.output(*name.split(), "--help")
                self.assertIn(f"usage: panelctl {name} {parameters}".strip() + " ",
                              " ".join(help_text.split()))
                options = {word.strip("[]") for word in parameters.split() if "--" in word}
            if "[OPTION...]" in parameters:  # more than fit on a line
                self.assertGreater(help_text.count("\n  --"), 4)
                continue
                explained = {line.split()[0] for line in help_text.splitlines()
                             if line.startswith("  --")}
                self.assertEqual(explained, options)
                # Also behind other words, and without doing anything.
                self.assertEqual(self.output(*name.split(), "any", "thing", "-h"), help_text)

    def test_unknown_options_are_refused_by_every_command(self):
        unknown = ("--jsn", "-x", "--json=1", "--jsn=1")
        for name, option in itertools.product(COMMAND_NAMES, unknown):
            with self.subTest(name=name, option=option):
                self.assertIn(f"'{option}'", self.complaint(2, *name.split(), option))

    def test_options_of_others_are_refused(self):
        synopses = self.synopses()
        for name, option in itertools.product(COMMAND_NAMES, ("--json", "--notify", "--image",
                                                              "--root", "--stored")):
            if option not in synopses[name] and name != "import":
                with self.subTest(name=name, option=option):
                    self.assertIn(option, self.complaint(2, *name.split(), option, "x"))

    def test_options_may_stand_anywhere_and_have_their_value_behind_a_sign(self):
        image = self.image_file(FACTORY)
        expected = self.output("device", "show", "--image", image, "--json")
        for words in (("--json", "device", "show", "--image", image),
                      ("--image", image, "device", "--json", "show"),
                      ("device", f"--image={image}", "show", "--json"),
                      (f"--image={image}", "--json", "--", "device", "show")):
            with self.subTest(words=words):
                self.assertEqual(self.output(*words), expected)
        odd = self.folder / "a=b"
        odd.write_bytes(FACTORY)
        self.assertEqual(self.output("device", "show", f"--image={odd}", "--json"), expected)

    def test_options_that_are_given_twice_are_refused(self):
        image = self.image_file(FACTORY)
        for words in (("--json", "--json"), ("--image", image, f"--image={image}")):
            with self.subTest(words=words):
                self.assertIn("is given twice", self.complaint(2, "device", "show", *words))

    def test_behind_two_hyphens_everything_is_a_word(self):
        self.assertIn("'--json'", self.complaint(2, "reg", "read", "--", "--json"))
        self.assertIn("usage", self.complaint(2, "device", "show", "--", "--json"))
        self.assertEqual(self.output("--", "reg", "read", "language"),
                         self.output("reg", "read", "language"))

    def test_version_is_that_of_the_project(self):
        version = re.search(r"VERSION ([\d.]+) LANG", (ROOT / "CMakeLists.txt").read_text())[1]
        self.assertEqual(self.output("--version"), f"panelctl {version}\n")

    def test_help_is_a_command_too(self):
        self.assertEqual(self.output("help"), self.output("--help"))
        for name in ("reg", *COMMAND_NAMES):
            with self.subTest(name=name):
                self.assertEqual(self.output("help", *name.split()),
                                 self.output(*name.split(), "--help"))
        self.assertIn("'jump'", self.complaint(2, "help", "jump"))
        self.assertIn("'reg jump'", self.complaint(2, "help", "reg", "jump"))

    def test_help_behind_a_register_or_field_says_what_its_value_may_be(self):
        for row in REGISTERS:
            word = row.get("name", row["id"])
            with self.subTest(register=word):
                self.check_help(row, ("reg", "write", word))
        for field in FIELDS:
            with self.subTest(field=field["name"]):
                self.check_help(field, ("device", "set", field["name"]))

    def check_help(self, row, words):
        """The help names what a refusal of a wrong value names."""
        said = self.output(*words, "--help").replace("\n", " ")
        value = re.search(r"VALUE of [\w ]+: (.*?) ?$", said)[1]
        for text in fitting(row)[:3]:
            if row["kind"] in ("switch", "language", "default_adapter", "adapter_count"):
                self.assertIn(shown(row, text), value)
        refusal = self.complaint(2, *words, unfit(row)[0]) if row["kind"] in (
            "switch", "language", "default_adapter", "number", "bytes") else None
        if refusal:
            self.assertIn(value, refusal)

    def test_standard_input_can_be_an_image(self):
        for words in (("show", "--json"), ("dump", "--json"), ("check",)):
            with self.subTest(words=words):
                self.assertEqual(self.output("device", *words, "--image", "-", input=FACTORY),
                                 self.output("device", *words, "--image", self.image_file(FACTORY)))
        self.assertIn("has 3 bytes", self.complaint(1, "device", "show", "--image", "-",
                                                    input=b"abc"))
        for words in (("set", "eth0_ip", "1.2.3.4"), ("create",)):
            with self.subTest(words=words):
                self.assertIn("standard input", self.complaint(2, "device", *words, "--image=-",
                                                               cwd=self.folder))
                self.assertFalse((self.folder / "-").exists())

    def test_wrong_number_of_words_is_answered_by_the_usage(self):
        fixed = {"help": 2, "import": 1, "reg read": 1, "reg write": 2, "dns set": 3, "dns clear": 1}
        for name in COMMAND_NAMES:
            right = fixed.get(name, 0)
            wrong = {right - 1, right + 1} - {-1}
            if name in ("areas create", "device create", "complete"):  # any number
                continue
            if name == "help":
                wrong = {3}
            for count in (0, 1) if name == "device set" else wrong:
                with self.subTest(name=name, count=count):
                    line = self.complaint(2, *name.split(), *["20"] * count)
                    self.assertIn(f"usage: panelctl {name}", line)

    def test_unknown_commands_are_one_clear_line(self):
        for words, text in (((), "no command"), (("jump",), "'jump'"), (("",), "''"),
                            (("reg",), "'reg' needs a command"), (("reg", "jump"), "'reg jump'"),
                            (("device", "read"), "'device read'"), (("areas",), "'areas' needs"),
                            (("read",), "'read'"), (("reg read", "20"), "'reg read'"),
                            (("two\nlines",), "unknown command"), (("reg", "a\nb"), "unknown")):
            with self.subTest(words=words):
                self.assertIn(text, self.complaint(2, *words))

    def test_options_that_take_a_value_need_one(self):
        for words in (("device", "show", "--image"), ("device", "show", "--image", ""),
                      ("areas", "create", "--root"), ("areas", "create", "--root", "")):
            with self.subTest(words=words):
                self.assertIn(f"'{words[2]}' needs", self.complaint(2, *words))

    def test_output_that_cannot_be_written_is_a_failure(self):
        for words in (("reg", "list"), ("reg", "list", "--json"), ("device", "show"),
                      ("device", "dump"), ("tables", "--json"), ("--help",)):
            with self.subTest(words=words), open("/dev/full", "wb") as full:
                result = subprocess.run([PROGRAM, *words], stdout=full, stderr=subprocess.PIPE,
                                        timeout=WAIT_S, check=False)
                self.assertEqual(result.returncode, 1)
                self.assertIn("output", self.one_line(result.stderr))


def on_terminal(columns, *words):
    """The lines of the program when its output is a terminal of that width."""
    status, said = said_on_terminal([PROGRAM, *map(str, words)], columns)
    assert status == 0, words
    return said.decode().splitlines()


def examples():
    """The command lines of panelctl that documents tell people to type."""
    readme, guide, manual = (
        (ROOT / name).read_text() for name in ("README.md", "docs/host-guide.md",
                                               "panelctl/panelctl.1"))
    yield from re.findall(r"^(panelctl [^#\n]*)", readme, re.M)
    yield from re.findall(r"`(panelctl [a-z]+ [^`]*)`", guide)
    yield from re.findall(r"^(panelctl [^&\n]*)", manual.split(".SH EXAMPLES")[1].replace("\\", ""),
                          re.M)


class Examples(PanelTest):
    def test_commands_in_the_documents_work(self):
        self.hear(REGISTER_PIPE)
        lines = [line.strip() for line in examples()]
        self.assertGreater(len(lines), 10)
        for line in lines:
            with self.subTest(line=line):
                words = line.split()[1:]
                image = self.folder / "panel.bin"
                image.unlink(missing_ok=True)
                if words[:2] != ["device", "create"]:
                    image.write_bytes(FACTORY)
                if words == ["reg", "watch"]:  # it ends when it is told to, not by itself
                    self.assertIn(line, self.output(*words, "--help"))
                else:
                    self.output(*words, cwd=self.folder)
                if image.read_bytes() != FACTORY:  # a new one that somebody was told to make
                    self.silent("device", "check", "--image", image)


class Tables(PanelTest):
    def test_registers_are_the_runtime_s(self):
        self.assertEqual([row["id"] for row in REGISTERS], list(range(90)))
        names = [row["name"] for row in REGISTERS if "name" in row]
        self.assertEqual(len(names), len(set(names)))
        self.assertFalse([name for name in names if name.isdigit() or name.startswith("-")])
        for row in REGISTERS:
            with self.subTest(id=row["id"]):
                self.assertEqual(row["file"], str(AREAS[row["area"]]))
                self.assertEqual(row["unit"], "bytes" if row["area"] % 2 else "bits")
                self.assertEqual("name" in row, "description" in row)
                if row["unit"] == "bits":
                    self.assertEqual(row["size"], 1)

    def test_fields_fill_each_record_without_a_gap(self):
        for record in TABLES["records"]:
            with self.subTest(record=record["name"]):
                at = 0
                for field in TABLES["fields"]:
                    if field["record"] == record["name"]:
                        self.assertEqual((field["offset"], field["imageOffset"]),
                                         (at, record["offset"] + at))
                        at += field["size"]
                self.assertEqual(at, record["size"])
        names = [field["name"] for field in FIELDS]
        self.assertEqual(len(names), len(set(names)))

    def test_lists_are_those_of_the_tables(self):
        self.assertEqual(self.json("reg", "list"), REGISTERS)
        self.assertEqual(self.json("device", "fields"), TABLES["fields"])
        self.assertEqual(self.json("tables"), json.loads(self.output("tables")))

    def test_languages_are_the_words_of_their_values(self):
        self.assertEqual({row["word"]: row["value"] for row in TABLES["languages"]},
                         WORDS["language"])
        self.assertEqual([row["name"] for row in TABLES["languages"] if row["fallback"]],
                         ["English"])

    def test_lists_for_people_have_one_line_for_each(self):
        lines = on_terminal(200, "reg", "list")
        self.assertEqual(len(lines), len(REGISTERS))
        for row, line in zip(REGISTERS, lines):
            words = line.split()
            self.assertEqual(words[:7], [str(row["id"]), row.get("name", "-"), "area",
                                         str(row["area"]), row["file"], row["unit"][:-1],
                                         str(row["offset"])])
            self.assertTrue(line.endswith(f"size {row['size']}" + (
                f"  {row['description']}" if "name" in row else "")))
        lines = on_terminal(200, "device", "fields")
        self.assertEqual(len(lines), len(FIELDS))
        for field, line in zip(FIELDS, lines):
            self.assertEqual(line.split()[:6], [field["record"], field["name"], "byte",
                                                str(field["imageOffset"]), "size",
                                                str(field["size"])])
            self.assertTrue(line.endswith(field["description"]))

    def test_lines_fit_the_terminal_or_80_columns(self):
        image = self.image_file()
        lists = [("reg", "list"), ("device", "fields"), ("device", "show", "--image", image),
                 ("device", "dump", "--image", image), ("dns", "show"), ("--help",),
                 *((*name.split(), "--help") for name in COMMAND_NAMES)]
        for words in lists:
            with self.subTest(words=words):
                narrow = self.output(*words).splitlines()
                self.assertLessEqual(max(map(len, narrow)), 80)
                wide = on_terminal(200, *words)
                self.assertLessEqual(len(wide), len(narrow))
                self.assertEqual(" ".join(wide).split(), " ".join(narrow).split())
        self.assertLess(len(on_terminal(200, "reg", "list")),
                        len(self.output("reg", "list").splitlines()))


    def test_terminal_that_tells_next_to_no_width_has_80_columns(self):
        words = ("help", "device")
        for columns in (0, 1, 19):
            with self.subTest(columns=columns):
                self.assertEqual(on_terminal(columns, *words), self.output(*words).splitlines())
        self.assertLessEqual(max(len(line) for line in on_terminal(20, *words)
                                 if line.startswith("      ")), 20)

    def test_line_of_exactly_the_width_is_not_broken(self):
        widest = max(map(len, on_terminal(400, "help")))
        for columns, is_same in ((widest, True), (widest - 1, False)):
            with self.subTest(columns=columns):
                self.assertEqual(on_terminal(columns, "help") == on_terminal(400, "help"), is_same)
        rows = on_terminal(400, "device", "fields")
        widest = max(map(len, rows))
        self.assertEqual(on_terminal(widest, "device", "fields"), rows)
        self.assertNotEqual(on_terminal(widest - 1, "device", "fields"), rows)


class Completion(PanelTest):
    def candidates(self, *words):
        return self.output("complete", "--", *words).split()

    def test_every_step_of_a_command_line_is_known(self):
        names = [row["name"] for row in REGISTERS if "name" in row]
        fields = [field["name"] for field in FIELDS]
        groups = sorted({name.split()[0] for name in COMMAND_NAMES})
        for words, expected in (
                ((), groups), (("help",), groups),
                (("dns",), ["clear", "set", "show"]), (("reg", "read"), [*names, "--json"]),
                (("--json", "reg", "read"), [*names, "--json"]),
                (("reg", "write", "language"), [*WORDS["language"], "--notify"]),
                (("device", "set"), [*fields, "--image"]),
                (("device", "set", "--image", "x", "settings_close_hidden"),
                 ["off", "on", "--image"]),
                (("device", "set", "brightness", "76"), [*fields, "--image"]),
                (("dns", "set"), ["eth0", "eth1"]), (("dns", "set", "eth0"), ["first", "backup"]),
                (("reg", "read", "language"), ["--json"]), (("dns", "clear", "eth0"), []),
                (("dns", "set", "eth0", "first"), []), (("reg", "watch"), ["--json"]),
                (("areas", "create"), [*(f"{name}=" for name in names), "--json", "--root",
                                       "--stored"]), (("jump",), [])):
            with self.subTest(words=words):
                self.assertEqual(self.candidates(*words), expected)

    def test_bash_completes_with_it(self):
        script = f"""
            PATH={pathlib.Path(PROGRAM).parent}:$PATH
            . {ROOT}/panelctl/completion/panelctl.bash
            COMP_WORDS=(panelctl reg write default_adapter e) COMP_CWORD=4
            _panelctl
            printf '%s\n' "${{COMPREPLY[@]}}"
            complete -p panelctl"""
        done = subprocess.run(["bash", "-c", script], capture_output=True, text=True, check=True)
        self.assertEqual(done.stdout.splitlines(),
                         ["eth0", "eth1", "complete -o default -F _panelctl panelctl"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
