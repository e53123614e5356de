"""What ./panel says and does, in a machine made of stand-ins: nothing is installed, built or run
in earnest. Every stand-in writes its call down."""

import fcntl
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

from patience import PATIENCE_S

sys.argv.pop(1)
ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tests"))

from terminal import said_on_terminal  # noqa: E402

BASICS = ("bash", "cat", "dirname", "env", "find", "flock", "grep", "ls", "mkdir", "readlink", "rm",
          "rmdir", "sed", "sh", "sort", "tail", "true")
CONFIGURE = """case $1 in --preset)
mkdir -p build/$2; : >build/$2/build.ninja
echo "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" >build/$2/CMakeCache.txt
echo "CMAKE_CACHEFILE_DIR:INTERNAL=$PWD/build/$2" >>build/$2/CMakeCache.txt ;; esac"""


AS_ASKED = " -o DPkg::Lock::Timeout=600 -o APT::Status-Fd=1"
UPDATE = f"apt-get update -q -o APT::Update::Error-Mode=any{AS_ASKED}"


def install(*packages):
    return f"apt-get install -q -y --no-install-recommends {' '.join(packages)}{AS_ASKED}"


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
                      self.project / "arm", self.tools, self.home):
            place.mkdir(parents=True)
        shutil.copy(ROOT / "panel", self.project)
        shutil.copytree(ROOT / "commands", self.project / "commands")
        shutil.copy(ROOT / "cmake" / "packages.txt", self.project / "cmake")
        shutil.copy(ROOT / "arm" / "architectures.sh", self.project / "arm")
        for name in BASICS:
            (self.tools / name).symlink_to(f"/usr/bin/{name}")
        self.stand_in("dpkg-query", "echo installed", quiet=True)
        self.stand_in("id", "echo 0", quiet=True)
        self.stand_in("nproc", "echo 3", quiet=True)
        self.stand_in("bwrap", quiet=True)
        self.stand_in("apt-get")
        self.stand_in("cpack", 'mkdir -p "$4/_CPack_Packages"; : >"$4/panel-settings_1_all.deb"')
        self.stand_in("ctest", "echo '100% tests passed, 0 tests failed out of 4'")
        self.stand_in("cmake", CONFIGURE)
        self.stand_in("unshare", quiet=True)
        self.stand_in("df", "echo Avail; echo 9999999", quiet=True)
        self.stand_in("sleep", quiet=True)
        for target in ("registers", "resolver"):
            (self.project / "fuzz" / "corpus" / target).mkdir(parents=True)
        (self.project / "simulator" / "hall").mkdir(parents=True)
        for name in ("simulator/run", "simulator/hall/start", "simulator/sandbox", "simulator/shots", "tests/lint",
                     "tests/check-sources", "fuzz/run", "arm/sysroot", "arm/not-emulated"):
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
                              cwd=self.folder, stdin=subprocess.DEVNULL, timeout=PATIENCE_S, check=False)

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
                (["plant", "--panels", "none"], "a number from 1 to 9999999, not 'none'"),
                (["plant", "--panels", "2001"], "--panels is at most 2000"),
                (["plant", "--files"], "--files needs a value"),
                (["plant", "--display"], "--display needs a value"),
                *((["plant", "--display", name], f"names a panel that is started, for example panel-001, not '{name}'")
                  for name in ("panel-006", "panel-000", "panel-5", "panel-0005", "5", "panel-00x", "")),
                (["plant", "ansible-playbook"], "unknown option 'ansible-playbook'"),
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
            for word in ("run", "plant", "test", "shots", "bench", "fuzz", "soak", "lint", "package",
                         "clean", "--size", "--panels", "--display", "--files", "--adapters", "--fresh", "--state", "--inspect", "--seconds", "--seed",
                         "--presses"):
                self.assertIn(word, text)
        self.assertEqual(self.calls(), [])

    def test_each_command_explains_itself_and_does_nothing_else(self):
        everything = self.succeed("help")
        for command in ("run", "plant", "test", "shots", "bench", "fuzz", "soak", "lint", "package",
                        "arm", "clean"):
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
            f"--state {self.folder}/a=b c --size 800x480 --adapters 1 --language english"))
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
            f"--state {self.home}/.local/state/panel-settings --size 1024x600 --adapters 2 "
            "--language english")

    def test_hands_the_options_on(self):
        self.assertEqual(
            self.started_with("--fresh", "--size", "800x480", "--adapters", "1", "--state",
                              str(self.folder / "my device")),
            f"simulator-run --build {self.project}/build/release "
            f"--state {self.folder}/my device --size 800x480 --adapters 1 "
            "--language english --fresh")

    def test_a_new_device_speaks_the_language_of_its_user(self):
        for variables, language in (
                ({}, "english"), ({"LANG": "zh_CN.UTF-8"}, "chinese"), ({"LANG": "C.UTF-8"}, "english"),
                ({"LANG": "de_DE.UTF-8", "LC_MESSAGES": "zh_TW.UTF-8"}, "chinese"),
                ({"LANG": "zh_CN.UTF-8", "LC_ALL": "C.UTF-8"}, "english")):
            with self.subTest(variables=variables):
                self.assertIn(f" --language {language}", self.started_with(**variables))

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
        self.assertIn("cmake --build --preset release --target SettingsPlugin panelctl panel-host",
                      self.calls())

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
            [UPDATE, install("bubblewrap", "g++")])

    def test_package_that_was_removed_counts_as_missing(self):
        self.stand_in("dpkg-query", 'case "$*" in *" cmake") echo config-files ;;'
                      "*) echo installed ;; esac", quiet=True)
        self.succeed("run")
        self.assertIn(install("cmake"), self.calls())

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
        self.assertIn(install("tigervnc-viewer"), self.calls())
        self.succeed("lint")
        self.assertIn(install("clang-tidy"), self.calls())

    def test_user_installs_through_sudo(self):
        self.without_package("cmake")
        self.stand_in("id", "echo 1000", quiet=True)
        self.stand_in("sudo")
        self.succeed("run")
        as_root = "sudo env LC_ALL=C DEBIAN_FRONTEND=noninteractive "
        self.assertEqual(self.calls()[:3],
                         ["sudo -n -v", as_root + UPDATE, as_root + install("cmake")])

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
        self.stand_in("sudo", "echo sudo: a password is required >&2; exit 1")
        self.assert_refused(["run"], "sudo refused; as root run: apt-get install cmake")
        self.assertEqual(self.calls(), ["sudo -n -v"])

    def apt_get_that(self, verb, text, status=100):
        """An apt-get one of whose verbs says something and fails."""
        self.stand_in("apt-get", f"case $1 in {verb}) cat <<'END'\n{text}\nEND\nexit {status} ;; esac")

    def test_failed_installation_ends_with_the_command_to_run(self):
        self.without_package("cmake")
        self.apt_get_that("install", "Reading state information...\nE: Held broken packages.")
        self.assert_refused(["run"], "cannot be installed (Held broken packages.)",
                            "as root run: apt-get install cmake")
        self.assertFalse(any(call.startswith("cmake") for call in self.calls()))

    def test_a_machine_without_network_is_told_so_at_once(self):
        self.without_package("cmake")
        self.apt_get_that("update", "Err:1 http://deb.example InRelease\n"
                          "  Could not resolve 'deb.example'\n"
                          "E: Failed to fetch http://deb.example  Could not resolve 'deb.example'")
        self.assert_refused(["run"], "no network: Could not resolve 'deb.example'; connect")
        self.assertEqual(self.calls(), [UPDATE])

    def test_one_of_several_sources_that_is_silent_stops_nothing(self):
        self.without_package("cmake")
        self.apt_get_that("update", "Hit:1 http://deb.example InRelease\n"
                          "E: Failed to fetch http://other.example Could not resolve 'other.example'")
        self.succeed("run")
        self.assertIn(install("cmake"), self.calls())

    def test_a_held_package_lock_is_waited_for_and_told(self):
        held = "E: Could not get lock /var/lib/apt/lists/lock. It is held by process 77 (other)"
        for verb in ("update", "install"):
            with self.subTest(verb=verb):
                self.without_package("cmake")
                self.stand_in("apt-get", f"""
                    [ $1 = {verb} ] || exit 0
                    [ $(grep -c "^apt-get {verb}" {self.log}) -gt 2 ] || {{ echo "{held}"; exit 100; }}""")
                output = self.succeed("run")
                self.assertIn("another installation (other, process 77) has to end first", output)
                self.assertEqual(len([call for call in self.calls()
                                      if call.startswith(f"apt-get {verb}")]), 3)

    def test_a_lock_that_is_never_let_go_is_told(self):
        self.without_package("cmake")
        self.apt_get_that("update", "E: Could not get lock /var/lib/apt/lists/lock.")
        for name in ("packages", "words"):
            part = self.project / "commands" / "parts" / f"{name}.sh"
            part.write_text(part.read_text().replace("lock_patience_s=600", "lock_patience_s=4"))
        self.assert_refused(["run"], "another installation goes on; run this again")

    def test_a_full_disk_is_told_whoever_meets_it(self):
        self.without_package("cmake")
        full = "E: You don't have enough free space in /var/cache/apt/archives/."
        self.apt_get_that("install", full)
        self.assert_refused(["run"], "a disk is full; free some space")
        self.without_package("none")
        for step in ("--preset", "--build"):
            self.stand_in("cmake", f"case $1 in {step}) echo No space left on device; exit 1 ;; esac")
            result = self.panel("run")
            self.assertEqual(result.returncode, 2)
            self.assertIn("panel: a disk is full; free some space", result.stderr)
        self.stand_in("cmake", "exit 1")
        self.stand_in("df", f"case $3 in {self.project}) echo Avail; echo 12 ;; esac", quiet=True)
        self.assert_refused(["run"], f"the disk with {self.project} is full")

    def test_size_and_progress_of_an_installation_are_told(self):
        self.without_package("cmake")
        self.stand_in("apt-get", """[ "$1" = install ] || exit 0
            echo "Need to get 13.2 MB of archives."
            echo "After this operation, 61.4 MB of additional disk space will be used."
            echo "dlstatus:1:20.3:Retrieving file 3 of 90 (3min remaining)"
            echo "pmstatus:cmake:66.6:Unpacking cmake (amd64)" """)
        output = self.succeed("run").splitlines()
        self.assertEqual(output[:5], [
            "panel: installing cmake",
            "panel: 13.2 MB to download, 61.4 MB on the disk",
            "panel: downloading: 20 %, retrieving file 3 of 90 (3min remaining)",
            "panel: installing: 66 %, unpacking cmake (amd64)",
            "panel: installed"])

    def test_a_second_group_of_packages_updates_no_lists_again(self):
        self.without("bwrap")
        self.without_package("bubblewrap", "cmake")
        self.stand_in("apt-get", f': >{self.tools}/bwrap; echo "#!/bin/sh" >{self.tools}/bwrap;'
                      f'/usr/bin/chmod +x {self.tools}/bwrap')
        self.succeed("run")
        self.assertEqual([call for call in self.calls() if call.startswith("apt-get")],
                         [UPDATE, install("bubblewrap"), install("bubblewrap", "cmake")])


