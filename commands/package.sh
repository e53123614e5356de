# shellcheck shell=bash
usage_package() {
    cat <<'END'
./panel package
  makes the Debian packages of the plugin and of what a host is built with
END
}

panel_package() {
    no_options "$@"
    install_packages build package
    build release
    local packages=$root/build/packages log=$root/build/release/package.log
    rm -rf "$packages"
    cpack --config "$root/build/release/CPackConfig.cmake" -B "$packages" >"$log" 2>&1 || {
        cat "$log" >&2
        fail "the packages cannot be made; see above"
    }
    rm -rf "$packages/_CPack_Packages"
    echo "The packages are in $packages:"
    ls "$packages"
}
