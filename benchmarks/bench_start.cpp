// The example host with the plugin, in turn with the least a program with a window and the same
// font does: from its start to its first frame. Then while nobody touches it, beside the same
// program and a timer that ticks as often as the window's. The goals are in docs/performance.md.
// The tools are a compiled program, so that what is measured is not theirs.

#include "benchmarks/Goals.h"
#include "benchmarks/Tools.h"
#include "benchmarks/start/FirstFrame.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int rounds = 11;
constexpr int idleRounds = 9;
constexpr int idleSeconds = 4;
constexpr const char* document = "/panel-source/docs/performance.md";
constexpr const char* tableHead = "| From the start on |";
constexpr const char* folder = "/panel-build/benchmarks/start/";
constexpr const char* plugin = PLUGIN_FILE;

[[noreturn]] void fail(const char* what)
{
    std::fprintf(stderr, "bench_start: %s: %s\n", what, std::strerror(errno));
    std::exit(2);
}

double now()
{
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

/// A program from its start until it has told of its first frame; ended with this object.
class Program
{
public:
    explicit Program(const std::string& name) : m_start(now())
    {
        std::array<int, 2> ends = {};
        if (pipe(ends.data()) != 0 || (m_process = fork()) < 0) {
            fail("no process");
        }
        if (m_process == 0) {
            close(ends[0]);
            setenv("FIRST_FRAME_FD", std::to_string(ends[1]).c_str(), 1);
            const std::string file = folder + name;
            execl(file.c_str(), file.c_str(), plugin, static_cast<char*>(nullptr));
            fail(file.c_str());
        }
        close(ends[1]);
        const bool told = read(ends[0], &m_frame, sizeof m_frame) == sizeof m_frame;
        close(ends[0]);
        if (!told) {
            fail("no first frame");
        }
    }
    ~Program()
    {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    double secondsToFrame() const { return m_frame.moment - m_start; }
    const FirstFrame& frame() const { return m_frame; }

    /// Of all its threads, seconds.
    double processorTime() const
    {
        double nanoseconds = 0;
        const std::string tasks = "/proc/" + std::to_string(m_process) + "/task";
        for (const auto& task : std::filesystem::directory_iterator(tasks)) {
            double time = 0;
            std::ifstream(task.path() / "schedstat") >> time;
            nanoseconds += time;
        }
        return nanoseconds / 1e9;
    }

private:
    double m_start;
    pid_t m_process = -1;
    FirstFrame m_frame = {};
};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// One figure of the host and of what it is compared with, a value for each round.
struct Figure
{
    const char* name;
    const char* unit;
    bool isRatio; ///< Compared as a ratio or as a difference.
    std::vector<double> host = {};
    std::vector<double> other = {};

    /// The median of the rounds: what else the machine did met both alike.
    double compared() const
    {
        std::vector<double> values;
        for (std::size_t round = 0; round < host.size(); ++round) {
            values.push_back(isRatio ? host[round] / other[round] : host[round] - other[round]);
        }
        return median(values);
    }

    /// Whether it is within its goal.
    bool show(const Goals& goals) const
    {
        const double goal = goals.of(name);
        const bool kept = compared() <= goal;
        std::printf("%-32s %7.2f %s against %7.2f %s: %6.2f %s  goal %5.2f  %s\n", name,
                    median(host), unit, median(other), unit, compared(), isRatio ? "times" : "more",
                    goal, kept ? "good" : "TOO MUCH");
        return kept;
    }
};

struct Starts
{
    Figure time{"exec to the first frame", "ms", true};
    Figure processor{"processor time until then", "ms", true};
    Figure memory{"memory (PSS)", "MB", false};

    void measure(const std::string& name, std::vector<double> Figure::*column)
    {
        const Program program(name);
        (time.*column).push_back(program.secondsToFrame() * 1e3);
        (processor.*column).push_back(program.frame().processorTime * 1e3);
        (memory.*column).push_back(program.frame().pss / 1e3);
    }
};

Starts measureStarts()
{
    Starts starts;
    for (int round = 0; round < rounds; ++round) {
        starts.measure("start_host", &Figure::host);
        starts.measure("start_button", &Figure::other);
    }
    return starts;
}

/// Milliseconds in each second, of both during the same seconds: whatever else the machine does
/// then meets both.
Figure measureIdle()
{
    Figure idle{"each second with nobody there", "ms", false};
    for (int round = 0; round < idleRounds; ++round) {
        const Program host("start_host");
        const Program other("start_ticking");
        const double before[] = {host.processorTime(), other.processorTime()};
        const double start = now();
        sleep(idleSeconds);
        const double seconds = now() - start;
        idle.host.push_back((host.processorTime() - before[0]) * 1e3 / seconds);
        idle.other.push_back((other.processorTime() - before[1]) * 1e3 / seconds);
    }
    return idle;
}

} // namespace

int main()
{
    const Goals goals(document, tableHead);
    Tools::makeFast();
    const Starts starts = measureStarts();
    bool kept = true;
    for (const Figure& figure : {starts.time, starts.processor, starts.memory, measureIdle()}) {
        kept = figure.show(goals) && kept;
    }
    return kept ? 0 : 1;
}
