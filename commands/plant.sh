# shellcheck shell=bash
usage_plant() {
    cat <<'END'
./panel plant [--panels N] [--files DIR] [-- COMMAND...]
  starts simulated panels in one private network, each with its own device, address and SSH server,
  and COMMAND in the control room of that network; without one, a shell. `plant --help` in there
  says how to pull cables and cut power. No packet leaves the machine
    --panels N       how many (default 5); 200 need 2 GB of memory
    --files DIR      the control room's folder, kept; an empty one gets the examples for Ansible
                     (default: these examples, thrown away at the end)
END
}

panel_plant() {
    local panels=5 files=()
    while [ $# -gt 0 ]; do
        case $1 in
        --) shift; break ;;
        --panels | --files) need_value "$1" $# ;;
        *) unknown_option "$1" ;;
        esac
        case $1 in
        --panels) is_count "$1" "$2"; panels=$2 ;;
        --files) files=(--files "$2"); make_folder "$2" ;;
        esac
        shift 2
    done
    [ "$panels" -le 2000 ] || fail "--panels is at most 2000"
    need_namespaces
    install_packages build plant
    build release panelctl
    # A terminal of its own: what runs in the control room must not type on the one out here.
    [ $# -gt 0 ] || if [ -t 0 ]; then set -- script -q -e -c bash /dev/null; else set -- bash; fi
    exec "$root/simulator/hall/start" --build "$root/build/release" --panels "$panels" \
        "${files[@]}" -- "$@"
}
