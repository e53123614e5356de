"""panelctl exports the settings of a panel and imports them into it, all of them or none."""

import contextlib
import copy
import fcntl
import json
import os
import pathlib
import re
import signal
import subprocess
import time
import unittest
import unittest.mock

import jsonschema
from panel_values import words_that_fit
from panel_world import (AREAS, COMMANDS, FACTORY, FIELDS, IMAGE, NO_LEAK_SEARCH, PROGRAM,
                         REGISTER_PIPE, REGISTERS, RESOLVER, TABLES, WAIT_S, PanelTest, patched, start,
                         wait_for)

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SCHEMA = json.loads((ROOT / "panelctl" / "settings.schema.json").read_text())
SETTINGS = pathlib.Path("/hmi/Config/system_settings.ini")
JOURNAL = pathlib.Path("/hmi_data/panelctl.journal")
WATCH = pathlib.Path("/var/run/panelctl.watch")
LOCK = pathlib.Path("/var/run/panelctl.lock")
WRITE = "/root/plat-intf/writeee count=16"
TWO_ADAPTERS = patched(FACTORY, slice(262, 263), bytes([FACTORY[262] | 1]))

# Every setting otherwise than on a new panel.
OTHER = {
    "version": 1,
    "display": {"brightness": 200, "language": "english"},
    "sound": {"buzzer": True},
    "network": {
        "default_adapter": "eth1",
        "eth0": {"ip": "10.1.2.3", "mask": "255.255.0.0", "gateway": "10.1.0.1", "dhcp": True,
                 "off": True, "dns": ["10.1.0.2"]},
        "eth1": {"ip": "10.2.2.3", "mask": "255.255.255.128", "gateway": "10.2.2.1", "dhcp": True,
                 "off": True, "dns": ["10.2.0.2", "10.2.0.3"]},
    },
    "identity": {"eth0_mac": "02:00:5e:0a:00:77", "eth1_mac": "02:00:5e:0a:00:78"},
}


def places(value, place=""):
    """Each setting of an export by its place."""
    if not isinstance(value, dict):
        return {place: value}
    found = {}
    for name, member in value.items():
        found |= places(member, f"{place}.{name}".lstrip("."))
    return found


def field(name):
    return next(row for row in FIELDS if row["name"] == name)


def register(name):
    return next(row for row in REGISTERS if row.get("name") == name)


class TransferTest(PanelTest):
    def setUp(self):
        super().setUp()
        IMAGE.write_bytes(TWO_ADAPTERS)
        RESOLVER.write_bytes(b"# somebody's\nnameserver 9.9.9.9\n\n")
        SETTINGS.write_text("[Somebody]\nelse=1\n")
        JOURNAL.unlink(missing_ok=True)
        self.addCleanup(JOURNAL.unlink, missing_ok=True)

    def lines(self):
        """The commands that were run."""
        return COMMANDS.read_text().splitlines() if COMMANDS.exists() else []

    def exported(self, *options):
        return json.loads(self.output("export", *options))

    def world(self):
        """Everything that an import may touch."""
        return {path: path.read_bytes() if path.exists() else None
                for path in (IMAGE, RESOLVER, SETTINGS, JOURNAL, *AREAS.values())}

    def imported(self, settings, *options, status=0):
        """What an import of settings prints; they come through standard input."""
        result = start("import", "-", *options, input=json.dumps(settings).encode())
        self.assertEqual((result.returncode, result.stderr), (status, b""), settings)
        return result.stdout.decode()

    def errors(self, content, *options):
        """What is wrong with a file, place and text; nothing is changed by it."""
        before = self.world()
        data = content if isinstance(content, bytes) else json.dumps(content).encode()
        result = start("import", "-", *options, input=data)
        self.assertEqual((result.returncode, result.stdout), (1, b""), content)
        *lines, last = result.stderr.decode().splitlines()
        self.assertRegex(last, rf"^panelctl: - has {len(lines)} errors?; nothing is changed$")
        self.assertEqual(self.world(), before)
        return [tuple(line.removeprefix("panelctl: ").split(": ", 1)) for line in lines]


