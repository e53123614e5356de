#include "regstore/RegisterArea.h"
#include "regstore/SysReg.h"
#include "tests/faults/Operation.h"

#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int failed = static_cast<int>(areaFailed);
constexpr int notNotified = static_cast<int>(areaNotNotified);

constexpr const char* registerPipe = "/tmp/fifo_sysreg";
constexpr const char* areaPipe = "/tmp/fifo_localreg";

constexpr std::array<unsigned char, 8> value = {0x5A, 0xC3, 0x3C, 0xA5, 0x96, 0x69, 0x0F, 0xF0};

unsigned char* buffer()
{
    static std::array<unsigned char, 64> bytes;
    return bytes.data();
}

std::function<int()> reading(unsigned area, unsigned offset, unsigned length)
{
    return [=] { return static_cast<int>(ReadLocal(area, offset, length, buffer(), "")); };
}

std::function<int()> writing(unsigned area, unsigned offset, unsigned length)
{
    return [=] { return static_cast<int>(WriteLocal(area, offset, length, value.data(), "")); };
}

std::function<int()> notifying(unsigned area, unsigned offset, unsigned length)
{
    return
        [=] { return static_cast<int>(WriteLocal_Notify(area, offset, length, value.data(), "")); };
}

/// The runtime listens: a pipe whose reading end stays open as long as the program runs.
void prepareListener(const char* path)
{
    static int end = -1;
    if (end != -1) {
        ::close(end);
    }
    mkfifo(path, 0600);
    end = ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
}

/// Reading waits for the lock and goes on without one when there is none to be had.
QList<Outcome> readOutcomes(int onFailure)
{
    return {{"open 1 EMFILE", onFailure}, {"lseek 1 EINVAL", onFailure},
            {"fcntl 1 ENOLCK", 0},        {"fcntl 1 EINTR", 0},
            {"read 1 EIO", onFailure},    {"read 1 short", onFailure},
            {"lseek 2 EINVAL", 0},        {"lockf 1 ENOLCK", 0},
            {"lockf 1 EINTR", 0},         {"close 1 EIO", 0}};
}

QList<Outcome> byteWriteOutcomes(int onFailure)
{
    return {{"open 1 EMFILE", onFailure},  {"lseek 1 EINVAL", onFailure},
            {"lockf 1 ENOLCK", 0},         {"lockf 1 EINTR", 0},
            {"write 1 ENOSPC", onFailure}, {"write 1 short", onFailure},
            {"lseek 2 EINVAL", 0},         {"lockf 2 ENOLCK", 0},
            {"lockf 2 EINTR", 0},          {"close 1 EIO", 0}};
}

QList<Outcome> bitWriteOutcomes(int onFailure)
{
    return {{"open 1 EMFILE", onFailure},
            {"lseek 1 EINVAL", onFailure},
            {"lockf 1 ENOLCK", 0},
            {"lockf 1 EINTR", 0},
            {"read 1 EIO", onFailure},
            {"read 1 short", onFailure},
            {"lseek 2 EINVAL", onFailure},
            {"write 1 ENOSPC", onFailure},
            {"write 1 short", onFailure},
            {"lseek 3 EINVAL", 0},
            {"lockf 2 ENOLCK", 0},
            {"lockf 2 EINTR", 0},
            {"close 1 EIO", 0}};
}

/// The notice is sent when the register is written: what fails then changes only the result.
QList<Outcome> noticeOutcomes(int onFailure, const char* open, const char* write, const char* part,
                              const char* close)
{
    return {{open, onFailure, "open fifo: "}, {write, onFailure}, {part, 0}, {close, 0}};
}

QList<Outcome> missingPipeOutcomes(int result)
{
    constexpr const char* first = "open fifo: ";
    return {{"open 2 EMFILE", result, first},
            {"access 1 EACCES", result, first},
            {"mkfifo 1 EACCES", result, first},
            {"open 3 EMFILE", result, first}};
}

