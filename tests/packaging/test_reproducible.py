"""The same source gives the same bytes: the library, panelctl and both packages, built once more in
another folder, by another user with other habits, out of files of another age.

What somebody else made of these very files is kept, and compared again with what the build makes of
them: as long as nothing changes, nothing is built once more."""

import hashlib
import os
import pathlib
import re
import shutil
import sys
import tempfile
import unittest

from foreign_host import PANELCTL, PLUGIN, ROOT, run

BUILD = pathlib.Path(sys.argv.pop(1))
SETTINGS = ("CMAKE_BUILD_TYPE", "CMAKE_CXX_COMPILER", "CMAKE_CXX_FLAGS", "CMAKE_CXX_FLAGS_RELEASE")
LONG_AGO = 1_000_000_000  # 2001
# Neither the name of a folder nor that of a user is part of what is built.
FOLDER = "another place 家"
OTHER_USER = ("bwrap", "--dev-bind", "/", "/", "--unshare-user", "--uid", "4711", "--gid", "4711")
HABITS = {"HOME": "/nowhere", "USER": "somebody", "LOGNAME": "somebody", "TZ": "Asia/Shanghai"}


def copy_sources(folder):
    """The sources as they are, committed or not, with the history that tells their date."""
    run("git", "clone", "--quiet", "--no-checkout", "--shared", ROOT, folder)
    names = run("git", "-C", ROOT, "ls-files", "-z", "--cached", "--others", "--exclude-standard")
    for name in filter(None, names.split("\0")):
        if (ROOT / name).exists():
            (folder / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / name, folder / name, follow_symlinks=False)
            os.utime(folder / name, (LONG_AGO, LONG_AGO), follow_symlinks=False)


def cached(*names):
    """Options that hand settings of the build on to another one."""
    lines = (BUILD / "CMakeCache.txt").read_text().splitlines()
    settings = dict(re.split(":[A-Z]+=", line, maxsplit=1) for line in lines
                    if re.match(r"[A-Z_]+:[A-Z]+=", line))
    return [f"-D{name}={settings[name]}" for name in names]


def packages(build, folder, *before, **settings):
    """Has the packages of a build made; returns their contents by name."""
    run(*before, "cpack", "--config", build / "CPackConfig.cmake", "-B", folder, **settings)
    return {path.name: path.read_bytes() for path in folder.glob("*.deb")}


def known(source):
    """What decides about the bytes that somebody else makes of a copy of the sources, as one word:
    the files, the compiler, the settings, and how this program goes about it."""
    told = hashlib.sha256(repr([*cached(*SETTINGS), run("dpkg-query", "--show"),
                                run("git", "-C", ROOT, "log", "-1", "--format=%H %ct"),
                                os.environ.get("SOURCE_DATE_EPOCH")]).encode())
    for path in sorted(source.rglob("*")):
        if path.is_file() and ".git" not in path.relative_to(source).parts:
            told.update(f"{path.relative_to(source)} {path.stat().st_mode} ".encode())
            told.update(hashlib.sha256(path.read_bytes()).digest())
    return told.hexdigest()


class Reproducible(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="reproducible-test.")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def packages_from_elsewhere(self):
        """The packages as somebody else makes them, or has made them of the same."""
        source = self.folder / FOLDER
        copy_sources(source)
        kept = BUILD / "from-elsewhere" / known(source)
        if not kept.exists():
            shutil.rmtree(kept.parent, ignore_errors=True)
            self.build_elsewhere(source)
            draft = kept.with_suffix(".draft")
            shutil.copytree(self.folder / f"packages {FOLDER}", draft,
                            ignore=lambda _, names: {name for name in names if name[-4:] != ".deb"})
            draft.rename(kept)
        return {path.name: path.read_bytes() for path in kept.glob("*.deb")}

    def build_elsewhere(self, source):
        # No compiler cache: it would give us what the first build made. No locale either.
        kept = {name: value for name, value in os.environ.items()
                if name in ("PATH", "SOURCE_DATE_EPOCH")}
        somebody = {"env": {**kept, **HABITS, "CCACHE_DISABLE": "1"}, "umask": 0o077}
        build = source / "build"
        run(*OTHER_USER, "cmake", "-S", source, "-B", build, "-G", "Ninja", "-DPANEL_SIMULATOR=OFF",
            "-DBUILD_TESTING=OFF", *cached(*SETTINGS), **somebody)
        run(*OTHER_USER, "nice", "cmake", "--build", build, **somebody)
        packages(build, self.folder / f"packages {FOLDER}", *OTHER_USER, **somebody)

    def members(self, name, content):
        """The files in a package, by their names, as checksums."""
        package = self.folder / name
        package.write_bytes(content)
        root = pathlib.Path(tempfile.mkdtemp(dir=self.folder))
        run("dpkg-deb", "--raw-extract", package, root / "root")
        return {str(path.relative_to(root / "root")): hashlib.sha256(path.read_bytes()).hexdigest()
                for path in (root / "root").rglob("*") if path.is_file()}

    def test_packages_are_the_same_from_everywhere(self):
        here = packages(BUILD, self.folder / "packages")
        there = self.packages_from_elsewhere()
        self.assertEqual(len(here), 2)
        self.assertEqual(set(here), set(there))
        seen = set()
        for name, content in here.items():
            with self.subTest(package=name):
                files = self.members(name, content)
                self.assertEqual(files, self.members(name, there[name]))
                self.assertTrue(content == there[name], "the files are the same, their frame is not")
                seen |= set(files)
        self.assertLessEqual({f"usr/{PLUGIN}", f"usr/{PANELCTL}"}, seen)


if __name__ == "__main__":
    unittest.main(verbosity=2)
