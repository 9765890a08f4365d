// A user's registry of the test's own.
#pragma once

#include <windows.h>

#include <string>

namespace CorvixTest {

/// Puts an empty key, named after this process, in the place of HKEY_CURRENT_USER or another predefined key,
/// and removes it again with everything that was put into it.
class RegistrySandbox {
public:
    explicit RegistrySandbox(HKEY predefined = HKEY_CURRENT_USER)
        : predefined_(predefined), path_(L"Software\\CorvixTest\\" + std::to_wstring(GetCurrentProcessId())) {
        RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
        RegCreateKeyExW(HKEY_CURRENT_USER, path_.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &root_,
                        nullptr);
        RegOverridePredefKey(predefined_, root_);
    }
    RegistrySandbox(const RegistrySandbox&) = delete;
    RegistrySandbox& operator=(const RegistrySandbox&) = delete;
    ~RegistrySandbox() {
        RegOverridePredefKey(predefined_, nullptr);
        RegCloseKey(root_);
        RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str());
    }

    /// Below the real HKEY_CURRENT_USER, for a child process that shall see the same registry.
    const std::wstring& Path() const { return path_; }

    static void SetNumber(const wchar_t* key, const wchar_t* name, DWORD number) {
        RegSetKeyValueW(HKEY_CURRENT_USER, key, name, REG_DWORD, &number, sizeof number);
    }
    static void SetText(const wchar_t* key, const wchar_t* name, const std::wstring& text,
                        DWORD type = REG_SZ) {
        RegSetKeyValueW(HKEY_CURRENT_USER, key, name, type, text.c_str(),
                        static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }
    static void Remove(const wchar_t* key, const wchar_t* name) {
        RegDeleteKeyValueW(HKEY_CURRENT_USER, key, name);
    }

private:
    HKEY predefined_;
    std::wstring path_;
    HKEY root_ = nullptr;
};

}  // namespace CorvixTest
