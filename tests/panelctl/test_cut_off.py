"""panelctl's imports that are cut off or fail on the way, seen with strace: the old settings come back."""

import fcntl
import json
import os
import pathlib
import re
import signal
import subprocess
import time
import unittest

from panel_world import (AREAS, IMAGE, NO_LEAK_SEARCH, PROGRAM, RESOLVER, WAIT_S, start, wait_for)
from test_transfer import JOURNAL, OTHER, SETTINGS, TWO_ADAPTERS, WRITE, TransferTest, WatchTest

# Calls that change nothing outside of the program: who is killed at one of them leaves what somebody
# leaves who is killed at the next of the others. Reading is not among them: a tool may be at work.
# Nor is ioctl, by which a file may become a copy of another.
ONLY_LOOKING = {"access", "brk", "fstat", "futex", "getdents64", "getpid", "lseek", "mmap", "mprotect",
                "munmap", "newfstatat", "prlimit64", "readlink", "rt_sigaction", "rt_sigpending",
                "rt_sigprocmask", "statx", "umask", "uname"}


class Interrupted(TransferTest):
    TRACE = "/tmp/trace"

    def trace(self, *options, words=("import", "--identity", "settings.json")):
        """Runs an import of everything under strace; the calls of the program itself."""
        (self.folder / "settings.json").write_text(json.dumps(OTHER))
        subprocess.run(["strace", "-o", self.TRACE, *options, PROGRAM, *words], cwd=self.folder,
                       env={**os.environ, **NO_LEAK_SEARCH}, capture_output=True, check=False)
        return pathlib.Path(self.TRACE).read_text(errors="replace").splitlines()

    def calls(self):
        """Each call since the first file of the panel was opened at which it matters to be killed: name
        and number of its kind."""
        seen, begun = {}, False
        for line in self.trace():
            match = re.match(r"(\w+)\(", line)
            begun = begun or "panelctl.lock" in line
            if match:
                name = match[1]
                seen[name] = seen.get(name, 0) + 1
                if begun and name not in ONLY_LOOKING:
                    yield name, seen[name]

    def state(self):
        return {path: data for path, data in self.world().items() if path != JOURNAL}

    def test_killed_at_any_call_the_next_command_brings_back_the_old_or_has_the_new(self):
        old = self.state()
        calls = list(self.calls())
        new = self.state()
        self.assertNotEqual(old, new)
        self.assertGreater(len(calls), 100)
        results = set()
        for name, number in calls:
            self.setUp()
            self.trace("-e", f"inject={name}:signal=KILL:when={number}")
            with self.subTest(call=name, number=number):
                start("recover")
                self.assertIn(self.state(), (old, new))
                self.assertFalse(JOURNAL.exists())
                self.assertEqual([path for folder in ("/hmi_data", "/etc", "/hmi/Config")
                                  for path in pathlib.Path(folder).glob(".*.new")], [])
                results.add("new" if self.state() == new else "old")
        self.assertEqual(results, {"old", "new"})

    def cut_off(self):
        """Leaves an import in the middle: the journal and half of the changes."""
        self.trace("-e", "inject=renameat:signal=KILL")
        self.assertTrue(JOURNAL.exists())

    def test_any_command_that_looks_at_the_panel_takes_it_back_first(self):
        old = self.state()
        for words in (("export",), ("device", "show"), ("reg", "read", "language"), ("dns", "show"),
                      ("areas", "check", "--stored")):
            with self.subTest(words=words):
                self.setUp()
                self.cut_off()
                self.assertNotEqual(self.state(), old)
                self.assertEqual(len(list(RESOLVER.parent.glob(".*.new"))), 1)
                result = start(*words)
                self.assertEqual(list(RESOLVER.parent.glob(".*.new")), [])
                self.assertEqual(result.returncode, 0)
                self.assertIn("cut off", self.one_line(result.stderr))
                self.assertEqual(self.state(), old)
        self.cut_off()
        self.output("reg", "list")
        self.assertTrue(JOURNAL.exists())
        self.assertEqual(start("recover").returncode, 0)
        self.assertEqual(start("recover").returncode, 3)

    def test_import_that_ends_meanwhile_is_not_taken_back(self):
        """Somebody waits for the import that is under way, which then has ended well."""
        JOURNAL.write_text("?")
        with open("/var/run/panelctl.lock", "wb") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            repair = subprocess.Popen([PROGRAM, "recover"], stdout=subprocess.PIPE)
            wait_for(lambda: any("panelctl.lock" in os.readlink(link)
                                 for link in pathlib.Path(f"/proc/{repair.pid}/fd").iterdir()),
                     "somebody who waits")
            JOURNAL.unlink()
        self.assertEqual(repair.communicate(timeout=WAIT_S)[0], b"nothing was cut off\n")
        self.assertEqual(repair.returncode, 3)

    def test_image_that_was_left_broken_comes_back_whole(self):
        self.cut_off()
        IMAGE.write_bytes(b"half an image")
        start("recover")
        self.assertEqual(IMAGE.read_bytes(), TWO_ADAPTERS)

    def test_journal_reaches_the_medium_before_the_first_change(self):
        calls = self.trace("-f", "-y", "-s", "200")
        def gives(call, name):  # to a file that panelctl replaces itself
            return re.search(r"\b(linkat|renameat)\(.*\b\d+</[^>]*>, ", call) and name in call
        written = next(at for at, call in enumerate(calls) if gives(call, JOURNAL.name))
        folder = next(at for at, call in enumerate(calls)
                      if at > written and "fsync(" in call and "/hmi_data>" in call)
        changes = [at for at, call in enumerate(calls)
                   if "execve" in call and "writeee" in call
                   or gives(call, "") and not gives(call, JOURNAL.name)
                   or re.search(r"write\(\d+</hmi_data/s", call)]
        self.assertTrue(changes)
        self.assertLess(folder, min(changes))

    def test_failure_on_the_way_brings_the_old_state_back(self):
        old = self.world()
        with self.tool("writeee", "exit 1"):
            line = self.complaint(1, "import", "-", input=json.dumps(OTHER).encode())
        self.assertRegex(line, "did not keep .*; the old settings are back")
        start("recover")
        self.assertEqual(self.world(), old)
        AREAS[8].unlink()
        RESOLVER.chmod(0o644)
        result = start("import", "-", input=json.dumps(OTHER).encode())
        self.assertEqual(result.returncode, 1)
        self.assertEqual(IMAGE.read_bytes(), TWO_ADAPTERS)

    def test_journal_that_cannot_be_written_changes_nothing(self):
        old = self.world()
        self.trace("-e", "inject=fsync:error=EIO:when=1")
        self.assertEqual(self.world(), old)

    def complaint_of(self, words, *options):
        """What the program says in the end when a call of it fails."""
        path = self.folder / "settings.json"
        path.write_text(json.dumps(OTHER))
        result = subprocess.run(["strace", "-o", self.TRACE, *options, PROGRAM, *words],
                                cwd=self.folder, env={**os.environ, **NO_LEAK_SEARCH},
                                capture_output=True, check=False)
        self.assertEqual(result.returncode, 1, result.stderr)
        return result.stderr.decode().splitlines()[-1]

    def test_call_that_fails_is_told_and_changes_nothing(self):
        plain, confirmed = ("import", "settings.json"), ("import", "--confirm=1000", "settings.json")
        back = "; the old settings are back"
        children = [call for call in self.trace(words=confirmed) if call.startswith("clone(")]
        fork = next(at for at, call in enumerate(children, 1) if "CLONE_VFORK" not in call)
        self.silent("confirm")
        self.setUp()
        for words, fault, text in (
                (plain, "flock:error=EIO:when=1",
                 "cannot use /var/run/panelctl.lock: Input/output error"),
                (plain, "fsync:error=EIO:when=1",
                 "cannot write /hmi_data/panelctl.journal: Input/output error"),
                (plain, "renameat:error=EROFS:when=1",
                 f"cannot write /etc/resolv.conf: Read-only file system{back}"),
                (confirmed, f"clone:error=EAGAIN:when={fork}",
                 f"cannot watch the import: Resource temporarily unavailable{back}")):
            with self.subTest(fault=fault):
                old = self.world()
                self.assertEqual(self.complaint_of(words, "-e", f"inject={fault}"),
                                 f"panelctl: {text}")
                self.assertEqual(self.world(), old)

    def test_import_that_needs_no_confirmation_is_not_watched(self):
        children = [call for call in self.trace() if call.startswith("clone(")]
        self.assertGreater(len(children), 1)
        self.assertEqual([call for call in children if "CLONE_VFORK" not in call], [])

    def test_journal_that_cannot_be_removed_is_told(self):
        for fault, text in (("unlink:error=EROFS", "Read-only file system"),
                            ("fsync:error=EIO", "Input/output error")):
            with self.subTest(fault=fault):
                self.imported(OTHER, "--confirm", "1000")
                self.assertEqual(self.complaint_of(["confirm"], "-e", f"inject={fault}"),
                                 f"panelctl: cannot remove {JOURNAL}: {text}")
                if JOURNAL.exists():
                    self.silent("confirm")
                self.setUp()

    def test_lock_is_waited_for_whatever_signals_come(self):
        calls = self.trace("-e", "inject=flock:error=EINTR:when=1")
        waits = [call for call in calls if call.startswith("flock(")]
        self.assertEqual(waits[0].split(",")[0], waits[1].split(",")[0])
        self.assertEqual(self.exported()["display"], OTHER["display"])

    def test_connection_may_end_as_soon_as_there_is_a_journal(self):
        calls = self.trace()
        ignored = next(at for at, call in enumerate(calls)
                       if re.match(r"rt_sigaction\(SIGTERM, {sa_handler=SIG_IGN", call))
        journal = next(at for at, call in enumerate(calls)
                       if call.startswith("linkat(") and JOURNAL.name in call)
        self.assertLess(ignored, journal)

    def test_settings_file_that_cannot_be_read_is_told(self):
        SETTINGS.unlink()
        SETTINGS.mkdir()
        self.addCleanup(SETTINGS.rmdir)
        self.assertEqual(self.complaint_of(["import", "settings.json"]),
                         f"panelctl: cannot read {SETTINGS}: file to open is a directory")

    def test_files_that_were_not_there_go_again(self):
        SETTINGS.unlink()
        RESOLVER.unlink()
        old = self.world()
        self.imported(OTHER, "--confirm", "1")
        self.assertTrue(SETTINGS.exists() and RESOLVER.exists())
        wait_for(lambda: not JOURNAL.exists(), "the old settings")
        self.assertEqual(self.world(), old)

    def journal_of_image(self, image):
        """Of an import that was cut off before it had changed the brightness."""
        JOURNAL.write_text(json.dumps({"before": {"image": image, "fields": {"brightness": "8c00"}}}))

    def test_image_that_is_as_it_was_is_not_written(self):
        self.journal_of_image(TWO_ADAPTERS.hex())
        before = len(self.lines())
        self.assertEqual(start("recover").returncode, 0)
        self.assertNotIn(WRITE, self.lines()[before:])

    def pipes_until(self, tool, words):
        """How many pipes the program makes until it starts a tool."""
        calls = self.trace("-f", words=words)
        program = calls[0].split()[0]
        start = next(at for at, call in enumerate(calls) if "execve" in call and tool in call)
        return sum(call.startswith(program) and "pipe2(" in call for call in calls[:start])

    def test_broken_image_that_cannot_be_mended_is_told(self):
        tool = "/root/plat-intf/writeee"
        broken = b"half an image"
        self.journal_of_image(TWO_ADAPTERS.hex())
        IMAGE.write_bytes(broken)
        pipe = self.pipes_until(tool, ("recover",))
        for image, options, text in (
                ("00", (), "an image of 1 byte is no device image"),
                (TWO_ADAPTERS.hex(), ("-e", f"inject=pipe2:error=EMFILE:when={pipe}"),
                 f"{tool} does not take the image")):
            with self.subTest(text=text):
                self.journal_of_image(image)
                IMAGE.write_bytes(broken)
                self.assertEqual(self.complaint_of(["recover"], *options), f"panelctl: {text}")
        with self.tool("writeee", None):
            self.assertEqual(self.complaint(1, "recover"),
                             f"panelctl: cannot run {tool}: No such file or directory\n")

    def test_journal_that_is_none_is_told(self):
        JOURNAL.write_text("?")
        self.assertIn("is no journal", self.complaint(1, "export"))
        self.assertTrue(JOURNAL.exists())

    def test_lock_is_held_while_the_tool_of_a_killed_import_still_writes(self):
        gate = self.folder / "gate"
        with self.tool("writeee", f"cat >{self.folder}/late; while [ ! -e {gate} ]; do sleep 0.05; "
                                  f"done; cat {self.folder}/late >{IMAGE}"):
            path = self.folder / "settings.json"
            path.write_text(json.dumps(OTHER))
            killed = subprocess.Popen([PROGRAM, "import", path], stdout=subprocess.DEVNULL,
                                      stderr=subprocess.DEVNULL)
            while not (self.folder / "late").exists() or \
                    len((self.folder / "late").read_bytes()) < 1024:
                self.assertIsNone(killed.poll())
            killed.send_signal(signal.SIGKILL)
            killed.wait()
            repair = subprocess.Popen([PROGRAM, "recover"], stderr=subprocess.DEVNULL)
            with self.assertRaises(subprocess.TimeoutExpired):
                repair.wait(0.5)
            gate.touch()
            self.assertIn(repair.wait(WAIT_S), (0, 1))
        start("recover")
        self.assertEqual(IMAGE.read_bytes(), TWO_ADAPTERS)


