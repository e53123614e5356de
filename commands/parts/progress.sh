# shellcheck shell=bash
# Sourced by `panel`: what is being done, on one line that changes where somebody looks on, and as
# occasional lines in a log.

occasion_s=30 # a log gets a line so often
progress_shown='' progress_at=-$occasion_s

# say TEXT: a line that stays.
say() {
    finish_progress
    echo "panel: $1"
}

# progress TEXT: how far it is, until the next text comes.
progress() {
    if [ -t 1 ]; then
        local columns=${COLUMNS:-80} text="panel: $1"
        printf '\r\033[K%s' "${text:0:columns-1}"
        progress_shown=yes
    elif [ $((SECONDS - progress_at)) -ge "$occasion_s" ]; then
        echo "panel: $1"
        progress_at=$SECONDS
    fi
}

# finish_progress: whatever is printed next has a line of its own.
finish_progress() {
    [ -z "$progress_shown" ] || printf '\r\033[K'
    progress_shown=''
    progress_at=$((SECONDS - occasion_s))
}
