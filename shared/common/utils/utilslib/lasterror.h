/// The thread's last error across what may change it.
#pragma once

#include <windows.h>

namespace KyUtils {

/// Puts the last error back to what it was, or to what it is told, when the scope is left: cleaning up must
/// not hide why it was needed.
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

/// Sets the last error. \return E_FAIL
inline HRESULT FailWith(DWORD error) noexcept {
    SetLastError(error);
    return E_FAIL;
}

}  // namespace KyUtils
