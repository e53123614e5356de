#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

/// Flash devices for the tests of whoever uses "/dev/mtd0" to "/dev/mtd3", over a file each,
/// "/tmp/flash0" to "/tmp/flash3".
///
/// A library that comes before the C library: it takes open, open64, fcntl, ioctl, read, write and
/// close, and passes on what does not concern a device that is plugged in. The devices are as picky
/// as flash: whole aligned blocks are erased, to ones; whole aligned units are written, and writing
/// can only clear bits.
namespace MtdEmulation {

struct Device
{
    std::uint32_t size = 0; ///< Bytes, as the next two.
    std::uint32_t eraseSize = 0;
    std::uint32_t writeSize = 0;
    std::set<std::uint32_t> badBlocks = {};     ///< Offsets; marked bad, and not to be erased.
    std::set<std::uint32_t> failingErases = {}; ///< Offsets of blocks that are not marked.
    std::set<std::uint32_t> unknownBlocks = {}; ///< MEMGETBADBLOCK fails for them.
    long flippedByte = -1; ///< One bit of the byte at this offset flips when it is written.
    bool isFlash = true;   ///< Otherwise the device knows no MEMGETINFO.
};

/// Puts a device in, filled with zeros: nothing can be written before it is erased.
void plug(int number, const Device& device);
/// Takes all devices out.
void unplugAll();

std::string content(int number);
/// For those who test the test: puts bytes where flash would not take them.
void setContent(int number, const std::string& bytes);

/// What was asked of the devices since the first was plugged in, one line each: "open 0 FLAGS" (as
/// passed to open), "info", "bad OFFSET", "erase OFFSET LENGTH", "write OFFSET LENGTH",
/// "read OFFSET LENGTH", "close". Requests that failed are in it, too.
std::vector<std::string> log();
/// Switches the record of requests off, for those who measure. Plugging and unplugging leave it as
/// it is.
void setLogging(bool on);

} // namespace MtdEmulation
