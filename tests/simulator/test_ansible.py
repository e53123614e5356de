"""The Ansible collection against a hall of panels: what it changes, what it reports, and what the
panels have after something went wrong in the middle."""

import json
import re
import sys
import unittest

from hall_under_test import Hall, recap_of

BUILD = sys.argv.pop(1)
COUNT = 5
PANELS = [f"panel-{number:03}" for number in range(1, COUNT + 1)]
PLAY = """
- hosts: panels
  tasks:
    - panel.plant.settings:
        settings: "{{ wanted }}"
        confirm: 240
      register: done
    - ansible.builtin.copy:
        content: "{{ done | to_json }}"
        dest: "results/{{ inventory_hostname }}"
      delegate_to: localhost
"""
# One panel's brightness tool waits for ever, so that its import is in the middle.
HANGING_TOOL = """#!/bin/sh
: >/panel/run/hangs
sleep 1000
"""


class AnsibleTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.hall = Hall(BUILD, COUNT, "hall-ansible-test.")
        cls.addClassCleanup(cls.hall.clean)
        cls.write("any.yml", PLAY)

    @classmethod
    def write(cls, name, text):
        cls.hall.run("mkdir -p results")
        (cls.hall.files / name).write_text(text)

    def play(self, wanted, *options, status=0):
        """The output of a play that wants these settings on every panel of the options."""
        self.write("wanted.json", json.dumps({"wanted": wanted}))
        result = self.hall.run(f"rm -f results/*; ansible-playbook any.yml -e @wanted.json "
                               f"{' '.join(options)}")
        self.assertEqual(result.status, status, result.output)
        return result.output

    def result_of(self, name):
        return json.loads((self.hall.files / "results" / name).read_text())


