# shellcheck shell=bash
usage_package() {
    cat <<'END'
./panel package [--arch armhf|arm64]
  makes the Debian packages of the plugin and of what a host is built with, for this machine's
  processor or for ARM
END
}

panel_package() {
    local architecture='' packages=$root/build/packages
    while [ $# -gt 0 ]; do
        [ "$1" = --arch ] || unknown_option "$1"
        need_value "$1" $#
        architecture=$2
        shift 2
    done
    if [ -n "$architecture" ]; then
        package_for_arm "$architecture"
        return
    fi
    install_packages build package
    build release
    make_packages "$packages" release cpack \
        --config "$root/build/release/CPackConfig.cmake" -B "$packages"
}

package_for_arm() {
    local packages=$root/build/packages-$1
    load_command arm
    choose_architectures "$1"
    install_packages build package arm
    build_arm "$1" SettingsPlugin panelctl
    make_packages "$packages" "$1" "$root/arm/package" "$1" "$root/build/$1" "$packages"
}

# make_packages FOLDER PRESET COMMAND...: runs the command, which makes the packages of the build of
# this preset in the folder.
make_packages() {
    local packages=$1 log=$root/build/$2/package.log
    shift 2
    rm -rf "$packages"
    "$@" >"$log" 2>&1 || {
        cat "$log" >&2
        fail "the packages cannot be made; see above"
    }
    rm -rf "$packages/_CPack_Packages"
    echo "The packages are in $packages:"
    ls "$packages"
}
