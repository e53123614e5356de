# shellcheck shell=bash
usage_mutate() {
    cat <<'END'
./panel mutate [--seed N] [--count N] [--jobs N] [--quick] [ROOM...]
  makes random mistakes in the product, one at a time in a copy of the sources, and runs the tests
  over each; prints those that no test noticed, and the rate of each room
    --seed N         another draw (default 1)
    --count N        how many mistakes (default 20); each takes from seconds to minutes
    --part K/N       only the K-th of each N of them: for N copies of the checkout at the same time
    --jobs N         how many compilers or tests at a time (default: all processors)
    --quick          only the tests of the room: what they miss, others may notice
END
}

# is_part OPTION VALUE: K/N, with K from 1 to N.
is_part() {
    local number=${2%%/*} parts=${2#*/}
    [[ $2 == */* ]] || fail "$1 is K/N with K from 1 to N, not '$2'"
    is_count "$1" "$number"
    is_count "$1" "$parts"
    ((number <= parts)) || fail "$1 is K/N with K from 1 to N, not '$2'"
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
        --seed | --count | --jobs)
            need_value "$1" $#
            is_count "$1" "$2"
            ;;
        --part)
            need_value "$1" $#
            is_part "$1" "$2"
            ;;
        *) unknown_option "$1" ;;
        esac
        options+=("$1" "$2")
        shift 2
    done
    need_namespaces
    install_packages build test
    exec /usr/bin/python3 "$root/tests/mutation/mutate" "${options[@]}" "$@"
}
