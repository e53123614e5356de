#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <vector>

/// Our way of doing something against the bare calls it cannot do without, in one run.
namespace Ratio {

using Seconds = std::chrono::duration<double>;

template <typename Function>
double timeOf(int calls, Function function)
{
    const auto start = std::chrono::steady_clock::now();
    for (int call = 0; call < calls; ++call) {
        function();
    }
    return Seconds(std::chrono::steady_clock::now() - start).count();
}

inline double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Stands for the goal in benchmarks that have none: their ratio is shown and not judged.
constexpr double noGoal = 0;

/// Whether every goal so far was kept.
inline bool& goalsKept()
{
    static bool kept = true;
    return kept;
}

/// Runs both in turn, so that whatever else the machine does meets them alike, and who is first
/// changes from round to round. Each makes so many calls and tells the seconds. The time shown is
/// that of ours; the counter "ratio" is the median of ours through bare, round by round; it may not
/// be above @p goal.
template <typename Ours, typename Bare>
void compareTimes(benchmark::State& state, double goal, int calls, Ours ours, Bare bare)
{
    std::vector<double> ratios;
    bool oursFirst = false;
    for ([[maybe_unused]] auto round : state) {
        oursFirst = !oursFirst;
        double ourTime = oursFirst ? ours() : 0;
        const double bareTime = bare();
        ourTime = oursFirst ? ourTime : ours();
        ratios.push_back(ourTime / bareTime);
        state.SetIterationTime(ourTime / calls);
    }
    const double ratio = median(std::move(ratios));
    state.counters["ratio"] = ratio;
    if (goal != noGoal) {
        state.counters["goal"] = goal;
        goalsKept() = goalsKept() && ratio <= goal;
    }
}

/// The same for functions of one call.
template <typename Ours, typename Bare>
void compare(benchmark::State& state, double goal, int calls, Ours ours, Bare bare)
{
    compareTimes(
        state, goal, calls, [&] { return timeOf(calls, ours); },
        [&] { return timeOf(calls, bare); });
}

/// Runs the benchmarks of a program and shows them on @p output. What main() is to return: 1 when
/// a goal was missed.
inline int run(int argc, char** argv, std::ostream& output)
{
    benchmark::Initialize(&argc, argv);
    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_None);
    reporter.SetOutputStream(&output);
    reporter.SetErrorStream(&output);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    if (!goalsKept()) {
        output << "A ratio is above its goal." << std::endl;
    }
    return goalsKept() ? 0 : 1;
}

} // namespace Ratio

/// A benchmark of so many rounds.
#define RATIO_BENCHMARK(function, rounds)                                                          \
    BENCHMARK(function)->UseManualTime()->Iterations(rounds)->Unit(benchmark::kMicrosecond)
