#include "mtd/CommonDevMtdWR.h"

#include "fileio/Uninterrupted.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace {

using Info = MtdWRInterface::mtd_info_user;
using Block = MtdWRInterface::erase_info_user;
using Blocks = std::vector<Block>;

constexpr int wholeBlocksFamily = 5;
constexpr unsigned comparedBytes = 4;
constexpr std::array<const char*, 4> devicePaths = {"/dev/mtd0", "/dev/mtd1", "/dev/mtd2",
                                                    "/dev/mtd3"};

/// ioctl(), which a signal does not end.
template <typename Argument>
int ask(int descriptor, unsigned long request, Argument* argument)
{
    return Uninterrupted::call([&] { return ioctl(descriptor, request, argument); });
}

/// An open flash device, closed at its end.
class Flash
{
public:
    explicit Flash(const char* path) : m_descriptor(Uninterrupted::open(path, O_RDWR | O_SYNC))
    {
        // Without sizes there is nothing that could be divided into blocks and units.
        m_valid = ask(m_descriptor, MEMGETINFO, &m_info) == 0 && m_info.erasesize != 0 &&
                  m_info.writesize != 0;
        if (!m_valid) {
            std::printf("This doesn't seem to be a valid MTD flash device!");
        }
    }
    ~Flash()
    {
        if (m_valid) { // another device may be somebody's business: it stays open
            ::close(m_descriptor);
        }
    }
    Flash(const Flash&) = delete;
    Flash& operator=(const Flash&) = delete;

    bool isValid() const { return m_valid; }
    int descriptor() const { return m_descriptor; }
    Info* info() { return &m_info; }

    std::size_t blocksFor(unsigned len) const
    {
        return len / m_info.erasesize + (len % m_info.erasesize == 0 ? 0 : 1);
    }
    Block blockAt(std::uint64_t offset) const
    {
        return {static_cast<std::uint32_t>(offset), m_info.erasesize};
    }
    /// Asks @p take for the blocks from @p start on, in turn, until it answers false, the device
    /// ends, or there are @p wanted blocks.
    template <typename Take>
    void walk(int start, const Blocks& blocks, std::size_t wanted, Take take) const
    {
        auto offset = static_cast<std::uint64_t>(start);
        while (blocks.size() < wanted && offset < m_info.size && take(blockAt(offset))) {
            offset += m_info.erasesize;
        }
    }

private:
    int m_descriptor;
    Info m_info = {};
    bool m_valid;
};

/// Whether a copy can be meant; says why not.
bool isPossible(const unsigned char* buf, unsigned len, unsigned char dev, int start)
{
    if (dev >= devicePaths.size()) {
        std::fprintf(stderr, "mtd: there is no flash device %d, only 0 to 3\n", dev);
    } else if (start < 0) {
        std::fprintf(stderr, "mtd: no flash device begins at %d\n", start);
    } else if (!buf && len > 0) {
        std::fprintf(stderr, "mtd: no buffer for %u bytes\n", len);
    } else {
        return true;
    }
    return false;
}

void printSizes(std::size_t blocks, unsigned len)
{
    std::printf("blocks=%d,length=%d\n", static_cast<int>(blocks), static_cast<int>(len));
}

/// Erases until there are @p wanted blocks or the device ends.
Blocks eraseBlocks(const Flash& flash, int start, std::size_t wanted)
{
    Blocks erased;
    const auto count = [&] { return static_cast<int>(erased.size()); };
    flash.walk(start, erased, wanted, [&](Block block) {
        if (ask(flash.descriptor(), MEMERASE, &block) == 0) {
            erased.push_back(block);
            std::printf("Erasing blocks: %d/%d (%d%%)\n", count(), static_cast<int>(wanted),
                        static_cast<int>(100 * erased.size() / wanted));
        }
        return true;
    });
    std::printf("\rErasing blocks: %d/%d (100%%)\n", count(), static_cast<int>(wanted));
    return erased;
}

/// The good blocks until there are @p wanted, the device ends, or it cannot tell.
Blocks findBlocks(const Flash& flash, int start, std::size_t wanted)
{
    Blocks good;
    flash.walk(start, good, wanted, [&](Block block) {
        loff_t offset = block.start;
        const int isBad = ask(flash.descriptor(), MEMGETBADBLOCK, &offset);
        if (isBad == 0) {
            good.push_back(block);
        }
        return isBad >= 0;
    });
    return good;
}

bool moveTo(int fd, std::uint32_t offset)
{
    return lseek64(fd, offset, SEEK_SET) == off64_t(offset);
}

/// Whether the next @p len bytes of the device are those of @p expected, asked for in pieces.
bool readsBack(int fd, const unsigned char* expected, unsigned len, unsigned piece)
{
    std::vector<unsigned char> found(std::min(len, piece));
    for (unsigned done = 0; done < len; done += piece) {
        const unsigned part = std::min(piece, len - done);
        if (Uninterrupted::read(fd, found.data(), part) != static_cast<ssize_t>(part) ||
            std::memcmp(found.data(), expected + done, part) != 0) {
            return false;
        }
    }
    return true;
}

