"""The Debian packages for ARM: what they ask for, and that what comes out of them runs."""

import pathlib
import re
import shutil
import sys
import tempfile
import unittest

from foreign_host import PANELCTL, PLUGIN, ROOT, Host, run

ARCHITECTURE, BUILD, EMULATOR, LIBRARIES = sys.argv[1:5]
del sys.argv[1:]
BUILD = pathlib.Path(BUILD).resolve()
MACHINE = {"armhf": "ARM", "arm64": "AArch64"}[ARCHITECTURE]
# The packages of Debian that a plugin of widgets needs.
WANTED = {"libc6", "libgcc-s1", "libqt5core5a", "libqt5gui5", "libqt5network5",
          "libqt5widgets5", "libstdc++6"}


class ArmPackages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="arm-package-test.")
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        run(ROOT / "arm/package", ARCHITECTURE, BUILD, cls.folder)
        cls.packages = {path.name.split("_")[0]: path for path in cls.folder.glob("*.deb")}
        cls.panel = cls.folder / "panel"
        run("dpkg-deb", "--extract", cls.packages["panel-settings"], cls.panel)

    def field(self, package, name):
        return run("dpkg-deb", "--field", self.packages[package], name).strip()

    def test_both_are_of_the_architecture(self):
        self.assertEqual(set(self.packages), {"panel-settings", "panel-settings-dev"})
        for package in self.packages:
            self.assertEqual(self.field(package, "Architecture"), ARCHITECTURE)
        for name in (PLUGIN, PANELCTL):
            header = run("readelf", "--file-header", self.panel / "usr" / name)
            self.assertRegex(header, rf"Machine: +{MACHINE}\n")

    def test_panel_package_asks_for_the_sysroot_s_libraries(self):
        wanted = dict(re.fullmatch(r"(\S+) \(>= (\S+)\)(?: \| .*)?", entry).groups()
                      for entry in self.field("panel-settings", "Depends").split(", "))
        self.assertEqual(set(wanted), WANTED)
        run("dpkg", "--compare-versions", wanted["libqt5core5a"], "ge", "5.15")

    @unittest.skipUnless(shutil.which("lintian"), "lintian is not installed")
    def test_lintian_has_nothing_to_say(self):
        run("lintian", "--allow-root", "--fail-on", "error,warning", *self.packages.values())

    def test_panelctl_runs(self):
        image = self.folder / "image"
        panelctl = (EMULATOR, "-L", LIBRARIES, self.panel / "usr" / PANELCTL)
        run(*panelctl, "device", "create", "--image", image, "eth0_ip", "192.168.1.10")
        self.assertEqual(image.read_bytes()[41:45], bytes([192, 168, 1, 10]))

    def test_plugin_is_loaded_and_its_dialog_closed_by_a_press(self):
        host = Host(BUILD, BUILD / "tests/packaging/example_host", self.panel / "usr",
                    emulator=(EMULATOR, LIBRARIES))
        self.addCleanup(host.clean)
        host.close_settings()
        status, output = host.end()
        self.assertEqual(status, 0, output)


if __name__ == "__main__":
    unittest.main(verbosity=2)
