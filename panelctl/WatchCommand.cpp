// reg watch.

#include "device/Latin1.h"
#include "panelctl/Commands.h"
#include "panelctl/Descriptor.h"
#include "panelctl/Json.h"
#include "panelctl/RegisterValue.h"
#include "regstore/AreaFiles.h"
#include "regstore/Notice.h"
#include "regstore/RegisterNames.h"
#include "regstore/RegisterTable.h"

#include <QJsonObject>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// The reading end of a notice pipe, which is made when it is missing. It is open for writing too,
/// so that it does not end whenever a sender closes its own end.
int openPipe(const char* path)
{
    mkfifo(path, 0777);
    const int pipe = ::open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC);
    struct stat found = {};
    if (pipe < 0 || fstat(pipe, &found) != 0) {
        const int error = errno;
        throw Failure(std::string("cannot read ") + path + ": " + std::strerror(error));
    }
    if (!S_ISFIFO(found.st_mode)) {
        ::close(pipe);
        throw Failure(std::string(path) + " is no pipe");
    }
    return pipe;
}

/// The two signals that end the watch come through a descriptor from now on.
int openSignals()
{
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    sigprocmask(SIG_BLOCK, &ends, nullptr);
    return signalfd(-1, &ends, SFD_CLOEXEC);
}

/// False when there is no notice in the pipe.
template <typename Notice>
bool take(const Descriptor& pipe, Notice& notice)
{
    NoticeBytes<Notice> message;
    if (::read(pipe.number(), message.data(), message.size()) !=
        static_cast<ssize_t>(message.size())) {
        return false;
    }
    notice = decodeNotice<Notice>(message);
    return true;
}

/// The register with the value it has by now, or its id alone when that cannot be read.
QJsonObject registerNotice(unsigned id)
{
    QJsonObject notice{{"notice"_l1, "register"_l1}, {"id"_l1, static_cast<qint64>(id)}};
    if (id >= registerTable.size()) {
        return notice;
    }
    if (const RegisterName* name = findRegisterName(id)) {
        notice["name"_l1] = QString::fromLatin1(name->name);
    }
    const RegisterRow& row = registerTable[id];
    try {
        notice["value"_l1] =
            QString::fromStdString(Value::show(kindOf(row), RegisterValue::read(row)));
    } catch (const Failure&) {
        notice["value"_l1] = QJsonValue::Null;
    }
    return notice;
}

void tellRegister(unsigned id, bool json)
{
    const QJsonObject notice = registerNotice(id);
    if (json) {
        return Json::printLine(notice);
    }
    const QString value = notice["value"_l1].toString("?"_l1);
    std::cout << "register " << RegisterValue::label(id) << " = " << value.toStdString()
              << std::endl;
}

void tellRange(const AreaNotice& range, bool json)
{
    const auto [area, offset, length] = range;
    if (json) {
        return Json::printLine({{"notice"_l1, "area"_l1},
                                {"area"_l1, static_cast<qint64>(area)},
                                {"offset"_l1, static_cast<qint64>(offset)},
                                {"length"_l1, static_cast<qint64>(length)}});
    }
    std::cout << "area " << area << " from " << (isBitArea(area) ? "bit " : "byte ") << offset
              << " length " << length << std::endl;
}

} // namespace

void Commands::regWatch(const Arguments& given)
{
    const bool json = given.has(Option::Json);
    const Descriptor ends(openSignals());
    const Descriptor registers(openPipe(registerPipe));
    const Descriptor areas(openPipe(areaPipe));
    std::array<pollfd, 3> waiting = {{{ends.number(), POLLIN, {}},
                                      {registers.number(), POLLIN, {}},
                                      {areas.number(), POLLIN, {}}}};
    while (std::cout && poll(waiting.data(), waiting.size(), -1) > 0 && waiting[0].revents == 0) {
        // One message each, then the signals have their turn, however many more there are.
        RegisterNotice id = {};
        if (take(registers, id)) {
            tellRegister(id[0], json);
        }
        AreaNotice range = {};
        if (take(areas, range)) {
            tellRange(range, json);
        }
    }
}