class Export(TransferTest):
    def test_everything_an_operator_sets_is_there_in_the_words_of_the_tables(self):
        self.assertEqual(self.exported(), {
            "version": 1,
            "display": {"brightness": 140, "language": "chinese"},
            "sound": {"buzzer": False},
            "network": {
                "default_adapter": "auto",
                **{name: {"ip": self.shown(f"{name}_ip"), "mask": self.shown(f"{name}_mask"),
                          "gateway": self.shown(f"{name}_gateway"), "dhcp": False, "off": False,
                          "dns": []} for name in ("eth0", "eth1")}}})
        identity = self.exported("--identity")
        self.assertEqual(identity.pop("identity"), {"eth0_mac": self.shown("eth0_mac"),
                                                    "eth1_mac": self.shown("eth1_mac")})
        self.assertEqual(identity, self.exported())

    def shown(self, name):
        return self.json("device", "show")[field(name)["record"]][name]["value"]

    def test_each_setting_is_read_where_the_page_keeps_it(self):
        self.silent("device", "set", "brightness", "76", "eth1_gateway", "192.168.2.9")
        self.silent("reg", "write", "buzzer", "on")
        self.silent("reg", "write", "eth1_dhcp", "on")
        self.silent("reg", "write", "default_adapter", "eth1")
        # The settings file counts here, and not the register.
        self.silent("reg", "write", "eth0_off", "on")
        SETTINGS.write_text("[Network0]\nenable=true\n[Network1]\nenable=false\n")
        # A third server is nobody's.
        RESOLVER.write_bytes(b"".join(b"nameserver %d.1.1.1 # eth1\n" % at for at in (1, 2, 3)))
        seen = self.exported()
        self.assertEqual((seen["display"]["brightness"], seen["sound"]["buzzer"]), (76, True))
        self.assertEqual(seen["network"]["default_adapter"], "eth1")
        self.assertFalse(seen["network"]["eth0"]["off"])
        eth1 = seen["network"]["eth1"]
        self.assertEqual((eth1["gateway"], eth1["dhcp"], eth1["off"], eth1["dns"]),
                         ("192.168.2.9", True, True, ["1.1.1.1", "2.1.1.1"]))

    def test_settings_are_those_of_the_tables(self):
        self.assertEqual(set(places(self.exported("--identity"))) - {"version"},
                         {row["place"] for row in TABLES["settings"]})

    def test_schema_takes_the_languages_of_the_tables(self):
        display = SCHEMA["properties"]["display"]["properties"]
        self.assertEqual(display["language"]["enum"],
                         [row["word"] for row in TABLES["languages"]])

    def test_panel_with_one_adapter_has_nothing_of_a_second(self):
        IMAGE.write_bytes(patched(FACTORY, slice(262, 263), bytes([FACTORY[262] & ~1])))
        seen = self.exported("--identity")
        self.assertEqual(set(seen["network"]), {"default_adapter", "eth0"})
        self.assertEqual(set(seen["identity"]), {"eth0_mac"})

    def test_looking_changes_nothing(self):
        before = self.world()
        self.exported("--identity")
        self.assertEqual(self.world(), before)

    def test_schema_fits_what_is_exported(self):
        jsonschema.Draft202012Validator.check_schema(SCHEMA)
        for settings in (self.exported(), self.exported("--identity"), OTHER):
            jsonschema.validate(settings, SCHEMA, jsonschema.Draft202012Validator)


