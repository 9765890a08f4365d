#include "utilslib/registryvalues.h"

#include <winternl.h>

#include <iterator>

/// Part of the native API: in the import library, but declared in driver headers only.
extern "C" NTSTATUS NTAPI NtQueryKey(HANDLE key, int informationClass, void* information, ULONG length,
                                     ULONG* needed);

namespace KyUtils {
namespace {

constexpr int keyNameInformation = 3;
constexpr size_t longestKeyName = 255;

struct KeyName {
    ULONG lengthInBytes;
    wchar_t characters[1024];
};

/// FNV-1a.
std::uint64_t HashOf(const void* bytes, size_t length) {
    std::uint64_t hash = 14695981039346656037u;
    for (const auto* byte = static_cast<const unsigned char*>(bytes); length > 0; ++byte, --length) {
        hash = (hash ^ *byte) * 1099511628211u;
    }
    return hash;
}

}  // namespace

std::uint32_t NumberValue(const RegistryKey& key, const wchar_t* name, std::uint32_t absent) noexcept {
    DWORD number = 0;
    DWORD size = sizeof number;
    if (!key ||
        RegGetValueW(key.Get(), nullptr, name, RRF_RT_REG_DWORD, nullptr, &number, &size) != ERROR_SUCCESS) {
        return absent;
    }
    return number;
}

std::wstring TextValue(const RegistryKey& key, const wchar_t* name) {
    if (!key) return {};
    std::wstring text(MAX_PATH, L'\0');
    for (;;) {
        auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
        const LONG status =
            RegGetValueW(key.Get(), nullptr, name, RRF_RT_REG_SZ, nullptr, text.data(), &size);
        // The size reported may be too small for a text that grows by expansion, so double it instead.
        if (status == ERROR_MORE_DATA) {
            text.resize(text.size() * 2);
            continue;
        }
        if (status != ERROR_SUCCESS) return {};
        text.resize(wcsnlen(text.data(), size / sizeof(wchar_t)));
        return text;
    }
}

LSTATUS WriteText(const RegistryKey& key, const std::wstring& name, std::wstring_view text) noexcept {
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    return RegSetValueExW(key.Get(), name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.data()),
                          bytes);
}

std::vector<std::wstring> SubKeyNames(const RegistryKey& key) {
    std::vector<std::wstring> names;
    wchar_t name[longestKeyName + 1];
    for (DWORD i = 0;; ++i) {
        auto length = static_cast<DWORD>(std::size(name));
        if (RegEnumKeyExW(key.Get(), i, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            return names;
        names.emplace_back(name, length);
    }
}

bool IsEmptyKey(const std::wstring& path) noexcept {
    RegistryKey key;
    DWORD keys = 0;
    DWORD values = 0;
    return key.Open(HKEY_LOCAL_MACHINE, path.c_str(), KEY_READ) == ERROR_SUCCESS &&
           RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, &keys, nullptr, nullptr, &values, nullptr,
                            nullptr, nullptr, nullptr) == ERROR_SUCCESS &&
           keys == 0 && values == 0;
}

std::uint64_t KeyIdentity(const RegistryKey& key) noexcept {
    KeyName name;
    ULONG needed = 0;
    if (!key || NtQueryKey(key.Get(), keyNameInformation, &name, sizeof name, &needed) < 0) return 0;
    return HashOf(name.characters, name.lengthInBytes);
}

}  // namespace KyUtils
