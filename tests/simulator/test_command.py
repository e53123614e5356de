"""What ./panel says and does, in a machine made of stand-ins: nothing is installed, built or run
in earnest. Every stand-in writes its call down."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.argv.pop(1)
ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
BASICS = ("bash", "cat", "dirname", "env", "grep", "ls", "mkdir", "readlink", "rm", "sed", "sh",
          "sort", "tail", "tee", "tr")


class Machine(unittest.TestCase):
    """A machine with every package, on which everything succeeds."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="command-test.")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.project = self.folder / "project"
        self.tools = self.folder / "bin"
        self.log = self.folder / "log"
        self.home = self.folder / "home"
        for place in (self.project / "cmake", self.project / "simulator", self.project / "tests",
                      self.tools, self.home):
            place.mkdir(parents=True)
        shutil.copy(ROOT / "panel", self.project)
        shutil.copytree(ROOT / "commands", self.project / "commands")
        shutil.copy(ROOT / "cmake" / "packages.txt", self.project / "cmake")
        for name in BASICS:
            (self.tools / name).symlink_to(f"/usr/bin/{name}")
        self.stand_in("dpkg-query", "echo installed", quiet=True)
        self.stand_in("id", "echo 0", quiet=True)
        self.stand_in("nproc", "echo 3", quiet=True)
        self.stand_in("bwrap", quiet=True)
        self.stand_in("apt-get")
        self.stand_in("cpack", 'mkdir -p "$4/_CPack_Packages"; : >"$4/panel-settings_1_all.deb"')
        self.stand_in("ctest", "echo '100% tests passed, 0 tests failed out of 4'")
        self.stand_in("cmake", 'case $1$2 in --presetrelease | --presetasan-ubsan | --presetfuzz)'
                      'mkdir -p build/$2; : >build/$2/build.ninja ;; esac')
        for target in ("registers", "resolver"):
            (self.project / "fuzz" / "corpus" / target).mkdir(parents=True)
        for name in ("simulator/run", "simulator/sandbox", "simulator/shots", "tests/lint",
                     "tests/check-sources", "fuzz/run"):
            self.script(self.project / name, name.replace("/", "-"))

    def script(self, path, name, body="", quiet=False):
        path.unlink(missing_ok=True)
        note = "" if quiet else f'echo "{name}${{*:+ $*}}" >>{self.log}\n'
        path.write_text(f"#!/bin/sh\n{note}{body}\n")
        path.chmod(0o755)

    def stand_in(self, name, body="", quiet=False):
        self.script(self.tools / name, name, body, quiet)

    def without(self, name):
        (self.tools / name).unlink()

    def without_package(self, *packages):
        self.stand_in("dpkg-query", 'case "$*" in ' + " | ".join(f'*" {p}"' for p in packages) +
                      ") exit 1 ;; esac; echo installed", quiet=True)

    def panel(self, *arguments, **environment):
        return subprocess.run([self.project / "panel", *arguments], capture_output=True, text=True,
                              env={"PATH": str(self.tools), "HOME": str(self.home), **environment},
                              cwd=self.folder, stdin=subprocess.DEVNULL, timeout=60, check=False)

    def calls(self):
        """The calls written down since the last look."""
        lines = self.log.read_text().splitlines() if self.log.exists() else []
        self.log.unlink(missing_ok=True)
        return lines

    def succeed(self, *arguments, **environment):
        result = self.panel(*arguments, **environment)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return result.stdout

    def assert_refused(self, arguments, *texts, **environment):
        """One line that says what to do, and nothing was run."""
        result = self.panel(*arguments, **environment)
        self.assertEqual(result.returncode, 2, result.stderr)
        self.assertEqual(len(result.stderr.splitlines()), 1, result.stderr)
        for text in ("panel: ", *texts):
            self.assertIn(text, result.stderr)
        self.assertNotIn("Traceback", result.stderr)


