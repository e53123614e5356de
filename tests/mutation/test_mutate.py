"""The tool behind `./panel mutate`: which mistakes it makes, and what it tells of them."""

import importlib.machinery
import importlib.util
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time
import unittest
import unittest.mock

HERE = pathlib.Path(__file__).resolve().parent
TOOL = HERE / "mutate"
sys.path.insert(0, str(HERE))
from mistakes import of_lines  # noqa: E402
from suite import Failure, Memory, Suite, run  # noqa: E402

# A program and, here, a module: its name has no ending.
LOADER = importlib.machinery.SourceFileLoader("mutate", str(TOOL))
mutate = importlib.util.module_from_spec(importlib.util.spec_from_loader("mutate", LOADER))
sys.modules["mutate"] = mutate
LOADER.exec_module(mutate)
Copy = mutate.Copy

TOY = {
    "CMakeLists.txt": """cmake_minimum_required(VERSION 3.16)
project(toy LANGUAGES CXX)
enable_testing()
add_library(device STATIC device/Limit.cpp)
target_include_directories(device PUBLIC ${CMAKE_SOURCE_DIR})
add_subdirectory(tests/device)
add_executable(elsewhere tests/elsewhere.cpp)
target_link_libraries(elsewhere PRIVATE device)
add_test(NAME elsewhere COMMAND elsewhere)
""",
    "CMakePresets.json": """{"version": 3, "configurePresets": [{"name": "mutation",
 "generator": "Ninja", "binaryDir": "${sourceDir}/build/mutation"}]}
""",
    ".gitignore": "build/\n",
    "device/Limit.h": "bool isTested(int value);\nint ofOthers();\nint untested();\n",
    "device/Limit.cpp": """#include "device/Limit.h"

bool isTested(int value)
{
    return value > 7;
}

int ofOthers()
{
    return 300;
}

int untested()
{
    return 4000;
}
""",
    "tests/device/CMakeLists.txt": """add_executable(test_device test.cpp)
target_link_libraries(test_device PRIVATE device)
add_test(NAME test_device COMMAND test_device)
""",
    "tests/device/test.cpp": """#include "device/Limit.h"
int main() { return isTested(8) && !isTested(7) ? 0 : 1; }
""",
    "tests/elsewhere.cpp": """#include "device/Limit.h"
int main() { return ofOthers() == 300 ? 0 : 1; }
""",
    "tests/mutation/equivalent.txt": """# comment

device/Limit.cpp
- return 4000;
+ return 4001;
Nobody needs it so exactly.
""",
}


def changes(path, *lines):
    """What the lines of a file may be by mistake."""
    return [tuple(line.strip() for line in mistake.after)
            for mistakes in of_lines(path, list(lines)).values() for mistake in mistakes]


class Mistakes(unittest.TestCase):
    def test_each_kind(self):
        cases = {
            "    if (a < b) {": {("if (a <= b) {",), ("if (!(a < b)) {",)},
            "    return a == b || c;": {("return a != b || c;",), ("return a == b && c;",)},
            "    m_on = true;": {("m_on = false;",)},
            "    ++at;": {("--at;",)},
            "    x = 0x1F;": {("x = 0x20;",), ("x = 0x1e;",)},
            "    x = 0;": {("x = 1;",)},
            "    refresh();": {(";",)},
            '    say = "Za"; // no "text"': {('say = "Zb"; // no "text"',)},
        }
        for line, expected in cases.items():
            with self.subTest(line=line):
                self.assertEqual(set(changes("room/File.cpp", line)), expected)

    def test_two_calls_change_places(self):
        self.assertIn(("show();", "fill();"), changes("a/B.cpp", "    fill();", "    show();"))

    def test_what_is_no_code_stays(self):
        for line in ("// if (a < 1)", '#include "a/B.h"', "/// true", "", "static_assert(a == 1);",
                     "template <typename Take>", "    const QList<int>& list;"):
            self.assertEqual(changes("room/File.cpp", line), [], line)
        self.assertEqual(changes("room/File.h", "    void refresh();"), [])


