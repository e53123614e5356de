"""What `cmake --install` gives a host, and what a host makes of it."""

import gzip
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

from foreign_host import (CLOSE_BUTTON, COMPLETIONS, EXAMPLE, MANUAL, PANELCTL, PLUGIN, ROOT, SCHEMA,
                          Host, build, configure, files_in, run)
from patience import wait_for

BUILD = pathlib.Path(sys.argv.pop(1))
SANITIZED = "-fsanitize" in os.environ.get("CXXFLAGS", "")
INCLUDES = "include/panel-settings"
HEADERS = {
    "plugin/SettingsInterface.h",
    "fileio/Export.h", "fileio/File.h", "fileio/DFifo.h", "fileio/DFileStdio.h",
    "fileio/DFileSystem.h",
    "regstore/RegisterArea.h", "regstore/RegisterTable.h", "regstore/SysReg.h",
    "device/EEInfoDetail.h", "device/EEInfoHandle.h", "device/PlateformInterface.h",
    "mtd/MtdWRInterface.h", "mtd/CommonDevMtdWR.h", "mtd/FutureMtdWR.h",
}
LIBRARY_USER = ROOT / "tests" / "packaging" / "library-user"
DOCUMENTS = "share/doc/panel-settings"
CONFIG = "lib/cmake/PanelSettings/PanelSettings"


def install(prefix, *options):
    run("cmake", "--install", BUILD, "--prefix", prefix, *options)


class Folder(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="install-test.")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.prefix = self.folder / "prefix"


class Installed(Folder):
    def test_panel_gets_the_plugin_and_a_host_what_it_compiles_against(self):
        variant = re.search(r"^CMAKE_BUILD_TYPE:\w+=(\w+)$",
                            (BUILD / "CMakeCache.txt").read_text(), re.M)[1].lower()
        config = {f"{CONFIG}{part}.cmake"
                  for part in ("Config", "ConfigVersion", "Targets", f"Targets-{variant}")}
        example = {f"{DOCUMENTS}-dev/example-host/{path.name}" for path in EXAMPLE.iterdir()}
        about = ("CHANGELOG.md", "changelog.gz", "copyright")
        panel = ({PLUGIN, PANELCTL, MANUAL, SCHEMA} | COMPLETIONS |
                 {f"{DOCUMENTS}/{name}" for name in about})
        host = ({f"{INCLUDES}/{name}" for name in HEADERS} | config | example |
                {f"{DOCUMENTS}-dev/{name}" for name in (*about, "host-guide.md")})
        for component, files in (("plugin", panel), ("dev", host)):
            with self.subTest(component=component):
                prefix = self.folder / component
                install(prefix, "--component", component)
                self.assertEqual(files_in(prefix), files)
        install(self.prefix)
        self.assertEqual(files_in(self.prefix), panel | host)

    def test_nothing_installed_knows_where_it_was_built(self):
        install(self.prefix, "--strip")
        for name in files_in(self.prefix):
            if SANITIZED and name in (PLUGIN, PANELCTL):
                continue  # they name their sources in their reports
            content = (self.prefix / name).read_bytes()
            for place in (ROOT, BUILD, self.prefix):
                self.assertFalse(str(place).encode() in content, f"{place} in {name}")
        for name in (PLUGIN, PANELCTL):
            dynamic = run("readelf", "--dynamic", self.prefix / name)
            self.assertIn("NEEDED", dynamic)
            self.assertNotRegex(dynamic, "RPATH|RUNPATH")

    def test_panelctl_starts_and_its_manual_has_every_command(self):
        install(self.prefix)
        tables = json.loads(run(self.prefix / PANELCTL, "tables", "--json"))
        self.assertEqual((tables["imageBytes"], len(tables["registers"])), (1024, 90))
        manual = gzip.decompress((self.prefix / MANUAL).read_bytes()).decode().replace("\\-", "-")
        help_text = run(self.prefix / PANELCTL, "--help")
        commands = re.findall(r"^  (panelctl .*)$", help_text, re.M)
        self.assertGreater(len(commands), 10)
        described = re.findall(r"^\.TP\n(panelctl .*)$", manual.split(".SH EXIT")[0], re.M)
        self.assertEqual(described, commands)


