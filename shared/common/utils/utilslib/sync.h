/// Owners of what threads meet at.
#pragma once

#include <windows.h>

#include <process.h>

#include <utility>

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

/// Owns a kernel handle, which may be none.
class Handle {
public:
    Handle() noexcept = default;
    explicit Handle(HANDLE handle) noexcept : handle_(handle) {}
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Handle() { Close(); }

    void Close() noexcept {
        if (const HANDLE handle = std::exchange(handle_, nullptr)) CloseHandle(handle);
    }
    HANDLE Get() const noexcept { return handle_; }
    explicit operator bool() const noexcept { return handle_ != nullptr; }

private:
    HANDLE handle_ = nullptr;
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