class TracedWatch(WatchTest):
    """What strace sees of an import that waits for its confirmation."""

    def test_after_a_restart_the_journal_is_right_before_somebody_watches_again(self):
        self.restarted(clock=int(time.time()) + 500)
        calls = self.folder / "calls"
        subprocess.run(["strace", "-o", calls, "-e", "trace=renameat,clone", PROGRAM, "recover"],
                       env={**os.environ, **NO_LEAK_SEARCH}, capture_output=True, check=False)
        self.assertEqual(re.findall(r"^(renameat|clone)\(", calls.read_text(), re.M),
                         ["renameat", "clone"])
        self.check_watcher()
        self.silent("confirm")

    def test_watch_looks_once_a_second(self):
        self.wait_for_end_of_watches()
        trace = self.folder / "trace"
        path = self.folder / "settings.json"
        path.write_text(json.dumps(OTHER))
        with subprocess.Popen(["strace", "-f", "-o", trace, "-e", "trace=clock_nanosleep", PROGRAM,
                               "import", "--confirm", "1000", path], stdout=subprocess.DEVNULL):
            try:
                wait_for(lambda: trace.exists() and "{tv_sec=1, tv_nsec=0}" in trace.read_text(),
                         "a look each second")
            finally:
                self.silent("confirm")


if __name__ == "__main__":
    unittest.main(verbosity=2)
