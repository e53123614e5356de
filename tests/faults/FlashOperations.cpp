#include "mtd/CommonDevMtdWR.h"
#include "tests/faults/Operation.h"
#include "tests/mtd/MtdEmulation.h"

#include <array>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr unsigned unitBytes = 8;
constexpr unsigned blockBytes = 2 * unitBytes;
constexpr int startBytes = 16;
/// A block, a unit and a byte.
constexpr unsigned copiedBytes = blockBytes + unitBytes + 1;

constexpr const char* flashFile = "/tmp/flash0";
constexpr const char* noFlash = "This doesn't seem to be a valid MTD flash device!";
constexpr const char* sizes = "blocks=2,length=25\n";

void plugFlash()
{
    MtdEmulation::unplugAll();
    MtdEmulation::Device device;
    device.size = 4 * blockBytes;
    device.eraseSize = blockBytes;
    device.writeSize = unitBytes;
    MtdEmulation::plug(0, device);
}

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

/// What every copy begins with.
QList<Outcome> openingOutcomes()
{
    return {{"open 1 EMFILE", 1, noFlash}, {"ioctl 1 ENOTTY", 1, noFlash, nothing, flashFile}};
}

QList<Outcome> writeOutcomes()
{
    const OwnRange nextBlock = bytesOf(flashFile, startBytes + 2 * blockBytes, blockBytes);
    QList<Outcome> outcomes = openingOutcomes();
    // A block that cannot be erased is left out; the next one takes its place.
    outcomes << Outcome{"ioctl 2 ENOTTY", 0, sizes, nextBlock}
             << Outcome{"ioctl 3 ENOTTY", 0, sizes, nextBlock};
    for (const char* fault :
         {"lseek 1 EINVAL", "write 1 ENOSPC", "write 1 short",  "lseek 2 EINVAL", "read 1 EIO",
          "read 1 short",   "read 2 EIO",     "read 2 short",   "read 3 EIO",     "read 3 short",
          "read 4 EIO",     "read 4 short",   "lseek 3 EINVAL", "write 2 ENOSPC", "write 2 short",
          "lseek 4 EINVAL", "read 5 EIO",     "read 5 short",   "read 6 EIO",     "read 6 short"}) {
        outcomes << Outcome{fault, 1, sizes};
    }
    // The padded rest is not looked at.
    outcomes << Outcome{"write 3 ENOSPC", 0, sizes} << Outcome{"write 3 short", 0, sizes}
             << Outcome{"close 1 EIO", 0, sizes};
    return outcomes;
}

QList<Outcome> readOutcomes()
{
    QList<Outcome> outcomes = openingOutcomes();
    for (const char* fault : {"ioctl 2 ENOTTY", "ioctl 3 ENOTTY"}) {
        outcomes << Outcome{fault, 1, sizes};
    }
    for (const char* fault : {"lseek 1 EINVAL", "read 1 EIO", "read 1 short", "lseek 2 EINVAL",
                              "read 2 EIO", "read 2 short", "close 1 EIO"}) {
        outcomes << Outcome{fault, 0, sizes};
    }
    return outcomes;
}

} // namespace

QList<Operation> flashOperations()
{
    return {
        {"mtd_copy_write",
         [] { return CommonDevMtdWR().mtd_copy_write(data(), copiedBytes, 0, startBytes); },
         0,
         {bytesOf(flashFile, startBytes, 2 * blockBytes)},
         writeOutcomes(),
         plugFlash},
        {"mtd_copy_read",
         [] { return CommonDevMtdWR().mtd_copy_read(found().data(), copiedBytes, 0, startBytes); },
         0,
         {},
         readOutcomes(),
         plugFlash},
    };
}
