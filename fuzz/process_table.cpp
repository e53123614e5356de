#include "device/ProcessTable.h"
#include "fuzz/FuzzSupport.h"

#include <algorithm>
#include <climits>

// Input: whether the command can be run (bit 0 of one byte), the pieces in which its output arrives
// (one byte), the output.

namespace {

constexpr std::size_t lineBytes = 128;
constexpr int nothingFound = 1;
constexpr long long beyondInt = INT_MAX + 1LL;

/// The decimal number at the start of a line, beyondInt when it is too large.
long long numberAtStart(const std::string& line)
{
    std::size_t at = std::min(line.find_first_not_of(" \t\n\v\f\r"), line.size());
    const bool isNegative = at < line.size() && line[at] == '-';
    at += at < line.size() && (line[at] == '-' || line[at] == '+') ? 1 : 0;
    long long value = 0;
    for (; at < line.size() && line[at] >= '0' && line[at] <= '9'; ++at) {
        value = std::min(value * 10 + (line[at] - '0'), beyondInt);
    }
    return isNegative && value < beyondInt ? -value : value;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    ToolStandIn::Tool tool;
    tool.canBeRead = (input.byte() & 1) == 0;
    tool.pieceBytes = input.byte();
    tool.output = input.rest();
    ToolStandIn::install(tool);

    const int found = detectProcess("runtime");
    const std::string firstLine = tool.output.substr(0, tool.output.find('\n'));
    const long long number = numberAtStart(firstLine.substr(0, lineBytes));
    if (!tool.canBeRead) {
        expect(found == -1, "a command that cannot be run gives -1");
    } else if (tool.output.empty()) {
        expect(found == nothingFound, "no line gives 1");
    } else if (number < beyondInt) {
        expect(found == number, "the number at the start of the first line is given");
    }
    expect(ToolStandIn::commands() ==
               std::vector<std::string>{"ps -ef | grep runtime|grep -v grep"},
           "one command is run");
    expect(ToolStandIn::openPipes() == 0, "no pipe stays open");
    return 0;
}
