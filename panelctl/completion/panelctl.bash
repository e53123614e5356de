# shellcheck shell=bash
# Completion of panelctl's command lines for bash. The program itself knows what may come next.

_panelctl() {
    local IFS=$'\n' word=${COMP_WORDS[COMP_CWORD]}
    mapfile -t COMPREPLY < <(compgen -W "$(
        panelctl complete -- "${COMP_WORDS[@]:1:COMP_CWORD-1}" 2>/dev/null
    )" -- "$word")
}
complete -o default -F _panelctl panelctl