class Import(TransferTest):
    def test_every_setting_comes_back_as_it_was_exported(self):
        for options in ((), ("--identity",)):
            before = self.exported("--identity")
            self.imported(OTHER, *options)
            expected = {**OTHER, "identity": OTHER["identity"] if options
                        else before["identity"]}
            self.assertEqual(self.exported("--identity"), expected)
            self.imported(before, "--identity")
            self.assertEqual(self.exported("--identity"), before)

    def test_only_what_was_asked_for_is_changed(self):
        """Each setting alone, and every byte of the panel."""
        for place, value in places(OTHER).items():
            if place == "version":
                continue
            with self.subTest(place=place):
                self.setUp()
                before, run = self.world(), len(self.lines())
                settings = {"version": 1}
                *groups, name = place.split(".")
                inner = settings
                for group in groups:
                    inner = inner.setdefault(group, {})
                inner[name] = value
                if name in ("ip", "gateway", "mask"):  # they go together
                    inner |= {key: OTHER["network"][groups[-1]][key]
                              for key in ("ip", "mask", "gateway")}
                told = self.imported(settings, "--identity")
                self.assertIn(f"{place}: ", told)
                after = self.world()
                changed = {path for path in before if before[path] != after[path]}
                self.assertEqual(changed, self.home(place))
                self.assertEqual(self.lines()[run:].count(WRITE), IMAGE in changed)
                self.assertEqual(places(self.exported("--identity"))[place], value)

    def home(self, place):
        """The files in which a setting is kept."""
        part, name = place.split(".")[0], place.split(".")[-1]
        if name == "dns":
            return {RESOLVER}
        if name in ("brightness", "ip", "mask", "gateway") or part == "identity":
            return {IMAGE}
        word = f"{place.split('.')[1]}_{name}" if name in ("dhcp", "off") else name
        area = AREAS[register(word)["area"]]
        return {area, SETTINGS} if name in ("buzzer", "off") else {area}

    def test_foreign_lines_and_keys_stay(self):
        self.imported(OTHER)
        self.assertTrue(RESOLVER.read_bytes().startswith(b"# somebody's\nnameserver 9.9.9.9\n"))
        settings = SETTINGS.read_text()
        self.assertIn("[Somebody]\nelse=1\n", settings)
        self.assertIn("[Network0]\nenable=false\n", settings)
        self.assertIn("buzzer=on\n", settings)
        self.imported({"version": 1, "sound": {"buzzer": False},
                       "network": {"eth0": {"off": False}, "eth1": {"off": False}}})
        settings = SETTINGS.read_text()
        self.assertIn("buzzer=off\n", settings)
        self.assertEqual(settings.count("enable=true\n"), 2)

    def test_brightness_may_be_off(self):
        self.imported({"version": 1, "display": {"brightness": 0}})
        self.assertEqual(self.exported()["display"]["brightness"], 0)

    def test_standard_input_may_be_closed(self):
        """The first file that is opened has its number then."""
        path = self.folder / "settings.json"
        path.write_text(json.dumps(OTHER))
        self.output("import", path, "--confirm", "1000", preexec_fn=lambda: os.close(0))
        self.assertEqual(self.exported()["display"], OTHER["display"])
        self.silent("confirm")

    def test_runtime_hears_of_the_registers_that_are_announced_and_changed(self):
        listener = self.hear(REGISTER_PIPE)
        self.imported(OTHER)
        heard = listener.heard()
        ids = {int.from_bytes(heard[at:at + 4], "little") for at in range(0, len(heard), 4)}
        self.assertEqual(ids, {register(name)["id"] for name in (
            "language", "buzzer", "default_adapter", "eth0_dhcp", "eth1_dhcp")})
        self.imported(OTHER, status=3)
        self.assertEqual(listener.heard(), b"")

    def test_what_is_already_so_changes_nothing_and_says_so(self):
        self.imported(OTHER)
        before, run = self.world(), len(self.lines())
        stamps = {path: path.stat().st_mtime_ns for path in before if path.exists()}
        self.assertEqual(self.imported(OTHER, status=3), "nothing changes\n")
        self.assertEqual(self.imported(OTHER, "--json", status=3), "[\n]\n")
        self.assertEqual(self.imported(OTHER, "--dry-run", status=3), "nothing changes\n")
        self.assertEqual(self.imported({"version": 1}, status=3), "nothing changes\n")
        self.assertEqual(self.world(), before)
        self.assertEqual({path: path.stat().st_mtime_ns for path in stamps}, stamps)
        self.assertNotIn(WRITE, self.lines()[run:])

    def test_dry_run_says_before_and_after_and_changes_nothing(self):
        before, old = self.world(), places(self.exported("--identity"))
        told = self.imported(OTHER, "--dry-run", "--identity")
        rows = json.loads(self.imported(OTHER, "--dry-run", "--identity", "--json"))
        self.assertEqual(self.world(), before)
        new = {place: value for place, value in places(OTHER).items() if place != "version"}
        self.assertEqual({row["place"]: (row["before"], row["after"]) for row in rows},
                         {place: (old[place], value) for place, value in new.items()})
        self.assertEqual(len(told.splitlines()), len(rows))
        self.assertIn("display.brightness: 140 -> 200\n", told)
        self.assertIn("network.eth1.dns: none -> 10.2.0.2 10.2.0.3\n", told)
        self.assertEqual(self.imported(OTHER, "--identity"), told)

    def test_parts_can_be_chosen(self):
        for parts in (("display",), ("sound", "network"), ("network",), ("identity",)):
            with self.subTest(parts=parts):
                self.setUp()
                rows = json.loads(self.imported(OTHER, "--only", ",".join(parts), "--identity",
                                                "--json"))
                self.assertEqual({row["place"].split(".")[0] for row in rows}, set(parts))
        self.imported(OTHER, "--only=identity", status=3)
        line = self.complaint(2, "import", "-", "--only", "display,net", input=b"{}")
        self.assertIn("'net'", line)

    def test_file_can_be_named(self):
        path = self.folder / "settings.json"
        path.write_text(json.dumps(OTHER))
        self.output("import", path)
        self.assertEqual(self.exported()["display"], OTHER["display"])
        self.assertIn("missing.json", self.complaint(1, "import", self.folder / "missing.json"))


def broken(place, value):
    settings = copy.deepcopy(OTHER)
    inner = settings
    *groups, name = place.split(".")
    for group in groups:
        inner = inner[group]
    inner[name] = value
    return settings