class Plant(Machine):
    def test_starts_a_hall_and_a_command_in_its_control_room(self):
        self.succeed("plant", "--panels", "20", f"--files={self.folder}/my files", "--",
                     "ansible-playbook", "--check", "hall.yml")
        calls = self.calls()
        self.assertIn("cmake --build --preset release --target panelctl", calls)
        self.assertEqual(calls[-1], f"simulator-hall-start --build {self.project}/build/release "
                         f"--panels 20 --files {self.folder}/my files -- "
                         "ansible-playbook --check hall.yml")

    def test_runtime_and_plugin_are_built_for_a_display_alone(self):
        self.without_package("novnc")
        self.succeed("plant", "--display", "panel-002", "--display=panel-005", "--", "true")
        calls = self.calls()
        self.assertIn(install("novnc"), calls)
        self.assertIn("cmake --build --preset release --target panelctl panel-host SettingsPlugin",
                      calls)
        self.assertEqual(calls[-1], f"simulator-hall-start --build {self.project}/build/release "
                         "--panels 5 --display panel-002 --display panel-005 -- true")

    def test_five_panels_and_a_shell_where_nothing_is_said(self):
        self.succeed("plant")
        self.assertTrue(self.calls()[-1].endswith("build/release --panels 5 -- bash"))


