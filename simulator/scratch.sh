# shellcheck shell=bash
# Sourced by the scripts that start panels: a folder for what goes when the script ends, however it
# ends.

# make_scratch PREFIX: makes the folder and sets $scratch to it. Whatever the script starts in the
# background has to close $lifeline, or the folder waits for its end.
make_scratch() {
    # Sockets lie below it, whose paths have 107 bytes at most: a long folder is not for them.
    local base=${TMPDIR:-/tmp} LC_ALL=C
    [ ${#base} -le 60 ] || base=/tmp
    scratch=$(mktemp -d "$base/$1.XXXXXX")
    # When the script is killed, nobody is left to tidy up but the process at the other end of this
    # pipe, which then sees it close.
    # shellcheck disable=SC2034 # for the scripts
    exec {lifeline}> >(
        trap '' INT TERM HUP
        exec >/dev/null 2>&1
        read -r _ || remove_scratch
    )
}

remove_scratch() {
    # The panel's processes die with their first one, but not in the same instant: while they
    # last, they may still put a file where one was just removed.
    local tries=0
    until rm -rf "$scratch" 2>/dev/null || [ $((tries += 1)) -ge 100 ]; do
        sleep 0.05
    done
}
