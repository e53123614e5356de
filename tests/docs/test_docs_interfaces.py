#!/usr/bin/env python3
"""The document of the device interfaces says what the code has: the image and the registers as
panelctl prints them, the files, commands and messages as the sources contain them.

usage: test_docs_interfaces.py PANELCTL
"""

import json
import re
import subprocess
import sys
import unittest

from documents import ROOT, code, tables

DOCUMENT = tables(ROOT / "docs" / "device-interfaces.md")
# The rooms of the product; a text of another room reaches no panel.
ROOMS = ("adapters", "common", "device", "dialogs", "fileio", "general", "mtd", "network", "plugin",
         "regstore", "settings")
TEXT = r'"((?:[^"\\]|\\.)*)"'


def tables_of(program):
    return json.loads(subprocess.run([program, "tables", "--json"], check=True,
                                     capture_output=True).stdout)


def source(suffixes=(".cpp", ".h")):
    """All code of the product without its comments."""
    files = [path for room in ROOMS for path in sorted((ROOT / room).rglob("*"))
             if path.suffix in suffixes]
    text = "\n".join(path.read_text(encoding="utf-8") for path in files)
    return re.sub(r"^\s*///?.*$", "", text, flags=re.M)


def in_source(pattern):
    """The texts that the source has where the pattern says, %TEXT standing for one."""
    return set(re.findall(pattern.replace("%TEXT", TEXT), source()))


def column(heading, title):
    return [code(row[title]) for row in DOCUMENT[heading]]


def numbers(row, *titles):
    return tuple(int(row[title]) for title in titles)


class Image(unittest.TestCase):
    def test_records_areThoseOfTheCode(self):
        documented = [(code(row["Record"]), *numbers(row, "Image offset (bytes)", "Size (bytes)"),
                       row["Written"] == "yes") for row in DOCUMENT["Records"]]
        self.assertEqual(documented, [(row["name"], row["offset"], row["size"], row["writable"])
                                      for row in TABLES["records"]])

    def test_fieldsWithMeaning_areThoseOfTheCode(self):
        documented = [
            (code(row["Record"]), code(row["Field"]),
             *numbers(row, "Image offset (bytes)", "Record offset (bytes)", "Size (bytes)"))
            for row in DOCUMENT["Fields"] if row["Field"] != "reserved"]
        self.assertEqual(documented, [
            (row["record"], row["name"], row["imageOffset"], row["offset"], row["size"])
            for row in TABLES["fields"] if row["kind"] != "reserved"])

    def test_fieldsAndReservedBytes_fillEachRecord(self):
        for record in TABLES["records"]:
            with self.subTest(record=record["name"]):
                at = 0
                for row in DOCUMENT["Fields"]:
                    if code(row["Record"]) == record["name"]:
                        image, offset, size = numbers(row, "Image offset (bytes)",
                                                      "Record offset (bytes)", "Size (bytes)")
                        self.assertEqual((image, offset), (record["offset"] + at, at))
                        at += size
                self.assertEqual(at, record["size"])

    def test_everyFieldWithMeaning_saysWhatItIs(self):
        silent = [row["Field"] for row in DOCUMENT["Fields"]
                  if row["Field"] != "reserved" and not row["Content"]]
        self.assertEqual(silent, [])


class Registers(unittest.TestCase):
    def test_areas_areThoseOfTheCode(self):
        documented = [(int(row["Area"]), code(row["File"]), row["Offsets and sizes in"],
                       row["Kept over a restart"] == "yes", row["On the medium"] == "yes")
                      for row in DOCUMENT["Areas"]]
        self.assertEqual(documented, [
            (row["area"], row["file"], row["unit"], row["stored"], row["synchronised"])
            for row in TABLES["areas"]])

    def test_registersInUse_areThoseOfTheCode(self):
        self.compare("Registers that the settings use", "Name", True)

    def test_otherRegisters_areThoseOfTheCode(self):
        self.compare("Other registers", None, False)

    def compare(self, heading, name, used):
        documented = [
            (*numbers(row, "Id", "Area", "Offset", "Size"), code(row["File"]), row["Unit"],
             code(row[name]) if name else None) for row in DOCUMENT[heading]]
        self.assertEqual(documented, [
            (row["id"], row["area"], row["offset"], row["size"], row["file"], row["unit"],
             row.get("name")) for row in TABLES["registers"] if ("name" in row) == used])

    def test_adapters_areThoseOfTheTable(self):
        quads = {"address": "ip", "subnet mask": "mask", "gateway": "gateway"}
        bits = {"switched off": "off", "dynamic": "dhcp"}
        self.assertEqual(
            {(code(row["Adapter"]), row["Value"], row["Record field"], row["Register"])
             for row in DOCUMENT["Adapters"]},
            {(row["name"], value, f"`{row[part]['field']}`", str(row[part]["register"]))
             for row in TABLES["adapters"] for value, part in quads.items()} |
            {(row["name"], value, "", str(row[part]))
             for row in TABLES["adapters"] for value, part in bits.items()})

    def test_registersWithNotice_areThoseThatAreAnnounced(self):
        documented = {code(row["Name"]): row["Notice"] == "yes"
                      for row in DOCUMENT["Registers that the settings use"]}
        self.assertEqual(documented, {row["name"]: row["announced"]
                                      for row in TABLES["registers"] if "name" in row})

    def test_registers_areUsedByNameOnly(self):
        """The flat functions take ids; beside the room that has them only panelctl may use those."""
        users = [path.name for room in ROOMS if room != "regstore"
                 for path in (ROOT / room).rglob("*.cpp")
                 if re.search(r"\bSysReg_|[Rr]egister\w* = \d", path.read_text(encoding="utf-8"))]
        self.assertEqual(users, [])


