// Reading and writing a register, against the system calls that a locked transfer takes.

#include "benchmarks/Ratio.h"
#include "regstore/SysReg.h"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr double goal = 1.1;
constexpr int rounds = 2000;
constexpr int callsPerRound = 50;
constexpr int callsOnMedium = 5;

std::array<char, 8> value = {1, 2, 3, 4};

/// A range of bytes of an area's file.
struct Place
{
    const char* path;
    off_t offset;
    std::size_t size;
};

constexpr Place gateway = {"/tmp/smw.dat", 779, 8};       // register 63
constexpr Place closing = {"/tmp/smb.dat", 2, 1};         // the byte of register 86
constexpr Place language = {"/hmi_data/sfw.dat", 169, 1}; // register 20

void check(bool good)
{
    if (!good) {
        std::abort();
    }
}

void readBare(const Place& place)
{
    const int file = open(place.path, O_RDONLY | O_CLOEXEC);
    lseek(file, place.offset, SEEK_SET);
    // A file that is open for reading takes no lock of lockf's.
    struct flock lock = {};
    lock.l_type = F_RDLCK;
    lock.l_whence = SEEK_CUR;
    lock.l_len = static_cast<off_t>(place.size);
    fcntl(file, F_SETLKW, &lock);
    check(read(file, value.data(), place.size) == static_cast<ssize_t>(place.size));
    lseek(file, place.offset, SEEK_SET);
    check(lockf(file, F_ULOCK, static_cast<off_t>(place.size)) == 0);
    close(file);
}

void writeBare(const Place& place, int flags)
{
    const int file = open(place.path, O_WRONLY | O_CLOEXEC | flags);
    lseek(file, place.offset, SEEK_SET);
    check(lockf(file, F_LOCK, static_cast<off_t>(place.size)) == 0);
    check(write(file, value.data(), place.size) == static_cast<ssize_t>(place.size));
    lseek(file, place.offset, SEEK_SET);
    check(lockf(file, F_ULOCK, static_cast<off_t>(place.size)) == 0);
    close(file);
}

/// A bit needs its byte: read and written under one lock.
void changeBare(const Place& place)
{
    const int file = open(place.path, O_RDWR | O_CLOEXEC);
    lseek(file, place.offset, SEEK_SET);
    check(lockf(file, F_LOCK, static_cast<off_t>(place.size)) == 0);
    check(read(file, value.data(), place.size) == static_cast<ssize_t>(place.size));
    lseek(file, place.offset, SEEK_SET);
    check(write(file, value.data(), place.size) == static_cast<ssize_t>(place.size));
    lseek(file, place.offset, SEEK_SET);
    check(lockf(file, F_ULOCK, static_cast<off_t>(place.size)) == 0);
    close(file);
}

void registerRead(benchmark::State& state)
{
    Ratio::compare(
        state, goal, callsPerRound, [] { check(SysReg_Read(63, value.data()) == 0); },
        [] { readBare(gateway); });
}

void registerWrite(benchmark::State& state)
{
    Ratio::compare(
        state, goal, callsPerRound, [] { check(SysReg_Write(63, value.data(), 8) == 0); },
        [] { writeBare(gateway, 0); });
}

void registerReadOfBit(benchmark::State& state)
{
    Ratio::compare(
        state, goal, callsPerRound, [] { check(SysReg_Read(86, value.data()) == 0); },
        [] { readBare(closing); });
}

void registerWriteOfBit(benchmark::State& state)
{
    Ratio::compare(
        state, goal, callsPerRound, [] { check(SysReg_Write(86, value.data(), 1) == 0); },
        [] { changeBare(closing); });
}

void registerWriteOnMedium(benchmark::State& state)
{
    Ratio::compare(
        state, goal, callsOnMedium, [] { check(SysReg_Write(20, value.data(), 1) == 0); },
        [] { writeBare(language, O_DSYNC); });
}

} // namespace

RATIO_BENCHMARK(registerRead, rounds);
RATIO_BENCHMARK(registerWrite, rounds);
RATIO_BENCHMARK(registerReadOfBit, rounds);
RATIO_BENCHMARK(registerWriteOfBit, rounds);
RATIO_BENCHMARK(registerWriteOnMedium, rounds / 10);

int main(int argc, char** argv)
{
    return Ratio::run(argc, argv, std::cout);
}
