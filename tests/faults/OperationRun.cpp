#include "tests/faults/OperationRun.h"

#include "tests/support/PanelWorld.h"
#include "tests/support/Text.h"

#include <QDir>
#include <QFileInfo>
#include <QMap>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int areaBytes = 4096;

constexpr std::array<const char*, 9> areaFiles = {
    "/tmp/mw.dat",  "/tmp/mb.dat",       "/hmi_data/fw.dat",  "/hmi_data/fb.dat", "/tmp/smw.dat",
    "/tmp/smb.dat", "/hmi_data/sfw.dat", "/hmi_data/sfb.dat", "/hmi_data/rw.dat"};

/// A pattern in which every byte and every bit has other neighbours.
QByteArray pattern(int size)
{
    QByteArray bytes(size, '\0');
    for (int at = 0; at < size; ++at) {
        bytes[at] = char(at * 37 + (at >> 8));
    }
    return bytes;
}

/// What every operation finds.
void setUpWorld(const Operation& operation)
{
    for (const char* file : areaFiles) {
        PanelWorld::writeFile(QLatin1String(file), pattern(areaBytes));
    }
    PanelWorld::writeFile(QLatin1String(plainFile), pattern(plainBytes));
    QFile::remove(QLatin1String(newFile));
    QFile::remove("/tmp/fifo_sysreg"_s);
    QFile::remove("/tmp/fifo_localreg"_s);
    if (operation.prepare) {
        operation.prepare();
    }
}

using Files = QMap<QString, QByteArray>;

/// Every file that an operation could have changed.
Files filesOfTheWorld()
{
    Files files;
    for (const QString& folder : {"/tmp"_s, "/hmi_data"_s, "/panel/state"_s, "/etc"_s}) {
        for (const QFileInfo& info : QDir(folder).entryInfoList(QDir::Files)) {
            files[info.filePath()] = PanelWorld::fileContent(info.filePath());
        }
    }
    return files;
}

bool isIn(const QList<OwnRange>& ranges, const QString& file, int bit)
{
    return std::any_of(ranges.begin(), ranges.end(), [&](const OwnRange& range) {
        return file == QLatin1String(range.file) && bit >= range.firstBit &&
               bit < range.firstBit + range.bits;
    });
}

bool bitOf(const QByteArray& bytes, int bit)
{
    return (uchar(bytes.at(bit / bitsPerByte)) >> bit % bitsPerByte & 1) != 0;
}

/// The first bit of a file that changed and is in none of the ranges: "FILE, bit N of byte N".
/// Bits that are in one of the two only have changed.
QString foreignChange(const QList<OwnRange>& own, const QString& file, const QByteArray& before,
                      const QByteArray& after)
{
    const int bits = bitsPerByte * qMax(before.size(), after.size());
    const int common = bitsPerByte * qMin(before.size(), after.size());
    for (int bit = 0; before != after && bit < bits; ++bit) {
        const bool changed = bit >= common || bitOf(before, bit) != bitOf(after, bit);
        if (changed && !isIn(own, file, bit)) {
            return "%1, bit %2 of byte %3"_s.arg(file).arg(bit % 8).arg(bit / 8);
        }
    }
    return QString();
}

QString foreignChange(const QList<OwnRange>& own, const Files& before, const Files& after)
{
    Files all = after;
    for (auto file = before.begin(); file != before.end(); ++file) {
        all.insert(file.key(), file.value());
    }
    for (auto file = all.cbegin(); file != all.cend(); ++file) {
        QString change =
            foreignChange(own, file.key(), before.value(file.key()), after.value(file.key()));
        if (!change.isEmpty()) {
            return change;
        }
    }
    return QString();
}

/// The bytes that hold an operation's own bits, and what it fills in memory.
QByteArray ownBytes(const Operation& operation, const Files& files)
{
    QByteArray bytes = operation.memory ? operation.memory() : QByteArray();
    for (const OwnRange& range : operation.own) {
        const int first = range.firstBit / bitsPerByte;
        const int end = (range.firstBit + range.bits + bitsPerByte - 1) / bitsPerByte;
        bytes += files.value(QLatin1String(range.file)).mid(first, end - first);
    }
    return bytes;
}

/// What this process holds: descriptors with what they lead to, locks, children, blocked signals.
QStringList holdings()
{
    QStringList held;
    const QDir descriptors("/proc/self/fd"_s);
    for (const QString& name : descriptors.entryList(QDir::Files | QDir::System)) {
        const QString target = QFile::symLinkTarget(descriptors.filePath(name));
        if (!target.isEmpty()) { // which the one that lists them has no more
            held << name + QLatin1Char(' ') + target;
        }
    }
    const QByteArray self = ' ' + QByteArray::number(getpid()) + ' ';
    for (const QByteArray& line : PanelWorld::fileContent("/proc/locks"_s).split('\n')) {
        if (line.contains(self)) {
            held << QString::fromLatin1(line);
        }
    }
    if (waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD) {
        held << "a child"_s;
    }
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    for (int signal = 1; signal < SIGRTMIN; ++signal) {
        if (sigismember(&blocked, signal) == 1) {
            held << "signal %1"_s.arg(signal);
        }
    }
    return held;
}

/// Sends what is printed into a file while it lives.
class Printed
{
public:
    Printed()
    {
        std::fflush(nullptr);
        m_output = dup(STDOUT_FILENO);
        m_errors = dup(STDERR_FILENO);
        const int file = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
        dup2(file, STDOUT_FILENO);
        dup2(file, STDERR_FILENO);
        ::close(file);
    }
    ~Printed()
    {
        std::fflush(nullptr);
        restore(STDOUT_FILENO, m_output);
        restore(STDERR_FILENO, m_errors);
    }
    Q_DISABLE_COPY_MOVE(Printed)
    static QByteArray text()
    {
        std::fflush(nullptr);
        return PanelWorld::fileContent(QLatin1String(path));
    }

private:
    static constexpr const char* path = "/run/printed";

    static void restore(int stream, int saved)
    {
        dup2(saved, stream);
        ::close(saved);
    }

    int m_output;
    int m_errors;
};

} // namespace

const QList<Operation>& allOperations()
{
    static const QList<Operation> all =
        fileOperations() + registerOperations() + deviceOperations() + flashOperations();
    return all;
}

QByteArray ownBytesAfter(Moved moved, const QByteArray& before, const QByteArray& whenWhole)
{
    const int half = before.size() / 2;
    return moved == whole       ? whenWhole
           : moved == firstHalf ? whenWhole.left(half) + before.mid(half)
                                : before;
}

Run runOnce(const Operation& operation, const QList<OwnRange>& besides, const Hook& before,
            const Hook& after)
{
    setUpWorld(operation);
    const Printed printed;
    Run run;
    const Files files = filesOfTheWorld();
    run.ownBefore = ownBytes(operation, files);
    run.heldBefore = holdings();
    before();
    run.result = operation.run();
    after();
    run.heldAfter = holdings();
    run.result = operation.look ? operation.look() : run.result;
    const Files filesAfter = filesOfTheWorld();
    run.ownAfter = ownBytes(operation, filesAfter);
    run.foreignChange = foreignChange(operation.own + besides, files, filesAfter);
    run.messages = Printed::text();
    return run;
}
