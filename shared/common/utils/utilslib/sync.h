/// What threads synchronise with: critical sections, events, threads.
#pragma once

#include <windows.h>

#include <process.h>

#include "utilslib/handle.h"

namespace KyUtils {

/// A Win32 critical section.
class CriticalSection {
public:
    CriticalSection() noexcept { InitializeCriticalSection(&section_); }
    ~CriticalSection() { DeleteCriticalSection(&section_); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    /// For std::lock_guard.
    void lock() noexcept { EnterCriticalSection(&section_); }
    void unlock() noexcept { LeaveCriticalSection(&section_); }

private:
    CRITICAL_SECTION section_;
};

/// A manual-reset event that is not signalled; `name` null for an unnamed one.
inline Handle CreateManualResetEvent(const wchar_t* name = nullptr) noexcept {
    return Handle(CreateEventW(nullptr, TRUE, FALSE, name));
}

/// Starts a thread of the C runtime; none when the system has no room for one.
inline Handle StartThread(unsigned(__stdcall* procedure)(void*), void* argument) noexcept {
    return Handle(reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, procedure, argument, 0, nullptr)));
}

}  // namespace KyUtils