class Namespaces(Machine):
    def kernel(self, **switches):
        """A kernel that has these switches and no others."""
        cases = " ".join(f"*/{name}) echo {value} ;;" for name, value in switches.items())
        self.stand_in("cat", f'case $1 in {cases} /proc/sys/*) exit 1 ;; *) exec /usr/bin/cat "$@" ;;'
                      'esac', quiet=True)

    def test_forbidden_ones_are_told_in_the_words_of_who_was_refused(self):
        self.kernel()
        words = "bwrap: setting up uid map: Permission denied"
        self.stand_in("bwrap", f"echo '{words}' >&2; exit 1")
        for command in ("run", "test", "shots", "bench", "fuzz", "soak"):
            self.assert_refused([command], f"forbids user namespaces ({words}); ")

    def test_the_cure_is_a_switch_that_this_kernel_has(self):
        self.stand_in("unshare", "echo unshare: unshare failed: Operation not permitted >&2; exit 1")
        for switches, cure in (
                ({"unprivileged_userns_clone": 0}, "sysctl kernel.unprivileged_userns_clone=1"),
                ({"unprivileged_userns_clone": 1, "max_user_namespaces": 0},
                 "sysctl user.max_user_namespaces=15000"),
                ({"max_net_namespaces": 0}, "sysctl user.max_net_namespaces=15000"),
                ({"apparmor_restrict_unprivileged_userns": 1, "max_user_namespaces": 999},
                 "sysctl kernel.apparmor_restrict_unprivileged_userns=0"),
                ({"max_user_namespaces": 999}, "in a container, start it with --privileged")):
            with self.subTest(switches=switches):
                self.kernel(**switches)
                self.assert_refused(["run"], "(unshare: unshare failed: Operation not permitted)",
                                    f"; {cure if 'container' in cure else 'as root run: ' + cure}\n")

    def test_nothing_is_installed_where_they_are_forbidden(self):
        self.without("bwrap")
        self.without_package("bubblewrap", "cmake")
        self.stand_in("unshare", "exit 1", quiet=True)
        self.assert_refused(["run"], "forbids user namespaces")
        self.assertEqual(self.calls(), [])


