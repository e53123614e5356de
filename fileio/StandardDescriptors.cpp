#include "fileio/StandardDescriptors.h"

#include "fileio/Uninterrupted.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace {

bool isClosed(int descriptor)
{
    return fcntl(descriptor, F_GETFD) == -1 && errno == EBADF;
}

/// Whether @p number leads to /dev/null now. Another thread may have been faster.
bool lend(int number)
{
    // Without O_CLOEXEC: the commands are to have it as well.
    const int opened = Uninterrupted::call([] { return ::open("/dev/null", O_RDWR); });
    if (opened >= 0 && opened != number) {
        ::close(opened);
    }
    return opened == number;
}

} // namespace

StandardDescriptors::StandardDescriptors()
{
    const int savedErrno = errno;
    for (std::size_t number = 0; number < m_lent.size(); ++number) {
        const int descriptor = static_cast<int>(number);
        m_lent[number] = isClosed(descriptor) && lend(descriptor);
    }
    errno = savedErrno;
}

StandardDescriptors::~StandardDescriptors()
{
    const int savedErrno = errno;
    for (std::size_t number = 0; number < m_lent.size(); ++number) {
        if (m_lent[number]) {
            ::close(static_cast<int>(number));
        }
    }
    errno = savedErrno;
}
