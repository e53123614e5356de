# shellcheck shell=bash
usage_soak() {
    cat <<'END'
./panel soak [--seed N] [--presses N]
  an hour of an operator who presses whatever there is, with time compressed; fails when anything
  grows, leaks or warns
    --seed N         another order of presses (default 1)
    --presses N      one each second (default 3600)
END
}

panel_soak() {
    local seed=1 presses=3600
    while [ $# -gt 0 ]; do
        case $1 in
        --seed | --presses) need_value "$1" $# ;;
        *) unknown_option "$1" ;;
        esac
        is_count "$1" "$2"
        case $1 in
        --seed) seed=$2 ;;
        --presses) presses=$2 ;;
        esac
        shift 2
    done
    need_namespaces
    install_packages build test
    build asan-ubsan
    exec "$root/simulator/sandbox" --build "$root/build/asan-ubsan" -- \
        "$root/build/asan-ubsan/tests/soak/soak" --seed "$seed" --presses "$presses"
}