class Settings(AnsibleTest):
    LIMIT = "-l panel-001"

    def test_what_differs_is_changed_and_told_and_nothing_else(self):
        self.play({"display": {"brightness": 140}, "sound": {"buzzer": True}}, self.LIMIT)
        before = self.hall.exported("panel-001")
        wanted = {"display": {"brightness": 200, "language": before["display"]["language"]},
                  "sound": {"buzzer": False}}
        output = self.play(wanted, self.LIMIT, "--diff")
        done = self.result_of("panel-001")
        self.assertEqual({row["place"]: row["after"] for row in done["changes"]},
                         {"display.brightness": 200, "sound.buzzer": False})
        self.assertIn("-display.brightness: 140\n", output)
        self.assertIn("+display.brightness: 200\n", output)
        self.assertEqual(self.hall.exported("panel-001"), {
            **before, "display": {**before["display"], "brightness": 200},
            "sound": {"buzzer": False}})
        self.play(wanted, self.LIMIT)
        self.assertEqual((self.result_of("panel-001")["changed"],
                          self.result_of("panel-001")["changes"]), (False, []))

    def test_check_mode_tells_and_changes_nothing(self):
        before = self.hall.exported("panel-001")
        output = self.play({"display": {"brightness": 76}}, self.LIMIT, "--check", "--diff")
        self.assertIn("+display.brightness: 76\n", output)
        self.assertIn("\nchanged: [panel-001]\n", output)
        self.assertEqual(self.hall.exported("panel-001"), before)

    def test_unknown_settings_and_wrong_values_fail_with_their_places(self):
        before = self.hall.exported("panel-001")
        output = self.play({"display": {"brightness": 78, "colour": 3},
                            "sound": {"buzzer": False if before["sound"]["buzzer"] else True}},
                           self.LIMIT, status=2)
        for text in ("display.brightness: '78' does not fit", "display.colour: there is no such"):
            self.assertIn(text, output)
        self.assertEqual(self.hall.exported("panel-001"), before)

    def test_only_settings_that_differ_are_sent(self):
        self.play({"sound": {"buzzer": True}}, self.LIMIT)
        self.hall.run("""ssh panel-001 '
            mv /panel/bin/panelctl /panel/bin/panelctl.real
            printf "#!/bin/sh\\ncase \\$* in *dry-run*) ;; import*) tee /tmp/sent | panelctl.real \\$*; exit ;; esac; exec panelctl.real \\"\\$@\\"\\n" >/panel/bin/panelctl
            chmod +x /panel/bin/panelctl'""")
        self.play({"sound": {"buzzer": True}, "display": {"brightness": 120}}, self.LIMIT)
        sent = self.hall.run("ssh panel-001 'cat /tmp/sent; mv /panel/bin/panelctl.real /panel/bin/panelctl'")
        self.assertEqual(json.loads(sent.output), {"version": 1, "display": {"brightness": 120}})

    def test_facts_are_what_is_set(self):
        self.write("facts.yml", "- hosts: panels\n  tasks:\n    - panel.plant.facts:\n"
                   "    - ansible.builtin.copy:\n        content: '{{ ansible_facts | to_json }}'\n"
                   "        dest: results/facts\n      delegate_to: localhost\n")
        result = self.hall.run("ansible-playbook facts.yml -l panel-002")
        self.assertEqual(result.status, 0, result.output)
        facts = json.loads((self.hall.files / "results" / "facts").read_text())
        identity = facts["panel"].pop("identity")
        self.assertEqual(facts["panel"], self.hall.exported("panel-002"))
        self.assertRegex(identity["eth0_mac"], "^02:00:5e:")
        self.assertRegex(facts["panelctl_version"], r"^\d+\.\d+\.\d+$")

    def test_settings_are_those_of_panelctl(self):
        result = self.hall.run("ssh panel-002 panelctl tables --json")
        kinds = {row["place"] for row in json.loads(result.output)["settings"]}
        known = self.hall.run("cd /collections && python3 -c 'from ansible_collections.panel.plant."
                              "plugins.plugin_utils.places import PLACES; print(*PLACES)'")
        self.assertEqual(set(known.output.split()), kinds)

    def test_documentation_shows(self):
        for words, text in (("panel.plant.settings", "OPTIONS"), ("panel.plant.facts", "EXAMPLES"),
                            ("-t inventory panel.plant.table", "any_unparsed_is_failed")):
            result = self.hall.run(f"ansible-doc {words}")
            self.assertEqual(result.status, 0, result.output)
            self.assertIn(text, result.output)


class Table(AnsibleTest):
    HEAD = "name,address,network.eth0.ip,network.eth0.mask\n"

    def errors(self, table):
        """What the table's errors are; nothing was sent to any panel."""
        self.write("wrong.yml", "plugin: panel.plant.table\ntable: wrong.csv\n")
        self.write("wrong.csv", table)
        result = self.hall.run("ansible-playbook -i wrong.yml commission.yml")
        self.assertNotEqual(result.status, 0)
        self.assertNotIn("PLAY", result.output)
        text = " ".join(result.output.partition("ERROR!")[0].split())
        return re.findall(r"line \d+: .*?(?= line \d+: |\Z)", text)

    def test_each_error_is_told_with_its_line_before_anything_is_sent(self):
        rows = (("panel-002,10.64.1.1,,", "the address 10.64.1.1 is in line 2 already"),
                ("panel-003,10.64.1.3,10.65.1.1,", "network.eth0.ip 10.65.1.1 is in line 2 already"),
                ("panel-004,10.64.1.4,10.64.1.1,",
                 "10.64.1.1 is wanted, but the panel of line 2 has it now"),
                ("panel-001,10.64.1.5,,", "the name panel-001 is in line 2 already"),
                ("panel-006,10.64.1.6,10.65.1.256,", "network.eth0.ip: '10.65.1.256' is no address"),
                ("panel-007,,10.65.1.7,", "the address at which it is reached is missing"),
                ("panel 8,10.64.1.8,,", "'panel 8' is no name"),
                ("panel-009,10.64.1.9", "has 2 fields, not 4"))
        table = [f"{self.HEAD}panel-001,10.64.1.1,10.65.1.1,255.255.0.0", *(row for row, _ in rows)]
        self.assertEqual(
            sorted(self.errors("\n".join(table) + "\n")),
            sorted(f"line {line}: {text}" for line, (_, text) in enumerate(rows, 3)))

    def test_columns_that_are_no_settings_are_errors_all_at_once(self):
        found = self.errors("name,network.eth0.addres,sound.buzzer,sound.buzzer\n")
        self.assertEqual(len(found), 3, found)
        for text, line in zip(("no column 'address'", "no setting 'network.eth0.addres'",
                               "'sound.buzzer' is there twice"), found):
            self.assertIn(text, line)