class Errors(TransferTest):
    WRONG = [
        ("version", 2, "version 1 only"), ("version", "1", "version 1 only"),
        ("display", 3, "object"), ("network.eth0", [], "object"),
        ("display.brightness", 78, "no level"), ("display.brightness", "140", "whole number"),
        ("display.brightness", 76.5, "whole number"), ("display.brightness", 1e300, "whole"),
        ("display.brightness", 1000000, "a number from 0 to 65535"),
        ("display.brightness", -4, "whole number"), ("display.brightness", None, "whole number"),
        ("display.language", "klingon", words_that_fit("language")),
        ("display.language", 1, "quotation"),
        ("display.contrast", 3, "no such setting"), ("volume", 3, "no such setting"),
        ("sound.buzzer", "on", "true or false"), ("sound.buzzer", 1, "true or false"),
        ("network.default_adapter", "wlan0", "auto, eth0 or eth1"),
        ("network.eth0.ip", "10.1.2.300", "an address like"),
        ("network.eth0.ip", "127.0.0.1", "no address"), ("network.eth0.ip", "", "an address"),
        ("network.eth0.mask", "255.0.255.0", "gap"), ("network.eth0.address", "1.2.3.4", "no such"),
        ("network.eth0.dhcp", "yes", "true or false"), ("network.eth0.dns", "1.1.1.1", "list"),
        ("network.eth0.dns", ["1.1.1.1", "2.2.2.2", "3.3.3.3"], "two addresses"),
        ("network.eth0.dns", ["0.0.0.0"], "no server"), ("network.wlan0", {}, "no such setting"),
        ("identity.eth0_mac", "01:00:00:00:00:01", "group"), ("identity.serial", "1", "no such"),
    ]

    def test_each_mistake_is_told_with_its_place(self):
        for place, value, text in self.WRONG:
            with self.subTest(place=place, value=value):
                [(where, what)] = self.errors(broken(place, value))
                self.assertEqual(where, place)
                self.assertIn(text, what)

    def test_schema_refuses_the_same_files(self):
        for place, value, _ in self.WRONG:
            with self.subTest(place=place, value=value), \
                    self.assertRaises(jsonschema.ValidationError):
                jsonschema.validate(broken(place, value), SCHEMA,
                                    jsonschema.Draft202012Validator)

    def test_place_of_one_server_has_its_number(self):
        self.assertEqual([where for where, _ in self.errors(
            broken("network.eth1.dns", ["1.1.1.1", "1.1.1"]))], ["network.eth1.dns[1]"])

    def test_all_mistakes_are_told_at_once(self):
        settings = {"version": 1, "display": {"brightness": 3, "language": 7, "x": 1},
                    "network": {"eth0": {"ip": "1", "mask": "2"}, "eth2": {}},
                    "identity": {"eth0_mac": "?"}}
        self.assertEqual({where for where, _ in self.errors(settings, "--only", "sound")},
                         {"display.brightness", "display.language", "display.x",
                          "network.eth0.ip", "network.eth0.mask", "network.eth2",
                          "identity.eth0_mac"})

    def test_addresses_that_do_not_go_together_are_told(self):
        for place, value, text in (("network.eth0.gateway", "10.9.0.1", "not in"),
                                   ("network.eth0.gateway", "10.1.2.3", "itself"),
                                   ("network.eth0.ip", "10.1.255.255", "whole network"),
                                   ("network.eth1.mask", "0.0.0.0", "missing")):
            with self.subTest(place=place, value=value):
                [(where, what)] = self.errors(broken(place, value))
                self.assertEqual(where, place)
                self.assertIn(text, what)
        # A mistake that the panel has already is not the file's,
        self.silent("device", "set", "eth1_gateway", "10.9.9.9")
        self.imported({"version": 1, "display": {"brightness": 80}})
        # but another one at the same place is, and the same one at another place.
        for adapter, gateway, text in (("eth1", "192.168.2.10", "is the adapter itself"),
                                       ("eth0", "10.9.9.9", "is not in the adapter's network")):
            self.assertEqual(self.errors(
                {"version": 1, "network": {adapter: {"gateway": gateway}}}),
                [(f"network.{adapter}.gateway", text)])

    def test_second_adapter_is_refused_where_there_is_none(self):
        IMAGE.write_bytes(patched(FACTORY, slice(262, 263), bytes([FACTORY[262] & ~1])))
        self.assertEqual({where for where, _ in self.errors(OTHER)},
                         {*(f"network.eth1.{name}" for name in OTHER["network"]["eth1"]),
                          "identity.eth1_mac"})

    def test_members_that_are_given_twice_are_told_with_both_places(self):
        for content, place, position in (
                ('{"version": 1, "version": 1}', "version", "line 1, column 16"),
                ('{"version": 1,\n "display": {"brightness": 80,\n  "brightness": 80}}',
                 "display.brightness", "line 3, column 3"),
                ('{"version": 1, "network": {"eth0": {"dns": ["1.1.1.1", "2.2.2.2"]},\n"eth0": {}}}',
                 "network.eth0", "line 2, column 1"),
                ('{"version": 1, "sound": {"buzzer": true, "b\\u0075zzer": false}}', "sound.buzzer",
                 "line 1, column 42")):
            # Qt's parser loses the first of two objects with one name, in a program that ends.
            environment = NO_LEAK_SEARCH if place == "network.eth0" else {}
            with self.subTest(content=content), unittest.mock.patch.dict(os.environ, environment):
                self.assertEqual(self.errors(content.encode()),
                                 [(place, f"is given twice, again at {position}")])
        for content, found in (
                (r'{"version": 1, "\"": "\"", "\"": 2}',
                 [('"', "is given twice, again at line 1, column 28"),
                  ('"', "there is no such setting")]),
                ('{"version": 1, "network": {"eth0": {"dns": [{"x": 1, "x": 2}]}}}',
                 [("network.eth0.dns.x", "is given twice, again at line 1, column 54"),
                  ("network.eth0.dns[0]", "it takes a text in quotation marks")])):
            with self.subTest(content=content):
                self.assertEqual(self.errors(content.encode()), found)
        # The same name in two objects, and one that is a value, are no repetition.
        self.imported({"version": 1, "network": {
            "default_adapter": "eth0", "eth0": {"mask": "255.255.255.0", "dhcp": True},
            "eth1": {"mask": "255.255.255.0", "dhcp": True}}})

    def test_files_that_are_no_json_are_told_with_line_and_column(self):
        for content, where in ((b"", "line 1, column 1"), (b"[]", "line 1, column 1"),
                               (b'{"version": 1,\n "display": }\n', "line 2, column"),
                               (b"\xff\xfe\x00", "line 1"), (b"version: 1\n", "line 1")):
            with self.subTest(content=content):
                [(place, _)] = self.errors(content)
                self.assertTrue(place.startswith(where), place)


