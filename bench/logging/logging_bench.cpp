// What a function pays for its log scope while logging is off: figure log.off_ns.
#include <windows.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

#include "utilslib/logging.h"

namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr int scopesPerRun = 5'000'000;

// Not inlined, so that every scope is entered and left as in a function of its own.
#if defined(_MSC_VER)
__declspec(noinline)
#else
[[gnu::noinline]]
#endif
    void LoggedFunction(volatile int& calls) {
    KyUtils::LogScope scope(logSource, "Corvix::Bench::LoggedFunction");
    calls = calls + 1;
}

double NanosecondsPerScope() {
    volatile int calls = 0;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < scopesPerRun; ++i)
        LoggedFunction(calls);
    const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
    return spent.count() / scopesPerRun;
}

}  // namespace

int wmain() {
    if (logSource.IsOn(KyUtils::LineFlag::Error)) {
        std::fputs("logging is on for this user: remove LogFileName\n", stderr);
        return 1;
    }
    std::array<double, 9> runs{};
    for (double& run : runs)
        run = NanosecondsPerScope();
    std::nth_element(runs.begin(), runs.begin() + runs.size() / 2, runs.end());
    std::printf("figure log.off_ns %.2f ns\n", runs[runs.size() / 2]);
    return 0;
}
