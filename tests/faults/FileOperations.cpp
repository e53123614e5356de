#include "fileio/DFifo.h"
#include "fileio/DFileStdio.h"
#include "fileio/DFileSystem.h"
#include "tests/faults/Operation.h"
#include "tests/support/PanelWorld.h"

#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char* pipePath = "/tmp/pipe";
constexpr int copiedBytes = 0x40000 + 0x30000; ///< A whole chunk and most of one.

int sizeOf(const char* path)
{
    struct stat info = {};
    return ::stat(path, &info) == 0 ? static_cast<int>(info.st_size) : -1;
}

/// Calls a function with an open file that closes when it returns.
template <typename Function>
std::function<int()> withFile(int flags, Function function)
{
    return [=] {
        DFileSystem file(plainFile, flags);
        return static_cast<int>(function(file));
    };
}

template <typename Function>
std::function<int()> withStream(const char* mode, Function function)
{
    return [=] {
        DFileStdio file(plainFile, mode);
        return static_cast<int>(function(file));
    };
}

std::function<int()> creating(const char* path)
{
    return [=] {
        const DFileSystem file(path, O_RDWR | O_CREAT);
        return file.ioDev() ? 1 : 0;
    };
}

QList<Operation> descriptorOperations()
{
    static std::array<char, 8> buffer = {'1', '2', '3', '4', '5', '6', '7', '8'};
    return {
        {"DFileSystem, open",
         withFile(O_RDWR, [](DFileSystem& file) { return file.ioDev() != nullptr; }),
         1,
         {},
         {{"open 1 EMFILE", 0}, {"close 1 EIO", 1}}},
        // Tried once more.
        {"DFileSystem, create",
         creating(newFile),
         1,
         {wholeFile(newFile)},
         {{"open 1 EMFILE", 1}, {"close 1 EIO", 1}}},
        // The second try cuts the file.
        {"DFileSystem, create over a file",
         creating(plainFile),
         plainBytes,
         {wholeFile(plainFile)},
         {{"open 1 EMFILE", 0}, {"close 1 EIO", plainBytes}},
         {},
         [] { return sizeOf(plainFile); }},
        {"DFileSystem::seek2",
         withFile(O_RDWR, [](DFileSystem& file) { return file.seek2(-4, SEEK_END); }),
         60,
         {},
         {{"open 1 EMFILE", -1}, {"lseek 1 EINVAL", -1}, {"close 1 EIO", 60}}},
        {"DFileSystem::offset",
         withFile(O_RDWR, [](DFileSystem& file) { return file.offset(); }),
         0,
         {},
         {{"open 1 EMFILE", -1}, {"lseek 1 EINVAL", -1}, {"close 1 EIO", 0}}},
        {"DFileSystem::read",
         withFile(O_RDONLY, [](DFileSystem& file) { return file.read(buffer.data(), 8); }),
         8,
         {},
         {{"open 1 EMFILE", 0}, {"read 1 EIO", -1}, {"read 1 short", 4}, {"close 1 EIO", 8}}},
        {"DFileSystem::write",
         withFile(O_WRONLY, [](DFileSystem& file) { return file.write(buffer.data(), 8); }),
         8,
         {bytesOf(plainFile, 0, 8)},
         {{"open 1 EMFILE", 0}, {"write 1 ENOSPC", -1}, {"write 1 short", 4}, {"close 1 EIO", 8}}},
        {"DFileSystem::close",
         withFile(O_WRONLY,
                  [](DFileSystem& file) {
                      file.close();
                      return file.ioDev() != nullptr;
                  }),
         0,
         {},
         {{"open 1 EMFILE", 0}, {"close 1 EIO", 0}}},
        {"DFileSystem::lock, exclusive",
         withFile(O_RDWR, [](DFileSystem& file) { return file.lock(SEEK_SET, 8, 4); }),
         0,
         {},
         {{"open 1 EMFILE", -1},
          {"lseek 1 EINVAL", -1},
          {"lockf 1 ENOLCK", -1},
          {"lockf 1 EINTR", 0},
          {"close 1 EIO", 0}}},
        {"DFileSystem::lock, shared",
         withFile(O_RDONLY, [](DFileSystem& file) { return file.lock(SEEK_SET, 8, 4); }),
         0,
         {},
         {{"open 1 EMFILE", -1},
          {"lseek 1 EINVAL", -1},
          {"fcntl 1 ENOLCK", -1},
          {"fcntl 1 EINTR", 0},
          {"close 1 EIO", 0}}},
        {"DFileSystem::unlock",
         withFile(O_RDWR,
                  [](DFileSystem& file) {
                      file.lock(SEEK_SET, 8, 4);
                      return file.unlock(SEEK_SET, 8, 4);
                  }),
         0,
         {},
         {{"open 1 EMFILE", -1},
          {"lseek 1 EINVAL", 0},
          {"lockf 1 ENOLCK", 0},
          {"lockf 1 EINTR", 0},
          {"lseek 2 EINVAL", -1},
          {"lockf 2 ENOLCK", -1},
          {"lockf 2 EINTR", -1},
          {"close 1 EIO", 0}}},
        {"DFileSystem::sync",
         withFile(O_RDWR, [](DFileSystem& file) { return file.sync(); }),
         0,
         {},
         {{"open 1 EMFILE", 0}, {"fdatasync 1 EIO", -1}, {"close 1 EIO", 0}}},
    };
}