class Consumer(Folder):
    def setUp(self):
        super().setUp()
        # Installed at one place and used at another, as a package is.
        install(self.folder / "staging")
        (self.folder / "staging").rename(self.prefix)

    def test_example_host_is_short_enough_to_be_read_at_once(self):
        self.assertLess(len((EXAMPLE / "main.cpp").read_text().splitlines()), 60)

    def test_host_built_against_it_runs_it(self):
        cache = build(EXAMPLE, self.folder / "host", self.prefix)
        self.assertEqual(cache["PanelSettings_DIR:PATH"], str((self.prefix / CONFIG).parent))
        host = Host(BUILD, self.folder / "host" / "example-host", self.prefix)
        self.addCleanup(host.clean)

        # The first press on a dark panel brings the light back and presses nothing.
        wait_for(lambda: "register 20" in host.output(), "the dialog, which sets its language")
        host.make_dark()
        operator = host.operator()
        operator.press(*CLOSE_BUTTON)
        wait_for(lambda: host.backlight() == 140, "the light")
        self.assertEqual(host.commands().count("/root/plat-intf/setbright 140"), 1)
        self.assertNotIn("register 86", host.output())
        operator.press(*CLOSE_BUTTON)
        status, output = host.end()
        operator.close()
        self.assertEqual(status, 0, output)
        self.assertTrue(output.rstrip().endswith("register 86"), output)
        self.assertEqual(host.unloaded(), 1, "the library left the process")

    def test_config_names_the_folder_of_the_plugin(self):
        project = self.folder / "project"
        project.mkdir()
        (project / "CMakeLists.txt").write_text(
            "cmake_minimum_required(VERSION 3.16)\nproject(stranger LANGUAGES CXX)\n"
            "find_package(PanelSettings 1.0 REQUIRED)\n"
            "set(found ${PanelSettings_PLUGIN_DIR} CACHE PATH \"\")\n"
            "find_package(PanelSettings 2.0 QUIET)\n"
            "set(newer \"${PanelSettings_FOUND}\" CACHE STRING \"\")\n")
        cache = configure(project, self.folder / "build", self.prefix)
        self.assertEqual(cache["found:PATH"], str((self.prefix / PLUGIN).parent))
        self.assertEqual(cache["newer:STRING"], "0")


