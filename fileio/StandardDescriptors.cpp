#include "fileio/StandardDescriptors.h"

#include "fileio/Uninterrupted.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool isClosed(int descriptor)
{
    return fcntl(descriptor, F_GETFD) == -1 && errno == EBADF;
}

} // namespace

StandardDescriptors::Lent StandardDescriptors::lend(int number)
{
    // Without O_CLOEXEC: the commands are to have it as well.
    const int opened = Uninterrupted::call([] { return ::open("/dev/null", O_RDWR); });
    struct stat info = {};
    if (opened == number && fstat(opened, &info) == 0) {
        return {true, info.st_dev, info.st_ino};
    }
    if (opened >= 0) { // another thread was faster
        ::close(opened);
    }
    return {};
}

bool StandardDescriptors::stillLeadsTo(const Lent& lent, int number)
{
    struct stat info = {};
    return fstat(number, &info) == 0 && info.st_dev == lent.device && info.st_ino == lent.inode;
}

StandardDescriptors::StandardDescriptors()
{
    const int savedErrno = errno;
    for (std::size_t number = 0; number < m_lent.size(); ++number) {
        const int descriptor = static_cast<int>(number);
        if (isClosed(descriptor)) {
            m_lent[number] = lend(descriptor);
        }
    }
    errno = savedErrno;
}

StandardDescriptors::~StandardDescriptors()
{
    const int savedErrno = errno;
    for (std::size_t number = 0; number < m_lent.size(); ++number) {
        const int descriptor = static_cast<int>(number);
        if (m_lent[number].isLent && stillLeadsTo(m_lent[number], descriptor)) {
            ::close(descriptor);
        }
    }
    errno = savedErrno;
}
