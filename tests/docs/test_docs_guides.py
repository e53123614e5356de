#!/usr/bin/env python3
"""The guides for operators call everything as the panel calls it, in their language."""

import html
import re
import unittest
import xml.etree.ElementTree

from documents import ROOT, anchors, links, pictures, prose

GUIDES = {"en": ROOT / "docs" / "operator-guide.md", "zh": ROOT / "docs" / "operator-guide.zh.md"}
TRANSLATIONS = {"en": "Translate_EN.ts", "zh": "Translate_CN.ts"}
WINDOWS = ("settings", "general", "network", "dialogs")
# The table of languages has the texts of their buttons.
ROOMS = (*WINDOWS, "device")

# Texts of widgets that are never shown, of errors that cannot happen, of titles of windows that
# have no title bar; places that the code fills; what stands between two numbers.
NEVER_SEEN = {
    "Auto Backlight Off:", "IP is conflict with eth0!", "IP is conflict with eth1!",
    "Initial Window:", "Invalid Day", "SD", "Status:", "u disk1", "u disk2", "Tips", "Dialog",
    "Settings", "TextLabel", "/", ":",
}


def translations(language):
    file = ROOT / "resources" / "Languages" / TRANSLATIONS[language]
    return {message.findtext("source"): message.findtext("translation")
            for message in xml.etree.ElementTree.parse(file).iter("message")}


def translatable():
    """Every text that the windows have translated: tr() in the code, QT_TRANSLATE_NOOP() in its
    tables, <string> in the forms."""
    texts = set()
    for room in ROOMS:
        for path in (ROOT / room).iterdir():
            text = path.read_text(encoding="utf-8")
            if path.suffix in (".cpp", ".h"):
                texts |= set(re.findall(r'\btr\("([^"]*)"\)', text))
                texts |= set(re.findall(r'\bQT_TRANSLATE_NOOP\("\w+", "([^"]*)"\)', text))
            elif path.suffix == ".ui":
                texts |= {html.unescape(found) for found in re.findall(r"<string>([^<]+)<", text)}
    return texts


def fixed_texts():
    """What is written on keys without translation: the keypad's signs and the keys of boxes."""
    keypad = (ROOT / "dialogs" / "InputDialog.cpp").read_text(encoding="utf-8")
    texts = set(re.findall(r'->setText\("([^"]*)"_l1\)', keypad))
    for window in WINDOWS:
        for path in (ROOT / window).glob("*.cpp"):
            texts |= set(re.findall(r"QMessageBox::(Ok|Yes)\b", path.read_text(encoding="utf-8")))
    return {text.replace("Ok", "OK") for text in texts}


def shown(source, language):
    """How a translated text stands on the screen; a title of a tab has a number behind it."""
    text = translations(language).get(source, source).strip()
    return {text + number for number in "01"} if source == "wired network" else {text}


def panel_texts(language):
    texts = fixed_texts()
    for source in translatable() - NEVER_SEEN:
        texts |= shown(source, language)
    return texts


def bold(language):
    return set(re.findall(r"\*\*(.+?)\*\*", prose(GUIDES[language])))


class Guides(unittest.TestCase):
    def test_textsOfThePanel_areFound(self):
        self.assertLessEqual({"Brightness:", "Static IP", "network1", "<-", "OK", "Yes", "DNS1:"},
                             panel_texts("en"))
        self.assertLessEqual({"亮度：", "静态IP", "有线网络1", "<-", "OK", "网关："},
                             panel_texts("zh"))

    def test_everyBoldText_standsOnThePanel(self):
        for language in GUIDES:
            with self.subTest(language=language):
                self.assertTrue(bold(language))
                self.assertEqual(bold(language) - panel_texts(language), set())

    def test_everyTextOfThePanel_isExplained(self):
        for language in GUIDES:
            with self.subTest(language=language):
                self.assertEqual(panel_texts(language) - bold(language), set())

    def test_textsThatAreNeverSeen_existAtAll(self):
        self.assertEqual(NEVER_SEEN - translatable(), set())

    def test_pictures_areInTheLanguageOfTheGuide(self):
        for language, guide in GUIDES.items():
            with self.subTest(language=language):
                self.assertTrue(pictures(guide))
                strangers = [name for name in pictures(guide)
                             if not name.endswith(f"-{language}.png")]
                self.assertEqual(strangers, [])

    def test_bothGuides_showTheSameInTheSameOrder(self):
        windows = {language: [name.removesuffix(f"-{language}.png") for name in pictures(guide)]
                   for language, guide in GUIDES.items()}
        self.assertEqual(windows["en"], windows["zh"])
        self.assertEqual(len(anchors(GUIDES["en"])), len(anchors(GUIDES["zh"])))
        self.assertEqual(len(links(GUIDES["en"])), len(links(GUIDES["zh"])))


if __name__ == "__main__":
    unittest.main()
