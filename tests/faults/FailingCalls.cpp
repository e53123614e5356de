#include "tests/faults/FailingCalls.h"

#include <QHash>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <initializer_list>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// How a call ends: with an error of the system, or as one of these.
constexpr int asAlways = -1;
constexpr int tooShort = 0;
constexpr int cut = -2;         ///< By a signal, when half was done.
constexpr int interrupted = -3; ///< By a signal, before anything was done.

/// The status of a line for which there was no process: that of a shell that found no command.
constexpr int shellNotStarted = 127 << 8;

/// Only the thread of the function under test is meant.
thread_local bool watching = false;
bool happened = false;

// Made at first use: the libraries open files before the objects of this file exist.

FailingCalls::Fault& wanted()
{
    static FailingCalls::Fault fault;
    return fault;
}

QList<FailingCalls::Fault>& possible()
{
    static QList<FailingCalls::Fault> faults;
    return faults;
}

QList<FailingCalls::Fault>& possibleInterruptions()
{
    static QList<FailingCalls::Fault> faults;
    return faults;
}

/// The call that has nothing more to give, and its error: the medium is full.
QByteArray& exhausted()
{
    static QByteArray call;
    return call;
}

QHash<QByteArray, int>& counts()
{
    static QHash<QByteArray, int> perCall;
    return perCall;
}

QByteArray nameOf(int way)
{
    switch (way) {
    case tooShort:
        return "short";
    case cut:
        return "cut";
    case interrupted:
        return "interrupted";
    default:
        return strerrorname_np(way);
    }
}

bool isInterruption(int way)
{
    return way == cut || way == interrupted;
}

/// Writes a call down with the ways in which it can end badly. The one that it shall take, with
/// errno set, or asAlways.
int endOf(const char* call, std::initializer_list<int> ways)
{
    if (!watching) {
        return asAlways;
    }
    watching = false; // the calls of this function are no business of anybody
    int end = asAlways;
    const QByteArray occurrence = QByteArray(call) + ' ' + QByteArray::number(++counts()[call]);
    for (const int way : ways) {
        const FailingCalls::Fault fault = occurrence + ' ' + nameOf(way);
        (isInterruption(way) ? possibleInterruptions() : possible()) << fault;
        end = fault == wanted() ? way : end;
    }
    watching = true;
    happened = happened || end != asAlways;
    if (end > tooShort || end == interrupted) {
        errno = end == interrupted ? EINTR : end;
    }
    return end;
}

bool fails(const char* call, int error)
{
    return endOf(call, {error}) != asAlways;
}

/// The same for a call that may wait.
bool failsWaiting(const char* call, int error)
{
    return endOf(call, {error, interrupted}) != asAlways;
}

/// How many of @p size are left to the library by a transfer with that end, -1 when it fails.
template <typename Size>
long long allowed(int end, Size size)
{
    const auto all = static_cast<long long>(size);
    return end == asAlways ? all : end == tooShort || end == cut ? all / 2 : -1;
}

/// Of a transfer to a descriptor. After a short one there is no room for any more.
long long allowedToWrite(size_t size)
{
    if (watching && exhausted() == "write") {
        errno = ENOSPC;
        return -1;
    }
    const int end = size > 1 ? endOf("write", {ENOSPC, tooShort, interrupted, cut})
                             : endOf("write", {ENOSPC, tooShort, interrupted});
    exhausted() = end == tooShort ? "write" : "";
    return allowed(end, size);
}

