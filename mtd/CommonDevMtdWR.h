#pragma once

#include "fileio/Export.h"
#include "mtd/MtdWRInterface.h"

/// The flash of the usual panels: the four partitions "/dev/mtd0" to "/dev/mtd3".
///
/// Nothing is erased or written before the arguments and the device are known to be right. A path
/// that can be opened but is no flash device stays open, as callers count on; every other
/// descriptor is closed.
class PANEL_EXPORT CommonDevMtdWR : public MtdWRInterface
{
public:
    /// 0.
    int hmi_type() override;

    /// Prints "blocks=%d,length=%d\n", "Erasing blocks: %d/%d (%d%%)\n" for every block and, at
    /// the end of erasing, "\rErasing blocks: %d/%d (100%%)\n". A device number above 3, a negative
    /// start and a missing buffer are one line on standard error.
    int mtd_copy_write(unsigned char* buf, unsigned len, unsigned char dev, int start) override;
    /// Prints "blocks=%d,length=%d\n".
    int mtd_copy_read(unsigned char* buf, unsigned len, unsigned char dev, int start) override;
    int mtd_read(int fd, mtd_info_user* info, unsigned char* buf, unsigned len,
                 erase_info_user* blocks, int count) override;
    /// Compares what it reads back four bytes at a time. A family of 5 writes and compares whole
    /// blocks: its unit is the length of the first block. A difference, or a block at which the
    /// device cannot be positioned, prints "Verify Error\r". The padded last unit is not compared;
    /// if the device cannot be positioned there, only the result tells.
    int mtd_write(int fd, mtd_info_user* info, unsigned char* buf, unsigned len,
                  erase_info_user* blocks, int count) override;
};
