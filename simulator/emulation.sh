# shellcheck shell=bash
# Sourced by simulator/sandbox: programs of another architecture in a panel. The kernel is told
# nothing about them. Each one that the panel's command names is replaced by a script of its name
# that starts it in the emulator, which therefore works on every kernel and for any user. What such
# a program starts itself are shell lines and tools, and those are this machine's.

# prepare_emulation PREFIX: checks it and $emulator, shows it in the panel, and lets $panelctl work
# out here.
prepare_emulation() {
    local prefix=$1
    need "$emulator" qemu-user-static
    emulator=$(command -v "$emulator")
    prefix=$(cd "$1" 2>/dev/null && pwd) || fail "there are no libraries in $1"
    emulated=$scratch/emulated
    mkdir "$emulated"
    binds+=(--ro-bind "$prefix" /panel-libraries --ro-bind "$emulated" /panel-emulated)
    local plugins
    for plugins in "$prefix"/usr/lib/*/qt5/plugins; do
        environment+=(--setenv QT_PLUGIN_PATH "/panel-libraries${plugins#"$prefix"}")
    done
    write_starter "$scratch/panelctl" "$prefix" "$panelctl"
    panelctl=$scratch/panelctl
}

# write_starter SCRIPT LIBRARIES PROGRAM [LINE]: with a line for the shell ahead.
write_starter() {
    printf '#!/bin/sh\n%s\nexec %q -L %q %q "$@"\n' "${4-}" "$emulator" "$2" "$3" >"$1"
    chmod +x "$1"
}

# is_program_of_build FILE: whether it was made by the build, and is no script.
is_program_of_build() {
    [[ $1 == "$build"/* || $1 == "$real_build"/* ]] && [ -f "$1" ] && [ -x "$1" ] &&
        [ "$(head -c 4 "$1" | tail -c 3)" = ELF ]
}

# In live mode the panel's own clock is shared by its programs, with a semaphore. One of another word
# size would wait for this machine's for ever, and makes its own instead.
own_clock='unset FAKETIME_SHARED; /usr/bin/rm -f /dev/shm/sem.faketime_sem_* /dev/shm/faketime_shm_*'

# emulate FILE: sets $word to what starts the program that the panel has as FILE.
emulate() {
    # shellcheck disable=SC2034 # for the sandbox
    word=/panel-emulated/${1##*/}
    local ahead=''
    [ "$mode" != live ] || ahead=$own_clock
    write_starter "$emulated/${1##*/}" /panel-libraries "$1" "$ahead"
}
