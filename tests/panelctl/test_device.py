"""panelctl shows, changes and checks the device image, in a file and behind the platform tools."""

import itertools
import json
import os
import pathlib
import subprocess
import unittest

from panel_values import encode, fitting, shown, unfit
from panel_world import (COMMANDS, FACTORY, FIELDS, IMAGE, NO_LEAK_SEARCH, PROGRAM, TABLES, PanelTest,
                         noise, patched, place_of, start)

READ, WRITE = "/root/plat-intf/readee", "/root/plat-intf/writeee count=16"


def field_named(name):
    return next(field for field in FIELDS if field["name"] == name)


def changed(content, name, text):
    """An image with one field set."""
    place = place_of(field_named(name))
    return patched(content, place, encode(field_named(name), text, content[place]))


class DeviceTest(PanelTest):
    def commands(self):
        return COMMANDS.read_text().splitlines() if COMMANDS.exists() else []

    def values(self, *words):
        """What the device shows, by the names of fields."""
        records = self.json("device", "show", *words)
        return {name: value for record in records.values() for name, value in record.items()}


class Set(DeviceTest):
    """Each test in a file, in which all fields can be changed, and on the device."""

    def places(self):
        """The options that lead to an image, how to read it, and the fields that it takes."""
        yield (("--image", self.image_file()), self.file, FIELDS)
        IMAGE.write_bytes(noise(1024))
        yield ((), IMAGE, [field for field in FIELDS if field["writable"]])

    def test_every_value_that_fits_changes_its_field_and_nothing_else(self):
        for options, path, fields in self.places():
            for field in fields:
                for text in fitting(field):
                    with self.subTest(options=options, field=field["name"], text=text):
                        before = path.read_bytes()
                        expected = changed(before, field["name"], text)
                        self.silent("device", "set", *options, field["name"], text)
                        self.assertTrue(path.read_bytes() == expected)
                        value = self.values(*options)[field["name"]]
                        self.assertEqual(bytes.fromhex(value["bytes"]), expected[place_of(field)])
                        self.assertEqual(value["value"], shown(field, text))

    def test_bits_that_share_a_byte_with_a_value_stay(self):
        for content in (bytes(1024), b"\xff" * 1024):
            self.image_file(content)
            for field in FIELDS:
                for text in fitting(field):
                    before = self.file.read_bytes()
                    self.silent("device", "set", "--image", self.file, field["name"], text)
                    self.assertTrue(self.file.read_bytes() == changed(before, field["name"], text),
                                    (field["name"], text))

    def test_values_that_do_not_fit_are_refused_and_change_nothing(self):
        for options, path, fields in self.places():
            before, run = path.read_bytes(), len(self.commands())
            for field in fields:
                for text in unfit(field):
                    with self.subTest(options=options, field=field["name"], text=text):
                        line = self.complaint(2, "device", "set", *options, field["name"], text)
                        self.assertIn(f"'{text}'", line)
                        self.assertTrue(text.startswith("-") or field["name"] in line)
            self.assertTrue(path.read_bytes() == before)
            self.assertNotIn(WRITE, self.commands()[run:])

    def test_values_shown_can_be_typed_again(self):
        self.image_file()
        for _, (field, text) in itertools.product(
                range(2), ((field, text) for field in FIELDS for text in fitting(field))):
            self.silent("device", "set", "--image", self.file, field["name"], text)
        before = self.file.read_bytes()
        words = [word for name, value in self.values("--image", self.file).items()
                 for word in (name, value["value"])]
        self.silent("device", "set", "--image", self.file, *words)
        self.assertTrue(self.file.read_bytes() == before)

    def test_several_fields_change_together(self):
        for options, path, fields in self.places():
            expected = path.read_bytes()
            words = []
            for field in fields:
                words += [field["name"], fitting(field)[-1]]
                expected = changed(expected, field["name"], fitting(field)[-1])
            run = len(self.commands())
            self.silent("device", "set", *options, *words)
            self.assertTrue(path.read_bytes() == expected)
            # The device gets everything in one piece, or it could keep half of it.
            self.assertEqual(self.commands()[run:].count(WRITE), 0 if options else 1)

    def test_one_value_that_does_not_fit_refuses_all_of_them(self):
        for options, path, fields in self.places():
            before = path.read_bytes()
            for good, bad in itertools.permutations(fields, 2):
                words = [good["name"], fitting(good)[-1], bad["name"], unfit(bad)[0]]
                with self.subTest(options=options, words=words):
                    self.complaint(2, "device", "set", *options, *words)
                    self.assertTrue(path.read_bytes() == before)

    def test_unknown_reserved_and_missing_things_are_refused(self):
        reserved = {field["name"] for field in TABLES["fields"] if field["kind"] == "reserved"}
        for options, path, _ in self.places():
            before = path.read_bytes()
            for words in [("jump", "1"), ("Brightness", "140"), ("", "1"), ("brightness",),
                          ("brightness", "140", "eth0_ip"), *((name, "0") for name in reserved)]:
                with self.subTest(options=options, words=words):
                    line = self.complaint(2, "device", "set", *options, *words)
                    self.assertRegex(line, "no field|needs a value|usage")
            self.assertTrue(path.read_bytes() == before)

    def test_hardware_can_be_described_in_a_file_only(self):
        described = [field for field in FIELDS if not field["writable"]]
        self.assertEqual({field["record"] for field in described}, {"Flash_ROnly"})
        for field in described:
            for words in ((), ("brightness", "140")):
                line = self.complaint(2, "device", "set", *words, field["name"], fitting(field)[0])
                self.assertIn(f"{field['name']} is read-only", line)
        self.assertEqual(IMAGE.read_bytes(), FACTORY)

    def test_file_is_replaced_in_one_go_and_keeps_its_permissions(self):
        self.image_file().chmod(0o640)
        before = self.file.stat()
        with open(self.file, "rb") as old:
            self.silent("device", "set", "--image", self.file, "brightness", "76")
            self.assertTrue(old.read() == noise(1024), "whoever reads the old one goes on with it")
        after = self.file.stat()
        self.assertEqual(after.st_mode, before.st_mode)
        self.assertEqual(os.listdir(self.folder), ["image"])


    def test_field_that_is_given_twice_is_refused(self):
        image = self.image_file(FACTORY)
        for words in (("set", "--image", image), ("create", "--image", self.folder / "new")):
            with self.subTest(words=words):
                self.assertIn("'eth0_ip' is given twice",
                              self.complaint(2, "device", *words, "eth0_ip", "10.0.0.1",
                                             "brightness", "76", "eth0_ip", "10.0.0.2"))
        self.assertEqual(image.read_bytes(), FACTORY)
        self.assertFalse((self.folder / "new").exists())

    def test_link_to_a_file_stays_one(self):
        self.image_file(FACTORY)
        link = self.folder / "link"
        link.symlink_to("image")
        self.silent("device", "set", "--image", link, "brightness", "76")
        self.assertTrue(link.is_symlink())
        self.assertTrue(self.file.read_bytes() == changed(FACTORY, "brightness", "76"))


