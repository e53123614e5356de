#include "fileio/SigPipeGuard.h"

#include <cerrno>
#include <ctime>

namespace {

bool sigPipeIsPending()
{
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
}

sigset_t sigPipeOnly()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}

} // namespace

SigPipeGuard::SigPipeGuard() : m_previousMask(), m_wasPending(sigPipeIsPending())
{
    const sigset_t sigPipe = sigPipeOnly();
    pthread_sigmask(SIG_BLOCK, &sigPipe, &m_previousMask);
}

SigPipeGuard::~SigPipeGuard()
{
    const int savedErrno = errno;
    if (!m_wasPending && sigPipeIsPending()) {
        const sigset_t sigPipe = sigPipeOnly();
        const timespec atOnce = {};
        while (sigtimedwait(&sigPipe, nullptr, &atOnce) < 0 && errno == EINTR) {
        }
    }
    pthread_sigmask(SIG_SETMASK, &m_previousMask, nullptr);
    errno = savedErrno;
}