ADDRESSES = {"version": 1, "network": {"eth0": {"ip": "10.1.2.3", "mask": "255.255.0.0",
                                               "gateway": "10.1.0.1"}}}


class Now(TransferTest):
    """The running panel follows, with the commands of the page."""

    def run_commands(self, settings, *options):
        """What is run on the running panel, without the tools of the image and sync."""
        before = len(self.lines())
        self.imported(settings, *options)
        return [line for line in self.lines()[before:]
                if line != "sync" and not line.startswith(("/root/plat-intf/readee", WRITE))]

    def routes(self, eth0="192.168.1.1", eth1="192.168.2.1", metrics=(1, 1)):
        return ["route del default"] * 2 + [
            f"route add default gw {gateway} dev eth{at} metric {metrics[at]}"
            for at, gateway in enumerate((eth0, eth1))]

    def network(self, adapter, **values):
        return {"version": 1, "network": {adapter: values}}

    def test_without_it_nothing_is_run(self):
        self.assertEqual(self.run_commands(OTHER), [])

    def test_address_and_mask_are_set_then_the_routes_are_rebuilt(self):
        self.assertEqual(self.run_commands(ADDRESSES, "--now"), [
            "ifconfig eth0 10.1.2.3", "ifconfig eth0 netmask 255.255.0.0",
            *self.routes(eth0="10.1.0.1")])
        self.assertEqual(self.output("reg", "read", "eth0_ip"), "10.1.2.3\n")
        self.assertEqual(self.output("reg", "read", "eth0_mask"), "255.255.0.0\n")
        self.assertEqual(self.output("reg", "read", "eth0_gateway"), "10.1.0.1\n")
        self.assertEqual(self.output("reg", "read", "eth1_ip"), "0.0.0.0\n")

    def test_mask_alone_leaves_the_address(self):
        self.assertEqual(self.run_commands(self.network("eth1", mask="255.255.255.128"), "--now"),
                         ["ifconfig eth1 netmask 255.255.255.128", *self.routes()])

    def test_dynamic_and_static_start_and_end_the_client(self):
        start_client = "udhcpc -i eth1 -t 100 -T 1 -A 1 -p /var/run/udhcpc1.pid"
        seen = self.run_commands(self.network("eth1", dhcp=True), "--now")
        # In the background, so nobody knows whether it is written down before the routes.
        self.assertEqual([line for line in seen if "udhcpc" not in line], self.routes())
        self.assertEqual([line.rstrip("& ") for line in seen if "udhcpc" in line], [start_client])
        pid_file = pathlib.Path("/var/run/udhcpc1.pid")
        pid_file.write_text("4194000\n")
        self.addCleanup(pid_file.unlink)
        self.assertEqual(self.run_commands(self.network("eth1", dhcp=False), "--now"),
                         ["kill 4194000", "ifconfig eth1 192.168.2.10 up",
                          "ifconfig eth1 netmask 255.255.255.0", *self.routes()])

    def test_gateway_alone_rebuilds_the_routes(self):
        self.assertEqual(self.run_commands(self.network("eth1", gateway="192.168.2.9"), "--now"),
                         self.routes(eth1="192.168.2.9"))

    def test_commands_have_empty_streams_and_run_before_the_registers_tell_of_it(self):
        streams, area = self.folder / "streams", self.folder / "area"
        with self.program("ifconfig", f"readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2 "
                                      f">{streams} & wait; cp {AREAS[5]} {area}"):
            self.assertIn("network.eth0.ip: ", self.imported(ADDRESSES, "--now"))
        self.assertEqual(streams.read_text(), "/dev/null\n" * 3)
        self.assertEqual(area.read_bytes(), bytes(4096))

    def test_adapter_that_is_switched_off_is_taken_down_and_back_up(self):
        self.assertEqual(self.run_commands(self.network("eth0", off=True), "--now"),
                         ["ifconfig eth0 down", *self.routes()])
        self.assertEqual(self.run_commands(self.network("eth0", ip="192.168.1.99"), "--now"),
                         ["ifconfig eth0 down", *self.routes()])
        self.assertEqual(self.run_commands(self.network("eth0", off=False), "--now"),
                         ["ifconfig eth0 192.168.1.99 up", "ifconfig eth0 netmask 255.255.255.0",
                          *self.routes()])

    def test_default_adapter_rebuilds_the_routes(self):
        settings = {"version": 1, "network": {"default_adapter": "eth1"}}
        self.assertEqual(self.run_commands(settings, "--now"), self.routes(metrics=(1, 0)))

    def test_brightness_and_nothing_of_the_network(self):
        settings = {"version": 1, "display": {"brightness": 80, "language": "english"},
                    "network": {"eth0": {"dns": ["1.1.1.1"]}}}
        self.assertEqual(self.run_commands(settings, "--now"), ["/root/plat-intf/setbright 80"])

    def test_mac_address_waits_for_the_next_start(self):
        settings = {"version": 1, "identity": OTHER["identity"]}
        self.assertEqual(self.run_commands(settings, "--now", "--identity"), [])
        self.assertEqual(self.exported("--identity")["identity"], OTHER["identity"])

    def test_routes_of_a_panel_with_one_adapter_are_built_from_both_gateways(self):
        IMAGE.write_bytes(patched(FACTORY, slice(262, 263), bytes([FACTORY[262] & ~1])))
        self.assertEqual(self.run_commands(ADDRESSES, "--now")[-4:], self.routes(eth0="10.1.0.1"))

    def test_client_that_goes_on_running_keeps_no_lock(self):
        with self.client():
            self.imported(self.network("eth1", dhcp=True), "--now")

    def test_client_that_comes_back_keeps_no_lock(self):
        self.imported(self.network("eth1", dhcp=True))
        # Whoever watches for a test before, for a second at most, would take this over and run its
        # own programs.
        with open(WATCH, "ab") as watch:
            fcntl.flock(watch, fcntl.LOCK_EX)
        with self.client():
            self.imported(self.network("eth1", dhcp=False), "--now", "--confirm=1")

    @contextlib.contextmanager
    def client(self):
        """While a client runs that was started meanwhile, the settings can be changed."""
        process = self.folder / "client"
        script = f"echo $$ >{process}.new; mv {process}.new {process}; exec sleep 1000"
        with self.program("udhcpc", script):
            yield
            wait_for(process.exists, "the client")
            try:
                wait_for(lambda: not JOURNAL.exists(), "the old settings")
                self.imported(self.network("eth1", mask="255.255.255.128"))
            finally:
                os.kill(int(process.read_text()), signal.SIGKILL)

    @contextlib.contextmanager
    def program(self, name, script):
        """What is run by that name does something else."""
        path = self.folder / "bin"
        path.mkdir()
        (path / name).write_text(f"#!/bin/sh\n{script}\n")
        (path / name).chmod(0o755)
        old = os.environ["PATH"]
        os.environ["PATH"] = f"{path}:{old}"
        try:
            yield
        finally:
            os.environ["PATH"] = old