class Faults(AnsibleTest):
    def test_each_panel_has_the_old_settings_or_the_new_and_the_report_names_it(self):
        """One without a cable, one that loses power in the middle, one with a full disk, one that is
        another device, and one that is as it should be."""
        old = {name: self.hall.exported(name) for name in PANELS}
        wanted = {"display": {"brightness": 200, "language": "chinese"},
                  "network": {"eth0": {"mask": "255.128.0.0", "dns": ["10.64.0.9"]}}}
        (self.hall.files / "tool").write_text(HANGING_TOOL)
        ready = self.hall.run("""
            ssh panel-002 'cat >/root/plat-intf/hanging; chmod +x /root/plat-intf/hanging
                mv /root/plat-intf/hanging /root/plat-intf/setbright' <tool
            plant unplug panel-001 && plant fill panel-003 && plant replace panel-004""")
        self.assertEqual(ready.status, 0, ready.output)
        self.write("wanted.json", json.dumps({"wanted": wanted}))
        playing = self.hall.start("rm -f results/*; ansible-playbook any.yml -e @wanted.json")
        cut = self.hall.run("""
            until ssh panel-002 '[ -e /panel/run/hangs ]'; do sleep 0.2; done
            ssh panel-002 '[ -e /hmi_data/panelctl.journal ]' || exit
            plant cut panel-002; plant start panel-002""")
        self.assertEqual(cut.status, 0, cut.output)
        result = self.hall.result(playing)
        self.assert_report(result)
        back = self.hall.run("plant plug panel-001; plant empty panel-003; plant trust panel-004;"
                             "until ssh panel-001 true; do sleep 0.2; done")
        self.assertEqual(back.status, 0, back.output)
        new = json.loads(json.dumps(old["panel-005"]))
        for part in ("display", "network"):
            new[part] = self.merged(new[part], wanted[part])
        self.assertEqual(self.hall.exported("panel-005"), new)
        for name in PANELS[:3]:
            self.assertEqual(self.hall.exported(name), old[name], name)
        again = self.play(wanted)
        self.assertEqual({name: counts["failed"] + counts["unreachable"]
                          for name, counts in recap_of(again).items()}, dict.fromkeys(PANELS, 0))

    def merged(self, old, new):
        if not isinstance(new, dict):
            return new
        return {**old, **{key: self.merged(old.get(key), value) for key, value in new.items()}}

    def assert_report(self, result):
        recap = recap_of(result.output)
        self.assertEqual(set(recap), set(PANELS), result.output)
        self.assertEqual({name for name in recap if recap[name]["unreachable"]},
                         {"panel-001", "panel-004"}, result.output)
        self.assertEqual({name for name in recap if recap[name]["failed"]},
                         {"panel-002", "panel-003"}, result.output)
        for name, text in (("panel-003", "No space left on device"),
                           ("panel-004", "Host key verification failed"),
                           ("panel-002", "taken")):
            line = next(line for line in result.output.splitlines()
                        if line.startswith(f"fatal: [{name}]"))
            self.assertIn(text, line)
        self.assertNotEqual(result.status, 0)


if __name__ == "__main__":
    unittest.main(verbosity=2)
