#include "device/PlateformInterface.h"

#include "device/ToolPipe.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>
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

std::size_t sizeOf(int n)
{
    return static_cast<std::size_t>(std::max(n, 0));
}

/// Whether a shell that ended with @p status says that it could not start the command; errno then
/// tells why.
bool saysNotStarted(int status)
{
    const int code = status != -1 && WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    if (code == shellNotFound || code == shellNotExecutable) {
        errno = code == shellNotFound ? ENOENT : EACCES;
        return true;
    }
    return false;
}

/// Whether a command is a file that may be run. Only a path can be looked at.
bool mayBeRun(const char* command)
{
    std::string path(command);
    path.resize(std::min(path.find(' '), path.size()));
    return path.find('/') == 0 && access(path.c_str(), X_OK) == 0;
}

} // namespace

int PlateformInterface::readcmd(const char* command, char* buf, int n)
{
    buf[0] = '\0';
    ToolPipe tool(command, ToolPipe::Direction::fromTool);
    if (!tool.isOpen()) {
        return startFailed();
    }
    const std::size_t count = tool.read(buf, sizeOf(n));
    const int status = tool.close();
    // Nothing came, and nobody knows how the tool ended: it may never have been there. An image
    // that was not delivered must not be written back.
    const bool isUnknown = status == -1;
    return count == 0 && (isUnknown || saysNotStarted(status)) ? startFailed() : 0;
}

int PlateformInterface::writecmd(const char* command, char* buf, int n)
{
    ToolPipe tool(command, ToolPipe::Direction::toTool);
    if (!tool.isOpen()) {
        return startFailed();
    }
    tool.write(buf, sizeOf(n));
    // A tool that is there has been started, and may end with the shell's numbers itself.
    return saysNotStarted(tool.close()) && !mayBeRun(command) ? startFailed() : 0;
}
