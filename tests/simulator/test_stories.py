"""The stories of docs/commissioning.md, run as they are written there, in a hall of five panels."""

import json
import re
import sys
import unittest

from hall_under_test import ROOT, Hall, recap_of

BUILD = sys.argv.pop(1)
COUNT = 5
PANELS = [f"panel-{number:03}" for number in range(1, COUNT + 1)]
GUIDE = (ROOT / "docs" / "commissioning.md").read_text(encoding="utf-8")


def stories():
    """The commands of each story, by its heading."""
    found = {}
    for section in re.split(r"^#{2,3} ", GUIDE, flags=re.M):
        heading, _, text = section.partition("\n")
        if heading.startswith("Story: "):
            found[heading[7:]] = "".join(re.findall(r"^```sh\n(.*?)^```$", text, re.M | re.S))
    return found


class Story(unittest.TestCase):
    def setUp(self):
        self.hall = Hall(BUILD, COUNT, "hall-story-test.")
        self.addCleanup(self.hall.clean)

    def tell(self, heading):
        """Runs a story and returns what its commands say; the first that fails ends it."""
        result = self.hall.run("set -e\n" + stories()[heading])
        self.assertEqual(result.status, 0, result.output)
        return result.output

    def exported(self, name, address=None):
        return self.hall.exported(name, "--identity", address=address)

    def recaps(self, output):
        """Of each play, panels by what is counted of them."""
        return [recap_of(play) for play in output.split("PLAY RECAP")[1:]]

    def assert_changed_nothing(self, recap):
        for name, counts in recap.items():
            self.assertEqual((counts["changed"], counts["failed"], counts["unreachable"]),
                             (0, 0, 0), name)

    def test_there_are_three(self):
        self.assertEqual(set(stories()), {
            "replace a broken panel", "bring a hall into service",
            "change the network of a hall without losing a panel"})

    def test_replace_a_broken_panel(self):
        set_by_hand = self.hall.run(
            "ssh panel-003 'panelctl device set brightness 92; panelctl reg write language chinese'")
        self.assertEqual(set_by_hand.status, 0, set_by_hand.output)
        before = self.exported("panel-003")
        output = self.tell("replace a broken panel")
        after = self.exported("panel-003")
        self.assertNotEqual(after.pop("identity"), before.pop("identity"))
        self.assertEqual(after, before)
        self.assertIn("-display.brightness: 140", output)
        self.assert_changed_nothing(self.recaps(output)[-1])

    def test_bring_a_hall_into_service(self):
        output = self.tell("bring a hall into service")
        for number, name in enumerate(PANELS, 1):
            panel = self.exported(name)
            self.assertEqual(panel["display"], {"brightness": 160, "language": "english"})
            self.assertEqual((panel["network"]["eth0"]["ip"], panel["network"]["eth0"]["dns"]),
                             (f"10.64.1.{number}", ["10.64.0.2"]))
            kept = json.loads((self.hall.files / "kept" / f"{name}.json").read_text())
            self.assertEqual(kept, panel)
        check, first, rest, again, _ = self.recaps(output)
        self.assertEqual([counts["changed"] for counts in check.values()], [1] * COUNT)
        self.assertEqual(list(first), ["panel-001"])
        self.assertEqual([counts["changed"] for counts in rest.values()], [0] + [1] * 4)
        self.assert_changed_nothing(again)

    def test_change_the_network_of_a_hall_without_losing_a_panel(self):
        output = self.tell("change the network of a hall without losing a panel")
        for number, name in enumerate(PANELS, 1):
            eth0 = self.exported(name, f"10.65.1.{number}")["network"]["eth0"]
            self.assertEqual((eth0["ip"], eth0["gateway"]), (f"10.65.1.{number}", "10.65.0.1"))
        self.assertRegex(output, r"fatal: \[panel-004\]: FAILED!.*not reached at 10\.66\.1\.4 .*"
                         "the panel has taken everything back and is at 10.64.1.4")
        self.assertIn("Not all of them.", output)
        self.assert_changed_nothing(self.recaps(output)[-1])


if __name__ == "__main__":
    unittest.main(verbosity=2)