void prepareCopy()
{
    PanelWorld::writeFile(QLatin1String(plainFile), QByteArray(copiedBytes, 'c'));
}

/// The bytes of a copy, -1 of one that failed.
int copy(DFileStdio& file)
{
    const bool copied = file.copy2(newFile);
    return copied ? sizeOf(newFile) : -1;
}

QList<Operation> streamOperations()
{
    static std::array<char, 8> buffer = {'1', '2', '3', '4', '5', '6', '7', '8'};
    return {
        {"DFileStdio, open",
         withStream("rb", [](DFileStdio& file) { return file.ioDev() != nullptr; }),
         1,
         {},
         {{"fopen 1 EMFILE", 0}, {"fcntl 1 EBADF", 1}, {"fclose 1 ENOSPC", 1}}},
        {"DFileStdio::open, another file",
         withStream("rb", [](DFileStdio& file) { return file.open(newFile, "wb"); }),
         1,
         {wholeFile(newFile)},
         {{"fopen 1 EMFILE", 1},
          {"fcntl 1 EBADF", 1},
          {"fclose 1 ENOSPC", 1},
          {"fopen 2 EMFILE", 0},
          {"fcntl 2 EBADF", 1},
          {"fclose 2 ENOSPC", 1}}},
        // The move is not looked at: it stays where it was, and says so.
        {"DFileStdio::seek2",
         withStream("rb", [](DFileStdio& file) { return file.seek2(-4, SEEK_END); }),
         60,
         {},
         {{"fopen 1 EMFILE", -1},
          {"fcntl 1 EBADF", 60},
          {"fseek 1 EINVAL", 0},
          {"ftell 1 EINVAL", -1},
          {"fclose 1 ENOSPC", 60}}},
        {"DFileStdio::offset",
         withStream("rb", [](DFileStdio& file) { return file.offset(); }),
         0,
         {},
         {{"fopen 1 EMFILE", -1},
          {"fcntl 1 EBADF", 0},
          {"ftell 1 EINVAL", -1},
          {"fclose 1 ENOSPC", 0}}},
        {"DFileStdio::read",
         withStream("rb", [](DFileStdio& file) { return file.read(buffer.data(), 8); }),
         8,
         {},
         {{"fopen 1 EMFILE", 0},
          {"fcntl 1 EBADF", 8},
          {"fread 1 EIO", 0},
          {"fread 1 short", 4},
          {"fclose 1 ENOSPC", 8}}},
        {"DFileStdio::write",
         withStream("r+b", [](DFileStdio& file) { return file.write(buffer.data(), 8); }),
         8,
         {bytesOf(plainFile, 0, 8)},
         {{"fopen 1 EMFILE", 0},
          {"fcntl 1 EBADF", 8},
          {"fwrite 1 ENOSPC", 0},
          {"fwrite 1 short", 4},
          {"fclose 1 ENOSPC", 8}}},
        {"DFileStdio::close",
         withStream("rb",
                    [](DFileStdio& file) {
                        file.close();
                        return file.ioDev() != nullptr;
                    }),
         0,
         {},
         {{"fopen 1 EMFILE", 0}, {"fcntl 1 EBADF", 0}, {"fclose 1 ENOSPC", 0}}},
        {"DFileStdio::lock and unlock",
         withStream("rb",
                    [](DFileStdio& file) {
                        file.lock();
                        file.unlock();
                        return 0;
                    }),
         0,
         {},
         {{"fopen 1 EMFILE", 0}, {"fcntl 1 EBADF", 0}, {"fclose 1 ENOSPC", 0}}},
        // A chunk that comes short is the last one.
        {"DFileStdio::copy2",
         withStream("rb", copy),
         copiedBytes,
         {wholeFile(newFile)},
         {{"fopen 1 EMFILE", 0},
          {"fcntl 1 EBADF", copiedBytes},
          {"fopen 2 EMFILE", -1},
          {"fcntl 2 EBADF", copiedBytes},
          {"fread 1 EIO", 0},
          {"fread 1 short", 0x20000},
          {"fwrite 1 ENOSPC", -1},
          {"fwrite 1 short", -1},
          {"fread 2 EIO", 0x40000},
          {"fread 2 short", 0x40000 + 0x20000},
          {"fwrite 2 ENOSPC", -1},
          {"fwrite 2 short", -1},
          {"fclose 1 ENOSPC", copiedBytes},
          {"fclose 2 ENOSPC", copiedBytes}},
         prepareCopy},
    };
}

