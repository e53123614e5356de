# shellcheck shell=bash
# Sourced by `panel`: what is being done, on one line that changes where somebody looks on, and as
# occasional lines in a log.

occasion_s=30 # a log gets a line so often
progress_shown='' progress_what='' progress_at=0

# say TEXT: a line that stays.
say() {
    finish_progress
    echo "panel: $1"
}

# progress WHAT HOW_FAR: how far something is, until the next text comes. A log gets a line when
# something else begins.
progress() {
    if [ -t 1 ]; then
        local text="panel: $1: $2"
        printf '\r\033[K%s' "${text:0:79}"
        progress_shown=yes
    elif [ "$1" != "$progress_what" ] || [ $((SECONDS - progress_at)) -ge "$occasion_s" ]; then
        echo "panel: $1: $2"
        progress_what=$1 progress_at=$SECONDS
    fi
}

# finish_progress: whatever is printed next has a line of its own.
finish_progress() {
    [ -z "$progress_shown" ] || printf '\r\033[K'
    progress_shown=''
}
