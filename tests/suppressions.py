#!/usr/bin/env python3
"""Every NOLINT in the sources names checks that clang-tidy has enabled for its file; one that names
another suppresses nothing. Prints those that do not and fails; prints nothing otherwise."""

import functools
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
SUPPRESSION = re.compile(r"\bNOLINT(?:NEXTLINE|BEGIN|END)?\b(?:\(([^)]*)\))?")


@functools.lru_cache(maxsize=None)
def enabled_checks(folder):
    """The checks of the .clang-tidy that files of a folder are checked with."""
    printed = subprocess.run(["clang-tidy", "--list-checks", str(folder / "any.cpp"), "--"],
                             check=True, capture_output=True, text=True).stdout
    return frozenset(line.strip() for line in printed.splitlines()[1:] if line.strip())


def idle_suppressions(path):
    lines = path.read_text(encoding="utf-8").splitlines()
    for number, line in enumerate(lines, 1):
        for suppression in SUPPRESSION.finditer(line):
            where = f"{path.relative_to(ROOT)}:{number}"
            names = [name.strip() for name in (suppression.group(1) or "").split(",")]
            if names == [""]:
                yield f"{where}: NOLINT without the name of a check"
                continue
            for name in names:
                if name not in enabled_checks(path.parent):
                    yield f"{where}: NOLINT of {name}, which is not enabled"


def main():
    listed = subprocess.run(["git", "ls-files", "*.cpp", "*.h"], cwd=ROOT, check=True,
                            capture_output=True, text=True).stdout.split()
    files = [ROOT / name for name in listed if (ROOT / name).exists()]
    complaints = [complaint for path in files for complaint in idle_suppressions(path)]
    print("\n".join(complaints), end="\n" if complaints else "")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
