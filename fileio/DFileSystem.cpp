#include "fileio/DFileSystem.h"

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr mode_t createMode = 0644;

} // namespace

// Commands run while a file is open must not inherit it: hence O_CLOEXEC throughout.
DFileSystem::DFileSystem(const char* path, int flags)
    : m_readOnly((flags & O_ACCMODE) == O_RDONLY),
      m_descriptor(::open(path, flags | O_CLOEXEC, createMode))
{
    if (m_descriptor < 0 && (flags & O_CREAT) != 0) {
        m_descriptor = ::open(path, flags | O_TRUNC | O_CLOEXEC, createMode);
    }
}

DFileSystem::~DFileSystem()
{
    DFileSystem::close();
}

int DFileSystem::seek2(int offset, int whence)
{
    return isOpen() ? static_cast<int>(lseek64(m_descriptor, offset, whence)) : -1;
}

int DFileSystem::read(void* buf, int n)
{
    return isOpen() ? static_cast<int>(::read(m_descriptor, buf, static_cast<size_t>(n))) : 0;
}

int DFileSystem::write(const void* buf, int n)
{
    return isOpen() ? static_cast<int>(::write(m_descriptor, buf, static_cast<size_t>(n))) : 0;
}

void DFileSystem::close()
{
    if (isOpen()) {
        ::close(m_descriptor);
        m_descriptor = -1;
    }
}

int DFileSystem::offset() const
{
    return isOpen() ? static_cast<int>(lseek64(m_descriptor, 0, SEEK_CUR)) : -1;
}

void* DFileSystem::ioDev() const
{
    const std::intptr_t number = m_descriptor < 0 ? 0 : m_descriptor;
    return reinterpret_cast<void*>(number); // NOLINT(performance-no-int-to-ptr)
}

int DFileSystem::lock(int whence, int offset, int len)
{
    return seek2(offset, whence) < 0 ? -1 : lockHere(len);
}

int DFileSystem::lockHere(int len)
{
    if (!isOpen()) {
        return -1;
    }
    int result = 0;
    do { // a signal of the host's does not end the wait: callers go on to transfer
        result = m_readOnly ? lockShared(len) : lockf(m_descriptor, F_LOCK, len);
    } while (result != 0 && errno == EINTR);
    return result;
}

int DFileSystem::unlock(int whence, int offset, int len)
{
    return seek2(offset, whence) < 0 ? -1 : lockf(m_descriptor, F_ULOCK, len);
}

int DFileSystem::sync()
{
    return isOpen() ? fdatasync(m_descriptor) : 0;
}

int DFileSystem::lockShared(int len) const
{
    struct flock range = {};
    range.l_type = F_RDLCK;
    range.l_whence = SEEK_CUR;
    range.l_len = len;
    return fcntl(m_descriptor, F_SETLKW, &range);
}
