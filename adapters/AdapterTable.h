#pragma once

#include "device/EEInfoDetail.h"
#include "device/SettingsKeys.h"
#include "regstore/NamedRegister.h"

#include <array>
#include <cstddef>

/// Where one IPv4 value of an adapter is kept besides its fields on the page.
struct StoredQuad
{
    std::size_t recordOffset; ///< In Flash_WR_1: 4 bytes, first octet first.
    QuadRegister mirror;      ///< The system register that mirrors it.
};

/// What distinguishes one Ethernet adapter from the other.
struct AdapterRow
{
    const char* interfaceName; ///< Of the kernel.
    const char* pidFile;       ///< Written by the adapter's DHCP client.
    const char* enableKey;     ///< In the settings file: whether it is switched on.
    std::size_t macOffset;     ///< In Flash_WR_1: 6 bytes in display order.
    StoredQuad ip;
    StoredQuad mask;
    StoredQuad gateway;
    QuietRegister disabledRegister; ///< 1 switched off, 0 on.
    AnnouncedRegister dhcpRegister; ///< Bit 0: 1 dynamic, 0 static.
};

/// The adapters a panel can have. A panel with one has the first.
inline constexpr std::array<AdapterRow, 2> adapterTable = {{
    {"eth0",
     "/var/run/udhcpc0.pid",
     SettingsKeys::eth0Enable,
     offsetof(EEInfoDetail::Flash_WR_1, eth0_mac),
     {offsetof(EEInfoDetail::Flash_WR_1, eth0_ip), Registers::eth0Ip},
     {offsetof(EEInfoDetail::Flash_WR_1, eth0_mask), Registers::eth0Mask},
     {offsetof(EEInfoDetail::Flash_WR_1, eth0_gateway), Registers::eth0Gateway},
     Registers::eth0Off,
     Registers::eth0Dhcp},
    {"eth1",
     "/var/run/udhcpc1.pid",
     SettingsKeys::eth1Enable,
     offsetof(EEInfoDetail::Flash_WR_1, eth1_mac),
     {offsetof(EEInfoDetail::Flash_WR_1, eth1_ip), Registers::eth1Ip},
     {offsetof(EEInfoDetail::Flash_WR_1, eth1_mask), Registers::eth1Mask},
     {offsetof(EEInfoDetail::Flash_WR_1, eth1_gateway), Registers::eth1Gateway},
     Registers::eth1Off,
     Registers::eth1Dhcp},
}};

/// Whether an adapter is one of the table.
constexpr bool isAdapter(int adapter)
{
    return adapter >= 0 && std::size_t(adapter) < adapterTable.size();
}