class Words(Machine):
    def test_wrong_words_give_one_clear_line_and_do_nothing(self):
        for arguments, text in (
                (["walk"], "unknown command 'walk'; see ./panel help"),
                (["run", "--sise", "1024x600"], "unknown option '--sise'; see ./panel help"),
                (["run", "quickly"], "unknown option 'quickly'"),
                (["run", "--size"], "--size needs a value"),
                (["run", "--adapters"], "--adapters needs a value"),
                (["run", "--state"], "--state needs a value"),
                (["run", "--size", "big"], "for example 1024x600, not 'big'"),
                (["run", "--size", "1024"], "not '1024'"),
                (["run", "--size", "1024x600x2"], "not '1024x600x2'"),
                (["run", "--size", "-800x480"], "not '-800x480'"),
                (["run", "--size", "5000x600"], "not '5000x600'"),
                (["run", "--size", ""], "not ''"),
                (["run", "--adapters", "0"], "1 or 2, not '0'"),
                (["run", "--adapters", "3"], "1 or 2, not '3'"),
                (["run", "--adapters", "12"], "1 or 2, not '12'"),
                (["run", "--state", ""], "--state needs a folder"),
                (["run", "--state", "/dev/null/x"], "no permission to write to /dev/null/x"),
                (["test", "--fast"], "unknown option '--fast'"),
                (["shots", "here"], "unknown option 'here'"),
                (["lint", "here"], "unknown option 'here'"),
                (["bench", "here"], "unknown option 'here'"),
                (["package", "here"], "unknown option 'here'"),
                (["fuzz", "--minutes", "3"], "unknown option '--minutes'"),
                (["fuzz", "--seconds"], "--seconds needs a value"),
                (["fuzz", "--seconds", "0"], "a number from 1 to 9999999, not '0'"),
                (["fuzz", "nothing"], "unknown target 'nothing'; there are: registers resolver"),
                (["soak", "long"], "unknown option 'long'"),
                (["soak", "--seed"], "--seed needs a value"),
                (["soak", "--seed", "x"], "--seed is a number from 1 to 9999999, not 'x'"),
                (["soak", "--presses", "-1"], "a number from 1 to 9999999, not '-1'")):
            with self.subTest(arguments=arguments):
                self.assert_refused(arguments, text)
                self.assertEqual(self.calls(), [])

    def test_help_names_every_command_and_option(self):
        for arguments in ([], ["help"], ["--help"], ["-h"]):
            text = self.succeed(*arguments)
            for word in ("run", "test", "shots", "bench", "fuzz", "soak", "lint", "package", "--size",
                         "--adapters", "--fresh", "--state", "--inspect", "--seconds", "--seed",
                         "--presses"):
                self.assertIn(word, text)
        self.assertEqual(self.calls(), [])

    def test_each_command_explains_itself_and_does_nothing_else(self):
        everything = self.succeed("help")
        for command in ("run", "test", "shots", "bench", "fuzz", "soak", "lint", "package"):
            for arguments in ([command, "--help"], [command, "-h"], ["help", command],
                              [command, "--nonsense", "--help"]):
                with self.subTest(arguments=arguments):
                    text = self.succeed(*arguments)
                    self.assertTrue(text.startswith(f"./panel {command}"), text)
                    self.assertIn(text, everything)
                    self.assertLess(max(map(len, text.splitlines())), 101)
        self.assert_refused(["help", "walk"], "unknown command 'walk'")
        self.assertEqual(self.calls(), [])

    def test_a_value_may_follow_its_option_after_an_equals_sign(self):
        self.succeed("run", "--size=800x480", "--adapters=1", f"--state={self.folder}/a=b c")
        self.assertTrue(self.calls()[-1].endswith(
            f"--state {self.folder}/a=b c --size 800x480 --adapters 1"))
        self.succeed("fuzz", "--seconds=5", "resolver")
        self.assertTrue(self.calls()[-1].endswith("--seconds 5 resolver"))
        self.assert_refused(["soak", "--seed="], "not ''")
        self.assert_refused(["run", "--fresh=yes"], "unknown option")

    def test_every_command_does_its_job(self):
        for command, job in (("run", "simulator-run"), ("shots", "simulator-shots"),
                             ("lint", "tests-lint"), ("test", "ctest"), ("package", "cpack"),
                             ("fuzz", "fuzz-run"), ("soak", "simulator-sandbox")):
            with self.subTest(command=command):
                self.succeed(command)
                self.assertIn(job, [call.split()[0] for call in self.calls()])

    def test_works_from_any_folder_and_through_a_link(self):
        (self.tools / "my-panel").symlink_to(self.project / "panel")
        subprocess.run([self.tools / "my-panel", "run"], cwd="/", check=True, capture_output=True,
                       env={"PATH": str(self.tools), "HOME": str(self.home)})
        self.assertTrue(self.calls()[-1].startswith("simulator-run"))