class Tools(DeviceTest):
    """The device behind its tools, and tools that fail."""

    def test_device_is_read_and_written_by_the_tools_of_the_platform(self):
        run = len(self.commands())
        self.silent("device", "set", "brightness", "76", "block_0", "ab" * 64)
        commands = self.commands()[run:]
        self.assertEqual(set(commands), {READ, WRITE})
        self.assertEqual(commands[0], READ)
        self.assertEqual(commands[-1], READ, "looks whether the device has kept it")
        run = len(self.commands())
        for verb in ("show", "dump", "check"):
            start("device", verb)
        self.assertEqual(self.commands()[run:], [READ] * 3)

    def test_bytes_that_others_change_meanwhile_stay(self):
        # Somebody writes when the image has been read once.
        others = patched(FACTORY, slice(200, 260), noise(60))
        new = self.folder / "others"
        new.write_bytes(others)
        with self.tool("readee", f"cat {IMAGE}; [ ! -e {new} ] || mv {new} {IMAGE}"):
            self.silent("device", "set", "settings_close_hidden", "off")
        self.assertTrue(IMAGE.read_bytes() == others)

    def test_missing_tools_are_told_and_nothing_is_changed(self):
        for name, verbs in (("readee", ("show", "dump", "check", "set")), ("writeee", ("set",))):
            for verb in verbs:
                words = ("brightness", "76") if verb == "set" else ()
                with self.subTest(name=name, verb=verb), self.tool(name, None):
                    self.assertIn(f"/root/plat-intf/{name}",
                                  self.complaint(1, "device", verb, *words))
                    self.assertEqual(IMAGE.read_bytes(), FACTORY)

    def test_image_of_another_size_is_told_and_never_written_back(self):
        for script in (":", "head -c 1023 /panel/state/image", "head -c 1025 /dev/zero",
                       "exec cat /dev/zero", "exit 1"):
            for verb in ("show", "dump", "check", "set"):
                words = ("brightness", "76") if verb == "set" else ()
                with self.subTest(script=script, verb=verb), self.tool("readee", script):
                    self.assertIn("a device image has 1024",
                                  self.complaint(1, "device", verb, *words))
                    self.assertEqual(IMAGE.read_bytes(), FACTORY)

    def test_image_that_comes_whole_once_only_is_never_written_back(self):
        short = self.folder / "short"
        run = len(self.commands())
        with self.tool("readee", f"[ -e {short} ] && exec head -c 1000 {IMAGE}\n"
                                 f"touch {short}; exec cat {IMAGE}"):
            self.assertIn("has 1000 bytes", self.complaint(1, "device", "set", "brightness", "76"))
        self.assertEqual(IMAGE.read_bytes(), FACTORY)
        self.assertNotIn(WRITE, self.commands()[run:])

    def test_tool_that_cannot_be_started_is_told(self):
        for number, text in ((1, "cannot run /root/plat-intf/readee"),
                             (3, "/root/plat-intf/writeee does not take the image")):
            with self.subTest(number=number):
                result = subprocess.run(
                    ["strace", "-o", "/tmp/trace", "-e", f"inject=pipe2:error=EMFILE:when={number}",
                     PROGRAM, "device", "set", "brightness", "76"],
                    env={**os.environ, **NO_LEAK_SEARCH}, capture_output=True, check=False)
                self.assertEqual(result.returncode, 1)
                self.assertEqual(result.stderr.decode().splitlines()[-1], f"panelctl: {text}")
                self.assertEqual(IMAGE.read_bytes(), FACTORY)

    def test_what_the_reading_tool_complains_about_goes_nowhere(self):
        with self.tool("readee", f"echo something is odd >&2; exec cat {IMAGE}"):
            self.output("device", "show")
        self.assertEqual([path for path in pathlib.Path("/dev").iterdir()
                          if path.is_file() and not path.is_symlink()], [])

    def test_device_that_does_not_keep_a_value_is_told(self):
        for script in ("cat >/dev/null", ":", "exit 1", "head -c 1 >/dev/null"):
            with self.subTest(script=script), self.tool("writeee", script):
                line = self.complaint(1, "device", "set", "eth0_ip", "10.1.2.3", "block_1",
                                      "00" * 64)
                self.assertRegex(line, "did not keep eth0_ip|does not take")


