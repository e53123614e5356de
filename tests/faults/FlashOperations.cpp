#include "mtd/FutureMtdWR.h"
#include "tests/faults/Operation.h"
#include "tests/mtd/MtdEmulation.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string>

namespace {

constexpr unsigned unitBytes = 8;
constexpr unsigned blockBytes = 2 * unitBytes;
constexpr unsigned deviceBytes = 4 * blockBytes;
constexpr int startBytes = 16;
/// A block, a unit and a byte.
constexpr unsigned copiedBytes = blockBytes + unitBytes + 1;

constexpr const char* flashFile = "/tmp/flash0";
constexpr OwnRange firstUnit = bytesOf(flashFile, startBytes, unitBytes);
constexpr OwnRange secondBlock = bytesOf(flashFile, startBytes + blockBytes, blockBytes);
constexpr OwnRange thirdBlock = bytesOf(flashFile, startBytes + 2 * blockBytes, blockBytes);
constexpr OwnRange twoBlocks = bytesOf(flashFile, startBytes, 2 * blockBytes);

constexpr const char* noFlash = "This doesn't seem to be a valid MTD flash device!";
constexpr const char* verifyError = "Verify Error\r";

/// What a copy says: its sizes, and the end of its erasing.
struct Lines
{
    const char* sizes;
    const char* erased;
};
constexpr Lines linesOfOneByte = {"blocks=1,length=1\n", "\rErasing blocks: 1/1 (100%)\n"};
constexpr Lines linesOfABlockAndAByte = {"blocks=2,length=17\n", "\rErasing blocks: 2/2 (100%)\n"};
constexpr Lines linesOfAll = {"blocks=2,length=25\n", "\rErasing blocks: 2/2 (100%)\n"};

/// A family whose blocks are written and compared whole.
class WholeBlocksMtdWR : public CommonDevMtdWR
{
public:
    int hmi_type() override { return 5; }
};

/// The buffer with a pattern that no fault leaves by accident.
unsigned char* data()
{
    static std::array<unsigned char, copiedBytes> bytes;
    for (unsigned at = 0; at < copiedBytes; ++at) {
        bytes.at(at) = static_cast<unsigned char>(0xA5 ^ (at * 37));
    }
    return bytes.data();
}

std::array<unsigned char, copiedBytes>& found()
{
    static std::array<unsigned char, copiedBytes> bytes;
    return bytes;
}

void plugFlash(const std::string& content)
{
    MtdEmulation::unplugAll();
    MtdEmulation::Device device;
    device.size = deviceBytes;
    device.eraseSize = blockBytes;
    device.writeSize = unitBytes;
    MtdEmulation::plug(0, device);
    MtdEmulation::setContent(0, content);
}

/// The blocks to write are erased already: what comes there has been written.
void prepareToWrite()
{
    std::string content(deviceBytes, '\0');
    std::fill_n(content.begin() + startBytes, 2 * blockBytes, '\xFF');
    plugFlash(content);
}

void prepareToRead()
{
    std::string content(deviceBytes, '\0');
    std::copy_n(data(), copiedBytes, content.begin() + startBytes);
    plugFlash(content);
    found().fill(0xEE);
}

QByteArray foundBytes()
{
    return {reinterpret_cast<const char*>(found().data()), static_cast<int>(found().size())};
}

/// What every copy begins with.
QList<Outcome> openingOutcomes()
{
    return {{"open 1 EMFILE", 1, noFlash, nothing, nullptr, untouched, noFlash},
            {"ioctl 1 ENOTTY", 1, noFlash, nothing, flashFile, untouched, noFlash}};
}

/// A copy that goes on to its end, right or wrong.
Outcome goesOn(const char* fault, const Lines& lines, Moved moved, OwnRange besides = nothing)
{
    return {fault, 0, lines.sizes, besides, nullptr, moved, lines.erased};
}

/// The same with what cannot be placed: there is nothing that could be compared.
Outcome gaveUp(const char* fault, const Lines& lines, Moved moved)
{
    return {fault, 1, lines.sizes, nothing, nullptr, moved, lines.erased};
}

Outcome notVerified(const char* fault, const Lines& lines, Moved moved)
{
    return {fault, 1, lines.sizes, nothing, nullptr, moved, verifyError};
}

QList<Outcome> notVerified(std::initializer_list<const char*> faults, const Lines& lines,
                           Moved moved)
{
    QList<Outcome> outcomes;
    for (const char* fault : faults) {
        outcomes << notVerified(fault, lines, moved);
    }
    return outcomes;
}

// A block that cannot be erased is left out; the next one takes its place. The padded rest is not
// looked at; half a unit is nothing that flash would take.

QList<Outcome> oneByteOutcomes()
{
    const Lines& lines = linesOfOneByte;
    return openingOutcomes() +
           QList<Outcome>{goesOn("ioctl 2 ENOTTY", lines, untouched, secondBlock),
                          gaveUp("lseek 1 EINVAL", lines, untouched),
                          goesOn("write 1 ENOSPC", lines, untouched),
                          goesOn("write 1 short", lines, untouched),
                          goesOn("close 1 EIO", lines, whole)};
}

/// Of a copy that fills one block and begins another, which cannot be moved to.
QList<Outcome> twoBlocksOutcomes(const Lines& lines, std::initializer_list<const char*> reads,
                                 Moved halfOfTheRest)
{
    return openingOutcomes() +
           QList<Outcome>{goesOn("ioctl 2 ENOTTY", lines, unsaid, thirdBlock),
                          goesOn("ioctl 3 ENOTTY", lines, firstHalf, thirdBlock),
                          notVerified("lseek 1 EINVAL", lines, untouched),
                          notVerified("write 1 ENOSPC", lines, untouched),
                          notVerified("write 1 short", lines, unsaid),
                          notVerified("lseek 2 EINVAL", lines, firstHalf)} +
           notVerified(reads, lines, firstHalf) +
           QList<Outcome>{gaveUp("lseek 3 EINVAL", lines, firstHalf),
                          goesOn("write 2 ENOSPC", lines, firstHalf),
                          goesOn("write 2 short", lines, halfOfTheRest),
                          goesOn("close 1 EIO", lines, whole)};
}

QList<Outcome> blockAndByteOutcomes()
{
    return twoBlocksOutcomes(linesOfABlockAndAByte,
                             {"read 1 EIO", "read 1 short", "read 2 EIO", "read 2 short",
                              "read 3 EIO", "read 3 short", "read 4 EIO", "read 4 short"},
                             firstHalf);
}

QList<Outcome> wholeBlocksOutcomes()
{
    return twoBlocksOutcomes(linesOfAll, {"read 1 EIO", "read 1 short"}, unsaid);
}

QList<Outcome> writeOutcomes()
{
    const Lines& lines = linesOfAll;
    return openingOutcomes() +
           QList<Outcome>{goesOn("ioctl 2 ENOTTY", lines, unsaid, thirdBlock),
                          goesOn("ioctl 3 ENOTTY", lines, firstHalf, thirdBlock),
                          notVerified("lseek 1 EINVAL", lines, untouched),
                          notVerified("write 1 ENOSPC", lines, untouched),
                          notVerified("write 1 short", lines, unsaid)} +
           notVerified({"lseek 2 EINVAL", "read 1 EIO", "read 1 short", "read 2 EIO",
                        "read 2 short", "read 3 EIO", "read 3 short", "read 4 EIO", "read 4 short",
                        "lseek 3 EINVAL", "write 2 ENOSPC", "write 2 short"},
                       lines, firstHalf) +
           notVerified(
               {"lseek 4 EINVAL", "read 5 EIO", "read 5 short", "read 6 EIO", "read 6 short"},
               lines, unsaid) +
           QList<Outcome>{goesOn("write 3 ENOSPC", lines, unsaid),
                          goesOn("write 3 short", lines, unsaid),
                          goesOn("close 1 EIO", lines, whole)};
}

QList<Outcome> readOutcomes()
{
    const char* const sizes = linesOfAll.sizes;
    QList<Outcome> outcomes = openingOutcomes();
    for (const char* fault : {"ioctl 2 ENOTTY", "ioctl 3 ENOTTY"}) {
        outcomes << Outcome{fault, 1, sizes, nothing, nullptr, untouched, sizes};
    }
    for (const char* fault : {"lseek 1 EINVAL", "read 1 EIO", "read 1 short", "lseek 2 EINVAL",
                              "read 2 EIO", "read 2 short"}) {
        outcomes << Outcome{fault, 0, sizes, nothing, nullptr, unsaid, sizes};
    }
    return outcomes << Outcome{"close 1 EIO", 0, sizes, nothing, nullptr, whole, sizes};
}

template <typename Class>
Operation writeOperation(const char* name, unsigned length, const OwnRange& own,
                         const QList<Outcome>& outcomes)
{
    return {name,     [=] { return Class().mtd_copy_write(data(), length, 0, startBytes); },
            0,        {own},
            outcomes, prepareToWrite};
}

template <typename Class>
Operation readOperation(const char* name)
{
    return {name,
            [] { return Class().mtd_copy_read(found().data(), copiedBytes, 0, startBytes); },
            0,
            {},
            readOutcomes(),
            prepareToRead,
            {},
            foundBytes};
}

} // namespace

QList<Operation> flashOperations()
{
    return {
        writeOperation<CommonDevMtdWR>("mtd_copy_write", copiedBytes, twoBlocks, writeOutcomes()),
        writeOperation<CommonDevMtdWR>("mtd_copy_write, a byte", 1, firstUnit, oneByteOutcomes()),
        writeOperation<CommonDevMtdWR>("mtd_copy_write, a block and a byte", blockBytes + 1,
                                       twoBlocks, blockAndByteOutcomes()),
        writeOperation<FutureMtdWR>("mtd_copy_write, FutureMtdWR", copiedBytes, twoBlocks,
                                    writeOutcomes()),
        writeOperation<WholeBlocksMtdWR>("mtd_copy_write, whole blocks", copiedBytes, twoBlocks,
                                         wholeBlocksOutcomes()),
        readOperation<CommonDevMtdWR>("mtd_copy_read"),
        readOperation<FutureMtdWR>("mtd_copy_read, FutureMtdWR"),
    };
}
