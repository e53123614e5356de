// A thousand dialogs made, shown and deleted, one after the other: what each leaves behind, and
// whether the last are as fast as the first.

#include "benchmarks/Tools.h"
#include "settings/Settings.h"
#include "tests/support/NoticeListener.h"

#include <QApplication>

#include <cstdio>
#include <ctime>
#include <malloc.h>

namespace {

constexpr int dialogs = 1000;
constexpr int group = 100;         ///< After the first one, caches are full.
constexpr double mostGrowth = 0.1; ///< Kilobytes for each dialog.
constexpr double mostRatio = 1.15;

void showDialog(NoticeListener& runtime)
{
    {
        Settings dialog(nullptr);
        dialog.init();
        dialog.show();
        QCoreApplication::processEvents();
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
    runtime.takeAll();
}

/// Seconds of processor time, which neighbours do not change much. Without that of the commands.
double showGroup(NoticeListener& runtime)
{
    const auto start = std::clock();
    for (int dialog = 0; dialog < group; ++dialog) {
        showDialog(runtime);
    }
    return double(std::clock() - start) / CLOCKS_PER_SEC;
}

double kilobytesInUse()
{
    const struct mallinfo2 memory = mallinfo2();
    return double(memory.uordblks + memory.hblkhd) / 1e3;
}

bool show(const char* name, double value, double goal)
{
    const bool kept = value <= goal;
    std::printf("%-48s %6.2f  goal %5.2f  %s\n", name, value, goal, kept ? "good" : "TOO MUCH");
    return kept;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    Tools::makeFast();
    NoticeListener runtime(QStringLiteral("/tmp/fifo_sysreg"));
    showGroup(runtime);
    const double before = kilobytesInUse();
    const double first = showGroup(runtime);
    for (int shown = 2 * group; shown < dialogs - group; shown += group) {
        showGroup(runtime);
    }
    const double last = showGroup(runtime);
    const double growth = (kilobytesInUse() - before) / (dialogs - group);
    const bool flat = show("kilobytes that a dialog leaves behind", growth, mostGrowth);
    const bool fast =
        show("the last 100 of 1000 dialogs, by the second 100", last / first, mostRatio);
    return flat && fast ? 0 : 1;
}
