# shellcheck shell=bash
# Sourced by simulator/sandbox: what no program of a panel may ask of the kernel, because namespaces
# do not keep it apart.
#
#   keys        the key rings of the person who started the panel are in reach by their numbers
#   namespaces  a panel's root would have every power in a user namespace of its own, and with them
#               more of the kernel to find holes in
#   other's     a program with the set-user-ID bit in a folder of the panel is one of the person who
#   programs    started it, for everybody out here who can reach it
#
# And one call that the kernel refuses is answered as done: a panel's root has no other groups than
# the one it has, and programs that let somebody in as root want to set just that.

# What the calls are called where their numbers differ; `-` is a call that does not exist there.
readonly call_names=(clone unshare keys open creat chmod fchmod mknod openat mknodat fchmodat setgroups)
# architecture: its number in the kernel's audit, then those of the calls in that order. Of the
# three for keys, which follow each other everywhere, the first.
readonly call_numbers=(
    "0xc000003e 56 272 248 2 85 90 91 133 257 259 268 116" # x86-64
    "0x40000003 120 310 286 5 8 15 94 14 295 297 306 206"  # i386, which an x86-64 kernel runs as well
    "0xc00000b7 220 97 217 - - - 52 - 56 33 53 159"        # arm64
    "0x40000028 120 337 309 5 8 15 94 14 322 324 333 206"  # arm
)
# The same everywhere. What the first three are to do lies in memory, where no filter sees it.
readonly clone3=435 openat2=437 io_uring_setup=425 fchmodat2=452
readonly new_user_namespace=0x10000000 x32=0x40000000
readonly set_id_bits=0x0c00    # S_ISUID | S_ISGID
readonly makes_file=0x00400040 # O_CREAT, and what O_TMPFILE adds; without them there is no mode
readonly allow=0x7fff0000 done_already=0x00050000 no_permission=0x00050001 no_such_call=0x00050026 end_process=0x80000000
readonly load=0x20 is=0x15 has_bits=0x45 answer=0x06 call=0 architecture=4 first_argument=16

# The filter as escapes of printf, an instruction each.
filter=()

# instruction CODE VALUE [IF-TRUE IF-FALSE]: adds one; the jumps count instructions.
instruction() {
    local bytes k=$(($2))
    printf -v bytes '\\x%02x' "$(($1))" 0 "${3:-0}" "${4:-0}" \
        $((k & 255)) $((k >> 8 & 255)) $((k >> 16 & 255)) $((k >> 24 & 255))
    filter+=("$bytes")
}

# The rules: each is about one call, whose number is loaded, and leaves all others to the next.

refuse_call() { # NUMBER
    instruction $is "$1" 0 1
    instruction $answer $no_such_call
}

answer_as_done() { # NUMBER
    instruction $is "$1" 0 1
    instruction $answer $done_already
}

refuse_bits() { # NUMBER ARGUMENT BITS: refuses it with any of the bits in that argument
    [ "$1" != - ] || return 0
    instruction $is "$1" 0 4
    answer_bits "$2" "$3"
}

refuse_making() { # NUMBER ARGUMENT: a file with a set-ID bit; the flags are there, then the mode
    [ "$1" != - ] || return 0
    instruction $is "$1" 0 7
    instruction $load $((first_argument + 8 * $2))
    instruction $has_bits $makes_file 1 0
    instruction $answer $allow
    answer_bits $(($2 + 1)) $set_id_bits
}

answer_bits() { # ARGUMENT BITS: the four instructions that end a rule
    instruction $load $((first_argument + 8 * $1))
    instruction $has_bits "$2" 0 1
    instruction $answer $no_permission
    instruction $answer $allow
}

# add_rules NUMBER...: those of one architecture, with its numbers of the calls.
add_rules() {
    local name number
    local -A of=()
    for name in "${call_names[@]}"; do
        of[$name]=$1
        shift
    done
    instruction $load $call
    instruction $has_bits $x32 0 1
    instruction $answer $no_such_call
    # A new thread whose clone3 does not exist is made by clone.
    for number in $clone3 $openat2 $io_uring_setup "${of[keys]}" $((of[keys] + 1)) $((of[keys] + 2)); do
        refuse_call "$number"
    done
    answer_as_done "${of[setgroups]}"
    refuse_bits "${of[clone]}" 0 $new_user_namespace
    refuse_bits "${of[unshare]}" 0 $new_user_namespace
    for name in chmod fchmod creat mknod; do
        refuse_bits "${of[$name]}" 1 $set_id_bits
    done
    for number in "${of[fchmodat]}" $fchmodat2 "${of[mknodat]}"; do
        refuse_bits "$number" 2 $set_id_bits
    done
    refuse_making "${of[open]}" 1
    refuse_making "${of[openat]}" 2
    instruction $answer $allow
}

# The filter, as the kernel takes it.
call_filter() {
    local row numbers rules whole
    instruction $load $architecture
    whole=("${filter[@]}")
    for row in "${call_numbers[@]}"; do
        read -ra numbers <<<"$row"
        filter=()
        add_rules "${numbers[@]:1}"
        rules=("${filter[@]}")
        filter=()
        instruction $is "${numbers[0]}" 0 ${#rules[@]}
        whole+=("${filter[@]}" "${rules[@]}")
    done
    filter=()
    instruction $answer $end_process
    # shellcheck disable=SC2059 # it is made of escapes
    printf "$(printf %s "${whole[@]}" "${filter[@]}")"
}
