# shellcheck shell=bash
# Sourced by `panel`: builds and their tests.

# build PRESET [TARGET...]: builds these targets, or everything.
build() {
    local preset=$1 folder=$root/build/$1 log=$root/build/$1.log
    shift
    make_folder "$root/build"
    { [ -f "$folder/build.ninja" ] && belongs_here "$folder"; } || configure "$preset" "$folder" "$log"
    (cd "$root" && NINJA_STATUS='panel-step %f %t ' \
        cmake --build --preset "$preset" ${1:+--target "$@"}) 2>&1 |
        show_steps "building $preset" "$log" || fail_with_log "$log" "the build failed"
}

# belongs_here FOLDER: whether it was configured for this checkout in this place. A copied or moved
# one would run the programs and read the sources of the old place.
belongs_here() {
    local source place
    source=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$1/CMakeCache.txt" 2>/dev/null)
    place=$(sed -n 's/^CMAKE_CACHEFILE_DIR:INTERNAL=//p' "$1/CMakeCache.txt" 2>/dev/null)
    [ "$source" -ef "$root" ] && [ "$place" -ef "$1" ]
}

configure() {
    progress "configuring" "$1"
    [ ! -f "$2/CMakeCache.txt" ] || belongs_here "$2" || rm -rf "$2"
    (cd "$root" && cmake --preset "$1") >"$3" 2>&1 || {
        finish_progress
        cat "$3" >&2
        fail_with_log "$3" "the build cannot be configured"
    }
}

# fail_with_log LOG TEXT
fail_with_log() {
    fail_on_full_disk "$1"
    fail "$2; see above"
}

# show_steps WHAT LOG: tells how far a build is; what else it prints stays, in LOG too.
show_steps() {
    local line now all
    : >"$2"
    while IFS= read -r line; do
        case $line in
        'panel-step 0 '*) ;; # what it finds out before it begins
        'panel-step '*)
            read -r _ now all _ <<<"$line"
            progress "$1" "$now of $all steps"
            ;;
        'ninja: no work to do.' | 'ninja: Entering directory'* | 'ninja: build stopped'*) ;;
        *)
            finish_progress
            echo "$line" >&2
            echo "$line" >>"$2" 2>/dev/null || true # the disk may be full
            ;;
        esac
    done
    finish_progress
}

# show_tests WHAT LOG: tells how many tests have passed; what else ctest prints stays. LOG takes all.
show_tests() {
    local line passed=0
    local done_line='^ *[0-9]+/([0-9]+) Test +#[0-9]+: .* Passed +[0-9.]+ sec$'
    : >"$2"
    while IFS= read -r line; do
        echo "$line" >>"$2"
        if [[ $line =~ $done_line ]]; then
            passed=$((passed + 1))
            progress "$1" "$passed of ${BASH_REMATCH[1]} passed"
        elif ! [[ $line =~ ^(Test project |\ +Start +[0-9]+: |$) ]]; then
            finish_progress
            echo "$line"
        fi
    done
    finish_progress
}