class Look(DeviceTest):
    def test_show_for_people_has_every_field_below_its_record(self):
        for options in ((), ("--image", self.image_file(FACTORY))):
            seen, record = {}, None
            for line in self.output("device", "show", *options).splitlines():
                if line.startswith("  "):
                    name, value = line.split(maxsplit=1)
                    seen[name] = (record, value)
                else:
                    record = line.split(",")[0]
            values = self.values(*options)
            self.assertEqual(list(seen), [field["name"] for field in FIELDS])
            for field in FIELDS:
                record, text = seen[field["name"]]
                self.assertEqual(record, field["record"])
                value = values[field["name"]]["value"]
                if field["kind"] == "bytes":
                    self.assertRegex(text, rf"^{field['size']} bytes, (all zero$|[0-9a-f]{{24}})")
                    self.assertTrue("all zero" in text or value[:24] in text, text)
                else:
                    self.assertTrue(text.startswith(value), text)
        self.assertEqual(seen["brightness"][1], "140 (level 17 of 32)")
        self.assertEqual(seen["screen_width"][1], "1024 pixels")

    def test_dump_has_every_byte_in_its_place(self):
        for options, content in (((), FACTORY), (("--image", self.image_file()), noise(1024))):
            lines = self.output("device", "dump", *options).splitlines()
            self.assertEqual(len(lines), 64)
            for at, line in enumerate(lines):
                first, second, *octets = line.split()
                self.assertEqual((int(first), int(second, 16)), (at * 16, at * 16))
                self.assertEqual(bytes.fromhex("".join(octets)), content[at * 16:at * 16 + 16])
            self.assertEqual(self.json("device", "dump", *options),
                             {"size": 1024, "bytes": content.hex()})

    def test_looking_changes_nothing(self):
        self.image_file()
        before = self.file.stat()
        for verb in ("show", "dump", "check"):
            start("device", verb)
            start("device", verb, "--image", self.file)
        after = self.file.stat()
        self.assertEqual((after.st_ino, after.st_mtime_ns), (before.st_ino, before.st_mtime_ns))
        self.assertEqual(IMAGE.read_bytes(), FACTORY)
        self.assertNotIn(WRITE, self.commands())

    def test_files_that_are_no_image_are_told_and_stay(self):
        for verb in ("show", "dump", "check", "set"):
            words = ("brightness", "76") if verb == "set" else ()
            for size in (0, 1, 1023, 1025, 100000):
                with self.subTest(verb=verb, size=size):
                    self.image_file(noise(size))
                    line = self.complaint(1, "device", verb, "--image", self.file, *words)
                    amount = ("more than 1024 bytes" if size > 1024 else
                              "1 byte" if size == 1 else f"{size} bytes")
                    self.assertIn(f"{self.file} has {amount};", line)
                    self.assertTrue(self.file.read_bytes() == noise(size))
            missing = self.folder / "missing"
            for path in (missing, self.folder, "/no/such/folder/image"):
                with self.subTest(verb=verb, path=path):
                    line = self.complaint(1, "device", verb, "--image", path, *words)
                    self.assertIn(f"cannot read {path}", line)
            self.assertFalse(missing.exists())


