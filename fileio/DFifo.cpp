#include "fileio/DFifo.h"

#include "fileio/SigPipeGuard.h"
#include "fileio/Uninterrupted.h"

#include <cerrno>
#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t fifoMode = 0777;

/// Whether a length is one that nothing can have, with errno saying so.
bool isNegative(int n)
{
    errno = n < 0 ? EINVAL : errno;
    return n < 0;
}

} // namespace

DFifo::DFifo(const char* path, int flags) : m_descriptor(Uninterrupted::open(path, flags))
{
    if (m_descriptor != -1) {
        return;
    }
    std::perror("open fifo");
    if (access(path, F_OK) == 0) {
        return;
    }
    if (mkfifo(path, fifoMode) != 0) {
        std::perror("mkfifo");
        return;
    }
    m_descriptor = Uninterrupted::open(path, flags);
}

DFifo::~DFifo()
{
    if (m_descriptor != -1) {
        ::close(m_descriptor);
    }
}

int DFifo::read(void* buf, int n)
{
    if (m_descriptor == -1 || isNegative(n)) {
        return -1;
    }
    return static_cast<int>(Uninterrupted::read(m_descriptor, buf, static_cast<size_t>(n)));
}

int DFifo::write(const void* buf, int n)
{
    if (m_descriptor == -1 || isNegative(n)) {
        return -1;
    }
    const SigPipeGuard guard;
    return static_cast<int>(Uninterrupted::write(m_descriptor, buf, static_cast<size_t>(n)));
}