class Run(Machine):
    def started_with(self, *arguments, **environment):
        self.succeed("run", *arguments, **environment)
        return self.calls()[-1]

    def test_runs_a_panel_of_the_usual_kind(self):
        self.assertEqual(
            self.started_with(),
            f"simulator-run --build {self.project}/build/release "
            f"--state {self.home}/.local/state/panel-settings --size 1024x600 --adapters 2")

    def test_hands_the_options_on(self):
        self.assertEqual(
            self.started_with("--fresh", "--size", "800x480", "--adapters", "1", "--state",
                              str(self.folder / "my device")),
            f"simulator-run --build {self.project}/build/release "
            f"--state {self.folder}/my device --size 800x480 --adapters 1 --fresh")

    def test_asks_for_the_inspector(self):
        self.assertTrue(self.started_with("--inspect").endswith(" --inspect"))

    def test_keeps_the_device_where_the_user_keeps_state(self):
        self.assertIn(f"--state {self.folder}/kept/panel-settings ",
                      self.started_with(XDG_STATE_HOME=str(self.folder / "kept")))

    def test_second_run_installs_and_configures_nothing(self):
        self.succeed("run")
        first = self.calls()
        self.assertIn("cmake --preset release", first)
        self.succeed("run")
        second = self.calls()
        self.assertEqual([call for call in second if call.startswith(("apt-get", "cmake --preset"))],
                         [])

    def test_interrupted_configuration_is_done_again(self):
        (self.project / "build" / "release").mkdir(parents=True)
        self.succeed("run")
        self.assertIn("cmake --preset release", self.calls())

    def test_builds_what_it_runs_and_no_more(self):
        self.succeed("run")
        self.assertIn("cmake --build --preset release --target SettingsPlugin panelctl panel-host "
                      "-- --quiet", self.calls())

    def test_failing_build_starts_no_panel(self):
        self.stand_in("cmake", "case $1 in --build) exit 1 ;; esac")
        self.assert_refused(["run"], "the build failed")
        self.assertFalse(any(call.startswith("simulator") for call in self.calls()))

    def test_failing_configuration_starts_no_build(self):
        self.stand_in("cmake", "exit 1")
        self.assert_refused(["run"], "cannot be configured")
        self.assertEqual(self.calls(), ["cmake --preset release"])


class Bench(Machine):
    def setUp(self):
        super().setUp()
        self.script(self.project / "simulator" / "sandbox", "sandbox", 'case $* in *slow) exit 1 ;; esac')

    def benchmark(self, name):
        programs = self.project / "build" / "bench" / "benchmarks"
        programs.mkdir(parents=True, exist_ok=True)
        self.script(programs / f"bench_{name}", name)

    def test_every_program_has_a_panel_of_its_own(self):
        self.benchmark("one")
        self.benchmark("two")
        self.succeed("bench")
        build = self.project / "build" / "bench"
        self.assertEqual([call for call in self.calls() if call.startswith("sandbox")],
                         [f"sandbox --build {build} -- {build}/benchmarks/bench_{name}"
                          for name in ("one", "two")])

    def test_one_above_its_goal_fails_after_all_have_run(self):
        self.benchmark("slow")
        self.benchmark("then")
        self.assertEqual(self.panel("bench").returncode, 1)
        self.assertEqual(len([call for call in self.calls() if call.startswith("sandbox")]), 2)