/// A pipe with one notice in it; both ends stay open as long as the program runs.
void preparePipe()
{
    static int ends = -1;
    if (ends != -1) {
        ::close(ends);
    }
    mkfifo(pipePath, 0600);
    ends = ::open(pipePath, O_RDWR | O_NONBLOCK | O_CLOEXEC);
    (void)!::write(ends, "once", 4);
}

void preparePipeWithoutReader()
{
    ::unlink(pipePath);
    mkfifo(pipePath, 0600);
}

void prepareNoPipe()
{
    ::unlink(pipePath);
}

int readPipe(int size)
{
    std::array<char, 16> buffer;
    return DFifo(pipePath, O_RDONLY | O_NONBLOCK).read(buffer.data(), size);
}

int writePipe()
{
    return DFifo(pipePath, O_WRONLY | O_NONBLOCK).write("12345678", 8);
}

QList<Operation> pipeOperations()
{
    return {
        {"DFifo::read",
         [] { return readPipe(4); },
         4,
         {},
         {{"open 1 EMFILE", -1, "open fifo: "},
          {"read 1 EIO", -1},
          {"read 1 short", 2},
          {"close 1 EIO", 4}},
         preparePipe},
        {"DFifo::write",
         writePipe,
         8,
         {},
         {{"open 1 EMFILE", -1, "open fifo: "},
          {"write 1 ENOSPC", -1},
          {"write 1 short", 4},
          {"close 1 EIO", 8}},
         preparePipe},
        {"DFifo, without a reader",
         writePipe,
         -1,
         {},
         {{"open 1 EMFILE", -1, "open fifo: "}, {"access 1 EACCES", -1, "open fifo: "}},
         preparePipeWithoutReader},
        {"DFifo, missing",
         [] { return readPipe(4); },
         0,
         {},
         {{"open 1 EMFILE", 0, "open fifo: "},
          {"access 1 EACCES", 0, "open fifo: "},
          {"mkfifo 1 EACCES", -1, "open fifo: "},
          {"open 2 EMFILE", -1, "open fifo: "},
          {"read 1 EIO", -1, "open fifo: "},
          {"read 1 short", 0, "open fifo: "},
          {"close 1 EIO", 0, "open fifo: "}},
         prepareNoPipe},
    };
}

} // namespace

QList<Operation> fileOperations()
{
    return descriptorOperations() + streamOperations() + pipeOperations();
}