/// A missing pipe is made and still has no reader, whatever fails besides.
QList<Outcome> saying(const char* message, QList<Outcome> outcomes, int result)
{
    for (Outcome& outcome : outcomes) {
        if (outcome.result == 0) {
            outcome.result = result;
            outcome.message = message;
        }
    }
    return outcomes;
}

QList<Operation> areaOperations()
{
    const auto listener = [] { prepareListener(areaPipe); };
    return {
        {"ReadLocal, bytes", reading(5, 779, 8), 0, {}, readOutcomes(failed)},
        {"ReadLocal, bits", reading(2, 14, 4), 0, {}, readOutcomes(failed)},
        {"WriteLocal, bytes",
         writing(5, 779, 8),
         0,
         {bytesOf("/tmp/smw.dat", 779, 8)},
         byteWriteOutcomes(failed)},
        {"WriteLocal, bytes on the medium",
         writing(7, 165, 4),
         0,
         {bytesOf("/hmi_data/sfw.dat", 165, 4)},
         byteWriteOutcomes(failed)},
        {"WriteLocal, bits",
         writing(2, 14, 4),
         0,
         {{"/tmp/mb.dat", 14, 4}},
         bitWriteOutcomes(failed)},
        {"WriteLocal, bits on the medium",
         writing(8, 17, 1),
         0,
         {{"/hmi_data/sfb.dat", 17, 1}},
         bitWriteOutcomes(failed)},
        {"WriteLocal_Notify",
         notifying(5, 779, 8),
         0,
         {bytesOf("/tmp/smw.dat", 779, 8)},
         byteWriteOutcomes(failed) + noticeOutcomes(notNotified, "open 2 EMFILE", "write 2 ENOSPC",
                                                    "write 2 short", "close 2 EIO"),
         listener},
        {"WriteLocal_Notify, missing pipe",
         notifying(5, 779, 8),
         notNotified,
         {bytesOf("/tmp/smw.dat", 779, 8)},
         saying("open fifo: ", byteWriteOutcomes(failed), notNotified) +
             missingPipeOutcomes(notNotified)},
    };
}

QList<Operation> systemRegisterOperations()
{
    const auto listener = [] { prepareListener(registerPipe); };
    const OwnRange eth0Gateway = bytesOf("/tmp/smw.dat", 779, 8);
    const OwnRange eth0Dhcp = {"/hmi_data/sfb.dat", 20, 1};
    const OwnRange closing = {"/tmp/smb.dat", 16, 1};
    return {
        // It asks nobody.
        {"SysReg_LoadReg", [] { return SysReg_LoadReg(89) ? 1 : 0; }, 1, {}, {}},
        {"SysReg_Read, bytes", [] { return SysReg_Read(63, buffer()); }, 0, {}, readOutcomes(-1)},
        {"SysReg_Read, a bit", [] { return SysReg_Read(67, buffer()); }, 0, {}, readOutcomes(-1)},
        {"SysReg_Write, bytes",
         [] { return SysReg_Write(63, value.data(), 8); },
         0,
         {eth0Gateway},
         byteWriteOutcomes(-1)},
        {"SysReg_Write, a bit",
         [] { return SysReg_Write(67, value.data(), 1); },
         0,
         {eth0Dhcp},
         bitWriteOutcomes(-1)},
        {"SysReg_WriteNotify",
         [] { return SysReg_WriteNotify(86, value.data(), 1); },
         0,
         {closing},
         bitWriteOutcomes(-1) +
             noticeOutcomes(-1, "open 2 EMFILE", "write 2 ENOSPC", "write 2 short", "close 2 EIO"),
         listener},
        {"SysReg_WriteNotify, missing pipe",
         [] { return SysReg_WriteNotify(86, value.data(), 1); },
         -1,
         {closing},
         saying("open fifo: ", bitWriteOutcomes(-1), -1) + missingPipeOutcomes(-1)},
    };
}

} // namespace

QList<Operation> registerOperations()
{
    return areaOperations() + systemRegisterOperations();
}
