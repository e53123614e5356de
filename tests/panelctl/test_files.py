"""panelctl and the resolver file; panelctl and the files of a new device."""

import itertools
import json
import os
import pathlib
import re
import resource
import shutil
import signal
import stat
import subprocess
import unittest

from panel_values import encode, fitting, unfit
from panel_world import (AREA_PIPE, AREAS, NO_LEAK_SEARCH, PROGRAM, REGISTER_PIPE, REGISTERS, RESOLVER,
                         TABLES, PanelTest, noise, start)

# Lines of somebody else, in any encoding and with any line end.
OTHERS = [b"# generated", b"search example.com", b"nameserver 9.9.9.9", b"eth0 begins this line",
          b"  options rotate\t", b"\xff\xfe\x80 no text", b"with\0zero", b"from elsewhere\r",
          b"nameserver 8.8.4.4 # wlan0"]
ADAPTERS, SERVERS = ("eth0", "eth1"), ("first", "backup")


def line(adapter, address):
    return f"nameserver {address} # {adapter}".encode()


class Replacement(PanelTest):
    """How a file gets its new content, seen with strace."""

    TRACE = "/tmp/trace"
    NEW = line("eth0", "2.2.2.2")

    def setUp(self):
        super().setUp()
        self.keep_resolver()

    def keep_resolver(self):
        RESOLVER.write_bytes(line("eth0", "1.1.1.1"))

    def trace(self, *options, words=("dns", "set", "eth0", "first", "2.2.2.2")):
        """The calls of the program that name a file or a descriptor, as strace prints them."""
        subprocess.run(["strace", "-y", "-o", self.TRACE, "-e", "trace=%file,%desc", *options,
                        PROGRAM, *words], capture_output=True, check=False)
        return pathlib.Path(self.TRACE).read_text(errors="replace").splitlines()

    def test_content_and_name_reach_the_medium_in_their_order(self):
        calls = self.trace()
        at = {name: next(number for number, call in enumerate(calls) if pattern.search(call))
              for name, pattern in {
                  "write": re.compile(r"write\(4.*, \"nameserver 2"),
                  "content": re.compile(r"fsync\(4"),
                  "rename": re.compile(r"renameat"),
                  "folder": re.compile(rf"fsync\(\d+<{RESOLVER.parent}>\)")}.items()}
        self.assertEqual(sorted(at, key=at.get), ["write", "content", "rename", "folder"])

    def test_owner_and_permissions_stay(self):
        os.chown(RESOLVER, 0, 0)
        for mode in (0o600, 0o644, 0o1755):  # a panel cannot set the others
            RESOLVER.chmod(mode)
            before = RESOLVER.stat()
            self.silent("dns", "set", "eth0", "first", f"2.2.2.{mode % 250}")
            after = RESOLVER.stat()
            self.assertNotEqual(after.st_ino, before.st_ino)
            self.assertEqual((after.st_mode, after.st_uid, after.st_gid),
                             (before.st_mode, before.st_uid, before.st_gid))
        calls = "\n".join(self.trace())
        self.assertRegex(calls, r"fchown\(4<.*, 0, 0\)")

    def test_nobody_else_reads_what_is_not_complete(self):
        self.assertEqual([call.count(", 0600)") for call in self.trace() if "O_TMPFILE" in call], [1])

    def test_write_that_a_signal_interrupts_goes_on(self):
        calls = [call for call in self.trace() if call.startswith("write(")]
        number = next(at for at, call in enumerate(calls, 1) if '"nameserver 2' in call)
        self.keep_resolver()
        self.trace("-e", f"inject=write:error=EINTR:when={number}")
        self.assertEqual(RESOLVER.read_bytes(), self.NEW)

    def test_medium_that_takes_nothing_keeps_the_old_file(self):
        calls = [call for call in self.trace() if call.startswith("write(")]
        number = next(at for at, call in enumerate(calls, 1) if '"nameserver 2' in call)
        self.keep_resolver()
        self.trace("-e", f"inject=write:retval=0:when={number}")
        self.assertEqual(RESOLVER.read_bytes(), line("eth0", "1.1.1.1"))
        self.assertEqual(self.drafts(), [])

    def test_owner_that_cannot_be_kept_is_told_and_nothing_is_changed(self):
        self.trace("-e", "inject=fchown:error=EPERM")
        self.assertEqual(RESOLVER.read_bytes(), line("eth0", "1.1.1.1"))
        self.assertEqual(self.drafts(), [])

    def test_call_that_fails_is_told_and_nothing_is_changed(self):
        def is_of_replacement(call):
            return str(RESOLVER.parent) in call or "/#" in call or "umask" in call
        failing = {"write": "ENOSPC", "fchown": "EPERM", "fchmod": "EPERM", "fsync": "EIO",
                   "linkat": "EIO", "renameat": "EIO"}
        calls = self.trace()
        for name, error in failing.items():
            kind = [call for call in calls if call.startswith(f"{name}(")]
            for number, call in enumerate(kind, 1):
                if not is_of_replacement(call):
                    continue
                self.keep_resolver()
                with self.subTest(call=call):
                    result = subprocess.run(
                        ["strace", "-o", self.TRACE, "-e", f"inject={name}:error={error}:when={number}",
                         PROGRAM, "dns", "set", "eth0", "first", "2.2.2.2"],
                        env={**os.environ, **NO_LEAK_SEARCH}, capture_output=True, check=False)
                    self.assertEqual(result.returncode, 1)
                    self.assertIn("cannot change", self.one_line(result.stderr))
                    is_renamed = name == "fsync" and number > 1  # the folder's, when all is done
                    self.assertEqual(RESOLVER.read_bytes(),
                                     self.NEW if is_renamed else line("eth0", "1.1.1.1"))
                    self.assertEqual(self.drafts(), [])
        self.assertGreater(sum(call.startswith("fsync(") for call in calls), 1)

    def drafts(self):
        return [path.name for path in RESOLVER.parent.iterdir() if path.name.endswith(".new")]

    def calls_of(self, calls):
        """Each call since the file was first named: its name and which of that name it is."""
        seen, begun = {}, False
        for call in calls:
            name = call.split("(")[0]
            begun = begun or str(RESOLVER) in call
            if name.isidentifier():
                seen[name] = seen.get(name, 0) + 1
                if begun:
                    yield name, seen[name]

    def test_killed_at_any_call_it_leaves_the_old_file_or_the_new_one_and_the_next_removes_a_draft(self):
        left = set()
        for name, number in self.calls_of(self.trace()):
            self.keep_resolver()
            self.trace("-e", f"inject={name}:signal=KILL:when={number}")
            with self.subTest(call=name, number=number):
                self.assertIn(RESOLVER.read_bytes(), (line("eth0", "1.1.1.1"), self.NEW))
                left |= set(self.drafts())
                # Other content, lest a draft that was left passes for it.
                self.silent("dns", "set", "eth0", "first", "3.3.3.3")
                self.assertEqual(self.drafts(), [])
                self.assertEqual(RESOLVER.read_bytes(), line("eth0", "3.3.3.3"))
        # Between getting its name and taking the place of the old file.
        self.assertLessEqual(left, {".resolv.conf.new"})

    def test_recover_removes_the_draft_that_a_killed_command_left(self):
        self.trace("-e", "inject=renameat:signal=KILL")
        self.assertEqual(self.drafts(), [".resolv.conf.new"])
        self.assertEqual(start("recover").returncode, 3)
        self.assertEqual(self.drafts(), [])
        self.assertEqual(RESOLVER.read_bytes(), line("eth0", "1.1.1.1"))

    def test_new_file_never_has_a_draft(self):
        RESOLVER.unlink()
        for name, number in self.calls_of(self.trace()):
            RESOLVER.unlink(missing_ok=True)
            self.trace("-e", f"inject={name}:signal=KILL:when={number}")
            with self.subTest(call=name, number=number):
                self.assertEqual(self.drafts(), [])
                self.assertIn(RESOLVER.exists() and RESOLVER.read_bytes(), (False, self.NEW))

    def test_file_system_without_nameless_files_serves_as_well(self):
        nameless = next(number for number, call in enumerate(
            (call for call in self.trace() if call.startswith("openat(")), 1)
            if "O_TMPFILE" in call)
        self.keep_resolver()
        self.trace("-e", f"inject=openat:error=EOPNOTSUPP:when={nameless}")
        self.assertEqual(RESOLVER.read_bytes(), self.NEW)
        self.assertEqual(self.drafts(), [])