# What is wrong with an image, one mistake at a time: bytes by field, and what is told of which one.
ADDRESSES = {"ip": "10.1.0.5", "mask": "255.255.0.0", "gateway": "10.1.0.1"}
MISTAKES = [
    ({"brightness": "4b00"}, "brightness", "75"),
    ({"brightness": "c900"}, "brightness", "201"),
    ({"screen_width": "000f"}, "screen_width", "no width"),
    *(mistake for name in ("eth0", "eth1") for mistake in (
        ({f"{name}_mac": "000000000000"}, f"{name}_mac", "no MAC"),
        ({f"{name}_mac": "01005e000001"}, f"{name}_mac", "group"),
        ({f"{name}_ip": "7f000001"}, f"{name}_ip", "127.0.0.1"),
        ({f"{name}_ip": "e0000001"}, f"{name}_ip", "224.0.0.1"),
        ({f"{name}_ip": "0a010000"}, f"{name}_ip", "whole network"),
        ({f"{name}_ip": "0a01ffff"}, f"{name}_ip", "whole network"),
        ({f"{name}_mask": "ff00ff00"}, f"{name}_mask", "gap"),
        ({f"{name}_mask": "00000000"}, f"{name}_mask", "missing"),
        ({f"{name}_gateway": "0a010005"}, f"{name}_gateway", "itself"),
        ({f"{name}_gateway": "0a020001"}, f"{name}_gateway", "not in"),
        ({f"{name}_gateway": "ff000001"}, f"{name}_gateway", "255.0.0.1"))),
    ({"eth1_mac": "02005e0a0001"}, "eth1_mac", "eth0"),
    ({"brightness": "8d00"}, "brightness", "141 is no level"),
    # A mask with a gap next to its end.
    ({"eth0_mask": "fffffffd"}, "eth0_ip", "whole network"),
]