class Library(Folder):
    """The plugin file as a library for others who build on its files, registers and flash."""

    def setUp(self):
        super().setUp()
        install(self.folder / "staging")
        (self.folder / "staging").rename(self.prefix)

    @unittest.skipIf(SANITIZED, "a sanitizer exports marks of its own")
    def test_it_exports_what_its_headers_say_and_nothing_else(self):
        declared = set()
        for name in HEADERS:
            text = (self.prefix / INCLUDES / name).read_text()
            declared |= set(re.findall(r"^class PANEL_EXPORT (\w+)", text, re.M))
            declared |= set(re.findall(r"^PANEL_EXPORT [\w*& ]*?(\w+)\(", text, re.M))
        self.assertEqual(len(declared), 18)
        symbols = run("nm", "--dynamic", "--demangle", "--defined-only", self.prefix / PLUGIN)
        names = [line.split(" ", 2)[2] for line in symbols.splitlines()]
        exported = {re.match(r"(?:(?:vtable|typeinfo|typeinfo name) for )?(\w+)", name)[1]
                    for name in names} - {"__bss_start", "_edata", "_end"}
        # Records are data: there is no code of their class.
        self.assertEqual(exported, (declared - {"EEInfoDetail"}) |
                         {"qt_plugin_instance", "qt_plugin_query_metadata"})

    def test_program_without_qt_uses_flash_registers_files_and_records(self):
        source = (LIBRARY_USER / "main.cpp").read_text()
        self.assertEqual(set(re.findall(r'#include "(.*)"', source)) - {"tests/mtd/MtdEmulation.h"},
                         HEADERS - {"plugin/SettingsInterface.h"})
        emulation = self.folder / "emulation"
        (emulation / "tests" / "mtd").mkdir(parents=True)
        shutil.copy(ROOT / "tests" / "mtd" / "MtdEmulation.h", emulation / "tests" / "mtd")
        shutil.copy(BUILD / "tests" / "mtd" / "libmtd_emulation.so", emulation)
        program = self.folder / "program"
        configure(LIBRARY_USER, program, self.prefix, f"-DEMULATION={emulation}")
        commands = run("ninja", "-C", program, "-t", "commands")
        self.assertIn("libSettingsPlugin.so", commands)
        self.assertNotRegex(commands, "(?i)qt5|widgets")
        run("cmake", "--build", program)

        places = "/opt/emulation", str(pathlib.Path("/opt/panel", PLUGIN).parent)
        device = self.folder / "device"
        output = run(ROOT / "simulator" / "sandbox", "--build", BUILD, "--state", device,
                     "--bind", self.prefix, "/opt/panel", "--bind", emulation, "/opt/emulation",
                     "--bind", program, "/opt/program",
                     "--env", f"LD_LIBRARY_PATH={':'.join(places)}", "--", "/opt/program/library-user")
        self.assertEqual(re.findall("^(?:flash|register|files|record) .*$", output, re.M),
                         ["flash 0 0 1 1 1 6", "register 0 0 1 0 1 90", "files 6 1 0 6 1 1",
                          "record tool 0 0"])
        self.assertEqual((device / "hmi_data" / "sfw.dat").read_bytes()[169], 1)
        self.assertEqual((device / "state" / "image").read_bytes()[29:31], bytes([76, 0]))


class NoPanel(Folder):
    """The example on a machine that is no panel: its root would lose the network."""

    def start(self, *words, as_user=0):
        """Starts the example where there are no platform tools, and no way to a network either."""
        example = BUILD / "tests" / "packaging" / "example_host"
        result = subprocess.run(
            ["bwrap", "--unshare-all", "--uid", str(as_user), "--gid", "0", "--dev-bind", "/", "/",
             "--tmpfs", "/root", "--ro-bind", BUILD, "/mnt", "--cap-drop", "ALL",
             "--setenv", "QT_QPA_PLATFORM", "offscreen", "--setenv", "QT_FORCE_STDERR_LOGGING", "1",
             "/mnt" / example.relative_to(BUILD), *words, "/nowhere/libNone.so"],
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        self.assertEqual(result.returncode, 1, result.stdout)
        return result.stdout

    def test_root_is_refused_unless_told(self):
        refusal = "no panel: root would change its network"
        self.assertIn(refusal, self.start())
        for output in (self.start("--here"), self.start(as_user=1000)):
            self.assertNotIn(refusal, output)
            self.assertIn("library was not found", output)  # it has looked for the plugin


class ForeignLibrary(Folder):
    def test_host_says_that_a_file_is_no_settings_plugin(self):
        (self.prefix / "lib").mkdir(parents=True)
        (self.prefix / "lib" / "other.so").write_text("no library\n")
        for name in ("lib/other.so", "lib/missing.so"):
            with self.subTest(name=name):
                host = Host(BUILD, BUILD / "tests" / "packaging" / "example_host", self.prefix,
                            plugin=name)
                self.addCleanup(host.clean)
                status, output = host.end()
                self.assertEqual(status, 1, output)
                self.assertIn("no settings plugin: ", output)


if __name__ == "__main__":
    unittest.main(verbosity=2)
