#include "device/PlateformInterface.h"

#include "fileio/SigPipeGuard.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// What a shell ends with when it could not start the command.
constexpr int shellNotFound = 127;
constexpr int shellNotExecutable = 126;

int startFailed()
{
    std::perror("Fail to popen\n");
    return -1;
}

/// Whether the shell that popen started could not start the tool. An unknown status, as when the
/// host has its children reaped by the system, is none.
bool toolWasMissing(int status)
{
    if (status == -1 || !WIFEXITED(status)) {
        return false;
    }
    const int code = WEXITSTATUS(status);
    if (code == shellNotFound || code == shellNotExecutable) {
        errno = code == shellNotFound ? ENOENT : EACCES;
        return true;
    }
    return false;
}

/// The reading end of a tool's input pipe, to see after the tool's end what it left unread. A tool
/// that ends at once may do so before or after the bytes are in the pipe: without this look the
/// same failure would be noticed at one time and missed at another.
class UnreadInput
{
public:
    /// Opened only when everything is in the pipe: while it is open, writing would not fail.
    explicit UnreadInput(int writingEnd)
    {
        std::array<char, 32> path = {};
        std::snprintf(path.data(), path.size(), "/proc/self/fd/%d", writingEnd);
        m_descriptor = ::open(path.data(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    }
    ~UnreadInput()
    {
        if (m_descriptor >= 0) {
            ::close(m_descriptor);
        }
    }
    UnreadInput(const UnreadInput&) = delete;
    UnreadInput& operator=(const UnreadInput&) = delete;

    /// -1 when it cannot be seen, as without /proc.
    int bytes() const
    {
        int count = 0;
        return m_descriptor >= 0 && ioctl(m_descriptor, FIONREAD, &count) == 0 ? count : -1;
    }

private:
    int m_descriptor = -1;
};

} // namespace

int PlateformInterface::readcmd(const char* command, char* buf, int n)
{
    buf[0] = '\0';
    std::FILE* pipe = popen(command, "r"); // NOLINT(cert-env33-c)
    if (!pipe) {
        return startFailed();
    }
    const std::size_t count = std::fread(buf, 1, static_cast<std::size_t>(n), pipe);
    const int status = pclose(pipe);
    return count == 0 && toolWasMissing(status) ? startFailed() : 0;
}

int PlateformInterface::writecmd(const char* command, char* buf, int n)
{
    std::FILE* pipe = popen(command, "w"); // NOLINT(cert-env33-c)
    if (!pipe) {
        return startFailed();
    }
    const auto size = static_cast<std::size_t>(n);
    const SigPipeGuard guard; // after popen: the tool must not inherit the blocked signal
    if (std::fwrite(buf, 1, size, pipe) != size || std::fflush(pipe) != 0) {
        return toolWasMissing(pclose(pipe)) ? startFailed() : -1;
    }
    const UnreadInput unread(fileno(pipe));
    const int status = pclose(pipe);
    const int left = unread.bytes();
    if (left >= 0 && left < n) {
        return 0; // it took something, so it was started, whatever it ended with
    }
    if (toolWasMissing(status)) {
        return startFailed();
    }
    return n > 0 && left == n ? -1 : 0;
}
