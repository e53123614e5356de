#pragma once

#include <array>

/// The file of one register area of the runtime.
struct AreaFile
{
    unsigned area; ///< Odd areas are addressed in bytes, even ones in bits.
    const char* path;
    bool stored; ///< Outlives a power cut; the other files lie in memory.
};

// clang-format off
inline constexpr std::array areaFiles{
    AreaFile{1, "/tmp/mw.dat", false},
    AreaFile{2, "/tmp/mb.dat", false},
    AreaFile{3, "/hmi_data/fw.dat", true},
    AreaFile{4, "/hmi_data/fb.dat", true},
    AreaFile{5, "/tmp/smw.dat", false},
    AreaFile{6, "/tmp/smb.dat", false},
    AreaFile{7, "/hmi_data/sfw.dat", true},
    AreaFile{8, "/hmi_data/sfb.dat", true},
    AreaFile{9, "/hmi_data/rw.dat", true},
};
// clang-format on

/// Length of a new area file, more than the register with the highest offset needs.
constexpr unsigned areaBytes = 4096;

/// Notices of changed registers: the id, 4 bytes, little-endian.
constexpr const char* registerPipe = "/tmp/fifo_sysreg";
/// Notices of changed ranges of an area: area, offset and length, 4 bytes each, little-endian.
constexpr const char* areaPipe = "/tmp/fifo_localreg";

constexpr bool isBitArea(unsigned area)
{
    return area % 2 == 0;
}
