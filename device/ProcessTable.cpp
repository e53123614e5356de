#include "device/ProcessTable.h"

#include "device/ShellLine.h"
#include "device/ToolPipe.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace {

constexpr int decimal = 10;
constexpr int lineBytes = 128;
constexpr int nothingFound = 1;

} // namespace

int detectProcess(const char* name)
{
    char command[ShellLine::bufferBytes];
    if (!ShellLine::format(command, "ps -ef | grep %s|grep -v grep", name)) {
        return -1;
    }
    ToolPipe tool(command, ToolPipe::Direction::fromTool);
    if (!tool.isOpen()) {
        return -1;
    }
    std::array<char, lineBytes + 1> line = {}; // one more keeps it a text
    if (tool.read(line.data(), lineBytes) == 0) {
        return nothingFound;
    }
    std::replace(line.begin(), line.end(), '\n', '\0'); // a number does not go on in the next line
    return static_cast<int>(std::strtol(line.data(), nullptr, decimal));
}
