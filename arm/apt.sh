# shellcheck shell=bash
# Sourced by the scripts of this folder: apt for another architecture, in a folder of its own and as
# whoever calls it. Nothing is registered with this machine and nothing needs root.
#
# They set $architecture and $folder first, and define fail TEXT.

# The machine's own mirrors of Debian, as its apt knows them; without any, Debian's.
sources() {
    local codename listed
    codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-bookworm}")
    # shellcheck disable=SC2016 # apt fills these in
    listed=$(apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) $(COMPONENT) #$(ORIGIN)' \
        'Created-By: Packages' 2>/dev/null | sort -u |
        grep -E " $codename(-updates|-security)? main #") || true
    # Before the first update apt does not know whose they are.
    if grep -q '#Debian$' <<<"$listed"; then
        listed=$(grep '#Debian$' <<<"$listed")
    fi
    if ! grep -q " $codename main " <<<"$listed"; then
        printf 'deb http://deb.debian.org/%s main\n' "debian $codename" "debian $codename-updates" \
            "debian-security $codename-security"
        return
    fi
    cut -d '#' -f 1 <<<"$listed"
}

# Of the machine's settings those that say how to reach a mirror; its hooks are not for us.
configure_apt() {
    local apt=$folder/apt
    mkdir -p "$apt"/{lists/partial,archives/partial,parts}
    : >"$apt/status"
    sources >"$apt/sources.list"
    {
        apt-config dump | grep -E '^Acquire::(http|https|ForceIPv[46]|Retries)\b.* "[^"]+";$' || true
        printf '%s "%s";\n' \
            APT::Architecture "$architecture" \
            APT::Architectures "$architecture" \
            APT::Install-Recommends false \
            APT::Sandbox::User "$(id -un)" \
            Acquire::Languages none \
            Acquire::Retries 3 \
            Dir::Etc::sourcelist "$apt/sources.list" \
            Dir::Etc::sourceparts "$apt/parts" \
            Dir::Etc::parts "$apt/parts" \
            Dir::Etc::main "$apt/none" \
            Dir::Etc::preferencesparts "$apt/parts" \
            Dir::State "$apt" \
            Dir::State::lists "$apt/lists" \
            Dir::State::status "$apt/status" \
            Dir::Cache "$apt" \
            Dir::Cache::archives "$apt/archives"
    } >"$apt/apt.conf"
    export APT_CONFIG=$apt/apt.conf
}

# apt_update LOG: fetches the lists of packages. A mirror that lacks one of them, usually of the newest
# updates, still serves the others.
apt_update() {
    configure_apt
    apt-get update -q >"$1" 2>&1 </dev/null || true
    compgen -G "$folder/apt/lists/*_Packages" >/dev/null ||
        fail "the package lists of $architecture cannot be fetched; see $1"
}
