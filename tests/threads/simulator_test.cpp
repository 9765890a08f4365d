// What the services of the simulated device share: each of their connections has a thread of its own.
#include <gmock/gmock.h>

#include <atomic>

#include "base/stopper.h"
#include "crowd.h"
#include "device/counters.h"
#include "device/faults.h"
#include "device/values.h"

namespace CorvixSim {
namespace {

constexpr int rounds = 200;

TEST(SimulatorInThreads, ValuesAreSetAndExpandedAtOnce) {
    Values values;
    values.Load("host = printer\nplace = attic\n");
    values.SetComputed("greeting", [] { return std::string("at {{place}}"); });
    CorvixTest::RunInCrowd([&](int thread) {
        for (int i = 0; i < rounds; ++i) {
            values.Set("counter-" + std::to_string(thread), std::to_string(i));
            EXPECT_EQ(values.Expand("{{host}} {{greeting}}"), "printer at attic");
            EXPECT_EQ(values.Get("counter-" + std::to_string(thread)), std::to_string(i));
            EXPECT_FALSE(values.Json().empty());
        }
    });
}

TEST(SimulatorInThreads, EveryRequestIsCounted) {
    Counters counters;
    CorvixTest::RunInCrowd([&](int) {
        for (int i = 0; i < rounds; ++i) {
            counters.Count("ipp", "/ipp/print");
            counters.CountOperation("ipp", "Get-Jobs");
            EXPECT_FALSE(counters.Json().empty());
        }
    });
    EXPECT_THAT(counters.Json(), testing::HasSubstr("\"Get-Jobs\":1200"));
}

TEST(SimulatorInThreads, AFaultStrikesAsOftenAsItsRuleSays) {
    FaultTable faults;
    faults.Add("service=ipp status=503 times=100");
    std::atomic<int> changes{0};
    faults.OnChange([&] { ++changes; });
    std::atomic<int> struck{0};
    CorvixTest::RunInCrowd([&](int thread) {
        for (int i = 0; i < rounds; ++i) {
            struck += faults.Match({"ipp", "/ipp/print", {}}).Has(FaultKind::Status) ? 1 : 0;
            if (i % 50 == 0) faults.Add("service=snmp path=" + std::to_string(thread) + " drop");
            EXPECT_FALSE(faults.Refuses("ipp"));
        }
    });
    EXPECT_EQ(struck, 100);
    EXPECT_EQ(faults.Rules().size(), 25u);
    EXPECT_GT(changes, 0);
}

TEST(SimulatorInThreads, AStopWakesAllThatSleep) {
    Stopper stopper;
    CorvixTest::RunInCrowd([&](int thread) {
        if (thread == 0) return stopper.Stop();
        EXPECT_FALSE(stopper.Sleep(std::chrono::hours(1)));
        stopper.Wait();
        EXPECT_TRUE(stopper.Stopped());
    });
}

}  // namespace
}  // namespace CorvixSim
