# shellcheck shell=bash
# Sourced by simulator/sandbox: what no program of a panel may ask of the kernel, because namespaces
# do not keep it apart.
#
#   keys        the key rings of the person who started the panel are in reach by their numbers
#   namespaces  a panel's root would have every power in a user namespace of its own, and with them
#               more of the kernel to find holes in

# architecture: its number in the kernel's audit, then the calls clone, unshare and the first of the
# three for keys, which follow each other everywhere
readonly call_numbers=(
    "0xc000003e 56 272 248" # x86-64
    "0x40000003 120 310 286" # i386, which an x86-64 kernel runs as well
    "0xc00000b7 220 97 217"  # arm64
    "0x40000028 120 337 309" # arm
)
readonly clone3=435 # everywhere; its flags lie in memory, where no filter sees them
readonly new_user_namespace=0x10000000 x32=0x40000000
readonly allow=0x7fff0000 no_permission=0x00050001 no_such_call=0x00050026 end_process=0x80000000
readonly load=0x20 is=0x15 has_bits=0x45 answer=0x06 call=0 architecture=4 first_argument=16

# instruction CODE VALUE [IF-TRUE IF-FALSE]: one of the filter; the jumps count instructions.
instruction() {
    local bytes k=$(($2))
    printf -v bytes '\\x%02x' "$(($1))" 0 "${3:-0}" "${4:-0}" \
        $((k & 255)) $((k >> 8 & 255)) $((k >> 16 & 255)) $((k >> 24 & 255))
    # shellcheck disable=SC2059 # it is made of escapes
    printf "$bytes"
}

# The filter, as the kernel takes it. A new thread whose clone3 does not exist is made by clone.
call_filter() {
    local row numbers
    instruction $load $architecture
    for row in "${call_numbers[@]}"; do
        read -ra numbers <<<"$row"
        instruction $is "${numbers[0]}" 0 14
        instruction $load $call
        instruction $has_bits $x32 11 0
        instruction $is $clone3 10 0
        instruction $is "${numbers[3]}" 9 0
        instruction $is $((numbers[3] + 1)) 8 0
        instruction $is $((numbers[3] + 2)) 7 0
        instruction $is "${numbers[2]}" 2 0
        instruction $is "${numbers[1]}" 1 0
        instruction $answer $allow
        instruction $load $first_argument
        instruction $has_bits $new_user_namespace 0 1
        instruction $answer $no_permission
        instruction $answer $allow
        instruction $answer $no_such_call
    done
    instruction $answer $end_process
}
