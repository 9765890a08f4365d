#include "utilslib/clock.h"

#include <windows.h>

#include <atomic>

namespace KyUtils {
namespace {

/// A lifespan counts tenths of a second, a time stamp 100 ns ticks.
constexpr std::uint64_t ticksPerLifespanUnit = 1'000'000;

std::optional<std::uint64_t> SystemClock() {
    SYSTEMTIME now;
    FILETIME fileTime;
    GetSystemTime(&now);
    if (!SystemTimeToFileTime(&now, &fileTime)) return std::nullopt;
    return (static_cast<std::uint64_t>(fileTime.dwHighDateTime) << 32) | fileTime.dwLowDateTime;
}

/// Atomic, because tests move the clock while threads of the library read it.
std::atomic<ClockOverride::Source> clockSource{&SystemClock};

}  // namespace

std::optional<std::uint64_t> CurrentFileTime() { return clockSource.load(std::memory_order_relaxed)(); }

bool IsExpired(std::uint64_t timeStamp, std::uint32_t lifespan) {
    if (lifespan == 0) return false;
    const auto now = CurrentFileTime();
    // A stamp in the future was made before the clock was set back: its age is unknown.
    if (!now || *now < timeStamp) return true;
    return *now - timeStamp > lifespan * ticksPerLifespanUnit;
}

ClockOverride::ClockOverride(Source source) : previous_(clockSource.exchange(source)) {}

ClockOverride::~ClockOverride() { clockSource = previous_; }

}  // namespace KyUtils
