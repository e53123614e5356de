#pragma once

#include "fileio/Export.h"

/// The nine register areas of the panel's runtime: files that several processes share and change
/// in place, each transfer under a lock on exactly the bytes it touches.
///
/// Odd areas (and 9) are addressed in bytes, even ones in bits, bit 0 being the least significant
/// of byte 0. Files are never created or truncated here; a write behind the end of a byte area
/// makes its file longer. Every call opens, locks, transfers, unlocks and closes: nothing is
/// cached. A lock held by another process is waited for, so that no reader sees half of a write
/// (readers among themselves do not wait). Locks hold other processes off, not other threads of
/// this one.
///
/// @p name is accepted and ignored.

/// Results of the area functions.
enum AreaStatus : unsigned {
    areaDone = 0,
    areaNotNotified = 3, ///< Written, but the notice could not be sent.
    areaFailed = 15      ///< A bad argument, no such file, a failed move or a short transfer.
};

/// Reads @p len bytes or bits from @p offset on. Bits arrive shifted down to bit 0 of @p buf and
/// are not masked: above them lie the next bits of the area. @p buf must have room for
/// (len + 7 + offset % 8) / 8 bytes in a bit area.
PANEL_EXPORT unsigned ReadLocal(unsigned area, unsigned offset, unsigned len, unsigned char* buf,
                                const char* name);

/// Writes @p len bytes or bits. Other bits of the bytes touched keep their values, also against
/// other processes. A bit range of more than 4096 bytes fails and touches nothing.
PANEL_EXPORT unsigned WriteLocal(unsigned area, unsigned offset, unsigned len,
                                 const unsigned char* buf, const char* name);

/// WriteLocal, then a notice to whoever reads "/tmp/fifo_localreg": 12 bytes, area, offset and
/// length as given, 32 bits each, little-endian.
PANEL_EXPORT unsigned WriteLocal_Notify(unsigned area, unsigned offset, unsigned len,
                                        const unsigned char* buf, const char* name);
