#include "adapters/DhcpClient.h"
#include "fuzz/FuzzSupport.h"

#include <QByteArray>

#include <climits>

// Input: the pid file of the DHCP client of eth0.

namespace {

constexpr std::size_t longestLine = 64;

/// The process id in a pid file, 0 when there is none to be trusted.
long long processIdIn(const std::string& file)
{
    const std::string line = file.substr(0, file.find('\n'));
    const char* blanks = " \t\v\f\r";
    const std::size_t first = line.find_first_not_of(blanks);
    if (line.size() > longestLine || first == std::string::npos) {
        return 0;
    }
    long long value = 0;
    for (std::size_t at = first; at <= line.find_last_not_of(blanks); ++at) {
        if (line[at] < '0' || line[at] > '9') {
            return 0;
        }
        value = value * 10 + (line[at] - '0');
        if (value > INT_MAX) {
            return 0;
        }
    }
    return value;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string file = Input(data, size).rest();
    const int pid = DhcpClient::processId(QByteArray(file.data(), int(file.size())));
    expect(pid >= 0, "a process id is positive, or 0 for none");
    expect(pid == processIdIn(file), "a process id is the number in the first line");

    writeFile("/var/run/udhcpc0.pid", file);
    ToolStandIn::install({});
    DhcpClient::stop(0);
    std::vector<std::string> kill;
    if (pid > 0) {
        kill.push_back("kill " + std::to_string(pid));
    }
    expect(ToolStandIn::commands() == kill, "nothing but a process id reaches \"kill\"");
    return 0;
}
