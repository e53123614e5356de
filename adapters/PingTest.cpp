#include "adapters/PingTest.h"

#include "device/Latin1.h"
#include "device/ShellLine.h"
#include "fileio/StandardDescriptors.h"

#include <QFile>

namespace PingTest {

void start()
{
    ShellLine::run("rm ping.txt");
    ShellLine::run("killall ping");
    ShellLine::run("ping www.example.com -W 3 -c 1 >> ping.txt&");
}

bool replyArrived()
{
    const StandardDescriptors standard;
    QFile file("ping.txt"_l1);
    return file.open(QIODevice::ReadOnly) && hasReply(file.readAll());
}

bool hasReply(const QByteArray& output)
{
    return output.contains("ttl");
}

} // namespace PingTest