class Places(Machine):
    def moved(self, how):
        self.succeed("run")
        self.calls()
        elsewhere = self.folder / "elsewhere"
        (self.project / "build" / "release" / "object").touch()
        how(self.project, elsewhere)
        self.project = elsewhere
        self.succeed("run")
        return self.calls()

    def test_a_copied_checkout_is_configured_again(self):
        self.assertIn("cmake --preset release",
                      self.moved(lambda old, new: shutil.copytree(old, new, symlinks=True)))
        self.assertFalse((self.project / "build" / "release" / "object").exists())

    def test_a_moved_checkout_is_configured_again(self):
        self.assertIn("cmake --preset release", self.moved(os.rename))

    def test_another_name_of_the_same_checkout_is_not(self):
        self.assertNotIn("cmake --preset release",
                         self.moved(lambda old, new: new.symlink_to(old)))

    def test_a_moved_build_folder_is_configured_again(self):
        self.succeed("run")
        self.calls()
        (self.project / "build" / "release").rename(self.project / "build" / "fuzz")
        self.succeed("fuzz")
        self.assertIn("cmake --preset fuzz", self.calls())


class Progress(Machine):
    def test_steps_of_a_build_are_told_and_nothing_that_is_nobodys(self):
        self.stand_in("cmake", CONFIGURE + """
            [ $1 = --build ] || exit 0
            echo "ninja: Entering directory"
            echo "panel-step 0 2 Re-checking globbed directories..."; echo "${NINJA_STATUS:+panel-step 1 2 Building x.o}"
            echo "panel-step 2 2 Linking x"; echo "ninja: no work to do." """)
        output = self.succeed("run").splitlines()
        self.assertEqual(output, ["panel: configuring: release",
                                  "panel: building release: 1 of 2 steps"])
        self.assertEqual(self.succeed("run").splitlines(), ["panel: building release: 1 of 2 steps"])

    def test_what_a_failed_build_says_is_shown(self):
        self.stand_in("cmake", CONFIGURE + """
            [ $1 = --build ] || exit 0
            echo "panel-step 1 2 Building x.o"; echo "x.cpp:3: error: no such thing"; exit 1""")
        result = self.panel("run")
        self.assertEqual((result.returncode, result.stderr.splitlines()),
                         (2, ["x.cpp:3: error: no such thing",
                              "panel: the build failed; see above"]))

    def on_terminal(self, *arguments):
        """What a command writes to a terminal."""
        status, said = said_on_terminal(
            [self.project / "panel", *arguments], both=True, stdin=subprocess.DEVNULL,
            env={"PATH": str(self.tools), "HOME": str(self.home)})
        self.assertEqual(status, 0, said)
        return said.decode()

    def test_on_a_terminal_all_of_it_is_on_one_line_that_goes(self):
        self.stand_in("cmake", CONFIGURE + """
            [ $1 = --build ] || exit 0
            echo "panel-step 1 2 Building x.o"; echo "panel-step 2 2 Linking x" """)
        self.assertEqual(self.on_terminal("run"),
                         "".join(f"\r\x1b[Kpanel: {text}" for text in
                                 ("configuring: release", "building release: 1 of 2 steps",
                                  "building release: 2 of 2 steps")) + "\r\x1b[K")

    def test_tests_passed_are_counted_and_failed_ones_shown(self):
        self.stand_in("ctest", """
            echo "Test project /somewhere"
            echo "      Start  1: test_a"
            echo "1/3 Test  #1: test_a ...........   Passed    0.53 sec"
            echo "2/3 Test  #2: test_b ...........***Failed    0.53 sec"
            echo "what b says"
            echo "3/3 Test  #3: test_c ...........   Passed    1.53 sec"
            echo
            echo "67% tests passed, 1 tests failed out of 3" """)
        shown = self.panel("test").stdout.splitlines()
        start = shown.index("panel: testing release: 1 of 3 passed")
        self.assertEqual(shown[start + 1:start + 4],
                         ["2/3 Test  #2: test_b ...........***Failed    0.53 sec", "what b says",
                          "67% tests passed, 1 tests failed out of 3"])
        self.assertIn("#1: test_a",
                      (self.project / "build" / "release" / "test.log").read_text())


