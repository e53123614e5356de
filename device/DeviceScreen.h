#pragma once

/// Horizontal resolution of the panel in pixels, as its read-only device record has it: that, not
/// the display Qt found, chooses the sizes of pages and dialogs. Reads the record from the device;
/// 0 when it never could be read.
int deviceScreenWidth();
