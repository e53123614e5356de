#pragma once

#include "panelctl/Kind.h"
#include "regstore/RegisterTable.h"

#include <array>

/// A register of which the settings know the meaning.
struct RegisterName
{
    unsigned id;
    const char* name; ///< As people type it; unique, and no number.
    Kind kind;
    const char* description;
};

/// In the order of ids. The other registers are the runtime's own and have no name here.
// clang-format off
inline constexpr std::array registerNames{
    RegisterName{20, "language", Kind::Language, "language of the user interface"},
    RegisterName{60, "eth0-address", Kind::Ipv4, "IPv4 address of eth0"},
    RegisterName{62, "eth0-netmask", Kind::Netmask, "netmask of eth0"},
    RegisterName{63, "eth0-gateway", Kind::Ipv4, "gateway of eth0"},
    RegisterName{66, "eth0-off", Kind::Switch, "eth0 is switched off"},
    RegisterName{67, "eth0-dhcp", Kind::Switch, "eth0 takes its address from a DHCP server"},
    RegisterName{69, "eth1-address", Kind::Ipv4, "IPv4 address of eth1"},
    RegisterName{71, "eth1-netmask", Kind::Netmask, "netmask of eth1"},
    RegisterName{72, "eth1-gateway", Kind::Ipv4, "gateway of eth1"},
    RegisterName{75, "eth1-off", Kind::Switch, "eth1 is switched off"},
    RegisterName{76, "eth1-dhcp", Kind::Switch, "eth1 takes its address from a DHCP server"},
    RegisterName{78, "default-adapter", Kind::Adapter, "adapter that carries the default route"},
    RegisterName{79, "buzzer", Kind::Switch, "each press of a key sounds"},
    RegisterName{80, "date-lock", Kind::Switch, "the date dialog changes nothing"},
    RegisterName{86, "settings-window", Kind::Switch, "the settings window is open"},
};
// clang-format on

/// Null when the register has no name.
constexpr const RegisterName* findRegisterName(unsigned id)
{
    for (const RegisterName& row : registerNames) {
        if (row.id == id) {
            return &row;
        }
    }
    return nullptr;
}

/// How a register is read and typed. Those without a name are numbers where they have the size of
/// one.
constexpr Kind kindOf(const RegisterRow& row)
{
    if (const RegisterName* name = findRegisterName(row.id)) {
        return name->kind;
    }
    if (row.area % 2 == 0) {
        return Kind::Switch;
    }
    return row.size == 1 || row.size == 2 || row.size == 4 ? Kind::Number : Kind::Bytes;
}
