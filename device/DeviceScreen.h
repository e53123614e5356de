#pragma once

#include <cstddef>

/// Horizontal resolution of the panel in pixels, as its read-only device record has it: that, not
/// the display Qt found, chooses the sizes of pages and dialogs. Reads the record from the device;
/// 0 when it never could be read.
int deviceScreenWidth();

/// The row of a table of sizes for a screen that is @p width pixels wide. A row is a structure with
/// a member screenWidth; the last one is for every width that has none of its own.
template <typename Sizes, std::size_t count>
constexpr const Sizes& forScreen(const Sizes (&table)[count], int width)
{
    for (const Sizes& sizes : table) {
        if (sizes.screenWidth == width) {
            return sizes;
        }
    }
    return table[count - 1];
}
