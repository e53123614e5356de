#include "regstore/RegisterArea.h"

#include "fileio/DFileSystem.h"
#include "fileio/Uninterrupted.h"
#include "regstore/AreaFiles.h"
#include "regstore/Notice.h"

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <limits>

namespace {

constexpr unsigned bitsPerByte = 8;
constexpr unsigned scratchBytes = 4096;

int syncFlag(unsigned area)
{
    return areaFile(area).synchronised ? O_DSYNC : 0;
}

/// The bytes of an area that a transfer touches.
struct ByteRange
{
    int offset;
    int length;
    bool valid; ///< False when it lies beyond what a file position can say.
};

ByteRange byteRange(unsigned area, unsigned offset, unsigned len)
{
    // In 64 bits: no sum of 32-bit numbers overflows.
    const unsigned long long shift = isBitArea(area) ? offset % bitsPerByte : 0;
    const unsigned long long first = isBitArea(area) ? offset / bitsPerByte : offset;
    const unsigned long long count =
        isBitArea(area) ? (0ULL + len + bitsPerByte - 1 + shift) / bitsPerByte : len;
    constexpr unsigned long long limit = std::numeric_limits<int>::max();
    const bool valid = first + count <= limit;
    return valid ? ByteRange{static_cast<int>(first), static_cast<int>(count), true}
                 : ByteRange{0, 0, false};
}

/// The descriptor of an area's file. Not by DFileSystem itself, for which descriptor 0 is not open:
/// a host may have closed its standard input.
int openArea(unsigned area, int flags)
{
    return Uninterrupted::open(areaFile(area).path, flags);
}

bool isOpen(const DFileSystem& file)
{
    return file.ioDev() != nullptr;
}

bool moveTo(DFileSystem& file, const ByteRange& range)
{
    return file.seek2(range.offset, SEEK_SET) == range.offset;
}

/// Moves to a range of bytes and holds the lock on it.
class RangeLock
{
public:
    RangeLock(DFileSystem& file, const ByteRange& range)
        : m_file(file), m_range(range), m_isInPlace(moveTo(file, range))
    {
        if (m_isInPlace) {
            m_file.lockHere(m_range.length);
        }
    }
    ~RangeLock() { m_file.unlock(SEEK_SET, m_range.offset, m_range.length); }
    RangeLock(const RangeLock&) = delete;
    RangeLock& operator=(const RangeLock&) = delete;

    /// Whether the position stands at the start of the range. Elsewhere lie other registers: no
    /// transfer may be made then. Without the lock it may.
    bool isInPlace() const { return m_isInPlace; }

private:
    DFileSystem& m_file;
    const ByteRange m_range;
    const bool m_isInPlace;
};

void shiftDown(unsigned char* bytes, int count, unsigned shift)
{
    unsigned above = 0;
    for (int at = count - 1; at >= 0; --at) {
        const unsigned original = bytes[at];
        bytes[at] = static_cast<unsigned char>(original >> shift | above << (bitsPerByte - shift));
        above = original;
    }
}

void copyBits(const unsigned char* source, unsigned count, unsigned char* target, unsigned shift)
{
    for (unsigned bit = 0; bit < count; ++bit) {
        const bool value = (source[bit / bitsPerByte] >> bit % bitsPerByte & 1U) != 0;
        const unsigned mask = 1U << (shift + bit) % bitsPerByte;
        unsigned char& byte = target[(shift + bit) / bitsPerByte];
        byte = static_cast<unsigned char>(value ? byte | mask : byte & ~mask);
    }
}

unsigned statusOf(bool done)
{
    return done ? areaDone : areaFailed;
}

unsigned writeBytes(unsigned area, const ByteRange& range, const unsigned char* buf)
{
    const int flags = O_WRONLY | syncFlag(area);
    DFileSystem file(openArea(area, flags), flags);
    if (!isOpen(file)) {
        return areaFailed;
    }
    const RangeLock lock(file, range);
    return statusOf(lock.isInPlace() && file.write(buf, range.length) == range.length);
}

unsigned writeBits(unsigned area, const ByteRange& range, unsigned shift, unsigned len,
                   const unsigned char* buf)
{
    if (range.length > static_cast<int>(scratchBytes)) {
        return areaFailed;
    }
    const int flags = O_RDWR | syncFlag(area);
    DFileSystem file(openArea(area, flags), flags);
    if (!isOpen(file)) {
        return areaFailed;
    }
    std::array<unsigned char, scratchBytes> scratch{};
    const RangeLock lock(file, range);
    if (!lock.isInPlace() || file.read(scratch.data(), range.length) != range.length) {
        return areaFailed;
    }
    copyBits(buf, len, scratch.data(), shift);
    return statusOf(moveTo(file, range) &&
                    file.write(scratch.data(), range.length) == range.length);
}

} // namespace

unsigned ReadLocal(unsigned area, unsigned offset, unsigned len, unsigned char* buf,
                   const char* /*name*/)
{
    if (!buf || !isArea(area)) {
        return areaFailed;
    }
    const ByteRange range = byteRange(area, offset, len);
    if (!range.valid) {
        return areaFailed;
    }
    DFileSystem file(openArea(area, O_RDONLY), O_RDONLY);
    if (!isOpen(file)) {
        return areaFailed;
    }
    const RangeLock lock(file, range);
    if (!lock.isInPlace() || file.read(buf, range.length) != range.length) {
        return areaFailed;
    }
    if (isBitArea(area)) {
        shiftDown(buf, range.length, offset % bitsPerByte);
    }
    return areaDone;
}

unsigned WriteLocal(unsigned area, unsigned offset, unsigned len, const unsigned char* buf,
                    const char* /*name*/)
{
    if (!buf || !isArea(area)) {
        return areaFailed;
    }
    const ByteRange range = byteRange(area, offset, len);
    if (!range.valid) {
        return areaFailed;
    }
    return isBitArea(area) ? writeBits(area, range, offset % bitsPerByte, len, buf)
                           : writeBytes(area, range, buf);
}

unsigned WriteLocal_Notify(unsigned area, unsigned offset, unsigned len, const unsigned char* buf,
                           const char* name)
{
    const unsigned status = WriteLocal(area, offset, len, buf, name);
    if (status != areaDone) {
        return status;
    }
    return sendNotice(areaPipe, AreaNotice{area, offset, len}) ? areaDone : areaNotNotified;
}
