# shellcheck shell=bash
# Sourced by `panel`: how its commands read their words, and how they end.

# fail TEXT: one line that says what to do, and an end.
fail() {
    finish_progress
    echo "panel: $1" >&2
    exit 2
}

# split_words WORD...: sets $words to the words with every --option=value as two, and $help_wanted
# to yes when they ask for help. What follows "--" stays as it is.
# shellcheck disable=SC2034 # for `panel`
split_words() {
    words=() help_wanted=no
    while [ $# -gt 0 ]; do
        case $1 in
        --) words+=("$@"); break ;;
        --help | -h) help_wanted=yes ;;
        --*=*) words+=("${1%%=*}" "${1#*=}") ;;
        *) words+=("$1") ;;
        esac
        shift
    done
}

# need_value OPTION COUNT: ends unless the COUNT of words left holds a value for the option.
need_value() {
    [ "$2" -ge 2 ] || fail "$1 needs a value; see ./panel help"
}

unknown_option() {
    fail "unknown option '$1'; see ./panel help"
}

# no_options WORD...: ends when there is any.
no_options() {
    [ $# -eq 0 ] || unknown_option "$1"
}

# is_count NAME VALUE
is_count() {
    [[ $2 =~ ^[1-9][0-9]{0,6}$ ]] || fail "$1 is a number from 1 to 9999999, not '$2'"
}
