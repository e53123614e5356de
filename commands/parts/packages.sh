# shellcheck shell=bash
# Sourced by `panel`: the Debian packages that a command needs.

packages_of() {
    local group
    for group in "$@"; do
        sed -n "s/^$group //p" "$root/cmake/packages.txt"
    done | sort -u
}

is_installed() {
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]
}

install_packages() {
    local missing=() package as_root=()
    command -v dpkg-query >/dev/null ||
        fail "this is no Debian system; install by hand: $(packages_of "$@" | tr '\n' ' ')"
    for package in $(packages_of "$@"); do
        is_installed "$package" || missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    command -v apt-get >/dev/null ||
        fail "apt-get is missing; install by hand: ${missing[*]}"
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null ||
            fail "no permission to install; as root run: apt-get install ${missing[*]}"
        as_root=(sudo)
    fi
    echo "panel: installing ${missing[*]}"
    "${as_root[@]}" apt-get update -q >/dev/null ||
        fail "the package lists cannot be updated; as root run: apt-get update"
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -q -y --no-install-recommends "${missing[@]}" >/dev/null ||
        fail "the packages cannot be installed; as root run: apt-get install ${missing[*]}"
}
