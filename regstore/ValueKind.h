#pragma once

#include <array>
#include <cstddef>

/// What the bytes of a register or of a record field mean, and so how people read and type them.
enum class Kind {
    Reserved,       ///< No meaning known here; never shown by name, never written.
    Bytes,          ///< Pairs of hexadecimal digits, as many as there are bytes.
    Number,         ///< Unsigned, little-endian; decimal or 0x... when typed.
    Level,          ///< A raw backlight value: 76 to 200, 4 for each level, or 0 for off.
    Switch,         ///< "on" or "off", also 1 and 0.
    Ipv4,           ///< a.b.c.d in the first four bytes, in this order.
    Netmask,        ///< The same, with all ones before all zeros.
    Mac,            ///< Six octets in display order, xx:xx:xx:xx:xx:xx.
    Language,       ///< Its word, "chinese" or "english"; see device/LanguageTable.h.
    DefaultAdapter, ///< The adapter of the default route: "auto" (0), "eth0" (1) or "eth1" (2).
    AdapterCount,   ///< How many adapters there are, 1 or 2: bit 0 says that there is a second.
    Width           ///< Pixels, 0 to 4095, packed into 12 of 16 bits.
};

/// The names of the kinds in tables that are printed, in the order of the enumeration.
inline constexpr std::array kindNames{
    "reserved", "bytes", "number",   "level",           "switch",        "ipv4",
    "netmask",  "mac",   "language", "default_adapter", "adapter_count", "width",
};
static_assert(kindNames.size() == static_cast<std::size_t>(Kind::Width) + 1);

constexpr const char* kindName(Kind kind)
{
    return kindNames.at(static_cast<std::size_t>(kind));
}
