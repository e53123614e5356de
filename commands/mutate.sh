# shellcheck shell=bash
usage_mutate() {
    cat <<'END'
./panel mutate [--seed N] [--count N] [--jobs N] [--quick] [ROOM...]
  makes random mistakes in the product, one at a time in a copy of the sources, and runs the tests
  over each; prints those that no test noticed, and the rate of each room
    --seed N         another draw (default 1)
    --count N        how many mistakes (default 20); each takes from seconds to minutes
    --jobs N         how many compilers or tests at a time (default: all processors)
    --quick          only the tests of the room: what they miss, others may notice
END
}

panel_mutate() {
    local options=()
    while [[ ${1-} == --* ]]; do
        case $1 in
        --quick)
            options+=("$1")
            shift
            continue
            ;;
        --seed | --count | --jobs) need_value "$1" $# ;;
        *) unknown_option "$1" ;;
        esac
        is_count "$1" "$2"
        options+=("$1" "$2")
        shift 2
    done
    need_namespaces
    install_packages build test
    exec /usr/bin/python3 "$root/tests/mutation/mutate" "${options[@]}" "$@"
}