class Searches(Machine):
    def test_fuzzer_gets_its_time_and_targets(self):
        self.succeed("fuzz")
        build = self.project / "build" / "fuzz"
        self.assertEqual(self.calls()[-1], f"fuzz-run --build {build} --seconds 600")
        self.succeed("fuzz", "--seconds", "5", "resolver", "registers")
        self.assertEqual(self.calls()[-1],
                         f"fuzz-run --build {build} --seconds 5 resolver registers")

    def test_soak_gets_its_seed_and_length(self):
        self.succeed("soak")
        build = self.project / "build" / "asan-ubsan"
        start = f"simulator-sandbox --build {build} -- {build}/tests/soak/soak"
        self.assertEqual(self.calls()[-1], f"{start} --seed 1 --presses 3600")
        self.succeed("soak", "--presses", "36000", "--seed", "7")
        self.assertEqual(self.calls()[-1], f"{start} --seed 7 --presses 36000")

    def test_what_they_find_fails_them(self):
        for command, script in (("fuzz", "fuzz/run"), ("soak", "simulator/sandbox")):
            with self.subTest(command=command):
                self.script(self.project / script, command, "exit 1")
                self.assertEqual(self.panel(command).returncode, 1)


class DebianPackages(Machine):
    def test_says_where_they_are(self):
        (self.project / "build" / "packages").mkdir(parents=True)
        (self.project / "build" / "packages" / "panel-settings_0_all.deb").touch()
        self.assertEqual(self.succeed("package").splitlines()[-2:],
                         [f"The packages are in {self.project}/build/packages:",
                          "panel-settings_1_all.deb"])
        self.assertIn(f"cpack --config {self.project}/build/release/CPackConfig.cmake "
                      f"-B {self.project}/build/packages", self.calls())

    def test_shows_why_they_cannot_be_made(self):
        self.stand_in("cpack", "echo no dpkg-shlibdeps; exit 1")
        result = self.panel("package")
        self.assertEqual(result.returncode, 2)
        self.assertIn("no dpkg-shlibdeps", result.stderr)
        self.assertIn("panel: the packages cannot be made", result.stderr)
        self.assertNotIn("The packages are in", result.stdout)

    def test_failing_build_makes_none(self):
        self.stand_in("cmake", "case $1 in --build) exit 1 ;; esac")
        self.assert_refused(["package"], "the build failed")
        self.assertFalse(any(call.startswith("cpack") for call in self.calls()))


