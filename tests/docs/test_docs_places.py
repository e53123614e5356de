#!/usr/bin/env python3
"""Fixed texts have one spelling and facts one file: see tests/single_places.py."""

import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))
import single_places


class Spellings(unittest.TestCase):

    def test_texts_of_the_product_are_spelled_as_one(self):
        for source in ('QStringLiteral("a")', 'QLatin1String("a")', 'QString::fromLatin1("a %1")',
                       'QString::fromUtf8("a")', 'QString("a")', 'QLatin1String(\n    "a\\"b")'):
            with self.subTest(source=source):
                self.assertEqual(len(list(single_places.spellings("device/File.cpp", source))), 1)

    def test_what_is_no_fixed_text_or_spelled_so_is_left_alone(self):
        for source in ('"a"_l1', 'QString("a %1"_l1).arg(1)', 'QLatin1String(name)',
                       'QString::fromUtf8("设备")', '// never QStringLiteral("a")',
                       'tr("a")', 'call("QString(")'):
            with self.subTest(source=source):
                self.assertEqual(list(single_places.spellings("device/File.cpp", source)), [])

    def test_others_spell_as_they_like(self):
        self.assertEqual(list(single_places.spellings("simulator/host/main.cpp",
                                                      'QStringLiteral("a")')), [])

    def test_the_line_is_told(self):
        told = list(single_places.spellings("device/File.cpp", '// one\n\nQString("a")\n'))
        self.assertTrue(told[0].startswith("device/File.cpp:3: "), told)


class Facts(unittest.TestCase):

    REPEATED = ('open("/hmi_data/sfw.dat")', 'char pipe[] = "/tmp/fifo_sysreg"',
                'path = "/etc/resolv.conf"', 'const char* path = "/etc/resolvbak.conf"',
                'value("General/buzzer")', 'file("/hmi/Config/system_settings.ini")',
                'pid("/var/run/udhcpc1.pid")', 'return (raw - 76) / 4', 'if (raw < 76)',
                'highest = 200', 'SysReg_Read(20, word)', 'constexpr int languageRegister = 20',
                'SmallRegister language("language")')

    def test_a_fact_outside_its_file_is_told(self):
        for source in self.REPEATED:
            with self.subTest(source=source):
                self.assertEqual(len(list(single_places.repetitions("general/Page.cpp", source))), 1)

    def test_a_comment_may_tell_it(self):
        for source in self.REPEATED:
            with self.subTest(source=source):
                self.assertEqual(list(single_places.repetitions("general/Page.cpp",
                                                                f"// {source}")), [])

    def test_tests_have_their_own_facts(self):
        for source in self.REPEATED:
            with self.subTest(source=source):
                self.assertEqual(list(single_places.repetitions("tests/x/test_x.cpp", source)), [])

    def test_a_file_without_its_fact_is_told(self):
        self.assertEqual(len(list(single_places.homeless({}))), len(single_places.FACTS))


if __name__ == "__main__":
    unittest.main()
