// What a change of language costs, the first ones against those after ten thousand more. The ratio
// in the last line is what counts: 1 means that nothing piles up.

#include "settings/Settings.h"
#include "tests/support/NoticeListener.h"

#include <QApplication>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

constexpr int samples = 500;
constexpr int switchesBetween = 10000;

/// The dialog as a host shows it, with the runtime listening.
struct Panel
{
    NoticeListener runtime{QStringLiteral("/tmp/fifo_sysreg")};
    Settings dialog{nullptr};
    int switches = 0;

    Panel()
    {
        dialog.init();
        dialog.show();
    }

    void switchLanguage()
    {
        dialog.updateLanguage(++switches % 2 ? Settings::English : Settings::Chinese);
        runtime.takeAll();
    }
};

std::unique_ptr<Panel> panel;
double firstSeconds = 0;

double measure(benchmark::State& state)
{
    double total = 0;
    for ([[maybe_unused]] auto round : state) {
        const auto start = std::chrono::steady_clock::now();
        panel->switchLanguage();
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(elapsed.count());
        total += elapsed.count();
    }
    return total / double(state.iterations());
}

void firstSwitches(benchmark::State& state)
{
    firstSeconds = measure(state);
}

void switchesAfterTenThousand(benchmark::State& state)
{
    while (panel->switches < switchesBetween) {
        panel->switchLanguage();
    }
    state.counters["ratio_to_first"] = measure(state) / firstSeconds;
}

} // namespace

BENCHMARK(firstSwitches)->UseManualTime()->Iterations(samples);
BENCHMARK(switchesAfterTenThousand)->UseManualTime()->Iterations(samples);

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    panel = std::make_unique<Panel>();
    benchmark::RunSpecifiedBenchmarks();
    panel.reset();
    return 0;
}
