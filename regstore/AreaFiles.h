#pragma once

#include <array>

/// Where the register areas of the runtime and its notices lie. For whoever makes or lists them;
/// transfers go through RegisterArea.h.

/// The file of one area.
struct AreaFile
{
    unsigned area; ///< Odd areas (and 9) are addressed in bytes, even ones in bits.
    const char* path;
    bool stored; ///< Outlives a power cut; the other files lie in memory.
};

/// The areas in the order of their numbers, from 1.
// clang-format off
inline constexpr std::array<AreaFile, 9> areaFiles = {{
    {1, "/tmp/mw.dat", false},
    {2, "/tmp/mb.dat", false},
    {3, "/hmi_data/fw.dat", true},
    {4, "/hmi_data/fb.dat", true},
    {5, "/tmp/smw.dat", false},
    {6, "/tmp/smb.dat", false},
    {7, "/hmi_data/sfw.dat", true},
    {8, "/hmi_data/sfb.dat", true},
    {9, "/hmi_data/rw.dat", true},
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

constexpr bool isBitArea(unsigned area)
{
    return area % 2 == 0;
}
