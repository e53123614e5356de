"""The Debian packages that `cpack` makes: what is in them, what they ask for, and that a panel's
runtime can use what comes out of them."""

import pathlib
import re
import sys
import tempfile
import unittest

from foreign_host import EXAMPLE, MANUAL, PANELCTL, PLUGIN, ROOT, Host, build, files_in, run

BUILD = pathlib.Path(sys.argv.pop(1))
ARCHITECTURE = run("dpkg", "--print-architecture").strip()
# What Qt and the compiler put under every plugin of widgets, by Debian's names.
LIBRARIES = {"libc6", "libgcc-s1", "libqt5core5a", "libqt5gui5", "libqt5network5",
             "libqt5widgets5", "libstdc++6"}


class Packages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory(prefix="package-test.")
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        # Whoever makes them may keep their files to themselves; the packages do not.
        run("cpack", "--config", BUILD / "CPackConfig.cmake", "-B", cls.folder, umask=0o077)
        cls.packages = {path.name.split("_")[0]: path for path in cls.folder.glob("*.deb")}

    def field(self, package, name):
        return run("dpkg-deb", "--field", self.packages[package], name).strip()

    def unpack(self, *packages):
        root = pathlib.Path(tempfile.mkdtemp(dir=self.folder))
        for package in packages:
            run("dpkg-deb", "--extract", self.packages[package], root)
        return root

    def test_there_is_one_for_the_panel_and_one_for_those_who_build_a_host(self):
        version = re.search(r"^## ([0-9.]+) ", (ROOT / "CHANGELOG.md").read_text(), re.M)[1]
        self.assertEqual({path.name for path in self.packages.values()},
                         {f"{name}_{version}_{ARCHITECTURE}.deb"
                          for name in ("panel-settings", "panel-settings-dev")})
        for package in self.packages:
            self.assertEqual(self.field(package, "Version"), version)
        self.assertEqual(self.field("panel-settings-dev", "Depends"),
                         f"panel-settings (= {version}), qtbase5-dev (>= 5.15)")

    def test_panel_package_asks_for_the_libraries_it_is_linked_with(self):
        wanted = {}
        for entry in self.field("panel-settings", "Depends").split(", "):
            name, version = re.fullmatch(r"(\S+) \(>= (\S+)\)(?: \| .*)?", entry).groups()
            wanted[name] = version
        self.assertEqual(set(wanted), LIBRARIES)
        run("dpkg", "--compare-versions", wanted["libqt5core5a"], "ge", "5.15")

    def test_files_belong_to_root_and_nothing_is_run_at_installation(self):
        for path in self.packages.values():
            for line in run("dpkg-deb", "--contents", path).splitlines():
                mode = "-rwxr-xr-x" if line.endswith(f"/usr/{PANELCTL}") else "-rw-r--r--"
                self.assertRegex(line, rf"^(drwxr-xr-x|{mode}) root/root ")
            control = self.folder / f"{path.stem}.control"
            run("dpkg-deb", "--control", path, control)
            self.assertEqual(files_in(control), {"control", "md5sums"})

    def test_both_say_what_they_are(self):
        for package in self.packages:
            documents = self.unpack(package) / "usr" / "share" / "doc" / package
            self.assertEqual((documents / "copyright").read_text(), (ROOT / "LICENSE").read_text())
            self.assertEqual((documents / "CHANGELOG.md").read_text(),
                             (ROOT / "CHANGELOG.md").read_text())
            history = run("dpkg-parsechangelog", "--file", documents / "changelog.gz")
            self.assertIn(f"Version: {self.field(package, 'Version')}\n", history)
            self.assertNotIn("warning", history)

    def test_programs_are_stripped(self):
        panel = self.unpack("panel-settings") / "usr"
        for name, section in ((PLUGIN, ".qtmetadata"), (PANELCTL, ".interp")):
            sections = run("readelf", "--sections", "--wide", panel / name)
            self.assertIn(section, sections)
            self.assertNotRegex(sections, r"\.(symtab|debug_info)\b")

    def test_panelctl_comes_with_the_plugin_and_starts(self):
        panel = self.unpack("panel-settings") / "usr"
        self.assertTrue((panel / MANUAL).exists())
        image = self.folder / "image"
        run(panel / PANELCTL, "device", "create", "--image", image, "eth0_ip", "192.168.1.10")
        self.assertEqual(image.read_bytes()[41:45], bytes([192, 168, 1, 10]))
        self.assertIn("192.168.1.10", run(panel / PANELCTL, "device", "show", "--image", image))

    def test_host_built_with_one_runs_the_plugin_of_the_other(self):
        prefix = self.unpack("panel-settings", "panel-settings-dev") / "usr"
        build(EXAMPLE, self.folder / "host", prefix)
        panel = self.unpack("panel-settings") / "usr"
        host = Host(BUILD, self.folder / "host" / "example-host", panel)
        self.addCleanup(host.clean)
        host.close_settings()
        status, output = host.end()
        self.assertEqual(status, 0, output)
        self.assertEqual(host.unloaded(), 1)

    def test_example_that_comes_along_is_the_tested_one(self):
        documents = self.unpack("panel-settings-dev") / "usr/share/doc/panel-settings-dev"
        for path in EXAMPLE.iterdir():
            self.assertEqual((documents / "example-host" / path.name).read_text(), path.read_text())
        self.assertEqual((documents / "host-guide.md").read_text(),
                         (ROOT / "docs" / "host-guide.md").read_text())


if __name__ == "__main__":
    unittest.main(verbosity=2)
