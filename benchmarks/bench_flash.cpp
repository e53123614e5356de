// Copying to and from flash, against the loop of calls that it takes. Both work on the same
// emulated device, whose calls cost more than the system's own; so there is one more pair, in which
// the flash is a plain file and only the writing and comparing are measured.

#include "benchmarks/Ratio.h"
#include "mtd/CommonDevMtdWR.h"
#include "tests/mtd/MtdEmulation.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr double goal = 1.05;
constexpr int rounds = 60;
constexpr unsigned unitBytes = 2048;
constexpr unsigned blockBytes = 64 * unitBytes;
constexpr unsigned blockCount = 4;
constexpr unsigned copiedBytes = blockCount * blockBytes;
constexpr unsigned comparedBytes = 4;

std::vector<unsigned char> bytes(copiedBytes, 0x5A);

void check(bool good)
{
    if (!good) {
        std::abort();
    }
}

void plug()
{
    MtdEmulation::Device device;
    device.size = 2 * copiedBytes;
    device.eraseSize = blockBytes;
    device.writeSize = unitBytes;
    MtdEmulation::unplugAll();
    MtdEmulation::plug(0, device);
    MtdEmulation::setLogging(false);
}

void writeBareBlock(int flash, unsigned start)
{
    lseek64(flash, start, SEEK_SET);
    check(write(flash, bytes.data() + start, blockBytes) == blockBytes);
    lseek64(flash, start, SEEK_SET);
    std::array<unsigned char, comparedBytes> found = {};
    for (unsigned at = 0; at < blockBytes; at += comparedBytes) {
        check(read(flash, found.data(), comparedBytes) == comparedBytes &&
              std::memcmp(found.data(), bytes.data() + start + at, comparedBytes) == 0);
    }
}

void writeBare()
{
    const int flash = open("/dev/mtd0", O_RDWR | O_SYNC | O_CLOEXEC);
    mtd_info_user info = {};
    check(ioctl(flash, MEMGETINFO, &info) == 0);
    for (unsigned start = 0; start < copiedBytes; start += blockBytes) {
        erase_info_user block = {start, blockBytes};
        check(ioctl(flash, MEMERASE, &block) == 0);
    }
    for (unsigned start = 0; start < copiedBytes; start += blockBytes) {
        writeBareBlock(flash, start);
    }
    close(flash);
}

void readBare()
{
    const int flash = open("/dev/mtd0", O_RDWR | O_SYNC | O_CLOEXEC);
    mtd_info_user info = {};
    check(ioctl(flash, MEMGETINFO, &info) == 0);
    for (unsigned start = 0; start < copiedBytes; start += blockBytes) {
        loff_t offset = start;
        check(ioctl(flash, MEMGETBADBLOCK, &offset) == 0);
    }
    for (unsigned start = 0; start < copiedBytes; start += blockBytes) {
        lseek64(flash, start, SEEK_SET);
        check(read(flash, bytes.data() + start, blockBytes) == blockBytes);
    }
    close(flash);
}

void flashCopyWrite(benchmark::State& state)
{
    plug();
    CommonDevMtdWR mtd;
    Ratio::compare(
        state, goal, 1, [&] { check(mtd.mtd_copy_write(bytes.data(), copiedBytes, 0, 0) == 0); },
        writeBare);
}

void flashCopyRead(benchmark::State& state)
{
    plug();
    CommonDevMtdWR mtd;
    check(mtd.mtd_copy_write(bytes.data(), copiedBytes, 0, 0) == 0);
    Ratio::compare(
        state, goal, 10, [&] { check(mtd.mtd_copy_read(bytes.data(), copiedBytes, 0, 0) == 0); },
        readBare);
}

void flashWriteOnFile(benchmark::State& state)
{
    const int file = open("/tmp/plain", O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    check(ftruncate(file, copiedBytes) == 0);
    mtd_info_user info = {};
    info.writesize = unitBytes;
    std::array<erase_info_user, blockCount> blocks = {};
    for (unsigned at = 0; at < blockCount; ++at) {
        blocks.at(at) = {at * blockBytes, blockBytes};
    }
    CommonDevMtdWR mtd;
    Ratio::compare(
        state, goal, 1,
        [&] {
            check(mtd.mtd_write(file, &info, bytes.data(), copiedBytes, blocks.data(),
                                blockCount) == 0);
        },
        [&] {
            for (const erase_info_user& block : blocks) {
                writeBareBlock(file, block.start);
            }
        });
    close(file);
}

} // namespace

RATIO_BENCHMARK(flashCopyWrite, rounds);
RATIO_BENCHMARK(flashCopyRead, rounds);
RATIO_BENCHMARK(flashWriteOnFile, rounds);

int main(int argc, char** argv)
{
    // The progress of a copy is for a person; here it would stand between the results.
    check(std::freopen("/dev/null", "w", stdout) != nullptr);
    return Ratio::run(argc, argv, std::cerr);
}