class WatchTest(TransferTest):
    """Imports that wait for their confirmation, and the process that watches them."""

    def setUp(self):
        super().setUp()
        self.old = self.state()

    def state(self):
        return {path: data for path, data in self.world().items() if path != JOURNAL}

    def watchers(self):
        """The running processes of the program. An emulator has it behind its option for libraries."""
        found = []
        for process in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                words = [pathlib.Path(os.fsdecode(word)).name
                         for word in (process / "cmdline").read_bytes().split(b"\0")]
                place = 3 if words[0].startswith("qemu-") else 0
                if words[place:place + 1] == [pathlib.Path(PROGRAM).name]:
                    found.append(process)
        return found

    def wait_for_end_of_watches(self):
        """Who watches looks once a second, and would take over an import that begins meanwhile."""
        wait_for(lambda: not self.watchers(), "the end of watches before this one")

    def check_watcher(self):
        """One process watches, apart from whoever started it."""
        wait_for(lambda: len(self.watchers()) == 1, "one process that watches")
        [process] = self.watchers()

        def held():
            return sorted(os.readlink(link) for link in process.joinpath("fd").iterdir())
        # Once in a while it also reads the journal.
        wait_for(lambda: held() == ["/dev/null"] * 3 + [str(WATCH.resolve())], "what it needs")
        self.assertEqual(os.readlink(process / "cwd"), "/")
        self.assertEqual(os.getsid(int(process.name)), int(process.name))
        ignored = re.search(r"SigIgn:\t(\w+)", (process / "status").read_text())[1]
        self.assertTrue(int(ignored, 16) & 1 << signal.SIGHUP - 1)

    def restarted(self, **changes):
        """As if the panel had been started anew since: nobody watches, other start."""
        self.imported(ADDRESSES, "--confirm", "1000")
        for process in self.watchers():
            with contextlib.suppress(OSError):
                os.kill(int(process.name), signal.SIGKILL)
        journal = json.loads(JOURNAL.read_text())
        self.assertLess(abs(time.time() + 1000 - journal["clock"]), 3 * WAIT_S)
        JOURNAL.write_text(json.dumps(journal | {"start": "another"} | changes))


