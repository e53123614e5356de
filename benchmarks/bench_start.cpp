// The example host with the plugin, against the least a program with a window and the same font
// does: from its start to its first frame, in turn. Then what the host takes while nobody touches
// it. The tools are a compiled program, so that what is measured is not theirs.

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
constexpr int idleSeconds = 20;
constexpr int settleSeconds = 2; ///< What is put off until the first frame is over with then.
constexpr double mostMemory = 6; ///< Megabytes above the other program.
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

/// One figure of both programs, a value for each round.
struct Figure
{
    const char* name;
    const char* unit;
    std::vector<double> host = {};
    std::vector<double> button = {};

    /// Of the rounds' ratios: what else the machine did met both alike.
    double ratio() const
    {
        std::vector<double> ratios;
        for (std::size_t round = 0; round < host.size(); ++round) {
            ratios.push_back(host[round] / button[round]);
        }
        return median(ratios);
    }
};

struct Figures
{
    Figure time{"from exec to the first frame", "ms"};
    Figure processor{"processor time until then", "ms"};
    Figure memory{"memory (PSS)", "MB"};

    void measure(const std::string& name, std::vector<double> Figure::*column)
    {
        const Program program(name);
        (time.*column).push_back(program.secondsToFrame() * 1e3);
        (processor.*column).push_back(program.frame().processorTime * 1e3);
        (memory.*column).push_back(program.frame().pss / 1e3);
    }
};

Figures measureStarts()
{
    Figures figures;
    for (int round = 0; round < rounds; ++round) {
        figures.measure("start_host", &Figure::host);
        figures.measure("start_button", &Figure::button);
    }
    return figures;
}

/// Milliseconds in each second.
double measureIdle()
{
    const Program host("start_host");
    sleep(settleSeconds);
    const double before = host.processorTime();
    const double start = now();
    sleep(idleSeconds);
    return (host.processorTime() - before) * 1e3 / (now() - start);
}

} // namespace

int main()
{
    Tools::makeFast();
    const Figures figures = measureStarts();
    for (const Figure& figure : {figures.time, figures.processor, figures.memory}) {
        std::printf("%-32s %7.1f %s, one button %7.1f %s, ratio %.2f\n", figure.name,
                    median(figure.host), figure.unit, median(figure.button), figure.unit,
                    figure.ratio());
    }
    std::printf("%-32s %7.2f ms/s\n", "processor time, nobody there", measureIdle());
    const double more = median(figures.memory.host) - median(figures.memory.button);
    const bool kept = more <= mostMemory;
    std::printf("%-32s %7.2f MB, goal %.2f  %s\n", "memory above one button", more, mostMemory,
                kept ? "good" : "TOO MUCH");
    return kept ? 0 : 1;
}
