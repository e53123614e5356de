# shellcheck shell=bash
usage_clean() {
    cat <<'END'
./panel clean [--device] [--state DIR]
  removes what was built, and tells which packages were installed
    --device         removes the device of ./panel run, too
    --state DIR      the folder in which it is kept (default as for run)
END
}

panel_clean() {
    local state device=no
    state=$(default_state)
    while [ $# -gt 0 ]; do
        case $1 in
        --device) device=yes; shift ;;
        --state) need_value "$1" $#; state=$2; shift 2 ;;
        *) unknown_option "$1" ;;
        esac
    done
    [ -n "$state" ] || fail "--state needs a folder"
    [ "$device" = no ] || remove_device "$state"
    tell_packages
    rm -rf "$root/build" "$root/shots" || fail "not everything could be removed; see above"
    say "removed what was built"
}

# remove_device FOLDER: what a panel makes in it, and the folder when nothing else is there.
remove_device() {
    local lock
    [ -e "$1/state/image" ] || { say "there is no device in $1"; return; }
    for lock in "$1" "$1/lock"; do
        [ ! -e "$lock" ] || flock --nonblock "$lock" true ||
            fail "the device in $1 runs; end that panel first"
    done
    rm -rf "$1"/{hmi_data,state,Config,new,lock} || fail "not everything could be removed; see above"
    rmdir "$1" 2>/dev/null || true
    say "removed the device in $1"
}

tell_packages() {
    [ -s "$installed_list" ] || return 0
    local names
    mapfile -t names < <(sort -u "$installed_list")
    say "these packages were installed; to remove them, as root run: apt-get autoremove ${names[*]}"
}
