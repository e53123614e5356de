#include "adapters/DhcpClient.h"

#include "adapters/AdapterTable.h"
#include "device/ShellLine.h"
#include "fileio/StandardDescriptors.h"

#include <QFile>

#include <algorithm>

namespace {

constexpr qint64 longestPidLine = 64; ///< Bytes; a longer one holds no process id.

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

} // namespace

namespace DhcpClient {

void start(int adapter)
{
    if (!isAdapter(adapter)) {
        return;
    }
    stop(adapter);
    const AdapterRow& row = adapterTable.at(std::size_t(adapter));
    ShellLine::run("udhcpc -i %s -t 100 -T 1 -A 1 -p %s&", row.interfaceName, row.pidFile);
}

void stop(int adapter)
{
    if (!isAdapter(adapter)) {
        return;
    }
    const StandardDescriptors standard;
    QFile file(QString::fromLatin1(adapterTable.at(std::size_t(adapter)).pidFile));
    if (!file.exists() || !file.open(QIODevice::ReadOnly)) {
        return;
    }
    const int pid = processId(file.read(longestPidLine + 1));
    if (pid > 0) {
        ShellLine::run("kill %d", pid);
    }
}

int processId(const QByteArray& pidFile)
{
    const QByteArray line = pidFile.split('\n').first();
    const QByteArray digits = line.trimmed();
    if (line.size() > longestPidLine || !std::all_of(digits.begin(), digits.end(), isDigit)) {
        return 0;
    }
    return digits.toInt(); // 0 when it is empty or too large
}

} // namespace DhcpClient
