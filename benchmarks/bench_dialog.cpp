// Making the settings dialog, against the commands that it runs while it is made. What takes longer
// than these is the building of its widgets.

#include "benchmarks/Ratio.h"
#include "settings/Settings.h"
#include "tests/support/NoticeListener.h"
#include "tests/support/PanelWorld.h"

#include <QApplication>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int rounds = 30;

QByteArrayList commandsOfADialog()
{
    PanelWorld::clearCommands();
    Settings(nullptr).init();
    QByteArrayList lines;
    for (const QString& line : PanelWorld::commands()) {
        lines << line.toLocal8Bit();
    }
    return lines;
}

void runBare(const QByteArray& line)
{
    std::array<char, 1024> reply = {};
    std::FILE* pipe = popen(line.constData(), "r");
    while (std::fread(reply.data(), 1, reply.size(), pipe) > 0) {
    }
    pclose(pipe);
}

void dialogCreation(benchmark::State& state)
{
    NoticeListener runtime(QStringLiteral("/tmp/fifo_sysreg"));
    const QByteArrayList lines = commandsOfADialog();
    Ratio::compare(
        state, Ratio::noGoal, 1, [] { Settings(nullptr).init(); },
        [&] {
            for (const QByteArray& line : lines) {
                runBare(line);
            }
        });
    state.counters["commands"] = double(lines.size());
}

} // namespace

RATIO_BENCHMARK(dialogCreation, rounds);

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    return Ratio::run(argc, argv, std::cout);
}