/// Writes one buffer into the blocks of a list, in their order, and nothing anywhere else: where
/// the device did not move to, nothing is written.
class BlockWriter
{
public:
    BlockWriter(int fd, const Block* blocks) : m_descriptor(fd), m_block(blocks) {}

    /// Writes whole units and reads every block back. @p piece is how much is compared at a time,
    /// 0 for a whole block.
    bool writeVerified(const unsigned char* data, unsigned len, unsigned piece)
    {
        while (len > 0) {
            const unsigned part = std::min(len, m_block->length);
            if (!writeBlock(data, part, piece > 0 ? piece : part)) {
                std::printf("Verify Error\r");
                return false;
            }
            data += part;
            len -= part;
            m_inside = part < m_block->length;
            m_block += m_inside ? 0 : 1;
        }
        return true;
    }

    /// Writes less than a unit as a whole one: behind what was verified last, or, when that filled
    /// its block, at the start of the next good one, where it will be looked for. Whether it came
    /// there; what becomes of it is not looked at.
    bool writePadded(const unsigned char* data, unsigned len, unsigned unit) const
    {
        if (!m_inside && !moveTo(m_descriptor, m_block->start)) {
            return false;
        }
        std::vector<unsigned char> padded(unit);
        std::memcpy(padded.data(), data, len);
        (void)Uninterrupted::write(m_descriptor, padded.data(), unit);
        return true;
    }

private:
    bool writeBlock(const unsigned char* data, unsigned len, unsigned piece) const
    {
        if (!moveTo(m_descriptor, m_block->start)) {
            return false;
        }
        (void)Uninterrupted::write(m_descriptor, data,
                                   len); // a failure reads back as something else
        return moveTo(m_descriptor, m_block->start) && readsBack(m_descriptor, data, len, piece);
    }

    int m_descriptor;
    const Block* m_block;
    bool m_inside = false; ///< The device stands inside the block, behind something written.
};

bool haveRoom(const Block* blocks, int count, unsigned len)
{
    std::uint64_t room = 0;
    std::for_each(blocks, blocks + count, [&](const Block& block) { room += block.length; });
    return room >= len;
}

/// Carries out a copy of @p len bytes from or to @p start on, over the blocks that @p choose finds:
/// what @p transfer answers, or 1 when it cannot begin.
template <typename Transfer>
int copyOver(const unsigned char* buf, unsigned len, unsigned char dev, int start,
             Blocks (*choose)(const Flash&, int, std::size_t), Transfer transfer)
{
    if (!isPossible(buf, len, dev, start)) {
        return 1;
    }
    Flash flash(devicePaths.at(dev));
    if (!flash.isValid()) {
        return 1;
    }
    const std::size_t wanted = flash.blocksFor(len);
    printSizes(wanted, len);
    Blocks blocks = choose(flash, start, wanted);
    return blocks.size() < wanted ? 1 : transfer(flash, blocks);
}

} // namespace

int CommonDevMtdWR::hmi_type()
{
    return 0;
}

int CommonDevMtdWR::mtd_copy_write(unsigned char* buf, unsigned len, unsigned char dev, int start)
{
    return copyOver(buf, len, dev, start, eraseBlocks, [&](Flash& flash, Blocks& blocks) {
        return mtd_write(flash.descriptor(), flash.info(), buf, len, blocks.data(),
                         static_cast<int>(blocks.size()));
    });
}

int CommonDevMtdWR::mtd_copy_read(unsigned char* buf, unsigned len, unsigned char dev, int start)
{
    return copyOver(buf, len, dev, start, findBlocks, [&](Flash& flash, Blocks& blocks) {
        return mtd_read(flash.descriptor(), flash.info(), buf, len, blocks.data(),
                        static_cast<int>(blocks.size()));
    });
}

int CommonDevMtdWR::mtd_read(int fd, mtd_info_user* /*info*/, unsigned char* buf, unsigned len,
                             erase_info_user* blocks, int count)
{
    if (count < 0) {
        return 1;
    }
    for (int at = 0; at < count && len > 0; ++at) {
        const unsigned part = std::min(len, blocks[at].length);
        if (moveTo(fd, blocks[at].start)) {
            (void)Uninterrupted::read(fd, buf,
                                      part); // the caller compares what it reads, if it cares
        }
        buf += part;
        len -= part;
    }
    return 0;
}

int CommonDevMtdWR::mtd_write(int fd, mtd_info_user* info, unsigned char* buf, unsigned len,
                              erase_info_user* blocks, int count)
{
    if (count < 0) {
        return 1;
    }
    if (len == 0) {
        return 0;
    }
    const bool wholeBlocks = hmi_type() == wholeBlocksFamily;
    if (!haveRoom(blocks, count, len)) {
        return 1;
    }
    const unsigned unit = wholeBlocks ? blocks[0].length : info->writesize;
    if (unit == 0) {
        return 1;
    }
    const unsigned rest = len % unit;
    BlockWriter writer(fd, blocks);
    if (!writer.writeVerified(buf, len - rest, wholeBlocks ? 0 : comparedBytes)) {
        return 1;
    }
    return rest == 0 || writer.writePadded(buf + (len - rest), rest, unit) ? 0 : 1;
}