class Toy(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="mutate-test.")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        for name, text in TOY.items():
            (self.root / name).parent.mkdir(parents=True, exist_ok=True)
            (self.root / name).write_text(text)
        subprocess.run(["git", "init", "--quiet"], cwd=self.root, check=True)

    def mutate(self, *words):
        result = subprocess.run(["/usr/bin/python3", TOOL, "--root", self.root, *words],
                                capture_output=True, text=True, check=False)
        return result.returncode, result.stdout + result.stderr

    def test_tells_who_noticed_and_who_did_not(self):
        # Every mistake that there is: a relation and two for each constant, less one of no matter.
        status, output = self.mutate("--count", "100", "--seed", "3", "device")
        self.assertEqual(status, 1, output)
        self.assertEqual(len(re.findall(
            r"^\d+/100 device/Limit.cpp:5 noticed by test_device, \d+ s$", output, re.M)), 3)
        self.assertEqual(len(re.findall(
            r"^others: device/Limit.cpp:10 noticed by elsewhere, \d+ s$", output, re.M)), 2)
        self.assertIn("1 of 6 mistakes were not noticed:\n"
                      "device/Limit.cpp:15\n    - return 4000;\n    + return 3999;\n", output)
        self.assertRegex(output, r"(?m)^device +6 +3 +2 +83.3%$")
        self.assertEqual((self.root / "device/Limit.cpp").read_text(), TOY["device/Limit.cpp"])

    def test_parts_are_all_of_it_and_none_twice(self):
        def judged(*words):
            output = self.mutate("--count", "4", "--seed", "3", "--quick", *words, "device")[1]
            return re.findall(r"^\d+/\d+ (\S+ (?:noticed|NOT NOTICED).*?),? \d+ s$", output, re.M)
        parts = [judged("--part", f"{number}/3") for number in (1, 2, 3)]
        self.assertEqual([len(part) for part in parts], [2, 1, 1])
        self.assertEqual(sorted(sum(parts, [])), sorted(judged()))

    def test_what_fails_by_itself_is_asked_no_more(self):
        (self.root / "tests/device/test.cpp").write_text("int main() { return 1; }\n")
        status, output = self.mutate("--count", "100", "--seed", "3", "device")
        self.assertEqual(status, 1)
        self.assertEqual(output.count("test_device fails without a mistake: it is asked no more"),
                         1, output)
        self.assertIn("others: device/Limit.cpp:10 noticed by elsewhere", output)
        self.assertRegex(output, r"(?m)^device +6 +0 +2 +33.3%$")

    def test_what_passed_without_a_mistake_is_not_tried_again_in_the_same_sources(self):
        self.mutate("--count", "1", "device")
        self.assertNotIn("test_device without", self.mutate("--count", "1", "device")[1])
        (self.root / "tests/device/test.cpp").write_text("int main() { return 1; }\n")
        self.assertIn("test_device fails without a mistake",
                      self.mutate("--count", "1", "device")[1])

    def test_says_which_rooms_there_are(self):
        self.assertIn("unknown room 'attic'; there are: device", self.mutate("attic")[1])