class Resolver(PanelTest):
    def content(self, *lines):
        RESOLVER.write_bytes(b"\n".join(lines))

    def lines(self):
        return RESOLVER.read_bytes().split(b"\n")

    def servers(self):
        """What is shown, for people and as JSON, which say the same."""
        shown = self.json("dns", "show")
        printed = {tuple(row.split()[:2]): row.split()[2]
                   for row in self.output("dns", "show").splitlines()}
        self.assertEqual(printed, {(adapter, server): shown[adapter][server] or "-"
                                   for adapter in ADAPTERS for server in SERVERS})
        return {pair: address for pair, address in printed.items() if address != "-"}

    def test_servers_are_told_by_adapter_and_order(self):
        self.assertEqual(self.servers(), {})
        self.content(*OTHERS, line("eth1", "4.4.4.4"), OTHERS[0], line("eth0", "1.1.1.1"),
                     line("eth1", "5.5.5.5"), line("eth1", "6.6.6.6"), b"")
        self.assertEqual(self.servers(), {("eth0", "first"): "1.1.1.1",
                                          ("eth1", "first"): "4.4.4.4",
                                          ("eth1", "backup"): "5.5.5.5"})

    def test_missing_file_holds_no_servers_and_is_not_made_by_looking(self):
        RESOLVER.unlink()
        self.assertEqual(self.servers(), {})
        for adapter in ADAPTERS:
            self.silent("dns", "clear", adapter)
        self.complaint(1, "dns", "set", "eth0", "backup", "1.1.1.1")
        self.assertFalse(RESOLVER.exists())
        self.silent("dns", "set", "eth0", "first", "1.1.1.1")
        self.assertEqual(self.servers(), {("eth0", "first"): "1.1.1.1"})

    def test_server_is_set_in_its_place_and_lines_of_others_stay(self):
        own = [line("eth0", "1.0.0.1"), line("eth1", "1.1.0.1"), line("eth0", "1.0.0.2"),
               line("eth1", "1.1.0.2")]
        # Its own lines before, between and behind those of others.
        content = [own[0], *OTHERS[:4], own[1], own[2], *OTHERS[4:], own[3]]
        for adapter, (index, server) in itertools.product(ADAPTERS, enumerate(SERVERS)):
            with self.subTest(adapter=adapter, server=server):
                self.content(*content)
                self.silent("dns", "set", adapter, server, "203.0.113.99")
                at = content.index([text for text in own if adapter.encode() in text][index])
                self.assertEqual(self.lines(), [*content[:at], line(adapter, "203.0.113.99"),
                                                *content[at + 1:]])

    def test_new_server_is_added_behind_lines_of_others(self):
        for adapter, (number, other) in itertools.product(ADAPTERS, enumerate(OTHERS)):
            with self.subTest(adapter=adapter, other=other):
                self.content(other, b"")
                self.silent("dns", "set", adapter, "first", "203.0.113.1")
                self.silent("dns", "set", str(ADAPTERS.index(adapter)), "backup", "203.0.113.2")
                self.assertEqual(self.lines(), [other, line(adapter, "203.0.113.1"),
                                                line(adapter, "203.0.113.2")])

    def test_clear_removes_every_line_of_its_adapter_and_no_other_byte(self):
        for adapter, other in (ADAPTERS, ADAPTERS[::-1]):
            with self.subTest(adapter=adapter):
                kept = [line(other, "4.4.4.4"), *OTHERS, b"", line(other, "5.5.5.5"), b""]
                content = list(kept)
                for at in (11, 6, 6, 0):
                    content.insert(at, line(adapter, f"7.7.7.{at}"))
                self.content(*content)
                self.silent("dns", "clear", adapter)
                self.assertEqual(self.lines(), kept)

    def test_clear_without_servers_writes_nothing(self):
        self.content(*OTHERS)
        before = RESOLVER.stat()
        self.silent("dns", "clear", "eth0")
        self.assertEqual(RESOLVER.stat().st_mtime_ns, before.st_mtime_ns)

    def test_backup_without_a_first_server_is_refused(self):
        self.content(*OTHERS, line("eth1", "4.4.4.4"))
        before = RESOLVER.read_bytes()
        self.assertIn("no first server", self.complaint(1, "dns", "set", "eth0", "backup",
                                                        "1.1.1.1"))
        self.assertEqual(RESOLVER.read_bytes(), before)

    def test_words_that_do_not_fit_are_refused_and_change_nothing(self):
        self.content(*OTHERS, line("eth0", "1.1.1.1"), line("eth0", "2.2.2.2"))
        before = RESOLVER.read_bytes()
        addresses = unfit({"kind": "ipv4", "size": 4, "unit": ""})
        for words in [*(("set", name, "first", "1.1.1.1") for name in ("eth2", "2", "", "lo")),
                      *(("clear", name) for name in ("eth2", "2", "", "ETH0")),
                      *(("set", "eth0", server, "1.1.1.1") for server in ("second", "0", "")),
                      *(("set", "eth0", "first", address) for address in addresses)]:
            with self.subTest(words=words):
                self.complaint(2, "dns", *words)
        self.assertEqual(RESOLVER.read_bytes(), before)

    def test_full_disk_leaves_the_old_file_whole(self):
        def fill_disk():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (40, resource.RLIM_INFINITY))

        self.content(*OTHERS, line("eth0", "1.1.1.1"), b"")
        before = RESOLVER.read_bytes()
        self.assertGreater(len(before), 40)
        for words in (("set", "eth1", "first", "2.2.2.2"), ("clear", "eth0")):
            with self.subTest(words=words):
                self.assertIn(str(RESOLVER),
                              self.complaint(1, "dns", *words, preexec_fn=fill_disk))
                self.assertEqual(RESOLVER.read_bytes(), before)
                self.assertEqual(list(RESOLVER.parent.glob(f"{RESOLVER.name}.*")), [])

    def test_file_that_is_a_link_stays_one(self):
        target = self.folder / "resolver"
        target.write_bytes(line("eth0", "1.1.1.1"))
        target.chmod(0o640)
        RESOLVER.unlink()
        RESOLVER.symlink_to(target)
        self.addCleanup(RESOLVER.unlink)
        self.silent("dns", "set", "eth0", "first", "2.2.2.2")
        self.assertTrue(RESOLVER.is_symlink())
        self.assertEqual(target.read_bytes(), line("eth0", "2.2.2.2"))
        self.assertEqual(stat.S_IMODE(target.stat().st_mode), 0o640)

    def test_file_that_cannot_be_used_is_told(self):
        RESOLVER.unlink()
        RESOLVER.mkdir()
        try:
            for words in (("show",), ("set", "eth0", "first", "1.1.1.1"), ("clear", "eth0")):
                with self.subTest(words=words):
                    self.assertIn(str(RESOLVER), self.complaint(1, "dns", *words))
        finally:
            RESOLVER.rmdir()


