// What a function pays for its log scope while logging is off: figure log.off_ns.
#include <windows.h>

#include <cstdio>

#include "support/figure.h"
#include "utilslib/logging.h"

namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr int scopesPerRun = 5'000'000;

void LoggedFunction(volatile int& calls) {
    const KyUtils::LogScope scope(logSource, "Corvix::Bench::LoggedFunction");
    calls = calls + 1;
}

// Called through a pointer that the compiler cannot see through, so that every scope has a call of its own.
void (*volatile const loggedFunction)(volatile int&) = LoggedFunction;

double NanosecondsPerScope() {
    constexpr double nanosecondsPerSecond = 1e9;
    volatile int calls = 0;
    const double seconds = CorvixBench::SecondsOf([&calls] {
        for (int i = 0; i < scopesPerRun; ++i)
            loggedFunction(calls);
    });
    return seconds * nanosecondsPerSecond / scopesPerRun;
}

}  // namespace

int wmain() {
    if (logSource.IsOn(KyUtils::LineFlag::Error)) {
        std::fputs("logging is on for this user: remove LogFileName\n", stderr);
        return 1;
    }
    CorvixBench::PrintFigure("log.off_ns", CorvixBench::MedianOf(9, NanosecondsPerScope), "ns");
    return 0;
}
