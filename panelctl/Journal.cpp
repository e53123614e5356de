#include "panelctl/Journal.h"

#include "panelctl/Command.h"
#include "panelctl/ReplaceFile.h"

#include <QFile>
#include <QJsonDocument>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <sys/file.h>
#include <unistd.h>

namespace {

constexpr const char* lockPath = "/var/run/panelctl.lock";
constexpr const char* folderPath = "/hmi_data";

std::int64_t seconds(clockid_t clock)
{
    timespec now = {};
    clock_gettime(clock, &now);
    return now.tv_sec;
}

std::string currentBoot()
{
    std::ifstream file("/proc/sys/kernel/random/boot_id");
    std::string id;
    std::getline(file, id);
    return id;
}

std::string textOf(const QJsonValue& value)
{
    return value.toString().toStdString();
}

} // namespace

const char* const Journal::path = "/hmi_data/panelctl.journal";

ChangeLock::ChangeLock() : m_file(::open(lockPath, O_RDWR | O_CREAT | O_NOFOLLOW, 0600))
{
    if (!m_file.isOpen()) {
        throw Failure(std::string("cannot use ") + lockPath + ": " +
                      qt_error_string(errno).toStdString());
    }
    while (flock(m_file.number(), LOCK_EX) != 0 && errno == EINTR) {
    }
}

std::optional<Journal> Journal::load()
{
    QFile file(QString::fromLatin1(path));
    if (!file.exists()) {
        return std::nullopt;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        throw Failure(std::string("cannot read ") + path + ": " + file.errorString().toStdString());
    }
    const QJsonObject object = QJsonDocument::fromJson(file.readAll()).object();
    if (!object.contains(QString::fromLatin1("before"))) {
        throw Failure(std::string(path) + " is no journal");
    }
    Journal journal(Snapshot::fromJson(object["before"].toObject()));
    journal.m_seconds = object["seconds"].toInt();
    journal.m_id = textOf(object["id"]);
    journal.m_boot = textOf(object["boot"]);
    journal.m_uptime = static_cast<std::int64_t>(object["uptime"].toDouble());
    journal.m_clock = static_cast<std::int64_t>(object["clock"].toDouble());
    return journal;
}

void Journal::save() const
{
    const QJsonObject object{{QString::fromLatin1("before"), m_before.toJson()},
                             {QString::fromLatin1("seconds"), m_seconds},
                             {QString::fromLatin1("id"), QString::fromStdString(m_id)},
                             {QString::fromLatin1("boot"), QString::fromStdString(m_boot)},
                             {QString::fromLatin1("uptime"), double(m_uptime)},
                             {QString::fromLatin1("clock"), double(m_clock)}};
    const QString reason = replaceFile(QString::fromLatin1(path), QJsonDocument(object).toJson());
    if (!reason.isEmpty()) {
        throw Failure(std::string("cannot write ") + path +
                      ", so nothing is changed: " + reason.toStdString());
    }
}

void Journal::remove()
{
    const Descriptor folder(::open(folderPath, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (std::remove(path) != 0 || fsync(folder.number()) != 0) {
        throw Failure(std::string("cannot remove ") + path + ": " +
                      qt_error_string(errno).toStdString());
    }
}

void Journal::awaitConfirmation(int wait)
{
    m_seconds = wait;
    m_boot = currentBoot();
    m_uptime = seconds(CLOCK_BOOTTIME) + wait;
    m_clock = seconds(CLOCK_REALTIME) + wait;
    m_id = m_boot + ' ' + std::to_string(m_uptime) + ' ' + std::to_string(getpid());
}

int Journal::secondsLeft() const
{
    const std::int64_t left = m_boot == currentBoot() ? m_uptime - seconds(CLOCK_BOOTTIME)
                                                      : m_clock - seconds(CLOCK_REALTIME);
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, m_seconds));
}

void Journal::restore() const
{
    m_before.restore();
    remove();
}

bool settleJournal()
{
    if (access(Journal::path, F_OK) != 0) {
        return false;
    }
    const ChangeLock lock;
    const std::optional<Journal> journal = Journal::load();
    if (!journal) {
        return false; // the import that made it has just ended
    }
    if (journal->awaitsConfirmation() && journal->secondsLeft() > 0) {
        return false;
    }
    journal->restore();
    std::cerr << "panelctl: "
              << (journal->awaitsConfirmation() ? "nobody has confirmed the import in time"
                                                : "an import was cut off")
              << "; the old settings are back" << std::endl;
    return true;
}
