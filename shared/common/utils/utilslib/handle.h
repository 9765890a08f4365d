/// Owners of kernel handles.
#pragma once

#include <windows.h>

#include <utility>

namespace KyUtils {

/// Owns one kernel handle, which may be none; INVALID_HANDLE_VALUE counts as none.
class Handle {
public:
    Handle() noexcept = default;
    explicit Handle(HANDLE handle) noexcept : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
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

/// A mutex of the system; one with a name is shared between processes. Used where a thread may be killed while it
/// holds the lock, as all other threads are when a process ends: unlike std::mutex it is then handed to the next
/// waiter.
class KernelMutex {
public:
    explicit KernelMutex(const wchar_t* name = nullptr) noexcept
        : mutex_(CreateMutexW(nullptr, FALSE, name)) {}

    /// \return whether the calling thread holds the mutex now.
    bool Acquire(DWORD milliseconds) const noexcept {
        if (!mutex_) return false;
        const DWORD outcome = WaitForSingleObject(mutex_.Get(), milliseconds);
        return outcome == WAIT_OBJECT_0 || outcome == WAIT_ABANDONED;
    }
    void Release() const noexcept { ReleaseMutex(mutex_.Get()); }

private:
    Handle mutex_;
};

/// Holds a KernelMutex for a scope, unless it could not be had in time.
class KernelLock {
public:
    explicit KernelLock(const KernelMutex& mutex, DWORD milliseconds = INFINITE) noexcept
        : mutex_(mutex.Acquire(milliseconds) ? &mutex : nullptr) {}
    KernelLock(const KernelLock&) = delete;
    KernelLock& operator=(const KernelLock&) = delete;
    ~KernelLock() {
        if (mutex_) mutex_->Release();
    }

    explicit operator bool() const noexcept { return mutex_ != nullptr; }

private:
    const KernelMutex* mutex_;
};

}  // namespace KyUtils
