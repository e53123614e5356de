#include "device/ProcessTable.h"

#include "device/ShellLine.h"

#include <cstdio>
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
    std::FILE* pipe = popen(command, "r"); // NOLINT(cert-env33-c)
    if (!pipe) {
        return -1;
    }
    char line[lineBytes + 1] = {};
    const bool found = std::fgets(line, sizeof line, pipe) != nullptr;
    pclose(pipe);
    return found ? static_cast<int>(std::strtol(line, nullptr, decimal)) : nothingFound;
}
