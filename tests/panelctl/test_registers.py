"""panelctl reads, writes and watches the registers of a panel."""

import itertools
import json
import os
import signal
import time
import unittest

from panel_values import encode, fitting, shown, unfit
from panel_world import (AREA_PIPE, AREAS, FIELDS, REGISTER_PIPE, REGISTERS, PanelTest, Watch,
                         noise, patched, send, wait_for)


class RegisterTest(PanelTest):
    def setUp(self):
        super().setUp()
        for area, path in AREAS.items():
            path.write_bytes(noise(4096, area))

    def areas(self):
        return {area: path.read_bytes() for area, path in AREAS.items()}

    def words(self, row):
        """The ways to name a register."""
        return [str(row["id"])] + ([row["name"]] if "name" in row else [])


def stored(row, content):
    """The bytes of a register in its area; the bits of its neighbours left out."""
    offset, size = row["offset"], row["size"]
    if row["unit"] == "bytes":
        return content[offset:offset + size]
    bits = int.from_bytes(content, "little") >> offset & (1 << size) - 1
    return bits.to_bytes((size + 7) // 8, "little")


def with_register(row, content, value):
    offset, size = row["offset"], row["size"]
    if row["unit"] == "bytes":
        return patched(content, slice(offset, offset + size), value)
    bits = int.from_bytes(content, "little") & ~((1 << size) - 1 << offset)
    return (bits | int.from_bytes(value, "little") << offset).to_bytes(len(content), "little")


class Registers(RegisterTest):
    def test_every_value_that_fits_changes_the_register_and_nothing_else(self):
        for row in REGISTERS:
            for text, word in zip(fitting(row), itertools.cycle(self.words(row))):
                with self.subTest(id=row["id"], text=text, word=word):
                    expected = self.areas()
                    before = stored(row, expected[row["area"]])
                    expected[row["area"]] = with_register(
                        row, expected[row["area"]], encode(row, text, bytes(len(before))))
                    self.silent("reg", "write", word, text)
                    self.assertTrue(self.areas() == expected)
                    self.assertEqual(self.output("reg", "read", word), shown(row, text) + "\n")

    def test_json_has_the_row_of_the_table_with_value_and_bytes(self):
        for row in REGISTERS:
            for word in self.words(row):
                with self.subTest(word=word):
                    seen = self.json("reg", "read", word)
                    value, data = seen.pop("value"), seen.pop("bytes")
                    self.assertEqual(seen, row)
                    self.assertEqual(bytes.fromhex(data),
                                     stored(row, AREAS[row["area"]].read_bytes()))
                    self.assertEqual(self.output("reg", "read", word), value + "\n")

    def test_values_that_do_not_fit_are_refused_and_change_nothing(self):
        before = self.areas()
        for row in REGISTERS:
            for text, word in zip(unfit(row), itertools.cycle(self.words(row))):
                with self.subTest(id=row["id"], text=text):
                    line = self.complaint(2, "reg", "write", word, text)
                    self.assertIn(f"'{text}'", line)
        self.assertTrue(self.areas() == before)

    def test_unknown_registers_are_refused(self):
        for word in ("90", "-1", "020", "0x14", "Language", "eth0", "20 ", "", "9" * 30):
            for words in (("read", word), ("write", word, "0")):
                with self.subTest(words=words):
                    self.assertIn(f"'{word}'", self.complaint(2, "reg", *words))

    def test_names_of_version_1_0_still_name_their_registers(self):
        for old, now in {"eth0-address": "eth0_ip", "eth0-netmask": "eth0_mask",
                         "eth1-address": "eth1_ip", "eth1-netmask": "eth1_mask",
                         "eth0-gateway": "eth0_gateway", "eth1-dhcp": "eth1_dhcp",
                         "default-adapter": "default_adapter", "date-lock": "date_lock",
                         "settings-window": "settings_window"}.items():
            with self.subTest(old=old):
                self.assertEqual(self.json("reg", "read", old), self.json("reg", "read", now))

    def test_a_register_has_the_name_of_the_field_that_it_mirrors(self):
        named = {row["name"] for row in REGISTERS if "name" in row}
        self.assertLessEqual({field["name"] for field in FIELDS
                              if field["kind"] in ("ipv4", "netmask")}, named)

    def test_missing_and_short_areas_are_told_by_name(self):
        for area, path in AREAS.items():
            row = next((row for row in REGISTERS if row["area"] == area), None)
            if not row:
                continue
            for remains in (None, b"", noise(4096)[:row["offset"] // 8]):
                with self.subTest(area=area, remains=remains):
                    path.unlink(missing_ok=True)
                    if remains is not None:
                        path.write_bytes(remains)
                    line = self.complaint(1, "reg", "read", row["id"])
                    self.assertIn(f"cannot read register {row['id']}", line)
                    self.assertIn(row["file"], line)
                    if remains is None:
                        line = self.complaint(1, "reg", "write", row["id"], fitting(row)[0])
                        self.assertIn(f"cannot write register {row['id']}", line)
                        self.assertIn(row["file"], line)
                        self.assertFalse(path.exists())

    def test_notice_is_sent_when_asked_for_and_only_then(self):
        listener = self.hear(REGISTER_PIPE)
        for row in REGISTERS:
            with self.subTest(id=row["id"]):
                word, text = self.words(row)[-1], fitting(row)[0]
                self.silent("reg", "write", word, text, "--notify")
                self.assertEqual(listener.heard(), row["id"].to_bytes(4, "little"))
                self.silent("reg", "write", word, text)
                self.assertEqual(listener.heard(), b"")

    def test_notice_that_nobody_hears_is_a_failure_after_the_write(self):
        for prepare in (lambda: None, lambda: os.mkfifo(REGISTER_PIPE)):
            prepare()
            for text in ("english", "chinese"):
                line = self.complaint(1, "reg", "write", "language", text, "--notify")
                self.assertIn("nobody reads", line)
                self.assertEqual(self.output("reg", "read", "language"), text + "\n")

    def test_standard_input_may_be_closed(self):
        """The first file that is opened has its number then."""
        listener = self.hear(REGISTER_PIPE)
        self.output("reg", "write", "language", "english", "--notify",
                    preexec_fn=lambda: os.close(0))
        self.assertEqual(listener.heard(), (20).to_bytes(4, "little"))
        AREAS[7].write_bytes(b"")
        self.assertIn(f"{AREAS[7]} is too short", self.complaint(
            1, "reg", "read", "language", preexec_fn=lambda: os.close(0)))

    def test_refused_value_sends_no_notice(self):
        listener = self.hear(REGISTER_PIPE)
        self.complaint(2, "reg", "write", "language", "klingon", "--notify")
        self.assertEqual(listener.heard(), b"")


class Watching(RegisterTest):
    def watch(self, *options):
        watch = Watch(*options)
        self.addCleanup(watch.clean)
        return watch

    def test_each_notice_is_printed_as_it_comes_with_the_value_of_its_register(self):
        watch = self.watch()
        for row in REGISTERS:
            with self.subTest(id=row["id"]):
                send(REGISTER_PIPE, row["id"])
                label = " ".join(self.words(row))
                value = self.output("reg", "read", row["id"])
                self.assertEqual(watch.line(), f"register {label} = {value}")

    def test_notices_of_ranges_are_printed_in_the_unit_of_their_area(self):
        watch = self.watch()
        for area in AREAS:
            send(AREA_PIPE, area, 1000 + area, 3)
            unit = "byte" if area % 2 else "bit"
            self.assertEqual(watch.line(), f"area {area} from {unit} {1000 + area} length 3\n")

    def test_json_has_one_line_for_each_notice(self):
        watch = self.watch("--json")
        for row in REGISTERS:
            send(REGISTER_PIPE, row["id"])
            expected = {"notice": "register", "id": row["id"],
                        "value": self.json("reg", "read", row["id"])["value"]}
            if "name" in row:
                expected["name"] = row["name"]
            self.assertEqual(json.loads(watch.line()), expected)
        send(AREA_PIPE, 3, 0xFFFFFFFF, 0x80000000)
        self.assertEqual(json.loads(watch.line()), {"notice": "area", "area": 3,
                                                    "offset": 0xFFFFFFFF, "length": 0x80000000})

    def test_what_cannot_be_read_is_told_all_the_same(self):
        AREAS[7].unlink()
        for options, lines in (((), ["register 20 language = ?\n", "register 90 = ?\n",
                                     "register 4294967295 = ?\n"]),
                               (("--json",), [{"notice": "register", "id": 20, "name": "language",
                                               "value": None},
                                              {"notice": "register", "id": 90},
                                              {"notice": "register", "id": 0xFFFFFFFF}])):
            watch = self.watch(*options)
            for number, line in zip((20, 90, 0xFFFFFFFF), lines):
                send(REGISTER_PIPE, number)
                seen = watch.line()
                self.assertEqual(json.loads(seen) if options else seen, line)
            self.assertEqual(watch.end(), (0, b"", b""))

    def test_pipes_that_it_makes_are_for_everybody(self):
        before = os.umask(0o022)
        self.addCleanup(os.umask, before)
        self.watch()
        for pipe in (REGISTER_PIPE, AREA_PIPE):
            self.assertEqual(pipe.stat().st_mode & 0o777, 0o755)

    def test_write_with_a_notice_is_seen(self):
        watch = self.watch()
        self.silent("reg", "write", "buzzer", "on", "--notify")
        self.assertEqual(watch.line(), "register 79 buzzer = on\n")

    def test_ends_well_by_either_signal_and_listens_no_longer(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(signal=number.name):
                watch = self.watch()
                self.assertEqual(watch.end(number), (0, b"", b""))
                self.assertIn("nobody reads", self.complaint(1, "reg", "write", "20", "1",
                                                             "--notify"))

    def test_nothing_is_lost_of_many_notices_and_while_it_is_stopped(self):
        watch = self.watch()
        watch.send(signal.SIGSTOP)
        wait_for(watch.is_stopped, "it to be stopped")
        for at in range(1000):
            send(REGISTER_PIPE, 100 + at)
            send(AREA_PIPE, 1, at, 1)
        watch.send(signal.SIGCONT)
        lines = [watch.line() for _ in range(2000)]
        self.assertEqual([line for line in lines if line.startswith("register")],
                         [f"register {100 + at} = ?\n" for at in range(1000)])
        self.assertEqual([line for line in lines if line.startswith("area")],
                         [f"area 1 from byte {at} length 1\n" for at in range(1000)])
        self.assertEqual(watch.end(), (0, b"", b""))

    def test_it_sleeps_between_notices(self):
        watch = self.watch()
        send(REGISTER_PIPE, 20)  # whoever sends also closes the pipe again
        send(AREA_PIPE, 1, 2, 3)
        for _ in range(2):
            watch.line()
        before = watch.ticks()
        time.sleep(0.5)
        self.assertLess(watch.ticks() - before, 5)

    def test_something_else_in_the_place_of_a_pipe_is_told(self):
        for pipe in (REGISTER_PIPE, AREA_PIPE):
            with self.subTest(pipe=pipe):
                pipe.unlink(missing_ok=True)
                pipe.write_bytes(b"")
                self.assertIn(str(pipe), self.complaint(1, "reg", "watch"))
                pipe.unlink()

if __name__ == "__main__":
    unittest.main(verbosity=2)
