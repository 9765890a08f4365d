/// The thread's last error: failing with one, and keeping it across what may change it.
#pragma once

#include <windows.h>

namespace KyUtils {

/// Sets the last error and gives the result, for `return FailWith(...)`.
inline HRESULT FailWith(DWORD error, HRESULT result = E_FAIL) noexcept {
    SetLastError(error);
    return result;
}

/// Puts the last error back to what it was, or to what it is told, when the scope is left: neither cleaning up
/// nor logging may hide why it was needed.
class LastErrorScope {
public:
    LastErrorScope() noexcept : error_(GetLastError()) {}
    ~LastErrorScope() { SetLastError(error_); }
    LastErrorScope(const LastErrorScope&) = delete;
    LastErrorScope& operator=(const LastErrorScope&) = delete;

    /// What the scope is left with.
    void LeaveWith(DWORD error) noexcept { error_ = error; }
    DWORD Get() const noexcept { return error_; }

private:
    DWORD error_;
};

}  // namespace KyUtils