class Packages(Machine):
    def test_only_the_missing_packages_are_installed(self):
        self.without_package("g++", "bubblewrap")
        self.succeed("run")
        self.assertEqual(
            self.calls()[:2],
            ["apt-get update -q",
             "apt-get install -q -y --no-install-recommends bubblewrap g++"])

    def test_package_that_was_removed_counts_as_missing(self):
        self.stand_in("dpkg-query", 'case "$*" in *" cmake") echo config-files ;;'
                      "*) echo installed ;; esac", quiet=True)
        self.succeed("run")
        self.assertIn("apt-get install -q -y --no-install-recommends cmake", self.calls())

    def test_install_asks_nothing(self):
        self.without_package("cmake")
        self.stand_in("apt-get", f'echo "$DEBIAN_FRONTEND" >>{self.log}')
        self.succeed("run")
        self.assertEqual(self.calls()[3], "noninteractive")

    def test_each_command_wants_its_own_packages(self):
        self.without_package("clang-tidy", "tigervnc-viewer")
        self.succeed("test")
        self.succeed("package")
        self.assertFalse(any(call.startswith("apt-get") for call in self.calls()))
        self.succeed("run")
        self.assertIn("apt-get install -q -y --no-install-recommends tigervnc-viewer", self.calls())
        self.succeed("lint")
        self.assertIn("apt-get install -q -y --no-install-recommends clang-tidy", self.calls())

    def test_user_installs_through_sudo(self):
        self.without_package("cmake")
        self.stand_in("id", "echo 1000", quiet=True)
        self.stand_in("sudo")
        self.succeed("run")
        self.assertEqual(self.calls()[:2], [
            "sudo apt-get update -q",
            "sudo env DEBIAN_FRONTEND=noninteractive apt-get install -q -y "
            "--no-install-recommends cmake"])

    def test_machine_without_package_manager_names_the_packages(self):
        self.without("dpkg-query")
        self.assert_refused(["run"], "no Debian system", "bubblewrap", "qtbase5-dev")
        self.stand_in("dpkg-query", "exit 1", quiet=True)
        self.without("apt-get")
        self.assert_refused(["run"], "apt-get is missing", "bubblewrap", "qtbase5-dev")

    def test_user_without_sudo_is_told_what_root_has_to_run(self):
        self.without_package("cmake", "g++")
        self.stand_in("id", "echo 1000", quiet=True)
        self.assert_refused(["run"], "as root run: apt-get install cmake g++")
        self.assertEqual(self.calls(), [])

    def test_refused_sudo_is_told_what_root_has_to_run(self):
        self.without_package("cmake")
        self.stand_in("id", "echo 1000", quiet=True)
        self.stand_in("sudo", "exit 1")
        self.assert_refused(["run"], "as root run: apt-get")

    def test_failed_installation_ends_with_the_command_to_run(self):
        self.without_package("cmake")
        self.stand_in("apt-get", "case $1 in install) exit 100 ;; esac")
        self.assert_refused(["run"], "as root run: apt-get install cmake")
        self.assertFalse(any(call.startswith("cmake") for call in self.calls()))

    def test_forbidden_namespaces_are_told_with_the_way_out(self):
        self.stand_in("bwrap", "exit 1")
        for command in ("run", "test", "shots"):
            self.assert_refused([command], "forbids user namespaces; ")


class Test(Machine):
    def test_every_build_is_tested_and_summed_up_in_the_last_line(self):
        output = self.succeed("test")
        self.assertEqual(output.splitlines()[-1], "12 passed, 0 failed")
        self.assertEqual([call for call in self.calls() if call.startswith("ctest")],
                         ["ctest --preset release --parallel 3",
                          "ctest --preset asan-ubsan --parallel 3",
                          "ctest --preset fuzz --parallel 3"])

    def test_failed_tests_of_any_build_fail_the_whole(self):
        for failing in ("release", "asan-ubsan", "fuzz"):
            with self.subTest(failing=failing):
                self.stand_in("ctest", f"""
                    case $2 in
                    {failing}) echo "67% tests passed, 1 tests failed out of 3"; exit 8 ;;
                    *) echo "100% tests passed, 0 tests failed out of 3" ;;
                    esac""")
                result = self.panel("test")
                self.assertEqual(result.returncode, 1)
                self.assertEqual(result.stdout.splitlines()[-1], "8 passed, 1 failed")

    def test_run_without_tests_is_no_success(self):
        self.stand_in("ctest", "echo 'No tests were found!!!'")
        self.assert_refused(["test"], "no test was run")

    def test_sources_out_of_order_fail_before_building(self):
        self.script(self.project / "tests" / "check-sources", "check", "exit 1")
        self.assert_refused(["test"], "the sources are not as they should be")
        self.assertEqual(self.calls(), ["check"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
