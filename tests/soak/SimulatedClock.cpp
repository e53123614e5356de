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

/// The kernel's clock, in the same width as `timespec` here.
#ifdef SYS_clock_gettime64
constexpr long readClock = SYS_clock_gettime64;
#else
constexpr long readClock = SYS_clock_gettime;
#endif

/// Where a clock of the kernel's stood when it was first asked for.
class StartTime
{
public:
    explicit StartTime(clockid_t clock) { syscall(readClock, clock, &m_time); }

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

/// As clock_gettime(): 0, or -1 for a clock that there is not.
int readTime(clockid_t clock, timespec* time)
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
        return int(syscall(readClock, clock, time));
    }
}

} // namespace

void SimulatedClock::advance(std::chrono::nanoseconds time)
{
    passed += time.count();
}

// The program's own definitions come before the C library's in every library it loads.

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    return readTime(clock, time);
}

extern "C" int gettimeofday(timeval* time, void* /*zone*/) noexcept
{
    const timespec now = wallTime();
    *time = {now.tv_sec, static_cast<suseconds_t>(now.tv_nsec / nsPerMicrosecond)};
    return 0;
}

// On a machine of 32 bits those two have other names in a program whose times have 64. Libraries
// whose times have 32, as Qt's have there, ask by the names of old.
#if defined(__USE_TIME_BITS64) && __TIMESIZE == 32

namespace {

struct OldTime
{
    std::int32_t seconds;
    std::int32_t parts; ///< Nanoseconds or microseconds.
};

} // namespace

extern "C" int oldClockGettime(clockid_t clock, OldTime* time) noexcept __asm__("clock_gettime");
extern "C" int oldGettimeofday(OldTime* time, void* zone) noexcept __asm__("gettimeofday");

int oldClockGettime(clockid_t clock, OldTime* time) noexcept
{
    timespec now{};
    const int status = readTime(clock, &now);
    *time = {static_cast<std::int32_t>(now.tv_sec), static_cast<std::int32_t>(now.tv_nsec)};
    return status;
}

int oldGettimeofday(OldTime* time, void* /*zone*/) noexcept
{
    const timespec now = wallTime();
    *time = {static_cast<std::int32_t>(now.tv_sec),
             static_cast<std::int32_t>(now.tv_nsec / nsPerMicrosecond)};
    return 0;
}

#endif
