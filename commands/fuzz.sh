# shellcheck shell=bash
usage_fuzz() {
    cat <<'END'
./panel fuzz [--seconds N] [TARGET...]
  lets the fuzzer look for longer, target by target; fails when it finds something
    --seconds N      for each target (default 600)
END
}

panel_fuzz() {
    local seconds=600 target
    while [[ ${1-} == --* ]]; do
        [ "$1" = --seconds ] || unknown_option "$1"
        need_value "$1" $#
        seconds=$2
        shift 2
    done
    is_count --seconds "$seconds"
    for target in "$@"; do
        [ -d "$root/fuzz/corpus/$target" ] ||
            fail "unknown target '$target'; there are: $(cd "$root/fuzz/corpus" && echo *)"
    done
    need_namespaces
    install_packages build test fuzz
    build fuzz
    exec "$root/fuzz/run" --build "$root/build/fuzz" --seconds "$seconds" "$@"
}
