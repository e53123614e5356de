#pragma once

#include "fileio/Export.h"
#include "regstore/RegisterTable.h"

#include <array>
#include <cstdint>

/// What is known of one register. Area, offset and size are those of the register table; the
/// other fields are the runtime's and keep the values they are made with.
struct RegisterDescriptor
{
    std::uint16_t reserved_0 = 0;
    std::uint16_t reserved_2 = 0;
    std::uint16_t reserved_4 = 60000;
    std::uint16_t reserved_6 = 60000;
    std::uint8_t reserved_8 = 1;
    std::uint8_t reserved_9 = 1;
    std::uint16_t area = 0;
    std::uint32_t offset = 0; ///< Bytes or bits, by the area.
    std::uint32_t size = 0;   ///< Bytes or bits, by the area.
    std::uint32_t reserved_20 = 0;
};

/// The system registers of the panel's runtime, addressed by id (0 to 89).
///
/// Every operation goes to the area file; nothing is cached. Only the table says how long a
/// register is. A one-bit register is bit 0 of the first byte; the bits above it are its
/// neighbours', so readers test bit 0 alone.
class PANEL_EXPORT SysReg
{
public:
    SysReg();

    /// The one store of the process, made at first use.
    static SysReg& Instance();

    /// The descriptor of @p id, null when there is no such register.
    RegisterDescriptor* loadReg(unsigned id);

    /// Reads the whole register into @p buf. 0, or -1 for an unknown id, a missing area file or a
    /// short transfer.
    int read(unsigned id, void* buf);

    /// Writes the whole register from @p buf, which must hold at least its size; @p len is ignored.
    /// Results as for read().
    int write(unsigned id, const void* buf, unsigned len);

    /// write(), then a notice with the id (4 bytes, little-endian) through "/tmp/fifo_sysreg".
    /// -1 when either fails; without a reader of the notices the register is written all the same.
    int writeNotify(unsigned id, const void* buf, unsigned len);

private:
    std::array<RegisterDescriptor, registerTable.size()> m_registers;
};

/// The same on the process-wide store.
PANEL_EXPORT RegisterDescriptor* SysReg_LoadReg(unsigned id);
PANEL_EXPORT int SysReg_Read(unsigned id, void* buf);
PANEL_EXPORT int SysReg_Write(unsigned id, const void* buf, unsigned len);
PANEL_EXPORT int SysReg_WriteNotify(unsigned id, const void* buf, unsigned len);