class Confirm(WatchTest):
    def test_confirmed_in_time_it_stays(self):
        self.imported(OTHER, "--confirm", "1000")
        new = self.state()
        self.assertTrue(JOURNAL.exists())
        self.silent("confirm")
        self.assertFalse(JOURNAL.exists())
        self.assertEqual(self.state(), new)
        self.assertIn("no import waits", self.complaint(1, "confirm"))

    def test_not_confirmed_it_is_taken_back_by_itself(self):
        self.imported(OTHER, "--confirm", "1")
        wait_for(lambda: not JOURNAL.exists(), "the old settings")
        wait_for(lambda: not self.watchers(), "the end of the watch")
        self.assertEqual(self.state(), self.old)
        self.assertIn("no import waits", self.complaint(1, "confirm"))

    def test_one_process_watches_and_holds_nothing_of_its_starter(self):
        self.wait_for_end_of_watches()
        for path in (WATCH, LOCK):
            path.unlink(missing_ok=True)
        high = fcntl.fcntl(0, fcntl.F_DUPFD, 255)
        self.addCleanup(os.close, high)
        start("import", "-", "--confirm", "1000", input=json.dumps(OTHER).encode(),
              pass_fds=[high], cwd=self.folder)
        for _ in range(2):
            self.output("reg", "read", "language")
        self.check_watcher()
        for path in (WATCH, LOCK):
            self.assertEqual(path.stat().st_mode & 0o777, 0o600)
        self.silent("confirm")
        wait_for(lambda: not self.watchers(), "the end of the watch")

    def test_journal_tells_the_start_of_the_panel_from_others(self):
        self.imported(OTHER, "--confirm", "1000")
        boot = pathlib.Path("/proc/sys/kernel/random/boot_id").read_text().strip()
        since = pathlib.Path("/proc/1/stat").read_text().rpartition(") ")[2].split()[19]
        self.assertEqual(json.loads(JOURNAL.read_text())["start"], f"{boot} {since}")
        self.silent("confirm")

    def test_running_panel_is_taken_back_as_well(self):
        self.imported(ADDRESSES, "--now", "--confirm=1")
        before = len(self.lines())
        wait_for(lambda: not JOURNAL.exists(), "the old settings")
        self.assertEqual(self.state()[IMAGE], self.old[IMAGE])
        after = [line for line in self.lines()[before - 1:] if line.startswith("ifconfig")]
        self.assertEqual(after[-2:], ["ifconfig eth0 192.168.1.10",
                                      "ifconfig eth0 netmask 255.255.255.0"])
        self.assertEqual(self.output("reg", "read", "eth0_ip"), "192.168.1.10\n")

    def test_end_of_the_connection_stops_neither_the_import_nor_the_watch(self):
        path = self.folder / "settings.json"
        path.write_text(json.dumps(OTHER))
        # A login of its own, which is cut as soon as the first change is made.
        with self.tool("writeee", f"cat >{IMAGE}; touch {self.folder}/begun\n"
                                  f"while [ ! -e {self.folder}/cut ]; do sleep 0.05; done"):
            login = subprocess.Popen([PROGRAM, "import", "--confirm", "2", path],
                                     stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                     start_new_session=True)
            wait_for((self.folder / "begun").exists, "the first change")
            os.kill(login.pid, signal.SIGHUP)
            (self.folder / "cut").touch()
            output, errors = login.communicate()
        self.assertEqual((login.returncode, errors), (0, b""), output)
        self.assertNotEqual(self.state(), self.old)
        wait_for(lambda: not JOURNAL.exists(), "the old settings")
        self.assertEqual(self.state(), self.old)

    def test_nothing_of_the_starter_is_held_by_the_watch(self):
        """A login ends when nobody holds its pipes any more: communicate() would wait."""
        started = time.monotonic()
        self.imported(OTHER, "--confirm", "1000")
        self.assertLess(time.monotonic() - started, WAIT_S)
        self.silent("confirm")

    def test_change_after_a_confirmed_one_is_watched_as_well(self):
        self.imported(ADDRESSES, "--confirm", "1000")
        self.silent("confirm")
        self.old = self.state()
        self.test_not_confirmed_it_is_taken_back_by_itself()

    def test_another_import_waits_until_it_is_confirmed(self):
        self.imported(OTHER, "--confirm", "1000")
        line = self.complaint(1, "import", "-", input=b'{"version": 1}')
        self.assertEqual(line, "panelctl: another import waits for panelctl confirm\n")
        self.silent("confirm")

    def test_after_a_restart_there_is_still_time_to_confirm(self):
        for clock in (time.time() + 500, 1e12):  # a clock that was set back knows no better
            with self.subTest(clock=clock):
                self.setUp()
                self.restarted(clock=int(clock))
                self.assertEqual(start("recover").returncode, 3)
                self.assertNotEqual(self.state(), self.old)
                self.silent("confirm")

    def test_after_a_restart_the_watch_goes_on(self):
        """By the clock; one that was set back gives no more time than there was."""
        for changes in ({"clock": int(time.time()) + 3}, {"clock": 10 ** 12, "seconds": 2}):
            with self.subTest(changes=changes):
                self.setUp()
                self.restarted(**changes)
                self.assertEqual(start("recover").returncode, 3)
                wait_for(lambda: not JOURNAL.exists(), "the old settings")
                self.assertEqual(self.state()[IMAGE], self.old[IMAGE])
                self.assertIn("ifconfig eth0 192.168.1.10", self.lines())

    def test_after_a_restart_the_running_panel_is_taken_back_too(self):
        """It was started with the new settings, although they were not imported with --now."""
        self.restarted(clock=int(time.time()) - 1)
        before = len(self.lines())
        self.assertIn("confirmed", self.one_line(start("recover").stderr))
        self.assertIn("ifconfig eth0 192.168.1.10", self.lines()[before:])
        self.assertEqual(self.state()[IMAGE], self.old[IMAGE])

    def test_seconds_that_do_not_fit_change_nothing(self):
        for text in ("0", "-1", "86401", "soon", "1.5"):
            with self.subTest(text=text):
                self.assertIn("86400", self.complaint(2, "import", "-", f"--confirm={text}",
                                                      input=json.dumps(OTHER).encode()))
                self.assertEqual(self.state(), self.old)

    def test_dry_run_waits_for_nothing(self):
        self.imported(OTHER, "--dry-run", "--now", "--confirm=5")
        self.assertFalse(JOURNAL.exists())


