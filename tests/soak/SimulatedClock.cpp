#include "tests/soak/SimulatedClock.h"

#include <atomic>
#include <cstdint>
#include <ctime>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

constexpr std::int64_t nsPerSecond = 1'000'000'000;
constexpr std::int64_t nsPerMicrosecond = 1000;

/// Where a clock of the kernel's stood when it was first asked for.
class StartTime
{
public:
    explicit StartTime(clockid_t clock) { syscall(SYS_clock_gettime, clock, &m_time); }

    timespec plus(std::int64_t nanoseconds) const
    {
        const std::int64_t sum = m_time.tv_nsec + nanoseconds;
        return {static_cast<std::time_t>(m_time.tv_sec + sum / nsPerSecond),
                static_cast<long>(sum % nsPerSecond)};
    }

private:
    timespec m_time{};
};

/// Nanoseconds, more than a long holds on a machine of 32 bits after two seconds. Also other
/// threads look at the clock.
std::atomic<std::int64_t> passed{0};

timespec wallTime()
{
    static const StartTime start(CLOCK_REALTIME);
    return start.plus(passed);
}

timespec steadyTime()
{
    static const StartTime start(CLOCK_MONOTONIC);
    return start.plus(passed);
}

} // namespace

void SimulatedClock::advance(std::chrono::nanoseconds time)
{
    passed += time.count();
}

// The program's own definitions come before the C library's in every library it loads.

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    switch (clock) {
    case CLOCK_REALTIME:
    case CLOCK_REALTIME_COARSE:
        *time = wallTime();
        return 0;
    case CLOCK_MONOTONIC:
    case CLOCK_MONOTONIC_COARSE:
        *time = steadyTime();
        return 0;
    default:
        return int(syscall(SYS_clock_gettime, clock, time));
    }
}

extern "C" int gettimeofday(timeval* time, void* /*zone*/) noexcept
{
    const timespec now = wallTime();
    *time = {now.tv_sec, static_cast<suseconds_t>(now.tv_nsec / nsPerMicrosecond)};
    return 0;
}
