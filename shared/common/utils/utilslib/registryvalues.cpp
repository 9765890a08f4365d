#include "utilslib/registryvalues.h"

#include <winternl.h>

// Part of the system's native interface, whose import library has it but whose headers do not.
extern "C" NTSTATUS NTAPI NtQueryKey(HANDLE key, int informationClass, void* information, ULONG length,
                                     ULONG* needed);

namespace KyUtils {
namespace {

constexpr int keyNameInformation = 3;

struct KeyName {
    ULONG lengthInBytes;
    wchar_t characters[1024];
};

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
        if (status == ERROR_MORE_DATA) {
            text.resize(text.size() * 2);
            continue;
        }
        if (status != ERROR_SUCCESS) return {};
        text.resize(wcsnlen(text.data(), size / sizeof(wchar_t)));
        return text;
    }
}

std::uint64_t KeyIdentity(const RegistryKey& key) noexcept {
    KeyName name;
    ULONG needed = 0;
    if (!key || NtQueryKey(key.Get(), keyNameInformation, &name, sizeof name, &needed) < 0) return 0;
    return HashOf(name.characters, name.lengthInBytes);
}

}  // namespace KyUtils
