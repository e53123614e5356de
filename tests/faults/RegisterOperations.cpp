#include "regstore/RegisterArea.h"
#include "regstore/SysReg.h"
#include "tests/faults/Operation.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr int failed = static_cast<int>(areaFailed);
constexpr int notNotified = static_cast<int>(areaNotNotified);

constexpr const char* registerPipe = "/tmp/fifo_sysreg";
constexpr const char* areaPipe = "/tmp/fifo_localreg";

/// In each bit register used here it changes both halves of the bytes.
constexpr std::array<unsigned char, 8> value = {0x57, 0xC3, 0x3C, 0xA5, 0x96, 0x69, 0x0F, 0xF0};

unsigned char* buffer()
{
    static std::array<unsigned char, 64> bytes;
    return bytes.data();
}

void prepareBuffer()
{
    std::fill_n(buffer(), 64, 0xEE);
}

/// So many bytes of the buffer.
std::function<QByteArray()> buffered(int bytes)
{
    return [=] { return QByteArray(reinterpret_cast<const char*>(buffer()), bytes); };
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

/// What comes of a fault that the outside has nothing else to say about.
Outcome outcome(const char* fault, int result, Moved moved, const char* message = "")
{
    return {fault, result, message, nothing, nullptr, moved};
}

/// Reading waits for the lock and goes on without one when there is none to be had.
QList<Outcome> readOutcomes(int onFailure, Moved whenShort)
{
    return {
        outcome("open 1 EMFILE", onFailure, untouched),
        outcome("lseek 1 EINVAL", onFailure, untouched),
        outcome("fcntl 1 ENOLCK", 0, whole),
        outcome("fcntl 1 EINTR", 0, whole),
        outcome("read 1 EIO", onFailure, untouched),
        outcome("read 1 short", onFailure, whenShort),
        outcome("lseek 2 EINVAL", 0, whole),
        outcome("lockf 1 ENOLCK", 0, whole),
        outcome("lockf 1 EINTR", 0, whole),
        outcome("close 1 EIO", 0, whole),
    };
}

QList<Outcome> byteWriteOutcomes(int onFailure)
{
    return {
        outcome("open 1 EMFILE", onFailure, untouched),
        outcome("lseek 1 EINVAL", onFailure, untouched),
        outcome("lockf 1 ENOLCK", 0, whole),
        outcome("lockf 1 EINTR", 0, whole),
        outcome("write 1 ENOSPC", onFailure, untouched),
        outcome("write 1 short", onFailure, firstHalf),
        outcome("lseek 2 EINVAL", 0, whole),
        outcome("lockf 2 ENOLCK", 0, whole),
        outcome("lockf 2 EINTR", 0, whole),
        outcome("close 1 EIO", 0, whole),
    };
}

QList<Outcome> bitWriteOutcomes(int onFailure)
{
    return {
        outcome("open 1 EMFILE", onFailure, untouched),
        outcome("lseek 1 EINVAL", onFailure, untouched),
        outcome("lockf 1 ENOLCK", 0, whole),
        outcome("lockf 1 EINTR", 0, whole),
        outcome("read 1 EIO", onFailure, untouched),
        outcome("read 1 short", onFailure, untouched),
        outcome("lseek 2 EINVAL", onFailure, untouched),
        outcome("write 1 ENOSPC", onFailure, untouched),
        outcome("write 1 short", onFailure, firstHalf),
        outcome("lseek 3 EINVAL", 0, whole),
        outcome("lockf 2 ENOLCK", 0, whole),
        outcome("lockf 2 EINTR", 0, whole),
        outcome("close 1 EIO", 0, whole),
    };
}

/// The notice is sent when the register is written: what fails then changes only the result.
QList<Outcome> noticeOutcomes(int onFailure)
{
    return {
        outcome("open 2 EMFILE", onFailure, whole, "open fifo: "),
        outcome("write 2 ENOSPC", onFailure, whole),
        outcome("write 2 short", 0, whole),
        outcome("close 2 EIO", 0, whole),
    };
}

QList<Outcome> missingPipeOutcomes(int result)
{
    constexpr const char* first = "open fifo: ";
    return {
        outcome("open 2 EMFILE", result, whole, first),
        outcome("access 1 EACCES", result, whole, first),
        outcome("mkfifo 1 EACCES", result, whole, first),
        outcome("open 3 EMFILE", result, whole, first),
    };
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

/// An operation that fills so many bytes of the buffer.
Operation readOperation(const char* name, std::function<int()> run, int onFailure, int bytes,
                        Moved whenShort = firstHalf)
{
    return {name, std::move(run), 0, {}, readOutcomes(onFailure, whenShort), prepareBuffer,
            {},   buffered(bytes)};
}

QList<Operation> areaOperations()
{
    const auto listener = [] { prepareListener(areaPipe); };
    return {
        readOperation("ReadLocal, bytes", reading(5, 779, 8), failed, 8),
        // Nobody says what a bit register is of which a part comes.
        readOperation("ReadLocal, bits", reading(2, 14, 4), failed, 2, unsaid),
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
         writing(8, 18, 1),
         0,
         {{"/hmi_data/sfb.dat", 18, 1}},
         bitWriteOutcomes(failed)},
        {"WriteLocal_Notify",
         notifying(5, 779, 8),
         0,
         {bytesOf("/tmp/smw.dat", 779, 8)},
         byteWriteOutcomes(failed) + noticeOutcomes(notNotified),
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
        readOperation(
            "SysReg_Read, bytes", [] { return SysReg_Read(63, buffer()); }, -1, 8),
        readOperation(
            "SysReg_Read, a bit", [] { return SysReg_Read(67, buffer()); }, -1, 1),
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
         bitWriteOutcomes(-1) + noticeOutcomes(-1),
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
