#pragma once

#include "fileio/Export.h"
#include "mtd/MtdWRInterface.h"

/// The flash of the usual panels: the four partitions "/dev/mtd0" to "/dev/mtd3".
///
/// Nothing is erased or written before the arguments and the device are known to be right. When a
/// path can be opened and is no flash device, its descriptor stays open; that is all that is ever
/// left behind.
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
    /// What is read back is compared four bytes at a time, for a family of 5 a block at a time;
    /// such a family writes whole blocks: the first block's length is its unit. A difference, and a
    /// block that cannot be moved to, prints "Verify Error\r". Only what is over a unit is not
    /// compared: where the device does not move to its place, the result says so alone.
    int mtd_write(int fd, mtd_info_user* info, unsigned char* buf, unsigned len,
                  erase_info_user* blocks, int count) override;
};
