// The event "PrintJobStatus" is one for the whole machine: tests that follow jobs take turns.
#pragma once

#include <windows.h>

#include "utilslib/sync.h"

namespace CorvixTest {

class JobEventTurn {
public:
    JobEventTurn() { WaitForSingleObject(turn_.Get(), INFINITE); }
    JobEventTurn(const JobEventTurn&) = delete;
    JobEventTurn& operator=(const JobEventTurn&) = delete;
    ~JobEventTurn() { ReleaseMutex(turn_.Get()); }

private:
    const KyUtils::Handle turn_{CreateMutexW(nullptr, FALSE, L"corvix-test-job-event")};
};

}  // namespace CorvixTest