class Clean(Machine):
    def device(self, folder):
        for name in ("hmi_data", "state", "Config"):
            (folder / name).mkdir(parents=True)
        (folder / "state" / "image").touch()
        return folder

    def usual_device(self):
        return self.device(self.home / ".local" / "state" / "panel-settings")

    def test_removes_what_was_built_and_nothing_else(self):
        device = self.usual_device()
        self.succeed("run")
        (self.project / "shots").mkdir()
        self.succeed("clean")
        self.assertFalse((self.project / "build").exists() or (self.project / "shots").exists())
        self.assertTrue((device / "state" / "image").exists())
        self.assertTrue((self.project / "panel").exists())
        self.succeed("clean")

    def test_tells_the_packages_that_were_installed(self):
        self.without_package("cmake", "g++")
        self.succeed("run")
        self.stand_in("dpkg-query", "echo installed", quiet=True)
        for _ in range(2):
            self.assertIn("as root run: apt-get autoremove cmake g++\n", self.succeed("clean"))
        self.without_package("g++")
        self.assertIn("as root run: apt-get autoremove cmake\n", self.succeed("clean"))
        self.without_package("cmake", "g++")
        self.assertNotIn("autoremove", self.succeed("clean"))
        self.assertFalse((self.project / "build").exists())

    def test_removes_the_device_when_asked_and_only_that(self):
        device = self.usual_device()
        self.succeed("clean", "--device")
        self.assertFalse(device.exists())
        own = self.device(self.folder / "my files")
        (own / "letter").touch()
        self.succeed("clean", "--device", "--state", str(own))
        self.assertEqual([path.name for path in own.iterdir()], ["letter"])
        self.assertIn("there is no device in", self.succeed("clean", "--device", "--state", str(own)))

    def test_a_running_device_stays(self):
        device = self.usual_device()
        for lock in (device, device / "lock"):
            if lock != device:
                lock.touch()
            with self.subTest(lock=lock):
                descriptor = os.open(lock, os.O_RDONLY)
                fcntl.flock(descriptor, fcntl.LOCK_EX)
                self.assert_refused(["clean", "--device"], "runs; end that panel first")
                os.close(descriptor)
                self.assertTrue((device / "state" / "image").exists())


