#!/usr/bin/env python3
"""What the documents point to exists, and every picture is used."""

import pathlib
import struct
import unittest

from documents import PICTURES, ROOT, anchors, documents, links, pictures

ALL_PICTURES_MAX_BYTES = 1_500_000
SCREEN = (1024, 600)  # pixels


def is_outside(target):
    return "://" in target or target.startswith("mailto:")


def png_size(path):
    """Width and height in pixels: big-endian numbers at bytes 16 and 20 of the file."""
    head = path.read_bytes()[:24]
    if head[:8] != b"\x89PNG\r\n\x1a\n":
        raise ValueError(f"{path} is no PNG file")
    return struct.unpack(">II", head[16:24])


class Links(unittest.TestCase):
    def test_documents_areFound(self):
        names = {str(path.relative_to(ROOT)) for path in documents()}
        self.assertLessEqual({"README.md", "docs/operator-guide.md", "docs/operator-guide.zh.md"},
                             names)

    def test_everyLink_leadsToSomething(self):
        for path in documents():
            for target in filter(lambda link: not is_outside(link), links(path)):
                with self.subTest(document=path.relative_to(ROOT), target=target):
                    name, _, anchor = target.partition("#")
                    found = (path.parent / name).resolve() if name else path
                    self.assertTrue(found.exists(), "there is no such file")
                    if anchor:
                        self.assertIn(anchor, anchors(found))

    def test_everyPictureOfTheFolder_isShownByADocument(self):
        shown = {(path.parent / target).resolve() for path in documents()
                 for target in pictures(path)}
        kept = set(PICTURES.iterdir())
        self.assertTrue(kept)
        self.assertEqual(kept - shown, set())

    def test_pictures_areScreensOfThePanel(self):
        for picture in PICTURES.glob("*.png"):
            with self.subTest(picture=picture.name):
                self.assertEqual(png_size(picture), SCREEN)

    def test_pictures_areSmallAltogether(self):
        total = sum(picture.stat().st_size for picture in PICTURES.iterdir())
        self.assertLess(total, ALL_PICTURES_MAX_BYTES)


if __name__ == "__main__":
    unittest.main()
