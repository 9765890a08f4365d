// A clock that stands still until the test moves it.
#pragma once

#include <cstdint>
#include <optional>

#include "utilslib/clock.h"

namespace CorvixTest {

class TestClock {
public:
    static constexpr std::uint64_t lifespanUnit = 1'000'000;  ///< ticks in a tenth of a second

    TestClock() : override_(&Now) { now_ = 133'000'000'000'000'000; }
    /// Nothing stands for a clock that cannot be read.
    static void Set(std::optional<std::uint64_t> now) { now_ = now; }
    static void Advance(std::int64_t ticks) {
        now_ = static_cast<std::uint64_t>(static_cast<std::int64_t>(*now_) + ticks);
    }
    static std::optional<std::uint64_t> Now() { return now_; }

private:
    static inline std::optional<std::uint64_t> now_;
    KyUtils::ClockOverride override_;
};

}  // namespace CorvixTest
