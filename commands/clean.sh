# shellcheck shell=bash
usage_clean() {
    cat <<'END'
./panel clean [--device] [--state DIR]
  removes what was built, and tells which packages were installed
    --device         removes the devices of ./panel run and ./panel arm run, too
    --state DIR      only the one that is kept in this folder
END
}

panel_clean() {
    local state device=no states=()
    state=$(default_state)
    states=("$state" "$state-arm")
    while [ $# -gt 0 ]; do
        case $1 in
        --device) device=yes; shift ;;
        --state) need_value "$1" $#; states=("$2"); shift 2 ;;
        *) unknown_option "$1" ;;
        esac
    done
    for state in "${states[@]}"; do
        [ -n "$state" ] || fail "--state needs a folder"
        [ "$device" = no ] || remove_device "$state"
    done
    tell_packages
    remove_built || fail "not everything could be removed; see above"
    say "removed what was built"
}

# remove_built: but for the list of packages, which the next call tells again.
remove_built() {
    rm -rf "$root/shots" || return 1
    [ -d "$root/build" ] || return 0
    find "$root/build" -mindepth 1 -maxdepth 1 ! -name "${installed_list##*/}" -exec rm -rf {} + || return 1
    rmdir --ignore-fail-on-non-empty "$root/build"
}

# remove_device FOLDER: what a panel makes in it, and the folder when nothing else is there.
remove_device() {
    local lock
    [ -e "$1/state/image" ] || [ -e "$1/disk" ] || { say "there is no device in $1"; return; }
    for lock in "$1" "$1/lock"; do
        [ ! -e "$lock" ] || flock --nonblock "$lock" true ||
            fail "the device in $1 runs; end that panel first"
    done
    rm -rf "$1"/{hmi_data,state,Config,new,lock,disk,disk.new} || fail "not everything could be removed; see above"
    rmdir "$1" 2>/dev/null || true
    say "removed the device in $1"
}

# tell_packages: those that are still there; the list goes with the last of them.
tell_packages() {
    [ -s "$installed_list" ] || return 0
    local name names=()
    while read -r name; do
        ! is_installed "$name" || names+=("$name")
    done < <(sort -u "$installed_list")
    [ ${#names[@]} -gt 0 ] || { rm -f "$installed_list"; return; }
    say "these packages were installed; to remove them, as root run: apt-get autoremove ${names[*]}"
}
