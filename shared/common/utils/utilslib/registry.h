/// Owner of an open registry key.
#pragma once

#include <windows.h>

#include <utility>

namespace KyUtils {

/// Owns one open registry key, which may be none.
class RegistryKey {
public:
    RegistryKey() noexcept = default;
    RegistryKey(RegistryKey&& other) noexcept : key_(std::exchange(other.key_, nullptr)) {}
    RegistryKey& operator=(RegistryKey&& other) noexcept {
        std::swap(key_, other.key_);
        return *this;
    }
    ~RegistryKey() {
        if (key_) RegCloseKey(key_);
    }

    /// Opens an existing key in place of the one held.
    /// \return the registry's error code; on failure none is held.
    LSTATUS Open(HKEY parent, const wchar_t* path, REGSAM access) noexcept {
        return RegOpenKeyExW(parent, path, 0, access, Receive());
    }
    /// Opens a key, making it and the keys above it where they are missing: non-volatile, default security.
    LSTATUS Create(HKEY parent, const wchar_t* path, REGSAM access) noexcept {
        return RegCreateKeyExW(parent, path, 0, nullptr, REG_OPTION_NON_VOLATILE, access, nullptr, Receive(),
                               nullptr);
    }

    HKEY Get() const noexcept { return key_; }
    explicit operator bool() const noexcept { return key_ != nullptr; }

private:
    HKEY* Receive() noexcept {
        if (HKEY old = std::exchange(key_, nullptr)) RegCloseKey(old);
        return &key_;
    }

    HKEY key_ = nullptr;
};

}  // namespace KyUtils
