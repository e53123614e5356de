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

/// The command's first word.
std::string toolOf(const char* command)
{
    std::string tool(command);
    tool.resize(std::min(tool.find(' '), tool.size()));
    return tool;
}

/// Whether there is a file that may be run.
bool mayBeRun(const std::string& path)
{
    // With a slash at its end a path names folders only, which are no tools.
    return access(path.c_str(), X_OK) == 0 && access((path + '/').c_str(), F_OK) != 0;
}

/// Whether the tool could not be started, of which its shell ended with @p status, -1 when nobody
/// saw it. A tool that is there has been started, and may end with the shell's numbers itself; but
/// only a path can be looked at.
bool wasNotStarted(const char* command, int status)
{
    const std::string tool = toolOf(command);
    const bool isPath = tool.find('/') == 0;
    return (saysNotStarted(status) || (status == -1 && isPath)) && !(isPath && mayBeRun(tool));
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
    return count == 0 && wasNotStarted(command, status) ? startFailed() : 0;
}

int PlateformInterface::writecmd(const char* command, char* buf, int n)
{
    ToolPipe tool(command, ToolPipe::Direction::toTool);
    if (!tool.isOpen()) {
        return startFailed();
    }
    tool.write(buf, sizeOf(n));
    return wasNotStarted(command, tool.close()) ? startFailed() : 0;
}
