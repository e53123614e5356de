# shellcheck shell=bash
usage_test() {
    cat <<'END'
./panel test
  builds the release and the sanitizer variant and passes every test of both, those of scripts and
  documents once, and has every source compiled for machines of 32 bits; then lets a fuzzer try some
  thousand inputs on whatever parses foreign bytes; builds for ARM and passes there what shows most
  in a short time, see ./panel arm test
END
}

# ctest_totals FILE: adds the tests of one ctest run to $passed and $failed.
ctest_totals() {
    local line
    line=$(grep -E '^[0-9]+% tests passed, [0-9]+ tests? failed out of [0-9]+' "$1") ||
        fail "no test was run"
    local bad=${line#*passed, } all=${line##* }
    bad=${bad%% *}
    failed=$((failed + bad))
    passed=$((passed + all - bad))
}

panel_test() {
    no_options "$@"
    need_namespaces
    install_packages build test fuzz arm
    local passed=0 failed=0 preset log status=0
    "$root/tests/check-sources" || fail "the sources are not as they should be; see above"
    for preset in release asan-ubsan fuzz; do
        build "$preset"
        log=$root/build/$preset/test.log
        # Many a test waits for a panel to start or for a network to answer.
        (cd "$root" && ctest --preset "$preset" --parallel "$((2 * $(nproc)))") 2>&1 |
            show_tests "testing $preset" "$log" || true
        ctest_totals "$log"
    done
    load_command arm
    short_arm_test
    [ "$failed" -eq 0 ] || status=1
    echo "$passed passed, $failed failed"
    exit "$status"
}
