// An hour of somebody who presses whatever there is, in a time of its own that goes as fast as the
// machine can. Ends with 1, and says why, when anything grew, when Qt warned of anything, or when
// a control was never pressed. A build with the leak sanitizer adds its report.

#include "plugin/SettingsInterface.h"
#include "tests/soak/Census.h"
#include "tests/soak/Controls.h"
#include "tests/soak/Operator.h"
#include "tests/soak/Report.h"
#include "tests/soak/SimulatedClock.h"
#include "tests/soak/World.h"
#include "tests/support/NoticeListener.h"
#include "tests/support/Text.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDateTime>
#include <QElapsedTimer>
#include <QPluginLoader>
#include <QPushButton>
#include <QRegularExpression>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <memory>

using namespace std::chrono_literals;

namespace {

constexpr int parts = 36; ///< After each of them everything is counted.

struct Options
{
    unsigned seed = 0;
    int presses = 0;
};

Options readOptions(const QCoreApplication& app)
{
    QCommandLineParser parser;
    parser.addOption({"seed"_s, "Another order of presses."_s, "N"_s, "1"_s});
    parser.addOption({"presses"_s, "One each second."_s, "N"_s, "3600"_s});
    parser.process(app);
    return {parser.value("seed"_s).toUInt(), parser.value("presses"_s).toInt()};
}

/// The runtime of the panel. It keeps one dialog for all the time, and makes others in between.
class Host
{
public:
    Host() : m_notices("/tmp/fifo_sysreg"_s), m_loader(QStringLiteral(PLUGIN_FILE))
    {
        m_plugin = qobject_cast<SettingsInterface*>(m_loader.instance());
        if (!m_plugin) {
            qFatal("no plugin: %s", qPrintable(m_loader.errorString()));
        }
        m_resident.reset(m_plugin->createInstance());
    }

    /// Lets the operator press until the dialog is closed, or that often. Returns how often.
    int show(Operator& someone, bool another, int presses)
    {
        const std::unique_ptr<QDialog> visitor(another ? m_plugin->createInstance() : nullptr);
        QDialog& dialog = visitor ? *visitor : *m_resident;
        dialog.showFullScreen();
        const int done = someone.work(dialog, presses);
        dialog.hide();
        m_notices.takeAll();
        return done;
    }

    /// The same language and page each time, so that counts can be compared.
    void rest()
    {
        m_resident->findChild<QPushButton*>("English"_s)->click();
        m_resident->findChild<QPushButton*>("networkPushButton"_s)->click();
        QCoreApplication::processEvents();
    }

    QDialog& resident() { return *m_resident; }

private:
    NoticeListener m_notices;
    QPluginLoader m_loader;
    SettingsInterface* m_plugin = nullptr;
    std::unique_ptr<QDialog> m_resident;
};

void print(int presses, const Census& census)
{
    std::printf("%7d", presses);
    for (const Measure& measure : measures()) {
        std::printf(" %s %ld", measure.name, census.*measure.value);
    }
    std::printf("\n");
    std::fflush(stdout);
}

/// What can be pressed in any state of any of the windows.
QStringList controlsOfAll(const QDialog& dialog)
{
    QStringList names = controlNames(dialog);
    for (QWidget* window : QApplication::topLevelWidgets()) {
        const QString name = QString::fromLatin1(window->metaObject()->className());
        if (name == QLatin1String("InputDialog") || name == QLatin1String("DateTimeDialog")) {
            names += controlNames(*window);
        }
    }
    // Buttons of pages that no panel has yet: they are never shown.
    for (const char* hidden : {"wifiPushButton", "fileManagerPushButton", "versionPushButton"}) {
        names.removeOne("Settings/%1 0"_s.arg(QString::fromLatin1(hidden)));
    }
    return names;
}

QStringList neverPressed(const Operator& someone, const QStringList& names)
{
    QStringList never;
    std::copy_if(names.begin(), names.end(), std::back_inserter(never),
                 [&](const QString& name) { return !someone.presses().contains(name); });
    return never;
}

/// Goes for the controls that chance has left out. Returns what could not be reached.
QStringList pressTheRest(Host& host, Operator& someone)
{
    constexpr int most = 1500;
    const QStringList names = controlsOfAll(host.resident());
    QStringList never = neverPressed(someone, names);
    for (int done = 0; !never.isEmpty() && done < most;) {
        someone.seek(never);
        done += std::max(1, host.show(someone, false, 20));
        never = neverPressed(someone, names);
    }
    std::printf("%d controls\n", int(names.size()));
    return never.replaceInStrings(QRegularExpression("^"_s), "never pressed: "_s);
}

QStringList soak(const Options& options)
{
    World::prepare();
    Host host;
    Operator someone(options.seed);
    someone.setWorld(World::happen);
    std::vector<Census> counts;
    int done = 0;
    for (int part = 0; part < parts; ++part) {
        const int until = int(qint64(options.presses) * (part + 1) / parts);
        while (done < until) {
            done += host.show(someone, part % 2 == 0, until - done);
        }
        host.rest();
        counts.push_back(takeCensus());
        print(done, counts.back());
    }
    return pressTheRest(host, someone) + Report::growth(counts);
}

/// Whether Qt's clocks are the simulated one. If they were not, timers would fire when nobody is
/// there to press on what they open.
bool isTimeSimulated()
{
    constexpr std::chrono::milliseconds step = 1h;
    const qint64 wall = QDateTime::currentMSecsSinceEpoch();
    QElapsedTimer steady;
    steady.start();
    SimulatedClock::advance(step);
    return steady.elapsed() == step.count() &&
           QDateTime::currentMSecsSinceEpoch() - wall == step.count();
}

} // namespace

int main(int argc, char** argv)
{
    countObjects();
    Report::catchWarnings();
    const QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const Options options = readOptions(app);
    if (options.presses < parts) {
        std::fprintf(stderr, "soak: it takes at least %d presses\n", parts);
        return 2;
    }
    if (!isTimeSimulated()) {
        std::fprintf(stderr, "soak: Qt has another clock than this program\n");
        return 2;
    }
    QStringList complaints = soak(options);
    for (const QString& text : Report::warnings()) {
        complaints << "Qt warned: %1"_s.arg(text);
    }
    for (const QString& text : complaints) {
        std::printf("%s\n", qPrintable(text));
    }
    std::printf("%s\n", complaints.isEmpty() ? "nothing grew" : "not as it should be");
    return complaints.isEmpty() ? 0 : 1;
}
