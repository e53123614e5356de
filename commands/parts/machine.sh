# shellcheck shell=bash
# Sourced by `panel`: what it needs of the machine besides packages.

full_disk_kb=10240 # less is as good as nothing

# fail_on_full_disk LOG: ends when that is why something failed whose output is in LOG.
fail_on_full_disk() {
    local place free
    for place in "$root" /var "${TMPDIR:-/tmp}"; do
        free=$(df -k --output=avail "$place" 2>/dev/null | tail -n 1)
        [ "${free:-$full_disk_kb}" -ge "$full_disk_kb" ] ||
            fail "the disk with $place is full; free some space and run this again"
    done
    ! grep -qsE "No space left on device|enough free space" "$1" ||
        fail "a disk is full; free some space and run this again"
}

# make_folder FOLDER [CURE]
make_folder() {
    local words
    words=$(mkdir -p "$1" 2>&1) && [ -w "$1" ] && return
    [[ $words != *'No space left'* ]] || fail "the disk with $1 is full; free some space"
    fail "no permission to write to $1${2:+; $2}"
}

# need_namespaces: ends unless a panel can be made here. Before any package is installed in vain,
# but for the program that makes panels.
need_namespaces() {
    local words
    words=$(unshare --user --map-root-user --net --pid --fork true 2>&1) ||
        fail "this system forbids user namespaces (${words:-no reason given}); $(namespace_cure)"
    command -v bwrap >/dev/null || ! command -v apt-get >/dev/null || install_missing bubblewrap
    command -v bwrap >/dev/null || return 0 # whoever installs by hand learns of all packages
    words=$(bwrap --unshare-user --unshare-pid --unshare-net --ro-bind / / --proc /proc true 2>&1) ||
        fail "this system forbids user namespaces (${words:-no reason given}); $(namespace_cure)"
}

# namespace_cure: what to do about forbidden namespaces, by the switches of this very kernel.
namespace_cure() {
    local key bad good
    while read -r key bad good; do
        if [ "$(cat "/proc/sys/${key//.//}" 2>/dev/null)" = "$bad" ]; then
            echo "as root run: sysctl $key=$good"
            return
        fi
    done <<'END'
kernel.unprivileged_userns_clone 0 1
user.max_user_namespaces 0 15000
user.max_net_namespaces 0 15000
kernel.apparmor_restrict_unprivileged_userns 1 0
END
    echo "in a container, start it with --privileged"
}

# default_state: the folder of the device, where nobody chose another one.
default_state() {
    echo "${XDG_STATE_HOME:-${HOME:-}/.local/state}/panel-settings"
}
