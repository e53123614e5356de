# shellcheck shell=bash
usage_run() {
    cat <<'END'
./panel run [--size WxH] [--adapters 1|2] [--fresh] [--state DIR] [--inspect]
  starts a simulated panel with the settings dialog and shows it: in a window where there is a
  display, otherwise in the browser page whose address is printed
    --size WxH       screen of the panel in pixels (default 1024x600)
    --adapters 1|2   Ethernet adapters of the panel (default 2)
    --fresh          start with a new device; its language is yours, Chinese or English
    --state DIR      folder in which the device is kept
                     (default: panel-settings in $XDG_STATE_HOME or ~/.local/state)
    --inspect        a page beside it shows commands, notices, registers and changed bytes
END
}

# language_of_user: the language of a new device, of the two it has.
language_of_user() {
    case ${LC_ALL:-${LC_MESSAGES:-${LANG:-}}} in
    zh*) echo chinese ;;
    *) echo english ;;
    esac
}

# read_panel_options SWITCHES WORD...: sets $state, $size, $adapters and $switches by the words, of
# which SWITCHES are those without a value; ends when one makes no sense. The caller has set the first
# three to what they are without it.
read_panel_options() {
    local known=$1
    shift
    while [ $# -gt 0 ]; do
        case $1 in
        --size | --adapters | --state) need_value "$1" $# ;;
        *)
            [[ " $known " == *" $1 "* ]] || unknown_option "$1"
            switches+=("$1")
            shift
            continue
            ;;
        esac
        case $1 in
        --size) size=$2 ;;
        --adapters) adapters=$2 ;;
        --state) state=$2 ;;
        esac
        shift 2
    done
    [[ $size =~ ^[1-9][0-9]{2,3}x[1-9][0-9]{2,3}$ && ${size%x*} -le 4095 ]] ||
        fail "--size is WxH in pixels, for example 1024x600, not '$size'"
    [[ $adapters =~ ^[12]$ ]] || fail "--adapters is 1 or 2, not '$adapters'"
    [ -n "$state" ] || fail "--state needs a folder"
    make_folder "$state" "choose another folder with --state DIR"
}

panel_run() {
    local state size=1024x600 adapters=2 switches=()
    state=$(default_state)
    read_panel_options "--fresh --inspect" "$@"
    need_namespaces
    install_packages build run
    build release SettingsPlugin panelctl panel-host
    exec "$root/simulator/run" --build "$root/build/release" --state "$state" --size "$size" \
        --adapters "$adapters" --language "$(language_of_user)" "${switches[@]}"
}
