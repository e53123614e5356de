// Linked into a Qt program, tells what the program itself took until its first frame was painted,
// and its memory a little later, on the descriptor named by FIRST_FRAME_FD.

#include "benchmarks/start/FirstFrame.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QTimer>
#include <QWidget>

#include <ctime>
#include <unistd.h>

namespace {

double secondsOf(clockid_t clock)
{
    timespec now = {};
    clock_gettime(clock, &now);
    return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

double pssKilobytes()
{
    QFile file(QStringLiteral("/proc/self/smaps_rollup"));
    const QByteArray content = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    const int at = content.indexOf("\nPss:");
    return at < 0 ? 0 : content.mid(at + 5, content.indexOf(" kB", at) - at - 5).toDouble();
}

constexpr int settleMs = 500; ///< What is put off until the first frame is over with then.

void tell(FirstFrame report)
{
    report.pss = pssKilobytes();
    const int descriptor = qEnvironmentVariableIntValue("FIRST_FRAME_FD");
    if (write(descriptor, &report, sizeof report) != sizeof report) {
        qFatal("nobody listens for the first frame");
    }
}

void takeTime()
{
    FirstFrame report = {};
    report.moment = secondsOf(CLOCK_MONOTONIC);
    report.processorTime = secondsOf(CLOCK_PROCESS_CPUTIME_ID);
    QTimer::singleShot(settleMs, [report] { tell(report); });
}

/// A window is painted with all that is in it, and handed to the screen, within one event: what is
/// posted meanwhile comes after that.
class Watch : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject* object, QEvent* event) override
    {
        auto* widget = qobject_cast<QWidget*>(object);
        if (event->type() == QEvent::Paint && widget && widget->isWindow()) {
            QCoreApplication::instance()->removeEventFilter(this);
            QTimer::singleShot(0, takeTime);
        }
        return false;
    }
};

void watch()
{
    QCoreApplication* application = QCoreApplication::instance();
    application->installEventFilter(new Watch(application));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(watch)
