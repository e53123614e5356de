#include "fileio/DFileSystem.h"

#include "fileio/Uninterrupted.h"

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr mode_t createMode = 0644;

/// Descriptor 0 stays what it is, as it counts as not open.
int openFile(const char* path, int flags)
{
    const int descriptor = Uninterrupted::openAnywhere(path, flags, createMode);
    return descriptor == 0 ? descriptor : Uninterrupted::awayFromStandard(descriptor);
}

/// Whether a length is one that nothing can have, with errno saying so.
bool isNegative(int n)
{
    errno = n < 0 ? EINVAL : errno;
    return n < 0;
}

bool isReadOnly(int flags)
{
    return (flags & O_ACCMODE) == O_RDONLY;
}

} // namespace

DFileSystem::DFileSystem(const char* path, int flags)
    : m_readOnly(isReadOnly(flags)), m_descriptor(openFile(path, flags))
{
    if (m_descriptor < 0 && (flags & O_CREAT) != 0) {
        m_descriptor = openFile(path, flags | O_TRUNC);
    }
}

DFileSystem::DFileSystem(int descriptor, int flags)
    : m_readOnly(isReadOnly(flags)), m_descriptor(descriptor)
{
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
    if (!isOpen() || isNegative(n)) {
        return isOpen() ? -1 : 0;
    }
    return static_cast<int>(Uninterrupted::read(m_descriptor, buf, static_cast<size_t>(n)));
}

int DFileSystem::write(const void* buf, int n)
{
    if (!isOpen() || isNegative(n)) {
        return isOpen() ? -1 : 0;
    }
    return static_cast<int>(Uninterrupted::write(m_descriptor, buf, static_cast<size_t>(n)));
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
    return Uninterrupted::call(
        [&] { return m_readOnly ? lockShared(len) : lockf(m_descriptor, F_LOCK, len); });
}

int DFileSystem::unlock(int whence, int offset, int len)
{
    return seek2(offset, whence) < 0 ? -1 : lockf(m_descriptor, F_ULOCK, len);
}

int DFileSystem::sync()
{
    return isOpen() ? Uninterrupted::call([&] { return fdatasync(m_descriptor); }) : 0;
}

int DFileSystem::lockShared(int len) const
{
    struct flock range = {};
    range.l_type = F_RDLCK;
    range.l_whence = SEEK_CUR;
    range.l_len = len;
    return fcntl(m_descriptor, F_SETLKW, &range);
}
