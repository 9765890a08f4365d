#include "utilslib/clock.h"

#include <gmock/gmock.h>

#include "support/testclock.h"

namespace KyUtils {
namespace {

using CorvixTest::TestClock;

TEST(IsExpired, CountsALifespanInTenthsOfASecond) {
    constexpr std::int64_t second = 10 * TestClock::lifespanUnit;
    struct Case {
        const char* what;
        unsigned lifespan;
        std::int64_t age;
        bool isExpired;
    };
    const Case cases[] = {{"for ever, years old", 0, 4 * 365 * 86400 * second, false},
                          {"for ever, from the future", 0, -second, false},
                          {"just now", 50, 0, false},
                          {"as old as it may be", 50, 5 * second, false},
                          {"a tick older", 50, 5 * second + 1, true},
                          {"from the future", 50, -1, true},
                          {"the longest lifespan", 4294967295u, 429496729 * second, false}};
    const TestClock clock;
    for (const Case& c : cases)
        EXPECT_EQ(IsExpired(*TestClock::Now() - static_cast<std::uint64_t>(c.age), c.lifespan), c.isExpired)
            << c.what;
    const std::uint64_t now = *TestClock::Now();
    TestClock::Set(std::nullopt);
    EXPECT_TRUE(IsExpired(now, 50)) << "a clock that cannot be read";
    EXPECT_FALSE(IsExpired(now, 0));
}

TEST(CurrentFileTime, IsTheSystems) {
    FILETIME time;
    GetSystemTimeAsFileTime(&time);
    const auto expected = static_cast<std::uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
    EXPECT_NEAR(static_cast<double>(*CurrentFileTime()), static_cast<double>(expected), 6e8)
        << "within a minute";
}

}  // namespace
}  // namespace KyUtils
