#pragma once

#include "device/EEInfoDetail.h"
#include "regstore/ValueKind.h"

#include <array>
#include <cstddef>
#include <string_view>

/// One of the records that the device image holds.
struct RecordRow
{
    const char* name;
    std::size_t offset; ///< In the image, bytes.
    std::size_t size;   ///< Bytes.
    bool writable;      ///< Whether the device takes it back.
};

inline constexpr std::array recordRows{
    RecordRow{"Flash_WR_1", EEInfoDetail::wr1Offset, sizeof(EEInfoDetail::Flash_WR_1), true},
    RecordRow{"Flash_ROnly", EEInfoDetail::rOnlyOffset, sizeof(EEInfoDetail::Flash_ROnly), false},
    RecordRow{"Flash_WR_2", EEInfoDetail::wr2Offset, sizeof(EEInfoDetail::Flash_WR_2), true},
};

/// One field of a record.
struct RecordField
{
    const char* record;
    const char* name; ///< Unique among the fields with a meaning.
    Kind kind;
    std::size_t offset; ///< In the record, bytes.
    std::size_t size;   ///< Bytes.
    const char* unit;   ///< Empty for values without one.
    const char* description;
};

#define PANELCTL_FIELD(record, member, kind, unit, description)                                    \
    RecordField                                                                                    \
    {                                                                                              \
#record, #member, kind, offsetof(EEInfoDetail::record, member),                            \
            sizeof(EEInfoDetail::record::member), unit, description                                \
    }
#define FIELD(record, member, kind, unit, description)                                             \
    PANELCTL_FIELD(record, member, Kind::kind, unit, description)
#define RESERVED(record, member) PANELCTL_FIELD(record, member, Kind::Reserved, "", "")

/// All fields of all records, in their order in the image, without a gap.
// clang-format off
inline constexpr std::array recordFields{
    RESERVED(Flash_WR_1, reserved_0),
    RESERVED(Flash_WR_1, reserved_4),
    RESERVED(Flash_WR_1, reserved_6),
    RESERVED(Flash_WR_1, reserved_8),
    RESERVED(Flash_WR_1, reserved_10),
    RESERVED(Flash_WR_1, reserved_26),
    RESERVED(Flash_WR_1, reserved_28),
    FIELD(Flash_WR_1, brightness, Level, "raw backlight value",
          "level of the backlight: 76 to 200, 4 for each of 32 levels; 0 while it is off"),
    RESERVED(Flash_WR_1, reserved_31),
    FIELD(Flash_WR_1, eth0_mac, Mac, "", "MAC address of eth0"),
    RESERVED(Flash_WR_1, reserved_39),
    FIELD(Flash_WR_1, eth0_ip, Ipv4, "", "IPv4 address of eth0"),
    FIELD(Flash_WR_1, eth0_gateway, Ipv4, "", "gateway of eth0"),
    FIELD(Flash_WR_1, eth0_mask, Netmask, "", "netmask of eth0"),
    RESERVED(Flash_WR_1, reserved_53),
    RESERVED(Flash_WR_1, reserved_55),
    RESERVED(Flash_WR_1, reserved_57),
    RESERVED(Flash_WR_1, reserved_61),
    RESERVED(Flash_WR_1, reserved_77),
    RESERVED(Flash_WR_1, reserved_117),
    RESERVED(Flash_WR_1, reserved_121),
    RESERVED(Flash_WR_1, reserved_125),
    RESERVED(Flash_WR_1, reserved_127),
    RESERVED(Flash_WR_1, reserved_129),
    RESERVED(Flash_WR_1, reserved_141),
    FIELD(Flash_WR_1, settings_close_hidden, Switch, "", "the settings window has no close button"),
    RESERVED(Flash_WR_1, reserved_158),
    RESERVED(Flash_WR_1, reserved_164),
    FIELD(Flash_WR_1, eth1_mac, Mac, "", "MAC address of eth1"),
    RESERVED(Flash_WR_1, reserved_172),
    FIELD(Flash_WR_1, eth1_ip, Ipv4, "", "IPv4 address of eth1"),
    FIELD(Flash_WR_1, eth1_gateway, Ipv4, "", "gateway of eth1"),
    FIELD(Flash_WR_1, eth1_mask, Netmask, "", "netmask of eth1"),
    RESERVED(Flash_WR_1, reserved_186),
    RESERVED(Flash_ROnly, reserved_0),
    RESERVED(Flash_ROnly, reserved_2),
    RESERVED(Flash_ROnly, reserved_4),
    FIELD(Flash_ROnly, hw_options, AdapterCount, "adapters",
          "bit 0: there is a second Ethernet adapter"),
    RESERVED(Flash_ROnly, reserved_7),
    RESERVED(Flash_ROnly, reserved_9),
    RESERVED(Flash_ROnly, reserved_10),
    RESERVED(Flash_ROnly, reserved_12),
    FIELD(Flash_ROnly, screen_width, Width, "pixels",
          "width of the screen: the first byte, and above it the upper half of the second"),
    RESERVED(Flash_ROnly, reserved_16),
    RESERVED(Flash_ROnly, reserved_17),
    RESERVED(Flash_ROnly, reserved_18),
    RESERVED(Flash_ROnly, reserved_19),
    RESERVED(Flash_ROnly, reserved_21),
    RESERVED(Flash_ROnly, reserved_25),
    RESERVED(Flash_ROnly, reserved_27),
    RESERVED(Flash_ROnly, reserved_29),
    RESERVED(Flash_ROnly, reserved_33),
    RESERVED(Flash_ROnly, reserved_37),
    RESERVED(Flash_ROnly, reserved_41),
    RESERVED(Flash_ROnly, reserved_45),
    RESERVED(Flash_ROnly, reserved_49),
    RESERVED(Flash_ROnly, reserved_53),
    RESERVED(Flash_ROnly, reserved_54),
    RESERVED(Flash_ROnly, reserved_78),
    RESERVED(Flash_ROnly, reserved_79),
    RESERVED(Flash_ROnly, reserved_80),
    RESERVED(Flash_ROnly, reserved_125),
    RESERVED(Flash_ROnly, reserved_248),
    RESERVED(Flash_ROnly, reserved_252),
    FIELD(Flash_WR_2, block_0, Bytes, "", "block that the settings do not look into"),
    FIELD(Flash_WR_2, block_1, Bytes, "", "block that the settings do not look into"),
    FIELD(Flash_WR_2, block_2, Bytes, "", "block that the settings do not look into"),
};
// clang-format on

#undef RESERVED
#undef FIELD
#undef PANELCTL_FIELD

/// The record of a field.
constexpr const RecordRow& recordOf(const RecordField& field)
{
    for (const RecordRow& row : recordRows) {
        if (std::string_view(row.name) == field.record) {
            return row;
        }
    }
    return recordRows.front(); // every row of the table names a record
}

/// Null when no field with a meaning has the name.
constexpr const RecordField* findField(std::string_view name)
{
    for (const RecordField& field : recordFields) {
        if (field.kind != Kind::Reserved && name == field.name) {
            return &field;
        }
    }
    return nullptr;
}

/// The field of a name that is known to exist.
constexpr const RecordField& fieldNamed(std::string_view name)
{
    return *findField(name);
}

/// Where a field lies in the image, bytes.
constexpr std::size_t imageOffset(const RecordField& field)
{
    return recordOf(field).offset + field.offset;
}
