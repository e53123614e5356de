# shellcheck shell=bash
# Sourced by `panel`: builds, and what a panel needs of the machine.

# build PRESET [TARGET...]: builds these targets, or everything.
build() {
    local preset=$1
    shift
    [ -f "$root/build/$preset/build.ninja" ] ||
        (cd "$root" && cmake --preset "$preset" >/dev/null) ||
        fail "the build cannot be configured; see above"
    (cd "$root" && cmake --build --preset "$preset" ${1:+--target "$@"} -- --quiet) ||
        fail "the build failed; see above"
}

need_namespaces() {
    local way_out="as root run: sysctl kernel.unprivileged_userns_clone=1"
    [ ! -e /.dockerenv ] || way_out="start the container with --privileged"
    bwrap --unshare-user --unshare-pid --unshare-net --ro-bind / / --proc /proc true 2>/dev/null ||
        fail "this system forbids user namespaces; $way_out"
}
