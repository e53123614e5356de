#pragma once

#include "regstore/RegisterNames.h"
#include "regstore/SysReg.h"

#include <array>
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <type_traits>

/// The registers that the settings use, by name. Each is a constant that knows its size, and
/// whether its changes are announced: a name that is not in the table, a buffer that is too small
/// or a write that forgets or invents the notice does not compile.

namespace NamedRegisterDetail {

/// The row with that name. Not a constant, so a compile error, when there is none or when it is
/// announced otherwise.
constexpr unsigned idOf(std::string_view name, Announced announced)
{
    // By reference: with the sanitizers, the compiler takes no comparison of a pointer with null
    // for a constant.
    for (const RegisterName& row : registerNames) {
        if (row.name == name && row.announced == announced) {
            return row.id;
        }
    }
    throw std::logic_error("no such register");
}

/// The id of a register whose transfers take exactly @p bytes; otherwise a compile error.
constexpr unsigned idOf(std::string_view name, Announced announced, std::uint32_t bytes)
{
    const unsigned id = idOf(name, announced);
    if (registerTable.at(id).size != bytes) { // a single bit takes a byte
        throw std::logic_error("the register has another size");
    }
    return id;
}

} // namespace NamedRegisterDetail

/// A register of one byte or one bit. Any unsigned word is long enough for it: the value is its
/// lowest byte, or of a one-bit register bit 0, above which a read finds the neighbouring bits. All
/// operations return 0, or -1 when they failed.
template <Announced announced>
class SmallRegister
{
public:
    constexpr explicit SmallRegister(std::string_view name)
        : m_id(NamedRegisterDetail::idOf(name, announced, 1))
    {
    }

    constexpr unsigned id() const { return m_id; }

    /// Has the store make it ready; false when the store does not know it.
    bool load() const { return SysReg_LoadReg(m_id) != nullptr; }

    /// Changes only the lowest byte of @p word, and nothing when reading fails.
    template <typename Word>
    int read(Word& word) const
    {
        static_assert(std::is_unsigned_v<Word>);
        return SysReg_Read(m_id, &word);
    }

    template <typename Word>
    int write(const Word& word) const
    {
        static_assert(std::is_unsigned_v<Word>);
        static_assert(announced == Announced::No,
                      "the runtime waits for a notice of this register");
        return SysReg_Write(m_id, &word, sizeof word);
    }

    /// Fails, with the value written, when nobody hears the notice.
    template <typename Word>
    int writeNotify(const Word& word) const
    {
        static_assert(std::is_unsigned_v<Word>);
        static_assert(announced == Announced::Yes, "nobody waits for a notice of this register");
        return SysReg_WriteNotify(m_id, &word, sizeof word);
    }

private:
    unsigned m_id;
};

using AnnouncedRegister = SmallRegister<Announced::Yes>;
using QuietRegister = SmallRegister<Announced::No>;

/// A register of eight bytes that mirrors an IPv4 value: four bytes, the first octet first, then
/// four zeros.
class QuadRegister
{
public:
    constexpr explicit QuadRegister(std::string_view name)
        : m_id(NamedRegisterDetail::idOf(name, Announced::No, sizeof(Buffer)))
    {
    }

    constexpr unsigned id() const { return m_id; }

    /// @p quad has the first octet in its lowest byte. 0, or -1 when it failed.
    int write(std::uint32_t quad) const
    {
        const Buffer buffer = {quad, 0};
        return SysReg_Write(m_id, buffer.data(), sizeof quad);
    }

private:
    using Buffer = std::array<std::uint32_t, 2>;
    unsigned m_id;
};

namespace Registers {

inline constexpr AnnouncedRegister language("language");
inline constexpr QuadRegister eth0Ip("eth0_ip");
inline constexpr QuadRegister eth0Mask("eth0_mask");
inline constexpr QuadRegister eth0Gateway("eth0_gateway");
inline constexpr QuietRegister eth0Off("eth0_off");
inline constexpr AnnouncedRegister eth0Dhcp("eth0_dhcp");
inline constexpr QuadRegister eth1Ip("eth1_ip");
inline constexpr QuadRegister eth1Mask("eth1_mask");
inline constexpr QuadRegister eth1Gateway("eth1_gateway");
inline constexpr QuietRegister eth1Off("eth1_off");
inline constexpr AnnouncedRegister eth1Dhcp("eth1_dhcp");
inline constexpr AnnouncedRegister defaultAdapter("default_adapter");
inline constexpr AnnouncedRegister buzzer("buzzer");
inline constexpr QuietRegister dateLock("date_lock");
inline constexpr AnnouncedRegister settingsWindow("settings_window");

} // namespace Registers