/// The C library's own.
template <typename Function>
Function* original(Function* /*ours*/, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

namespace FailingCalls {

void start(const Fault& fault)
{
    wanted() = fault;
    possible().clear();
    possibleInterruptions().clear();
    exhausted().clear();
    counts().clear();
    happened = false;
    watching = true;
}

QList<Fault> stop()
{
    watching = false;
    return possible();
}

const QList<Fault>& interruptions()
{
    return possibleInterruptions();
}

bool hasHappened()
{
    return happened;
}

} // namespace FailingCalls

#define ORIGINAL(name) static const auto real = original(&(name), #name)

extern "C" {

int open(const char* path, int flags, ...)
{
    ORIGINAL(open);
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return failsWaiting("open", EMFILE) ? -1 : real(path, flags, mode);
}

int open64(const char* path, int flags, ...)
{
    ORIGINAL(open64);
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return failsWaiting("open", EMFILE) ? -1 : real(path, flags, mode);
}

off64_t lseek64(int descriptor, off64_t offset, int whence) noexcept
{
    ORIGINAL(lseek64);
    return fails("lseek", EINVAL) ? -1 : real(descriptor, offset, whence);
}

int lockf(int descriptor, int command, off_t length)
{
    ORIGINAL(lockf);
    return endOf("lockf", {ENOLCK, EINTR}) != asAlways ? -1 : real(descriptor, command, length);
}

int lockf64(int descriptor, int command, off64_t length)
{
    ORIGINAL(lockf64);
    return endOf("lockf", {ENOLCK, EINTR}) != asAlways ? -1 : real(descriptor, command, length);
}

int fcntl(int descriptor, int command, ...)
{
    ORIGINAL(fcntl);
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*); // numbers come as well as pointers
    va_end(arguments);
    if (command == F_GETFD) { // asks whether a descriptor is open: no failure but an answer
        return real(descriptor, command);
    }
    // On 32 bits a lock in a file of any length is a command of its own.
    const bool waits = command == F_SETLKW64;
    const int end = waits ? endOf("fcntl", {ENOLCK, EINTR}) : endOf("fcntl", {EBADF});
    return end != asAlways ? -1 : real(descriptor, command, argument);
}

ssize_t read(int descriptor, void* buffer, size_t size)
{
    ORIGINAL(read);
    const long long count = allowed(endOf("read", {EIO, tooShort, interrupted}), size);
    return count < 0 ? -1 : real(descriptor, buffer, static_cast<size_t>(count));
}

ssize_t write(int descriptor, const void* buffer, size_t size)
{
    ORIGINAL(write);
    const long long count = allowedToWrite(size);
    return count < 0 ? -1 : real(descriptor, buffer, static_cast<size_t>(count));
}

int close(int descriptor)
{
    ORIGINAL(close);
    const bool failed = fails("close", EIO);
    const int result = real(descriptor);
    errno = failed ? EIO : errno;
    return failed ? -1 : result;
}

int fdatasync(int descriptor)
{
    ORIGINAL(fdatasync);
    return failsWaiting("fdatasync", EIO) ? -1 : real(descriptor);
}

int access(const char* path, int mode) noexcept
{
    ORIGINAL(access);
    return fails("access", EACCES) ? -1 : real(path, mode);
}

int mkfifo(const char* path, mode_t mode) noexcept
{
    ORIGINAL(mkfifo);
    return fails("mkfifo", EACCES) ? -1 : real(path, mode);
}

int ioctl(int descriptor, unsigned long request, ...) noexcept
{
    ORIGINAL(ioctl);
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    return failsWaiting("ioctl", ENOTTY) ? -1 : real(descriptor, request, argument);
}

// What the two are called by 32-bit programs whose times have 64 bits.
int fcntlOfLongTimes(int descriptor, int command, ...) __asm__("__fcntl_time64")
    __attribute__((alias("fcntl")));
int ioctlOfLongTimes(int descriptor, unsigned long request, ...) noexcept __asm__("__ioctl_time64")
    __attribute__((alias("ioctl")));

int ftruncate64(int descriptor, off64_t length) noexcept
{
    ORIGINAL(ftruncate64);
    return fails("ftruncate", EIO) ? -1 : real(descriptor, length);
}

FILE* fopen(const char* path, const char* mode)
{
    ORIGINAL(fopen);
    return fails("fopen", EMFILE) ? nullptr : real(path, mode);
}

FILE* fopen64(const char* path, const char* mode)
{
    ORIGINAL(fopen64);
    return fails("fopen", EMFILE) ? nullptr : real(path, mode);
}

int fclose(FILE* stream)
{
    ORIGINAL(fclose);
    const bool failed = fails("fclose", ENOSPC);
    const int result = real(stream);
    errno = failed ? ENOSPC : errno;
    return failed ? EOF : result;
}

size_t fread(void* buffer, size_t size, size_t count, FILE* stream)
{
    ORIGINAL(fread);
    const long long some = allowed(endOf("fread", {EIO, tooShort}), count);
    return some < 0 ? 0 : real(buffer, size, static_cast<size_t>(some), stream);
}

size_t fwrite(const void* buffer, size_t size, size_t count, FILE* stream)
{
    ORIGINAL(fwrite);
    const long long some = allowed(endOf("fwrite", {ENOSPC, tooShort}), count);
    return some < 0 ? 0 : real(buffer, size, static_cast<size_t>(some), stream);
}

int fflush(FILE* stream)
{
    ORIGINAL(fflush);
    return fails("fflush", EPIPE) ? EOF : real(stream);
}

char* fgets(char* buffer, int size, FILE* stream)
{
    ORIGINAL(fgets);
    return fails("fgets", EIO) ? nullptr : real(buffer, size, stream);
}

int fseek(FILE* stream, long offset, int whence)
{
    ORIGINAL(fseek);
    return fails("fseek", EINVAL) ? -1 : real(stream, offset, whence);
}

long ftell(FILE* stream)
{
    ORIGINAL(ftell);
    return fails("ftell", EINVAL) ? -1 : real(stream);
}

void rewind(FILE* stream)
{
    ORIGINAL(rewind);
    if (!fails("rewind", EINVAL)) { // it cannot say so
        real(stream);
    }
}

FILE* popen(const char* command, const char* mode)
{
    ORIGINAL(popen);
    return fails("popen", EMFILE) ? nullptr : real(command, mode);
}

int pclose(FILE* pipe)
{
    ORIGINAL(pclose);
    const bool failed = fails("pclose", ECHILD);
    const int status = real(pipe);
    errno = failed ? ECHILD : errno;
    return failed ? -1 : status;
}

int system(const char* line)
{
    ORIGINAL(system);
    const int end = endOf("system", {EAGAIN, ECHILD});
    if (end == EAGAIN) {
        return shellNotStarted;
    }
    const int status = real(line);
    return end == ECHILD ? -1 : status;
}

} // extern "C"