class Check(DeviceTest):
    def setUp(self):
        super().setUp()
        self.good = changed(FACTORY, "hw_options", "2")
        for name in ("eth0", "eth1"):
            for part, text in ADDRESSES.items():
                self.good = changed(self.good, f"{name}_{part}", text)

    def with_bytes(self, mistake):
        content = self.good
        for name, data in mistake.items():
            content = patched(content, place_of(field_named(name)), bytes.fromhex(data))
        return content

    def problems(self, content):
        """What is told of an image, as lines and as JSON; both end with 1 and the number."""
        path = self.image_file(content)
        result = start("device", "check", "--image", path)
        lines = result.stdout.decode().splitlines()
        found = [tuple(line.split(": ", 1)) for line in lines]
        as_json = start("device", "check", "--image", path, "--json")
        self.assertEqual(as_json.returncode, 1 if found else 0)
        rows = json.loads(as_json.stdout)
        self.assertEqual([(row["field"], row["problem"]) for row in rows], found)
        self.assertEqual(result.returncode, 1 if found else 0)
        if found:
            self.assertRegex(self.one_line(result.stderr), rf"has {len(found)} problems?$")
        else:
            self.assertEqual((result.stderr, as_json.stderr), (b"", b""))
        return found

    def test_good_images_have_no_problem(self):
        self.silent("device", "check")
        self.assertEqual(self.problems(FACTORY), [])
        self.assertEqual(self.problems(self.good), [])
        unset = {f"{name}_{part}": "00000000" for name in ("eth0", "eth1") for part in ADDRESSES}
        self.assertEqual(self.problems(self.with_bytes({"brightness": "0000", **unset})), [])

    def test_network_of_two_has_no_address_of_its_own(self):
        for address, gateway in (("0a010004", "0a010005"), ("0a010005", "0a010004")):
            self.assertEqual(self.problems(self.with_bytes(
                {"eth0_ip": address, "eth0_mask": "fffffffe", "eth0_gateway": gateway})), [])

    def test_missing_mac_address_is_nobody_else_s(self):
        missing = {"eth0_mac": "00" * 6, "eth1_mac": "00" * 6}
        self.assertEqual([told for _, told in self.problems(self.with_bytes(missing))],
                         ["00:00:00:00:00:00 is no MAC address"] * 2)

    def test_each_mistake_is_told_alone(self):
        for mistake, field, text in MISTAKES:
            with self.subTest(mistake=mistake):
                found = self.problems(self.with_bytes(mistake))
                self.assertIn(field, {name for name, _ in found})
                self.assertTrue([told for name, told in found if name == field and text in told],
                                found)
                # What follows from it is on the same adapter.
                self.assertEqual({name.split("_")[0] for name, _ in found}, {field.split("_")[0]})

    def test_every_pair_of_mistakes_is_told(self):
        for (one, first, text), (other, second, more) in itertools.combinations(MISTAKES, 2):
            if first.split("_")[0] == second.split("_")[0]:
                continue  # the addresses of one adapter hang together
            with self.subTest(mistakes=(one, other)):
                found = self.problems(self.with_bytes({**one, **other}))
                for field, words in ((first, text), (second, more)):
                    if not (field == "eth1_mac" and "eth0_mac" in one):
                        self.assertTrue([told for name, told in found
                                         if name == field and words in told], found)

    def test_second_adapter_counts_only_where_there_is_one(self):
        for mistake, field, _ in MISTAKES:
            if field.startswith("eth1"):
                content = changed(self.with_bytes(mistake), "hw_options", "1")
                self.assertEqual(self.problems(content), [], mistake)

    def test_erased_memory_and_a_new_image_are_told(self):
        self.assertEqual([name for name, _ in self.problems(b"\xff" * 1024)], ["image"])
        self.assertEqual({name for name, _ in self.problems(bytes(1024))},
                         {"eth0_mac", "screen_width"})

    def test_device_is_checked_without_a_file(self):
        IMAGE.write_bytes(self.with_bytes({"eth0_mask": "ff00ff00"}))
        result = start("device", "check")
        self.assertEqual(result.returncode, 1)
        self.assertIn(b"eth0_mask: ", result.stdout)


class Create(DeviceTest):
    def test_new_image_is_all_zeros(self):
        self.silent("device", "create", "--image", self.file)
        self.assertEqual(self.file.read_bytes(), bytes(1024))
        mask = os.umask(0o022)
        os.umask(mask)
        self.assertEqual(self.file.stat().st_mode & 0o777, 0o666 & ~mask)
        self.assertEqual(os.listdir(self.folder), ["image"])

    def test_new_image_takes_values_at_once(self):
        words, expected = [], bytes(1024)
        for field in FIELDS:
            words += [field["name"], fitting(field)[-1]]
            expected = changed(expected, field["name"], fitting(field)[-1])
        self.silent("device", "create", "--image", self.file, *words)
        self.assertTrue(self.file.read_bytes() == expected)

    def test_values_that_do_not_fit_make_no_image(self):
        for field in FIELDS:
            for words in ((field["name"], unfit(field)[0]), (field["name"],), ("jump", "1"),
                          ("brightness", "140", field["name"], unfit(field)[0])):
                with self.subTest(words=words):
                    self.complaint(2, "device", "create", "--image", self.file, *words)
                    self.assertEqual(os.listdir(self.folder), [])

    def test_existing_file_stays_as_it_is(self):
        self.image_file(b"something")
        for words in ((), ("brightness", "140")):
            line = self.complaint(1, "device", "create", "--image", self.file, *words)
            self.assertIn("is there already", line)
            self.assertEqual(self.file.read_bytes(), b"something")

    def test_file_is_needed_and_its_folder_has_to_be_there(self):
        self.assertIn("--image", self.complaint(2, "device", "create"))
        self.assertIn("/no/such/folder/image",
                      self.complaint(1, "device", "create", "--image", "/no/such/folder/image"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
