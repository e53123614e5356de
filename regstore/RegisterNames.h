#pragma once

#include "regstore/RegisterTable.h"
#include "regstore/ValueKind.h"

#include <array>
#include <string_view>

/// Whether a notice tells the runtime of every change that the settings make.
enum class Announced { No, Yes };

/// A register that the settings use.
struct RegisterName
{
    unsigned id;
    const char* name; ///< Unique, and no number. The fields of the records have the same words.
    Kind kind;
    Announced announced;
    const char* description;
};

/// In the order of ids. The other registers are the runtime's own and have no name here.
// clang-format off
inline constexpr std::array registerNames{
    RegisterName{20, "language", Kind::Language, Announced::Yes, "language of the user interface"},
    RegisterName{60, "eth0_ip", Kind::Ipv4, Announced::No, "IPv4 address of eth0"},
    RegisterName{62, "eth0_mask", Kind::Netmask, Announced::No, "netmask of eth0"},
    RegisterName{63, "eth0_gateway", Kind::Ipv4, Announced::No, "gateway of eth0"},
    RegisterName{66, "eth0_off", Kind::Switch, Announced::No, "eth0 is switched off"},
    RegisterName{67, "eth0_dhcp", Kind::Switch, Announced::Yes, "eth0 takes its address from a DHCP server"},
    RegisterName{69, "eth1_ip", Kind::Ipv4, Announced::No, "IPv4 address of eth1"},
    RegisterName{71, "eth1_mask", Kind::Netmask, Announced::No, "netmask of eth1"},
    RegisterName{72, "eth1_gateway", Kind::Ipv4, Announced::No, "gateway of eth1"},
    RegisterName{75, "eth1_off", Kind::Switch, Announced::No, "eth1 is switched off"},
    RegisterName{76, "eth1_dhcp", Kind::Switch, Announced::Yes, "eth1 takes its address from a DHCP server"},
    RegisterName{78, "default_adapter", Kind::DefaultAdapter, Announced::Yes, "adapter that carries the default route"},
    RegisterName{79, "buzzer", Kind::Switch, Announced::Yes, "each press of a key sounds"},
    RegisterName{80, "date_lock", Kind::Switch, Announced::No, "the date dialog changes nothing"},
    RegisterName{86, "settings_window", Kind::Switch, Announced::Yes, "the settings window is open"},
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

/// Null when no register has the name.
constexpr const RegisterName* findRegisterName(std::string_view name)
{
    for (const RegisterName& row : registerNames) {
        if (row.name == name) {
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
