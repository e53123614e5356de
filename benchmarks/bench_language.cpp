// What a change of language costs: the last 500 of 10 000 changes against the first 500, which
// another process makes. 1 means that nothing piles up.

#include "benchmarks/Ratio.h"
#include "settings/Settings.h"
#include "tests/support/NoticeListener.h"
#include "tests/support/OtherProcess.h"

#include <QApplication>

#include <cstdlib>
#include <memory>
#include <unistd.h>

namespace {

/// Two processes that do the same differ by up to 15 hundredths, by where their memory happens to
/// lie. What piles up with each change is far above this after ten thousand.
constexpr double goal = 1.50;
constexpr int changes = 10000;
constexpr int samples = 500;
constexpr int changesPerRound = 2; ///< To each language once.

/// The dialog as a host shows it, with the runtime listening.
struct Panel
{
    NoticeListener runtime{QStringLiteral("/tmp/fifo_sysreg")};
    Settings dialog{nullptr};
    int changed = 0;

    Panel()
    {
        dialog.init();
        dialog.show();
    }

    void changeLanguage()
    {
        dialog.updateLanguage(++changed % 2 ? Settings::English : Settings::Chinese);
        runtime.takeAll();
    }

    /// The seconds of a round.
    double changeSome()
    {
        return Ratio::timeOf(changesPerRound, [this] { changeLanguage(); });
    }
};

void check(bool good)
{
    if (!good) {
        std::abort();
    }
}

/// A panel in another process, which changes its language when it is told to. Made before this one
/// has an application.
class OtherPanel
{
public:
    OtherPanel(int& argc, char** argv)
        : m_isOpen(pipe(m_requests) == 0 && pipe(m_replies) == 0),
          m_process([&] { return serve(argc, argv); })
    {
        check(m_isOpen);
    }

    double changeSome()
    {
        double seconds = 0;
        check(write(m_requests[1], "x", 1) == 1);
        check(read(m_replies[0], &seconds, sizeof seconds) == sizeof seconds);
        return seconds;
    }

private:
    int serve(int& argc, char** argv)
    {
        QApplication application(argc, argv);
        Panel panel;
        for (char request = 0; read(m_requests[0], &request, 1) == 1;) {
            const double seconds = panel.changeSome();
            check(write(m_replies[1], &seconds, sizeof seconds) == sizeof seconds);
        }
        return 0;
    }

    int m_requests[2] = {-1, -1};
    int m_replies[2] = {-1, -1};
    bool m_isOpen;
    OtherProcess m_process;
};

std::unique_ptr<OtherPanel> fresh;
std::unique_ptr<Panel> used;

void lastChangesOfLanguage(benchmark::State& state)
{
    while (used->changed < changes - samples) {
        used->changeLanguage();
    }
    Ratio::compareTimes(
        state, goal, changesPerRound, [] { return used->changeSome(); },
        [] { return fresh->changeSome(); });
}

} // namespace

RATIO_BENCHMARK(lastChangesOfLanguage, samples / changesPerRound);

int main(int argc, char** argv)
{
    fresh = std::make_unique<OtherPanel>(argc, argv);
    QApplication application(argc, argv);
    used = std::make_unique<Panel>();
    const int result = Ratio::run(argc, argv, std::cout);
    used.reset();
    fresh.reset();
    return result;
}
