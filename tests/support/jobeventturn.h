// The event "PrintJobStatus" is one for the whole machine, and whoever signals it ends the following of every job:
// tests that follow jobs, or have a program do so, take turns.
#pragma once

#include <windows.h>

namespace CorvixTest {

class JobEventTurn {
public:
    JobEventTurn() { WaitForSingleObject(turn_, INFINITE); }
    JobEventTurn(const JobEventTurn&) = delete;
    JobEventTurn& operator=(const JobEventTurn&) = delete;
    ~JobEventTurn() {
        ReleaseMutex(turn_);
        CloseHandle(turn_);
    }

private:
    const HANDLE turn_ = CreateMutexW(nullptr, FALSE, L"corvix-test-job-event");
};

}  // namespace CorvixTest