class EmulatedPanel(Machine):
    """./panel arm run."""

    def setUp(self):
        super().setUp()
        (self.project / "arm" / "machine").mkdir()
        self.script(self.project / "arm" / "machine" / "parts", "arm-machine-parts")

    def started_with(self, *arguments):
        self.succeed("arm", "run", *arguments)
        return self.calls()[-1]

    def words(self, state, rest):
        build = f"{self.project}/build"
        return (f"simulator-run --build {build}/armhf --emulated {build}/arm/machine "
                f"{build}/arm/armhf/prefix --state {state} {rest}")

    def test_has_a_device_of_its_own_and_is_otherwise_as_the_simulated_one(self):
        self.assertEqual(self.started_with(),
                         self.words(f"{self.home}/.local/state/panel-settings-arm",
                                    "--size 1024x600 --adapters 2 --language english"))

    def test_hands_the_same_options_on(self):
        self.assertEqual(
            self.started_with("--fresh", "--size", "800x480", "--adapters=1", "--state",
                              str(self.folder / "my device")),
            self.words(f"{self.folder}/my device",
                       "--size 800x480 --adapters 1 --language english --fresh"))

    def test_has_no_inspector(self):
        self.assert_refused(["arm", "run", "--inspect"], "unknown option '--inspect'")

    def test_parts_that_cannot_be_fetched_end_it(self):
        self.script(self.project / "arm" / "machine" / "parts", "arm-machine-parts", "exit 2")
        self.assertEqual(self.panel("arm", "run").returncode, 2)
        self.assertEqual(self.calls()[-1].split()[0], "arm-machine-parts")


class Test(Machine):
    def test_every_build_is_tested_and_summed_up_in_the_last_line(self):
        output = self.succeed("test")
        self.assertEqual(output.splitlines()[-1], "20 passed, 0 failed")
        short = " --tests-regex ^(test_device|test_fileio|test_regstore|test_plugin)$"
        self.assertEqual([call for call in self.calls() if call.startswith("ctest")],
                         ["ctest --preset release --parallel 6",
                          "ctest --preset asan-ubsan --parallel 6",
                          "ctest --preset fuzz --parallel 6",
                          f"ctest --preset armhf --parallel 3{short}",
                          f"ctest --preset arm64 --parallel 3{short}"])

    def test_failed_tests_of_any_build_fail_the_whole(self):
        for failing in ("release", "asan-ubsan", "fuzz", "armhf", "arm64"):
            with self.subTest(failing=failing):
                self.stand_in("ctest", f"""
                    case $2 in
                    {failing}) echo "67% tests passed, 1 tests failed out of 3"; exit 8 ;;
                    *) echo "100% tests passed, 0 tests failed out of 3" ;;
                    esac""")
                result = self.panel("test")
                self.assertEqual(result.returncode, 1)
                self.assertEqual(result.stdout.splitlines()[-1], "14 passed, 1 failed")

    def test_run_without_tests_is_no_success(self):
        self.stand_in("ctest", "echo 'No tests were found!!!'")
        self.assert_refused(["test"], "no test was run")

    def test_sources_out_of_order_fail_before_building(self):
        self.script(self.project / "tests" / "check-sources", "check", "exit 1")
        self.assert_refused(["test"], "the sources are not as they should be")
        self.assertEqual(self.calls(), ["check"])


class ContinuousIntegration(Machine):
    """.ci/run, which calls a stand-in for ./panel."""

    def setUp(self):
        super().setUp()
        (self.project / ".ci").mkdir()
        shutil.copy(ROOT / ".ci" / "run", self.project / ".ci")

    def assert_calls(self, status, *calls, panel="", **environment):
        self.script(self.project / "panel", "panel", panel)
        result = subprocess.run([self.project / ".ci" / "run"], capture_output=True, cwd=self.folder,
                                env={"PATH": str(self.tools), **environment}, timeout=PATIENCE_S,
                                check=False)
        self.assertEqual((result.returncode, self.calls()), (status, list(calls)), result.stderr)

    def test_is_the_tests(self):
        self.assert_calls(0, "panel test")
        self.assert_calls(0, "panel test", CI_ARM="0")

    def test_checks_the_emulated_panel_where_that_is_asked_for(self):
        self.assert_calls(0, "panel test", "panel arm check", CI_ARM="1")

    def test_what_fails_fails_it(self):
        self.assert_calls(3, "panel test", panel="exit 3", CI_ARM="1")
        self.assert_calls(4, "panel test", "panel arm check", CI_ARM="1",
                          panel="[ $1 != arm ] || exit 4")


if __name__ == "__main__":
    unittest.main(verbosity=2)
