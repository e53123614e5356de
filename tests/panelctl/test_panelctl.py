"""panelctl's command line, its helps and its tables."""

import itertools
import json
import pathlib
import re
import subprocess
import unittest

from panel_world import (AREAS, FACTORY, FIELDS, PROGRAM, REGISTER_PIPE, REGISTERS, TABLES, WAIT_S,
                         PanelTest)

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent

COMMAND_NAMES = ["reg list", "reg read", "reg write", "reg watch", "device show", "device set",
                 "device dump", "device check", "device fields", "device create", "dns show",
                 "dns set", "dns clear", "areas create", "tables"]


class CommandLine(PanelTest):
    def synopses(self, *words):
        """The commands in a help, by name: the words behind it."""
        lines = [line.strip() for line in self.output(*words, "--help").splitlines()]
        found = {}
        for line in lines:
            name = next((name for name in COMMAND_NAMES
                         if line.startswith(f"panelctl {name} ")), None)
            if name:
                found[name] = line.removeprefix(f"panelctl {name} ")
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
                self.assertIn(f"usage: panelctl {name} {parameters}\n", help_text)
                options = {word.strip("[]") for word in parameters.split() if "--" in word}
                explained = {line.split()[0] for line in help_text.splitlines()
                             if line.startswith("  --")}
                self.assertEqual(explained, options)
                # Also behind other words, and without doing anything.
                self.assertEqual(self.output(*name.split(), "any", "thing", "-h"), help_text)

    def test_unknown_options_are_refused_by_every_command(self):
        unknown = ("--jsn", "-x", "-", "--", "--json=1")
        for name, option in itertools.product(COMMAND_NAMES, unknown):
            with self.subTest(name=name, option=option):
                self.assertIn(f"'{option}'", self.complaint(2, *name.split(), option))

    def test_options_of_others_are_refused(self):
        synopses = self.synopses()
        for name, option in itertools.product(COMMAND_NAMES, ("--json", "--notify", "--image",
                                                              "--root", "--stored")):
            if option not in synopses[name]:
                with self.subTest(name=name, option=option):
                    self.assertIn(option, self.complaint(2, *name.split(), option, "x"))

    def test_wrong_number_of_words_is_answered_by_the_usage(self):
        fixed = {"reg read": 1, "reg write": 2, "dns set": 3, "dns clear": 1}
        for name in COMMAND_NAMES:
            right = fixed.get(name, 0)
            wrong = {right - 1, right + 1} - {-1}
            if name in ("areas create", "device create"):  # any number
                continue
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

    def test_lists_for_people_have_one_line_for_each(self):
        lines = self.output("reg", "list").splitlines()
        self.assertEqual(len(lines), len(REGISTERS))
        for row, line in zip(REGISTERS, lines):
            words = line.split()
            self.assertEqual(words[:7], [str(row["id"]), row.get("name", "-"), "area",
                                         str(row["area"]), row["file"], row["unit"][:-1],
                                         str(row["offset"])])
            self.assertTrue(line.endswith(f"size {row['size']}" + (
                f"  {row['description']}" if "name" in row else "")))
        lines = self.output("device", "fields").splitlines()
        self.assertEqual(len(lines), len(FIELDS))
        for field, line in zip(FIELDS, lines):
            self.assertEqual(line.split()[:6], [field["record"], field["name"], "byte",
                                                str(field["imageOffset"]), "size",
                                                str(field["size"])])
            self.assertTrue(line.endswith(field["description"]))

if __name__ == "__main__":
    unittest.main(verbosity=2)
