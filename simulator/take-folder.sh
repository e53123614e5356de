# shellcheck shell=bash
# Sourced by the scripts that start panels: the folders that a panel keeps things in.
#
# They define fail TEXT, and have called make_scratch.

# own_group: a group of the user's own, with which a umask of 002 makes folders: it has their name and
# nobody else is in it. Without one, a number that no group has.
own_group() {
    if [[ "$(getent group "$(id -g)")" == "$(id -un 2>/dev/null):"*: ]]; then
        id -g
    else
        echo 4294967295
    fi
}

# take_folder FOLDER: makes it if need be, closes it to everybody else and sets $folder to it. In a
# folder that somebody else can write to, every name may lead anywhere; and what a panel leaves in
# its folders, its programs for one, is nobody's to run.
take_folder() {
    local foreign
    mkdir -p "$1" 2>/dev/null || fail "cannot make the folder $1"
    if [[ $1 == "$scratch"/* ]]; then
        folder=$1
        return
    fi
    folder=$(cd "$1" 2>/dev/null && pwd -P) || fail "no permission to enter $1"
    [ -w "$folder" ] || fail "no permission to write to $1"
    foreign=$(find "$folder" "$folder"/{state,hmi_data,Config} -maxdepth 0 \
        '(' -type l -o ! -user "$EUID" -o -perm /o=w -o -perm /g=w ! -gid "$(own_group)" ')' \
        -print -quit 2>/dev/null) || true
    [ -z "$foreign" ] || fail "$foreign is no folder of yours alone; choose another"
    chmod 0700 "$folder"
}

# lock_device: two panels around the memory in $state would undo each other's writes. The lock is
# kept for as long as $lock is open.
lock_device() {
    exec {lock}<"$state"
    flock --nonblock "$lock" || fail "the device in $state runs already; end that panel first"
}

# is_plain_or_missing FILE: a panel can put a link in its place, which would lead anywhere out here.
is_plain_or_missing() {
    [ ! -L "$1" ] && { [ -f "$1" ] || [ ! -e "$1" ]; }
}
