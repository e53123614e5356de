# shellcheck shell=bash
# Sourced by `panel`: the Debian packages that a command needs.

lock_patience_s=600 # how long another installation is waited for
installed_list=$root/build/installed-packages
apt_log=$root/build/apt.log
lists_are_fresh=''

packages_of() {
    local group
    for group in "$@"; do
        sed -n "s/^$group //p" "$root/cmake/packages.txt"
    done | sort -u
}

is_installed() {
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

# install_packages GROUP...: installs what is missing of these groups of cmake/packages.txt.
install_packages() {
    local names
    mapfile -t names < <(packages_of "$@")
    install_missing "${names[@]}"
}

# install_missing PACKAGE...: installs those that are missing.
install_missing() {
    local missing=() package as_root=()
    command -v dpkg-query >/dev/null || fail "this is no Debian system; install by hand: $*"
    for package in "$@"; do
        is_installed "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    command -v apt-get >/dev/null || fail "apt-get is missing; install by hand: ${missing[*]}"
    local by_hand="as root run: apt-get install ${missing[*]}"
    become_root "$by_hand"
    say "installing ${missing[*]}"
    make_folder "$root/build"
    update_lists "$by_hand"
    apt_get install -q -y --no-install-recommends "${missing[@]}" || tell_apt_failure "$by_hand"
    remember_packages "${missing[@]}"
    say "installed"
}

# become_root CURE: sets $as_root to what makes a command root's.
become_root() {
    [ "$(id -u)" -ne 0 ] || return 0
    command -v sudo >/dev/null || fail "no permission to install; $1"
    if [ -t 0 ]; then
        sudo -v || fail "sudo refused; $1"
    else
        sudo -n -v 2>/dev/null || fail "sudo refused; $1"
    fi
    as_root=(sudo)
}

# Where one of several sources does not answer, the lists of the others may do.
update_lists() {
    [ -z "$lists_are_fresh" ] || return 0
    apt_get update -q -o APT::Update::Error-Mode=any || grep -qE '^(Hit|Get):' "$apt_log" ||
        tell_apt_failure "$1"
    lists_are_fresh=yes
}

# apt_get WORD...: runs it, shows how far it is and leaves its output in $apt_log. Waits for
# another installation; `update` cannot do that by itself.
apt_get() {
    local waited=0
    until run_apt_get "$@"; do
        [ "$waited" -lt "$lock_patience_s" ] && grep -q 'Could not get lock' "$apt_log" || return 1
        show_lock "$(grep -m 1 'Could not get lock' "$apt_log")"
        sleep 2
        waited=$((waited + 2))
    done
    finish_progress
}

run_apt_get() {
    "${as_root[@]}" env LC_ALL=C DEBIAN_FRONTEND=noninteractive \
        apt-get "$@" -o "DPkg::Lock::Timeout=$lock_patience_s" -o APT::Status-Fd=1 \
        </dev/null 2>&1 | show_apt_get "$1"
}

# show_apt_get VERB: tells how far it is, from the lines it prints for programs.
show_apt_get() {
    local line download percent text
    : >"$apt_log" 2>/dev/null || true
    while IFS= read -r line; do
        echo "$line" >>"$apt_log" 2>/dev/null || true # the disk may be full
        case $line in
        'Need to get '*) download=${line#Need to get } download=${download% of archives.} ;;
        'After this operation, '*)
            line=${line#After this operation, }
            say "${download:-nothing} to download, ${line% of additional*} on the disk"
            ;;
        dlstatus:*:*:*)
            [ "$1" = install ] || { progress "package lists" "updating"; continue; }
            IFS=: read -r _ _ percent text <<<"$line"
            progress "downloading" "${percent%.*} %, ${text,}"
            ;;
        pmstatus:*:*:*)
            IFS=: read -r _ _ percent text <<<"$line"
            progress "installing" "${percent%.*} %, ${text,}"
            ;;
        *'Could not get lock'*) show_lock "$line" ;;
        esac
    done
    finish_progress
}

# show_lock LINE: apt-get's own, which may name who holds the lock.
show_lock() {
    local holder=''
    [[ $1 =~ held\ by\ process\ ([0-9]+)\ \(([^\)]*)\) ]] &&
        holder=" (${BASH_REMATCH[2]}, process ${BASH_REMATCH[1]})"
    progress "waiting" "another installation$holder has to end first"
}

# tell_apt_failure CURE: one line that says why apt-get failed, and an end.
tell_apt_failure() {
    local reason
    fail_on_full_disk "$apt_log"
    ! grep -q 'Could not get lock' "$apt_log" ||
        fail "another installation goes on; run this again when it has ended"
    reason=$(grep -m 1 -oE "Could not (resolve|connect to)[^(]*|Unable to connect to.*|.*unreachable.*|.*timed out.*" \
        "$apt_log") && fail "no network: ${reason%[. ]}; connect this machine and run this again"
    reason=$(sed -n 's/^E: //p' "$apt_log" | tail -n 1)
    fail "the packages cannot be installed${reason:+ ($reason)}; $1"
}

# What `./panel clean` tells. A list that cannot be written is no reason to stop.
remember_packages() {
    printf '%s\n' "$@" >>"$installed_list" || true
}
