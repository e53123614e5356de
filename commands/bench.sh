# shellcheck shell=bash
usage_bench() {
    cat <<'END'
./panel bench
  measures what may not grow, as ratios within one run and in instructions; fails when one is
  above its goal
END
}

panel_bench() {
    no_options "$@"
    need_namespaces
    install_packages build test bench
    build bench
    local program status=0
    for program in "$root"/build/bench/benchmarks/bench_*; do
        [[ -x $program && -f $program ]] || continue
        "$root/simulator/sandbox" --build "$root/build/bench" -- "$program" || status=1
    done
    return $status
}
