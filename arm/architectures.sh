# shellcheck shell=bash
# Sourced by the scripts of this folder: what each architecture is called by whom.

# shellcheck disable=SC2034 # for the scripts
arm_architectures=(armhf arm64)

# triplet_of ARCHITECTURE: the word that compilers and folders of libraries have for it.
triplet_of() {
    case $1 in
    armhf) echo arm-linux-gnueabihf ;;
    arm64) echo aarch64-linux-gnu ;;
    esac
}

# emulator_of ARCHITECTURE: the program that runs its programs here.
emulator_of() {
    case $1 in
    armhf) echo qemu-arm-static ;;
    arm64) echo qemu-aarch64-static ;;
    esac
}
