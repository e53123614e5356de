"""Files as people get them wrong, and what panelctl import says of each: where, and what to do."""

import unittest

from panel_values import words_that_fit
from panel_world import FACTORY, IMAGE, PanelTest, patched, start

# What each file holds, and the one complaint about it: its place and its text.
FILES = (
    (b"", "line 1, column 1", "the file is empty"),
    (b"\n  \n", "line 1, column 1", "the file is empty"),
    (b'{"version": 1, "display": {"brightness": 140,}}', "line 1, column 46",
     "is no JSON: a comma has to be followed by one more member"),
    (b'{"version": 1}\n// mine\n', "line 2, column 1",
     "is no JSON: something follows the last }"),
    (b"{'version': 1}", "line 1, column 2",
     "is no JSON: a name in double quotation marks, a comma or } has to stand here"),
    (b'{"version": 1\n "display": {}}', "line 2, column 2",
     "is no JSON: a name in double quotation marks, a comma or } has to stand here"),
    (b"version: 1\ndisplay:\n  brightness: 140\n", "line 1, column 1",
     "is no JSON: no value begins like this"),
    (b"\x1f\x8b\x08\x00", "line 1, column 1", "is no JSON: no value begins like this"),
    (b'\xff\xfe{\0"\0v\0', "line 1, column 1", "is no JSON: no value begins like this"),
    (b'\xef\xbb\xbf{"version": 1, "display": {"brightnes": 140}}', "display.brightnes",
     "there is no such setting"),
    (b'[{"version": 1}]', "line 1, column 1", "has to be an object, { ... }"),
    (b'{"display": {"brightness": 140}}', "version", "is missing; it has to be 1"),
    (b'{"version": "1"}', "version", "this panelctl knows version 1 only"),
    (b'{"version": 1, "display": null}', "display", "has to be an object, { ... }"),
    (b'{"version": 1, "display": {"brightness": "140"}}', "display.brightness",
     "it takes a whole number"),
    (b'{"version": 1, "display": {"Language": "english"}}', "display.Language",
     "there is no such setting"),
    (b'{"version": 1, "display": {"language": "English"}}', "display.language",
     f"'English' does not fit: it takes {words_that_fit('language')}"),
    (b'{"version": 1, "sound": {"buzzer": "yes"}}', "sound.buzzer", "it takes true or false"),
    (b'{"version": 1, "network": {"eth0": {"ip": "192.168.1.20/24"}}}', "network.eth0.ip",
     "'192.168.1.20/24' does not fit: it takes an address like 192.168.1.10"),
    (b'{"version": 1, "network": {"eth0": {"mask": 24}}}', "network.eth0.mask",
     "it takes a text in quotation marks"),
    (b'{"version": 1, "network": {"eth0": {"mask": "255.255.0.255"}}}', "network.eth0.mask",
     "'255.255.0.255' does not fit: it is no netmask: it has a gap"),
    (b'{"version": 1, "network": {"eth0": {"dns": "192.168.1.2"}}}', "network.eth0.dns",
     "it takes a list of two addresses at most"),
    (b'{"version": 1, "network": {"eth0": {"dns": ["dns.example.com"]}}}', "network.eth0.dns[0]",
     "'dns.example.com' does not fit: it takes an address like 192.168.1.10"),
    (b'{"version": 1, "network": {"eth1": {"dhcp": true}}}', "network.eth1.dhcp",
     "this panel has one adapter, eth0"),
    (b'{"version": 1, "eth0": {"ip": "10.1.2.3"}}', "eth0", "there is no such setting"),
    (b'{"version": 1, "network.eth0.ip": "192.168.1.20"}', "network.eth0.ip",
     "a name has no dot; put an object into an object, { ... }"),
    (b'{"version": 1, "network": {"eth0.ip": "192.168.1.20"}}', "network.eth0.ip",
     "a name has no dot; put an object into an object, { ... }"),
    (b'{"version": 1, "display": {},\n "display": {"language": "english"}}', "display",
     "is given twice, again at line 2, column 2"),
)


class WrongFiles(PanelTest):
    def test_each_is_told_with_its_place_and_changes_nothing(self):
        image = patched(FACTORY, slice(262, 263), bytes([FACTORY[262] & ~1]))  # one adapter
        for content, place, text in FILES:
            with self.subTest(content=content):
                IMAGE.write_bytes(image)
                result = start("import", "-", input=content)
                self.assertEqual((result.returncode, result.stdout), (1, b""))
                self.assertEqual(result.stderr.decode(), f"panelctl: {place}: {text}\n"
                                 "panelctl: - has 1 error; nothing is changed\n")
                self.assertEqual(IMAGE.read_bytes(), image)

    def test_a_file_that_cannot_be_read_is_told_by_name(self):
        for name, text in (("/tmp/none.json", "No such file or directory"), ("/tmp", "directory")):
            with self.subTest(name=name):
                self.assertRegex(self.complaint(1, "import", name), f"cannot read {name}: .*{text}")


if __name__ == "__main__":
    unittest.main(verbosity=2)