class Pipes(unittest.TestCase):
    def test_pipes_areThoseOfTheCode(self):
        documented = {code(row["Pipe"]): int(row["Size (bytes)"])
                      for row in DOCUMENT["Notice pipes"]}
        self.assertEqual(documented, {pipe: TABLES["noticeBytes"][what]
                                      for what, pipe in TABLES["pipes"].items()})


class Files(unittest.TestCase):
    def test_files_areThoseThatTheSourcesName(self):
        named = {path for path in in_source("%TEXT") if re.fullmatch(r"/[a-z][^ ]*", path)}
        tools = {path for path in named if path.startswith("/root/plat-intf/")}
        elsewhere = set(column("Areas", "File")) | set(column("Notice pipes", "Pipe"))
        # The connectivity test names its file as its command lines do.
        relative = {path for path in in_source("%TEXT") if re.fullmatch(r"\w+\.txt", path)}
        self.assertEqual(set(column("Files", "File")), (named - tools - elsewhere) | relative)

    def test_filesOfTheTables_areListed(self):
        printed = {*TABLES["files"].values(), *(row["pidFile"] for row in TABLES["adapters"])}
        self.assertLessEqual(printed, set(column("Files", "File")))

    def test_keysOfTheSettingsFile_areThoseOfTheCode(self):
        self.assertEqual(column("Settings file", "Key"),
                         [TABLES["buzzerKey"], *(row["enableKey"] for row in TABLES["adapters"])])


class Commands(unittest.TestCase):
    def test_commands_areThoseOfTheSources(self):
        run = in_source(r"ShellLine::(?:run|runAndSync|format)\((?:command, )?%TEXT")
        tools = in_source(r"\b(?:readcmd|writecmd|ToolPipe tool|setIdentity)\(%TEXT")
        # The paths of these stand in a table; that they run as they are listed, their tests see.
        paths = "|".join(re.escape(TABLES["files"][name]) for name in ("resolver", "resolverBackup"))
        listed = {re.sub(paths, "%s", command) for command in column("Commands", "Command")}
        self.assertEqual(listed, run | tools)

    def test_noCommand_isListedTwice(self):
        commands = column("Commands", "Command")
        self.assertEqual(len(commands), len(set(commands)))

    def test_everyToolOfThePlatform_isListed(self):
        tools = {path.split()[0] for path in in_source("%TEXT")
                 if path.startswith("/root/plat-intf/")}
        listed = {command.split()[0] for command in column("Commands", "Command")}
        self.assertTrue(tools)
        self.assertLessEqual(tools, listed)

    def test_commandsFollowedBySync_areThoseOfTheSources(self):
        listed = {code(row["Command"]) for row in DOCUMENT["Commands"]
                  if row["Then `sync`"] == "yes"}
        self.assertEqual(listed, in_source(r"ShellLine::runAndSync\(%TEXT"))


class Messages(unittest.TestCase):
    def messages(self, stream):
        return {code(row["Text"]) for row in DOCUMENT["Messages"] if row["Stream"] == stream}

    def test_messagesWithTheSystemsText_areThoseOfTheSources(self):
        self.assertEqual(self.messages("stderr*"), in_source(r"\bperror\(%TEXT"))

    def test_messagesOnStandardError_areThoseOfTheSources(self):
        self.assertEqual(self.messages("stderr"), in_source(r"\bfprintf\(stderr, %TEXT"))

    def test_messagesOnStandardOutput_areThoseOfTheSources(self):
        self.assertEqual(self.messages("stdout"), in_source(r"\bstd::(?:printf|puts)\(%TEXT"))

    def test_nothingElsePrints(self):
        others = re.findall(r"\b(?:qDebug|qInfo|qWarning|qCritical|cout|cerr|fputs)\b", source())
        self.assertEqual(others, [])


if __name__ == "__main__":
    TABLES = tables_of(sys.argv.pop())
    unittest.main()
