// The processor time that this process takes for what an operator waits for, in milliseconds, its
// calls of the system among it. A machine whose clock counts instructions tells so how many they
// are: a millisecond of it is a million. Started by benchmarks/emulated.py, or by hand in a panel.

#include "benchmarks/OperatorSteps.h"

#include <QApplication>

#include <cstdio>
#include <ctime>

namespace {

double processorMilliseconds()
{
    timespec used = {};
    OperatorSteps::check(clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used) == 0, "no clock");
    return double(used.tv_sec) * 1e3 + double(used.tv_nsec) / 1e6;
}

class Stopwatch : public OperatorSteps::Meter
{
public:
    void measure(const char* name, const std::function<void()>& step) override
    {
        const double begin = processorMilliseconds();
        step();
        std::printf("%-50s %10.2f\n", name, processorMilliseconds() - begin);
        std::fflush(stdout);
    }
};

} // namespace

int main(int argc, char** argv)
{
    const QApplication application(argc, argv);
    Stopwatch stopwatch;
    OperatorSteps::measureAll(stopwatch);
    return 0;
}