class Areas(PanelTest):
    def setUp(self):
        super().setUp()
        self.root = self.folder / "root"

    def below(self, path):
        return self.root / str(path)[1:]

    def made(self):
        """The files and pipes below the root: their content, None for a pipe."""
        found = {}
        for path in self.root.rglob("*"):
            if stat.S_ISFIFO(path.stat().st_mode):
                found[path] = None
            elif not path.is_dir():
                found[path] = path.read_bytes()
        return found

    def expected(self, stored_only=False):
        content = {self.below(area["file"]): bytes(area["bytes"]) for area in TABLES["areas"]
                   if area["stored"] or not stored_only}
        return content | ({} if stored_only else
                          {self.below(pipe): None for pipe in (REGISTER_PIPE, AREA_PIPE)})

    def with_value(self, content, row, text):
        path = self.below(row["file"])
        area = bytearray(content[path])
        if row["unit"] == "bytes":
            place = slice(row["offset"], row["offset"] + row["size"])
            area[place] = encode(row, text, bytes(row["size"]))
        else:
            mask = 1 << row["offset"] % 8
            at = row["offset"] // 8
            area[at] = area[at] & ~mask | mask * encode(row, text, b"\0")[0]
        return content | {path: bytes(area)}

    def create(self, *words):
        return self.output("areas", "create", "--root", self.root, *words)

    def test_every_area_and_pipe_of_a_new_device_is_made(self):
        told = self.create().splitlines()
        self.assertEqual(self.made(), self.expected())
        self.assertEqual({tuple(line.split()) for line in told},
                         {("made", str(path)) for path in self.made()})

    def test_stored_is_what_outlives_a_power_cut(self):
        self.create("--stored")
        self.assertEqual(self.made(), self.expected(stored_only=True))

    def test_without_a_root_it_is_the_panel_itself(self):
        for path in AREAS.values():
            path.unlink()
        self.output("areas", "create")
        for path in AREAS.values():
            self.assertEqual(path.read_bytes(), bytes(4096), path)
        for pipe in (REGISTER_PIPE, AREA_PIPE):
            self.assertTrue(stat.S_ISFIFO(pipe.stat().st_mode))
        self.output("reg", "write", "language", "english")

    def test_pipes_are_for_everybody_as_far_as_the_umask_lets_them(self):
        self.output("areas", "create", "--root", self.root, preexec_fn=lambda: os.umask(0o022))
        for pipe in (REGISTER_PIPE, AREA_PIPE):
            self.assertEqual(stat.S_IMODE(self.below(pipe).stat().st_mode), 0o755)

    def test_files_of_the_panel_itself_reach_the_medium(self):
        for options, count in (((), 1), (("--root", self.root), 0)):
            subprocess.run(["strace", "-o", "/tmp/trace", "-e", "trace=sync", PROGRAM, "areas",
                            "create", *options], capture_output=True, check=False)
            calls = pathlib.Path("/tmp/trace").read_text()
            with self.subTest(options=options):
                self.assertEqual(calls.count("sync("), count)

    def test_json_tells_what_became_of_each(self):
        rows = self.json("areas", "create", "--root", self.root)
        self.assertEqual({row["path"]: row["result"] for row in rows},
                         {str(path): "made" for path in self.made()})

    def test_every_register_takes_every_value(self):
        for row in REGISTERS:
            for at, text in enumerate(fitting(row)):
                word = row["name"] if "name" in row and at % 2 else row["id"]
                with self.subTest(id=row["id"], text=text):
                    self.root = self.folder / f"{row['id']}-{at}"
                    self.create(f"{word}={text}")
                    self.assertTrue(self.made() == self.with_value(self.expected(), row, text))

    def test_all_registers_at_once(self):
        expected, words = self.expected(), []
        for row in REGISTERS:
            text = fitting(row)[1]
            words.append(f"{row['id']}={text}")
            expected = self.with_value(expected, row, text)
        self.create(*words)
        self.assertTrue(self.made() == expected)

    def test_register_that_is_given_twice_is_refused(self):
        for word in ("buzzer=off", "79=on"):
            with self.subTest(word=word):
                self.assertIn("79 buzzer is given twice", self.complaint(
                    2, "areas", "create", "--root", self.root, "buzzer=on", "language=1", word))
                self.assertFalse(self.root.exists())

    def test_values_that_do_not_fit_make_nothing(self):
        words = [f"{row['id']}={text}" for row in REGISTERS for text in unfit(row)[:2]]
        for word in [*words, "90=1", "=1", "buzzer", "jump=on", "buzzer=on=off"]:
            with self.subTest(word=word):
                self.complaint(2, "areas", "create", "--root", self.root, "20=1", word)
                self.assertFalse(self.root.exists())

    def test_volatile_values_are_refused_with_stored(self):
        stored = {area["area"] for area in TABLES["areas"] if area["stored"]}
        for row in REGISTERS:
            words = ("areas", "create", "--root", self.root, "--stored",
                     f"{row['id']}={fitting(row)[0]}")
            with self.subTest(id=row["id"]):
                if row["area"] in stored:
                    self.output(*words)
                else:
                    made = self.root.exists()
                    self.assertIn("memory", self.complaint(2, *words))
                    self.assertEqual(self.root.exists(), made)

    def test_what_is_there_stays(self):
        self.create()
        content = {path: None if old is None else noise(5000 + at, at)
                   for at, (path, old) in enumerate(sorted(self.made().items()))}
        for path, data in content.items():
            if data is not None:
                path.write_bytes(data)
        told = self.create("buzzer=on", "language=english")
        self.assertTrue(self.made() == content)
        self.assertEqual({line.split()[0] for line in told.splitlines()}, {"kept"})

    def test_short_areas_are_extended_and_keep_what_they_have(self):
        path = self.below(AREAS[7])
        path.parent.mkdir(parents=True)
        path.write_bytes(noise(100))
        self.assertIn(f"extended {path}\n", self.create("language=english"))
        self.assertEqual(path.read_bytes(), noise(100) + bytes(3996))

    def test_area_that_cannot_be_extended_is_told(self):
        def fill_disk():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (1000, resource.RLIM_INFINITY))

        self.create()
        path = self.below(AREAS[7])
        path.write_bytes(noise(100))
        result = start("areas", "create", "--root", self.root, preexec_fn=fill_disk)
        self.assertEqual((result.returncode, self.one_line(result.stderr)), (
            1, f"panelctl: cannot make {path}: it is too short and cannot be extended\n"))
        self.assertEqual(path.read_bytes(), noise(100))

    def test_pipe_that_leads_nowhere_is_told(self):
        self.create()
        path = self.below(AREA_PIPE)
        path.unlink()
        path.symlink_to("nowhere/pipe")
        result = start("areas", "create", "--root", self.root)
        self.assertEqual((result.returncode, self.one_line(result.stderr)),
                         (1, f"panelctl: cannot make {path}: File exists\n"))

    def problems(self, *words):
        """What areas check finds below the folder, as lines and as JSON; its status fits."""
        options = ("--root", self.root, *words)
        as_json = start("areas", "check", *options, "--json")
        rows = [(row["path"], row["problem"]) for row in json.loads(as_json.stdout)]
        result = start("areas", "check", *options)
        self.assertEqual(result.stdout.decode().splitlines(),
                         [f"{path} {problem}" for path, problem in rows])
        self.assertEqual((result.returncode, as_json.returncode), (bool(rows),) * 2)
        if rows:
            self.assertRegex(self.one_line(result.stderr),
                             rf": the areas and pipes have {len(rows)} problems?$")
        return rows

    def test_check_finds_nothing_where_everything_was_just_made(self):
        self.create()
        self.assertEqual(self.problems(), [])
        self.assertEqual(self.output("areas", "check", "--root", self.root), "")
        self.root = self.folder / "stored"
        self.create("--stored")
        self.assertEqual(self.problems("--stored"), [])
        self.assertEqual(len(self.problems()), 6)  # what lies in memory is missing

    def test_check_finds_every_file_of_another_length(self):
        for path, data in self.expected().items():
            for size in (0, 1, 4095, 4097, 5000):
                if data is None:
                    continue
                with self.subTest(path=path, size=size):
                    shutil.rmtree(self.root, ignore_errors=True)
                    self.create()
                    path.write_bytes(noise(size))
                    counted = "1 byte" if size == 1 else f"{size} bytes"
                    self.assertEqual(self.problems(),
                                     [(str(path), f"has {counted} instead of 4096")])
                    self.assertEqual(path.read_bytes(), noise(size))

    def test_check_finds_what_is_missing_or_something_else(self):
        for path, data in self.expected().items():
            with self.subTest(path=path):
                shutil.rmtree(self.root, ignore_errors=True)
                self.create()
                path.unlink()
                self.assertEqual(self.problems(), [(str(path), "is missing")])
                path.mkdir()
                self.assertEqual(self.problems(),
                                 [(str(path), "is no pipe" if data is None else "is no file")])

    def test_check_without_a_root_looks_at_the_panel_itself(self):
        self.hear(REGISTER_PIPE), self.hear(AREA_PIPE)
        self.silent("areas", "check")
        # A register that lies behind the end of a short file makes it longer, not whole.
        AREAS[5].write_bytes(bytes(100))
        self.assertIn("have 1 problem", self.complaint_with_output("areas", "check"))

    def complaint_with_output(self, *words):
        result = start(*words)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stdout.decode(), f"{AREAS[5]} has 100 bytes instead of 4096\n")
        return self.one_line(result.stderr)

    def test_something_else_in_the_way_is_told(self):
        for path in self.expected():
            with self.subTest(path=path):
                self.root = self.folder / f"way-{path.name}"
                way = self.root / path.relative_to(self.folder / "root")
                way.mkdir(parents=True)
                result = start("areas", "create", "--root", self.root)
                self.assertEqual(result.returncode, 1)
                self.assertIn(str(way), self.one_line(result.stderr))
        blocked = self.folder / "file"
        blocked.write_bytes(b"")
        self.assertIn(str(blocked), self.complaint(1, "areas", "create", "--root", blocked))


if __name__ == "__main__":
    unittest.main(verbosity=2)
