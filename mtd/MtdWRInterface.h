#pragma once

#include "fileio/Export.h"

#include <mtd/mtd-user.h>

/// Copies a buffer to and from a raw flash partition, block by block, around its bad blocks. No
/// page of the settings uses it; it is there for others who build on the device layer.
///
/// The functions block until the flash has done its work. What they print goes to standard output,
/// as progress for whoever watches. Offsets and lengths are in bytes.
class PANEL_EXPORT MtdWRInterface
{
public:
    /// What MEMGETINFO tells of a device: size, erase size, write size and others.
    using mtd_info_user = ::mtd_info_user;
    /// A range of a device: where it starts, and its length.
    using erase_info_user = ::erase_info_user;

    /// The family of panels, which decides how mtd_write() works.
    virtual int hmi_type() = 0;

    /// Erases as many good blocks as @p len needs, from @p start on (a multiple of the erase size),
    /// and writes @p buf into them; a block that cannot be erased is left out.
    /// @param dev 0 to 3, for "/dev/mtd0" to "/dev/mtd3"
    /// @return 0, or 1 when there is no such flash device, when it has too few good blocks, when
    ///         what was written reads back otherwise or its last unit cannot be placed (see
    ///         mtd_write()), or when the arguments cannot be right
    virtual int mtd_copy_write(unsigned char* buf, unsigned len, unsigned char dev, int start) = 0;

    /// Reads @p len bytes back that mtd_copy_write() wrote from @p start on; bad blocks are left
    /// out. The arguments and the result are the same; errors while reading are not reported.
    virtual int mtd_copy_read(unsigned char* buf, unsigned len, unsigned char dev, int start) = 0;

    /// Fills @p buf with @p len bytes out of @p count blocks, in their order.
    /// @return 0, or 1 when @p count is negative; errors while reading are not reported
    virtual int mtd_read(int fd, mtd_info_user* info, unsigned char* buf, unsigned len,
                         erase_info_user* blocks, int count) = 0;

    /// Writes @p buf into @p count erased blocks, in their order, and reads back all that fills
    /// whole units of the device (its write size). The bytes that are left are padded with zeros to
    /// one more unit, which is not read back.
    /// @return 0, or 1 when @p count is negative, when something reads back differently, when the
    ///         blocks are too few or have no unit, or when the device cannot be positioned at the
    ///         block in which that last unit begins, which is then not written
    virtual int mtd_write(int fd, mtd_info_user* info, unsigned char* buf, unsigned len,
                          erase_info_user* blocks, int count) = 0;

    virtual ~MtdWRInterface() = default; // the last slot: others count on the order above
};
