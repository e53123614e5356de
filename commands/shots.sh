# shellcheck shell=bash
usage_shots() {
    cat <<'END'
./panel shots
  renders every page in both languages at four sizes into shots/
END
}

panel_shots() {
    no_options "$@"
    install_packages build test
    need_namespaces
    build release SettingsPlugin panelctl panel-shots
    exec "$root/simulator/shots" --build "$root/build/release" "$root/shots"
}
