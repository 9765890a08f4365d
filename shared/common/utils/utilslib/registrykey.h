/// An open key of the registry.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <utility>

namespace KyUtils {

/// Owns one registry key, which may be none: everything read from none is absent.
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

    /// The key if it exists and may be read, else none.
    static RegistryKey OpenForReading(HKEY root, const wchar_t* path) noexcept;

    /// A 32-bit value, or `absent` when there is none of that type.
    std::uint32_t Number(const wchar_t* name, std::uint32_t absent) const noexcept;
    /// A text value with its environment variables expanded, empty when there is none of that type.
    std::wstring Text(const wchar_t* name) const;
    /// A number that tells this key from those of other users and hives, the same in every process; 0 for
    /// none.
    std::uint64_t Identity() const noexcept;

    HKEY Get() const noexcept { return key_; }
    explicit operator bool() const noexcept { return key_ != nullptr; }

private:
    explicit RegistryKey(HKEY key) noexcept : key_(key) {}
    HKEY key_ = nullptr;
};

}  // namespace KyUtils