class Guide(TransferTest):
    """The commands of the guide, as they stand there."""

    def test_every_command_of_the_guide_does_what_it_is_told(self):
        guide = (ROOT / "docs" / "commissioning.md").read_text()
        # What follows is typed in a control room, see tests/simulator/test_stories.py.
        guide = guide.partition("\n## Many panels\n")[0]
        lines = [line for block in re.findall(r"^```sh\n(.*?)^```", guide, re.M | re.S)
                 for line in block.splitlines()]
        self.assertGreater(len(lines), 5)
        self.hear(REGISTER_PIPE)
        environment = {"PATH": f"{pathlib.Path(PROGRAM).parent}:/usr/bin:/bin"}
        (self.folder / "panel.json").write_text(json.dumps(OTHER))
        for line in lines:
            if "--confirm" in line:  # there has to be something to confirm
                (self.folder / "panel.json").write_text(json.dumps(OTHER))
            with self.subTest(line=line):
                done = subprocess.run(["sh", "-c", line], cwd=self.folder, env=environment,
                                      capture_output=True, check=False)
                self.assertIn(done.returncode, (0, 3), done.stderr)
                self.assertEqual(done.stderr, b"")
                if "--confirm" in line:
                    self.assertTrue(JOURNAL.exists())

    def test_file_of_the_guide_can_be_imported(self):
        guide = (ROOT / "docs" / "commissioning.md").read_text()
        for text in re.findall(r"^```json\n(.*?)^```", guide, re.M | re.S):
            self.imported(json.loads(text))

    def test_errors_of_the_guide_are_told_in_these_words(self):
        guide = (ROOT / "docs" / "commissioning.md").read_text()
        told = re.search(r"^```\n(panelctl: .*?)^```", guide, re.M | re.S)[1]
        path = self.folder / "panel.json"
        path.write_text(json.dumps({"version": 1, "display": {"brightness": 78},
                                    "network": {"eth0": {"address": "1.2.3.4"}}}))
        self.assertEqual(start("import", path.name, cwd=self.folder).stderr.decode(), told)


if __name__ == "__main__":
    unittest.main(verbosity=2)