class Order(unittest.TestCase):
    """Tests of a build that are shell commands, which write their names down."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="mutate-test.")
        self.addCleanup(folder.cleanup)
        self.build = pathlib.Path(folder.name).resolve()
        self.ran = self.build / "ran"
        self.memory = Memory(self.build / "memory.json")

    def suite(self, jobs=1, **commands):
        (self.build / "CTestTestfile.cmake").write_text("".join(
            f'add_test({name} "sh" "-c" "echo {name} >>{self.ran}; {command}")\n'
            f'set_tests_properties({name} PROPERTIES WORKING_DIRECTORY "{self.build}")\n'
            for name, command in commands.items()))
        suite = Suite(self.build, self.build / "log", jobs, self.memory)
        suite.load("^left_out$")
        return suite

    def test_quick_ones_come_first_and_the_first_that_fails_ends_it(self):
        suite = self.suite(slow="true", quick="true", wrong="exit 1", left_out="true")
        self.assertEqual(sorted(suite.below(".")), ["quick", "slow", "wrong"])
        self.memory.seconds = {"slow": 9.0, "quick": 1.0, "wrong": 2.0}
        self.assertEqual(suite.failed(suite.below(".")), Failure("wrong"))
        self.assertEqual(self.ran.read_text().split(), ["quick", "wrong"])

    def test_what_noticed_mistakes_in_a_file_comes_first_there(self):
        suite = self.suite(slow="true", quick="true")
        self.memory.seconds = {"slow": 9.0, "quick": 5.0}
        self.memory.notices("slow", "a/B.cpp")
        for path, order in (("a/B.cpp", ["slow", "quick"]), ("a/C.cpp", ["quick", "slow"])):
            self.ran.write_text("")
            self.assertIsNone(suite.failed(suite.below("."), path))
            self.assertEqual(self.ran.read_text().split(), order)
            self.memory.seconds = {"slow": 9.0, "quick": 5.0}
        self.assertEqual(Memory(self.build / "memory.json").noticed, {"a/B.cpp": {"slow": 1}})

    def test_those_still_running_are_ended(self):
        began = time.monotonic()
        suite = self.suite(2, hangs="sleep 1000", wrong="until grep -q hangs ran; do :; done; exit 1")
        self.assertEqual(suite.failed(["hangs", "wrong"]), Failure("wrong"))
        self.assertLess(time.monotonic() - began, 900)

    def test_what_takes_far_longer_than_without_a_mistake_has_failed(self):
        suite = self.suite(slow="test ! -e mistake || sleep 1000")
        with unittest.mock.patch("suite.LEAST_SECONDS", 5):
            self.assertIsNone(suite.limit("slow"))
            self.assertIsNone(suite.failed(["slow"]))
            self.assertGreaterEqual(suite.limit("slow"), 5)
            (self.build / "mistake").touch()
            self.assertEqual(suite.failed(["slow"]), Failure("slow", too_long=True))

    def test_a_slow_machine_is_no_mistake(self):
        suite = self.suite(slow="true", wrong="exit 1")
        copy = Copy.__new__(Copy)
        copy.suite, copy.log, copy.compiles = suite, self.build / "log", lambda *targets: True
        too_long = Failure("slow", too_long=True)
        self.memory.takes("slow", 1000.0)  # far more than it takes here: the limit was a fair one
        self.assertTrue(copy.notices(too_long, "a/B.cpp"))
        self.assertEqual(self.memory.noticed, {"a/B.cpp": {"slow": 1}})
        self.assertLess(self.memory.seconds["slow"], 1000, "it is measured again")
        with unittest.mock.patch("mutate.FAIR_FACTOR", 1e9):  # as if it took as long here
            self.assertFalse(copy.notices(too_long, "a/B.cpp"))
        self.assertFalse(copy.notices(Failure("wrong"), "a/B.cpp"), "it fails by itself")
        self.assertEqual(suite.below("."), ["slow"])

    def test_programs_that_were_not_built_anew_cannot_notice(self):
        program, script = self.build / "program", self.build.parent / "script"
        program.touch()
        (self.build / "CTestTestfile.cmake").write_text(
            f'add_test(of_program "sh" "{program}")\nadd_test(of_script "sh" "{script}")\n')
        suite = Suite(self.build, self.build / "log", 1, self.memory)
        suite.load("^$")
        names = ["of_program", "of_script"]
        self.assertEqual(suite.touched(names, program.stat().st_mtime), names)
        later = program.stat().st_mtime + 1
        self.assertEqual(suite.touched(names, later), ["of_script"])
        library = self.build / "plugin.so"
        library.touch()
        os.utime(library, (later, later))
        self.assertEqual(suite.touched(names, later), ["of_script"])
        program.write_bytes(b"loads \0plugin.so\0")
        os.utime(program, (later - 1, later - 1))
        self.assertEqual(suite.touched(names, later), names)


class Limits(unittest.TestCase):
    def test_what_hangs_is_ended_with_its_children(self):
        with tempfile.TemporaryDirectory(prefix="mutate-test.") as folder:
            began = time.monotonic()
            child = pathlib.Path(folder, "child")
            command = ["sh", "-c", f"sleep 1000 & echo $! >{child}; wait"]
            self.assertIsNone(run(command, pathlib.Path(folder, "log"), limit=3))
            self.assertLess(time.monotonic() - began, 900)
            state = pathlib.Path("/proc", child.read_text().strip(), "stat")
            deadline = time.monotonic() + 60
            while state.exists() and ") Z " not in state.read_text():
                self.assertLess(time.monotonic(), deadline, "the child lives")
                time.sleep(0.05)


if __name__ == "__main__":
    unittest.main(verbosity=2)
