#pragma once

#include <array>

/// Where the register areas of the runtime and its notices lie. For whoever makes or lists them;
/// transfers go through RegisterArea.h.

/// The file of one area.
struct AreaFile
{
    unsigned area; ///< Odd areas (and 9) are addressed in bytes, even ones in bits.
    const char* path;
    bool stored;       ///< Outlives a power cut; the other files lie in memory.
    bool synchronised; ///< Each write reaches the medium before it returns. Area 9 does without.
};

/// The areas in the order of their numbers, from 1.
// clang-format off
inline constexpr std::array<AreaFile, 9> areaFiles = {{
    {1, "/tmp/mw.dat", false, false},
    {2, "/tmp/mb.dat", false, false},
    {3, "/hmi_data/fw.dat", true, true},
    {4, "/hmi_data/fb.dat", true, true},
    {5, "/tmp/smw.dat", false, false},
    {6, "/tmp/smb.dat", false, false},
    {7, "/hmi_data/sfw.dat", true, true},
    {8, "/hmi_data/sfb.dat", true, true},
    {9, "/hmi_data/rw.dat", true, false},
}};
// clang-format on

/// Length of the file of a new area, more than the register with the highest offset needs.
constexpr unsigned newAreaBytes = 4096;

/// Notices of changed registers: the id, 4 bytes, little-endian.
constexpr const char* registerPipe = "/tmp/fifo_sysreg";
/// Notices of changed ranges of an area: area, offset and length, 4 bytes each, little-endian.
constexpr const char* areaPipe = "/tmp/fifo_localreg";

constexpr bool isArea(unsigned area)
{
    return area >= 1 && area <= areaFiles.size();
}

/// The row of an area from 1 to 9.
constexpr const AreaFile& areaFile(unsigned area)
{
    return areaFiles.at(area - 1U);
}

constexpr bool isBitArea(unsigned area)
{
    return area % 2 == 0;
}
