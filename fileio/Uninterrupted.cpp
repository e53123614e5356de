#include "fileio/Uninterrupted.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int lastStandard = STDERR_FILENO;

} // namespace

namespace Uninterrupted {

int openAnywhere(const char* path, int flags, mode_t mode)
{
    return call([&] { return ::open(path, flags | O_CLOEXEC, mode); });
}

int awayFromStandard(int descriptor)
{
    if (descriptor < 0 || descriptor > lastStandard) {
        return descriptor;
    }
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, lastStandard + 1);
    ::close(descriptor);
    return moved;
}

int open(const char* path, int flags, mode_t mode)
{
    return awayFromStandard(openAnywhere(path, flags, mode));
}

ssize_t read(int descriptor, void* buffer, std::size_t size)
{
    return call([&] { return ::read(descriptor, buffer, size); });
}

std::size_t readAll(int descriptor, void* buffer, std::size_t size)
{
    std::size_t done = 0;
    ssize_t count = 1;
    while (done < size && count > 0) {
        count = read(descriptor, static_cast<char*>(buffer) + done, size - done);
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return done;
}

ssize_t write(int descriptor, const void* buffer, std::size_t size)
{
    std::size_t done = 0;
    ssize_t count = 0;
    do { // also for no bytes: whether the descriptor takes any is then the answer
        count = call([&] {
            return ::write(descriptor, static_cast<const char*>(buffer) + done, size - done);
        });
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    } while (done < size && count > 0);
    return done > 0 ? static_cast<ssize_t>(done) : count;
}

} // namespace Uninterrupted
