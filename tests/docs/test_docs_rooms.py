"""The table of rooms is held against the includes: see tests/rooms.py."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
import rooms

TABLE = """
| Room | Holds | May include |
|---|---|---|
| `low` | files | the C and POSIX libraries, `<mtd/mtd-user.h>` |
| `middle` | values | `low`; Qt Core |
| `page` | a page | `middle`; `window/Window.h`; Qt Widgets |
| `window` | the window | `page`; Qt Widgets |
| `tests` | tests | everything |
"""


class TableOfRooms(unittest.TestCase):

    def violations(self, name, source, table=TABLE):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, name)
            path.parent.mkdir(parents=True)
            path.write_text(source, encoding="utf-8")
            return list(rooms.violations(pathlib.Path(folder), [name], table))

    def test_what_a_row_allows_is_allowed(self):
        for name, source in (("low/File.cpp", "#include <mtd/mtd-user.h>\n#include <cstdio>\n"),
                             ("low/File.cpp", '#include "low/File.h"\n'),
                             ("middle/Value.h", '#include "low/File.h"\n#include <QString>\n'),
                             ("page/Page.cpp", '#include "window/Window.h"\n#include <QLabel>\n'),
                             ("page/Page.cpp", '#include "ui_Page.h"\n#include <QString>\n'),
                             ("tests/page/test_page.cpp", '#include "page/Page.h"\n'),
                             ("benchmarks/bench.cpp", '#include "low/File.h"\n')):
            with self.subTest(name=name, source=source):
                self.assertEqual(self.violations(name, source), [])

    def test_anything_else_is_told_with_its_place(self):
        for name, header in (("low/File.h", "middle/Value.h"), ("middle/Value.cpp", "page/Page.h"),
                             ("page/Page.cpp", "window/Other.h"), ("page/Page.cpp", "low/File.h"),
                             ("page/Page.cpp", "tests/support/World.h")):
            with self.subTest(name=name, header=header):
                self.assertEqual(self.violations(name, f'#include "{header}"\n'),
                                 [f"{name}: {name.partition('/')[0]} may not include {header}"])

    def test_a_module_of_qt_has_to_be_allowed(self):
        self.assertEqual(self.violations("middle/Value.h", "#include <QLabel>\n"),
                         ["middle/Value.h: middle may not include QLabel"])
        self.assertEqual(self.violations("low/File.h", "  #  include <QString>\n"),
                         ["low/File.h: low may not include QString"])
        self.assertEqual(self.violations("page/Page.h", "#include <QNetworkInterface>\n"),
                         ["page/Page.h: page may not include QNetworkInterface"])

    def test_a_document_without_the_table_is_told(self):
        self.assertEqual(self.violations("low/File.h", "", "no table"),
                         ["docs/architecture.md: there is no table of rooms"])


if __name__ == "__main__":
    unittest.main()
