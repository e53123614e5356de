# shellcheck shell=bash
usage_lint() {
    cat <<'END'
./panel lint
  runs the format check and the linters
END
}

panel_lint() {
    no_options "$@"
    install_packages build test lint
    build release
    exec "$root/tests/lint" "$root/build/release"
}
