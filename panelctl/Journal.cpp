#include "panelctl/Journal.h"

#include "device/Latin1.h"
#include "fileio/Uninterrupted.h"
#include "panelctl/Command.h"
#include "panelctl/ReplaceFile.h"
#include "panelctl/RunningPanel.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr const char* lockPath = "/var/run/panelctl.lock";
constexpr const char* watchPath = "/var/run/panelctl.watch";
constexpr const char* folderPath = "/hmi_data";

std::int64_t seconds(clockid_t clock)
{
    timespec now = {};
    clock_gettime(clock, &now);
    return now.tv_sec;
}

std::string lineOf(const char* path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

/// Another one after each start of the machine, and of its first process where only that is
/// started again.
std::string currentStart()
{
    constexpr int startTime = 20; // field of the status behind the name
    const QString status = QString::fromStdString(lineOf("/proc/1/stat"));
    const QString fields = status.section(QLatin1Char(')'), -1);
    return lineOf("/proc/sys/kernel/random/boot_id") + ' ' +
           fields.section(QLatin1Char(' '), startTime, startTime).toStdString();
}

std::string textOf(const QJsonValue& value)
{
    return value.toString().toStdString();
}

/// Says of which file it is, and that it is no command line, when it cannot be understood.
Snapshot snapshotOf(const QJsonObject& before)
{
    try {
        return Snapshot::fromJson(before);
    } catch (const std::exception& error) {
        throw Failure(std::string(Journal::path) + " is no journal: " + error.what());
    }
}

} // namespace

const char* const Journal::path = "/hmi_data/panelctl.journal";

ChangeLock::ChangeLock() : m_file(::open(lockPath, O_RDWR | O_CREAT | O_NOFOLLOW, 0600))
{
    if (!m_file.isOpen() ||
        Uninterrupted::call([&] { return flock(m_file.number(), LOCK_EX); }) != 0) {
        throw Failure(std::string("cannot use ") + lockPath + ": " +
                      qt_error_string(errno).toStdString());
    }
}

void ChangeLock::keep() const
{
    fcntl(m_file.number(), F_SETFD, FD_CLOEXEC);
}

Journal::Journal(Snapshot before, std::set<std::string> places, bool now, int wait)
    : m_before(std::move(before)),
      m_places(std::move(places)),
      m_now(now),
      m_seconds(wait),
      m_start(currentStart()),
      m_uptime(seconds(CLOCK_BOOTTIME) + wait),
      m_clock(seconds(CLOCK_REALTIME) + wait)
{
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
    if (!object.contains("before"_l1)) {
        throw Failure(std::string(path) + " is no journal");
    }
    Journal journal(snapshotOf(object["before"_l1].toObject()));
    const QJsonArray places = object["places"_l1].toArray();
    for (const QJsonValue& place : places) {
        journal.m_places.insert(textOf(place));
    }
    journal.m_now = object["now"_l1].toBool();
    journal.m_isComplete = object["complete"_l1].toBool();
    journal.m_seconds = object["seconds"_l1].toInt();
    journal.m_start = textOf(object["start"_l1]);
    journal.m_uptime = static_cast<std::int64_t>(object["uptime"_l1].toDouble());
    journal.m_clock = static_cast<std::int64_t>(object["clock"_l1].toDouble());
    return journal;
}

void Journal::save() const
{
    QJsonArray places;
    for (const std::string& place : m_places) {
        places.append(QString::fromStdString(place));
    }
    const QJsonObject object{{"before"_l1, m_before.toJson()},
                             {"places"_l1, places},
                             {"now"_l1, m_now},
                             {"complete"_l1, m_isComplete},
                             {"seconds"_l1, m_seconds},
                             {"start"_l1, QString::fromStdString(m_start)},
                             {"uptime"_l1, double(m_uptime)},
                             {"clock"_l1, double(m_clock)}};
    const QString reason = replaceFile(QString::fromLatin1(path), QJsonDocument(object).toJson());
    if (!reason.isEmpty()) {
        throw Failure(std::string("cannot write ") + path + ": " + reason.toStdString());
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

int Journal::secondsLeft() const
{
    const std::int64_t left = m_start == currentStart() ? m_uptime - seconds(CLOCK_BOOTTIME)
                                                        : m_clock - seconds(CLOCK_REALTIME);
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, m_seconds));
}

void Journal::goOn()
{
    if (m_start == currentStart()) {
        return;
    }
    m_seconds = secondsLeft();
    m_start = currentStart();
    m_uptime = seconds(CLOCK_BOOTTIME) + m_seconds;
    m_now = true; // the panel was started with the change
    save();
}

void Journal::restore(const ChangeLock& lock) const
{
    m_before.restore();
    if (m_now || m_start != currentStart()) {
        lock.keep();
        RunningPanel::follow(PanelState(), m_places);
    }
    remove();
}

bool settleJournal()
{
    if (access(Journal::path, F_OK) != 0) {
        return false;
    }
    const ChangeLock lock;
    std::optional<Journal> journal = Journal::load();
    if (!journal) {
        return false; // the import that made it has just ended
    }
    if (!journal->isOver()) {
        journal->goOn();
        watchJournal(Watch::IfNobodyDoes);
        return false;
    }
    journal->restore(lock);
    std::cerr << "panelctl: "
              << (journal->isComplete() ? "nobody has confirmed the import in time"
                                        : "an import was cut off")
              << "; the old settings are back" << std::endl;
    return true;
}

namespace {

/// Nothing of whoever started this process holds it, and it holds nothing of theirs: neither
/// terminal, nor pipes, nor the lock of changes.
void leaveStarter()
{
    setsid();
    std::signal(SIGHUP, SIG_IGN);
    constexpr int most = 256; // this program has a handful open
    for (int number = 0; number < most; ++number) {
        ::close(number);
    }
    for (int number = 0; number <= STDERR_FILENO; ++number) {
        ::open("/dev/null", O_RDWR); // takes the lowest number that is free
    }
    if (chdir("/") != 0) {
        _exit(1);
    }
}

/// Whether there is a change that may still be confirmed.
bool isWaiting()
{
    const std::optional<Journal> journal = Journal::load();
    return journal && journal->secondsLeft() > 0;
}

/// Waits until the change is confirmed or its time is over.
void watch(Watch kind)
{
    const Descriptor mine(::open(watchPath, O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    const int wait = kind == Watch::IfNobodyDoes ? LOCK_NB : 0;
    if (!mine.isOpen() || flock(mine.number(), LOCK_EX | wait) != 0) {
        return; // somebody watches already
    }
    while (isWaiting()) {
        sleep(1);
    }
    settleJournal();
}

} // namespace

void watchJournal(Watch kind)
{
    const pid_t child = fork();
    if (child < 0) {
        throw Failure("cannot watch the import: " + qt_error_string(errno).toStdString());
    }
    if (child > 0) {
        waitpid(child, nullptr, 0);
        return;
    }
    if (fork() != 0) {
        _exit(0); // the second child is nobody's and leaves no process behind
    }
    leaveStarter();
    try {
        watch(kind);
    } catch (const std::exception&) {
        // The next command, or the next start, tries again and says why.
    }
    _exit(0);
}
