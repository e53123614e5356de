#include "tests/soak/Census.h"
#include "tests/support/Text.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPixmapCache>
#include <QThread>

#include <atomic>
#include <malloc.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
/// The sanitizer's allocator stands in the C library's place, which then knows of nothing.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

/// Qt's table of functions for tools that look into a program: it calls the fourth entry with every
/// object made, and the fifth with every object that goes.
extern Q_CORE_EXPORT quintptr qtHookData[];

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr long residentPercent = 50; // it keeps freed memory back for a while
#else
constexpr long residentPercent = 5;
#endif

constexpr long restingProcesses = 2; ///< The panel's first one, and this.
constexpr int madeHook = 3;
constexpr int goneHook = 4;

std::atomic<long> objectCount{0};

void onMade(QObject* /*object*/)
{
    ++objectCount;
}

void onGone(QObject* /*object*/)
{
    --objectCount;
}

long allocatedBytes()
{
#if defined(__SANITIZE_ADDRESS__)
    return long(__sanitizer_get_current_allocated_bytes());
#else
    const struct mallinfo2 info = mallinfo2();
    return long(info.uordblks + info.hblkhd);
#endif
}

long residentBytes()
{
    QFile file("/proc/self/statm"_s);
    const QByteArray pages =
        file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(1) : QByteArray();
    return pages.toLong() * sysconf(_SC_PAGESIZE);
}

long descriptorCount()
{
    return long(QDir("/proc/self/fd"_s)
                    .entryList(QDir::System | QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot)
                    .size());
}

long processCount()
{
    return long(QDir("/proc"_s).entryList({"[0-9]*"_s}).size());
}

/// Those which the product does not wait for end by themselves. This takes real time.
void waitForCommands()
{
    constexpr int longest = 500;
    constexpr unsigned long millisecondsEach = 10;
    for (int turn = 0; turn < longest && processCount() > restingProcesses; ++turn) {
        QThread::msleep(millisecondsEach);
    }
}

} // namespace

void countObjects()
{
    qtHookData[madeHook] = reinterpret_cast<quintptr>(&onMade);
    qtHookData[goneHook] = reinterpret_cast<quintptr>(&onGone);
}

Census takeCensus()
{
    waitForCommands();
    QCoreApplication::sendPostedEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QPixmapCache::clear();
    Census census{};
    census.heap = allocatedBytes();
    census.resident = residentBytes();
    census.descriptors = descriptorCount();
    census.processes = processCount();
    census.objects = objectCount;
    census.widgets = long(QApplication::allWidgets().size());
    census.windows = long(QApplication::topLevelWidgets().size());
    return census;
}

const std::vector<Measure>& measures()
{
    static const std::vector<Measure> table = {
        // Caches of fonts and styles fill for an hour, by up to four hundredths in its last third;
        // all of it goes with the application. 350 bytes kept by each press are more than this.
        {"heap", &Census::heap, 5},
        {"resident", &Census::resident, residentPercent},
        {"descriptors", &Census::descriptors, 0},
        {"processes", &Census::processes, 0},
        {"objects", &Census::objects, 1},
        {"widgets", &Census::widgets, 0},
        {"windows", &Census::windows, 0},
    };
    return table;
}
