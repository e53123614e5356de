"""panelctl's imports that are cut off or fail on the way: the old settings come back."""

import fcntl
import json
import os
import pathlib
import re
import signal
import subprocess
import unittest

from panel_world import AREAS, IMAGE, PROGRAM, RESOLVER, WAIT_S, start, wait_for
from test_transfer import JOURNAL, OTHER, TWO_ADAPTERS, TransferTest


class Interrupted(TransferTest):
    TRACE = "/tmp/trace"

    def trace(self, *options):
        """Runs an import of everything under strace; the calls of the program itself."""
        path = self.folder / "settings.json"
        path.write_text(json.dumps(OTHER))
        subprocess.run(["strace", "-o", self.TRACE, *options, PROGRAM, "import", "--identity",
                        path], capture_output=True, check=False)
        return pathlib.Path(self.TRACE).read_text(errors="replace").splitlines()

    def calls(self):
        """Each call since the first file of the panel was opened: name and number of its kind."""
        seen, begun = {}, False
        for line in self.trace():
            match = re.match(r"(\w+)\(", line)
            begun = begun or "panelctl.lock" in line
            if match:
                name = match[1]
                seen[name] = seen.get(name, 0) + 1
                if begun:
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
                result = start(*words)
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


if __name__ == "__main__":
    unittest.main(verbosity=2)
