# shellcheck shell=bash
# Sourced by simulator/sandbox: the stored parts of a simulated panel, as it comes from the factory:
# the device image, what the platform tools keep, and the register areas that outlive a power cut.

factory_settings=(
    brightness 140 # level 17 of 32
    # Locally administered addresses: no real device has them.
    eth0_mac 02:00:5e:0a:00:01 eth1_mac 02:00:5e:0a:00:02
    eth0_ip 192.168.1.10 eth0_mask 255.255.255.0 eth0_gateway 192.168.1.1
    eth1_ip 192.168.2.10 eth1_mask 255.255.255.0 eth1_gateway 192.168.2.1
)

# make_device PANELCTL FOLDER LANGUAGE [FIELD VALUE]...: makes the device in FOLDER new, with that
# language and these fields, which describe its hardware or stand for the factory's.
# The image comes last: a folder without one holds no device yet. Every file is replaced at once, so
# that an interrupted start leaves the old one.
make_device() {
    local panelctl=$1 folder=$2 draft=$2/new language=$3 name i settings=()
    shift 3
    # A field that is given is not the factory's.
    for ((i = 0; i < ${#factory_settings[@]}; i += 2)); do
        [[ " $* " == *" ${factory_settings[i]} "* ]] || settings+=("${factory_settings[@]:i:2}")
    done
    rm -rf "$draft" || return
    mkdir -p "$draft/state" "$folder"/{hmi_data,state,Config} &&
        "$panelctl" areas create --root "$draft" --stored buzzer=on language="$language" >/dev/null &&
        "$panelctl" device create --image "$draft/state/image" "${settings[@]}" "$@" ||
        return
    for name in serial mpi logo; do
        : >"$draft/state/$name"
    done
    printf plug-out >"$draft/state/usbslave"
    rm -rf "$folder/Config/system_settings.ini" || return
    for name in "$draft"/hmi_data/* "$draft"/state/{serial,mpi,logo,usbslave,image}; do
        put_in_place "$name" "$folder${name#"$draft"}" || return
    done
    rm -r "$draft"
}

# put_in_place FILE PLACE: moves it there, whatever is there: never into a folder or through a link.
put_in_place() {
    [ -L "$2" ] || [ ! -d "$2" ] || rm -r "$2" && mv -f -T "$1" "$2"
}

# change_hardware PANELCTL FOLDER [FIELD VALUE]...: another screen and another board around the same
# memory, of which everything else stays.
change_hardware() {
    local panelctl=$1 image=$2/state/image complaint
    shift 2
    complaint=$("$panelctl" device set --image "$image" "$@" 2>&1) && return
    if [ "$(wc -c <"$image")" -ne 1024 ]; then
        complaint="the device image $image is damaged; --fresh makes a new device"
    fi
    complaint=${complaint#panelctl: }
    echo "sandbox: ${complaint:-the device could not be changed}" >&2
    return 1
}
