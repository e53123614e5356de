# shellcheck shell=bash
usage_plant() {
    cat <<'END'
./panel plant [--panels N] [--display PANEL]... [--files DIR] [-- COMMAND...]
  starts simulated panels in one private network, each with its own device, address and SSH server,
  and COMMAND in the control room of that network; without one, a shell. `plant --help` in there
  says how to pull cables and cut power. No packet leaves the machine
    --panels N       how many (default 5); 200 need 2 GB of memory
    --display PANEL  give this panel, for example panel-003, a screen with the settings dialog, and
                     show it in the browser page whose address is printed
    --files DIR      the control room's folder, kept; an empty one gets the examples for Ansible
                     (default: these examples, thrown away at the end)
END
}

# is_panel_of COUNT NAME: whether one of so many panels is called that.
is_panel_of() {
    local number=${2#panel-}
    [[ $number =~ ^[0-9]{3,4}$ ]] || return
    number=$((10#$number))
    [ "$number" -ge 1 ] && [ "$number" -le "$1" ] && [ "$2" = "$(printf 'panel-%03d' "$number")" ]
}

# add_displays: what $displays needs, for panel_plant; ends when there is no such panel.
add_displays() {
    local name
    for name in "${displays[@]}"; do
        is_panel_of "$panels" "$name" ||
            fail "--display names a panel that is started, for example panel-001, not '$name'"
        options+=(--display "$name")
    done
    wanted+=(panel-host SettingsPlugin)
    groups+=(run)
}

panel_plant() {
    local panels=5 displays=() options=() wanted=(panelctl) groups=(build plant)
    while [ $# -gt 0 ]; do
        case $1 in
        --) shift; break ;;
        --panels | --display | --files) need_value "$1" $# ;;
        *) unknown_option "$1" ;;
        esac
        case $1 in
        --panels) is_count "$1" "$2"; panels=$2 ;;
        --display) displays+=("$2") ;;
        --files) options+=(--files "$2"); make_folder "$2" ;;
        esac
        shift 2
    done
    [ "$panels" -le 2000 ] || fail "--panels is at most 2000"
    [ ${#displays[@]} -eq 0 ] || add_displays
    need_namespaces
    install_packages "${groups[@]}"
    build release "${wanted[@]}"
    # A terminal of its own: what runs in the control room must not type on the one out here.
    [ $# -gt 0 ] || if [ -t 0 ]; then set -- script -q -e -c bash /dev/null; else set -- bash; fi
    exec "$root/simulator/hall/start" --build "$root/build/release" --panels "$panels" \
        "${options[@]}" -- "$@"
}
