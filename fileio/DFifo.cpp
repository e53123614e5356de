#include "fileio/DFifo.h"

#include "fileio/SigPipeGuard.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t fifoMode = 0777;

} // namespace

DFifo::DFifo(const char* path, int flags) : m_descriptor(::open(path, flags | O_CLOEXEC))
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
    m_descriptor = ::open(path, flags | O_CLOEXEC);
}

DFifo::~DFifo()
{
    if (m_descriptor != -1) {
        ::close(m_descriptor);
    }
}

int DFifo::read(void* buf, int n)
{
    if (m_descriptor == -1) {
        return -1;
    }
    return static_cast<int>(::read(m_descriptor, buf, static_cast<size_t>(n)));
}

int DFifo::write(const void* buf, int n)
{
    if (m_descriptor == -1) {
        return -1;
    }
    const SigPipeGuard guard;
    return static_cast<int>(::write(m_descriptor, buf, static_cast<size_t>(n)));
}
