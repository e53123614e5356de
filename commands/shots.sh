# shellcheck shell=bash
usage_shots() {
    cat <<'END'
./panel shots
  renders every page in both languages at four sizes into shots/
END
}

panel_shots() {
    no_options "$@"
    need_namespaces
    install_packages build test
    build release SettingsPlugin panelctl panel-shots
    exec "$root/simulator/shots" --build "$root/build/release" "$root/shots"
}
