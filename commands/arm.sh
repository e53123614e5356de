# shellcheck shell=bash
# shellcheck source=/dev/null
. "$root/arm/architectures.sh"

usage_arm() {
    cat <<'END'
./panel arm build [armhf|arm64]...
  builds everything for ARM, of 32 and of 64 bits; fetches headers and libraries of both once, some
  110 MB each
./panel arm test [armhf|arm64]...
  passes the tests of both, each program under emulation in a panel of its own; tells which cannot
  run so, and why
./panel arm run [--size WxH] [--adapters 1|2] [--fresh] [--state DIR]
  starts a whole emulated panel, an ARM machine with a kernel of its own, and shows it as
  ./panel run does; its device is kept in a folder of its own
                     (default: panel-settings-arm in $XDG_STATE_HOME or ~/.local/state)
./panel arm bench
  counts the instructions that an ARM machine takes for what an operator waits for, then takes the
  times under emulation, which only an idle machine makes short, and prints both as tables; takes
  minutes
./panel arm check
  starts a new one, presses on its touch screen what somebody would try on a new board, looks from
  inside what became of it, and runs the tests of files, registers and flash there; takes minutes
END
}

panel_arm() {
    local verb=${1-}
    [ $# -eq 0 ] || shift
    case $verb in
    build | test | run | bench | check) "arm_$verb" "$@" ;;
    *) fail "./panel arm build|test|run|bench|check, not '$verb'; see ./panel arm --help" ;;
    esac
}

# choose_architectures WORD...: sets $architectures to those named, or to all; ends when one is none.
choose_architectures() {
    local word
    architectures=("$@")
    [ $# -gt 0 ] || architectures=("${arm_architectures[@]}")
    for word in "$@"; do
        [ -n "$(triplet_of "$word")" ] ||
            fail "the architectures are ${arm_architectures[*]}, not '$word'"
    done
}

# build_arm ARCHITECTURE [TARGET...]
build_arm() {
    "$root/arm/sysroot" "$1" "$root/build/arm/$1" || exit 2
    build "$@"
}

arm_build() {
    local architectures=() architecture
    choose_architectures "$@"
    install_packages build arm
    for architecture in "${architectures[@]}"; do
        build_arm "$architecture"
    done
}

arm_test() {
    local architectures=() architecture passed=0 failed=0
    choose_architectures "$@"
    need_namespaces
    install_packages build test arm
    for architecture in "${architectures[@]}"; do
        build_arm "$architecture"
        test_arm "$architecture" --label-exclude '^not emulated'
        "$root/arm/not-emulated" "$root/build/$architecture"
    done
    echo "$passed passed, $failed failed"
    [ "$failed" -eq 0 ] || exit 1
}

# test_arm ARCHITECTURE OPTION...: runs the tests that the options of ctest choose, and adds to
# $passed and $failed.
test_arm() {
    local architecture=$1 log=$root/build/$1/test.log
    shift
    load_command test
    (cd "$root" && ctest --preset "$architecture" --parallel "$(nproc)" "$@") 2>&1 |
        show_tests "testing $architecture" "$log" || true
    ctest_totals "$log"
}

# What says most about an architecture in the shortest time: the layout of the records, registers,
# files, tools, and the plugin loaded with a dialog of it. panelctl makes the device of each.
short_arm_tests=(test_device test_fileio test_regstore test_plugin)

# short_arm_test: for `./panel test`.
short_arm_test() {
    local expression architecture
    expression="^($(IFS='|' && echo "${short_arm_tests[*]}"))\$"
    for architecture in "${arm_architectures[@]}"; do
        build_arm "$architecture" SettingsPlugin panelctl "${short_arm_tests[@]}"
        test_arm "$architecture" --tests-regex "$expression"
    done
}

machine_parts=$root/build/arm/machine

# make_machine TARGET...: what every emulated panel is made of, and these programs of the build.
make_machine() {
    need_namespaces
    install_packages build run arm machine
    build_arm armhf SettingsPlugin panelctl panel-host platform_tool "$@"
    "$root/arm/machine/parts" "$machine_parts" || exit 2
}

arm_run() {
    local state size=1024x600 adapters=2 switches=()
    load_command run
    state=$(default_state)-arm
    read_panel_options --fresh "$@"
    make_machine
    exec "$root/simulator/run" --build "$root/build/armhf" \
        --emulated "$machine_parts" "$root/build/arm/armhf/prefix" --state "$state" \
        --size "$size" --adapters "$adapters" --language "$(language_of_user)" "${switches[@]}"
}

# in_machine FOLDER PROGRAM... -- COMMAND...: runs the command with the options of an emulated panel's
# start, one that keeps nothing and has these programs of the build. Returns the command's status.
in_machine() {
    local folder=$1 programs=() status=0
    shift
    while [ "$1" != -- ]; do
        programs+=("$1")
        shift
    done
    shift
    rm -rf "$folder"
    mkdir -p "$folder"
    "$root/arm/machine/archives" "$machine_parts" "$root/build/arm/armhf/sysroot" \
        "$root/build/armhf" "$folder/archives" "${programs[@]}" || exit 2
    /usr/bin/python3 "$@" --build "$root/build/armhf" --parts "$machine_parts" \
        --libraries "$root/build/arm/armhf/prefix" --state "$folder/device" \
        --archives "$folder/archives" || status=$?
    rm -rf "$folder"
    return "$status"
}

# What the benchmark starts in the machine, as paths from the build. Its programs paint on no screen.
bench_programs=(benchmarks/operator_times benchmarks/start/start_host
    ../arm/armhf/sysroot/usr/lib/arm-linux-gnueabihf/qt5/plugins/platforms/libqoffscreen.so)

arm_bench() {
    no_options "$@"
    make_machine operator_times start_host
    in_machine "$root/build/arm/bench" "${bench_programs[@]}" -- "$root/benchmarks/emulated.py"
}

# Programs of the build that the check runs in the machine.
check_programs=(tests/fileio/test_fileio tests/regstore/test_regstore tests/mtd/test_mtd
    tests/mtd/libmtd_emulation.so)

arm_check() {
    local pictures=$root/build/arm/pictures status=0
    no_options "$@"
    make_machine test_fileio test_regstore test_mtd
    rm -rf "$pictures"
    mkdir -p "$pictures"
    in_machine "$root/build/arm/check" "${check_programs[@]}" -- \
        "$root/tests/arm/machine/check.py" --pictures "$pictures" || status=$?
    say "pictures of it are in $pictures"
    return "$status"
}
