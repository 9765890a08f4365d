#include "utilslib/logheader.h"

#include <windows.h>

#include <winver.h>

#include <vector>

#include "utilslib/logtext.h"

#define CORVIX_WIDE_(text) L##text
#define CORVIX_WIDE(text) CORVIX_WIDE_(text)

namespace KyUtils {
namespace {

/// The module that this code is linked into: the library, not the program that loaded it.
HMODULE OwnModule() {
    static const wchar_t inThisModule = 0;
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       &inThisModule, &module);
    return module;
}

std::wstring OwnModuleFileName() {
    std::wstring name(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(OwnModule(), name.data(), static_cast<DWORD>(name.size()));
        if (length < name.size()) {
            name.resize(length);
            return name;
        }
        // A truncated name fills the buffer; the function does not tell the length it needs.
        name.resize(name.size() * 2);
    }
}

std::wstring FileVersion(const std::wstring& module) {
    const wchar_t none[] = L"<no version info>";
    DWORD ignored = 0;
    std::vector<char> info(GetFileVersionInfoSizeW(module.c_str(), &ignored));
    void* fixed = nullptr;
    UINT size = 0;
    if (info.empty() ||
        !GetFileVersionInfoW(module.c_str(), 0, static_cast<DWORD>(info.size()), info.data()) ||
        !VerQueryValueW(info.data(), L"\\", &fixed, &size) || size < sizeof(VS_FIXEDFILEINFO)) {
        return none;
    }
    const auto& version = *static_cast<const VS_FIXEDFILEINFO*>(fixed);
    return FormatText(L"%u.%u.%u.%u", HIWORD(version.dwFileVersionMS), LOWORD(version.dwFileVersionMS),
                      HIWORD(version.dwFileVersionLS), LOWORD(version.dwFileVersionLS));
}

}  // namespace

std::wstring LogFileHeader(const std::wstring& fileName) {
    const std::wstring module = OwnModuleFileName();
    std::wstring header;
    header += L"Module File Name: " + module + L"\r\n";
    header += L"Command Line: " + std::wstring(GetCommandLineW()) + L"\r\n";
    header += L"File Version: " + FileVersion(module) + L"\r\n";
    header += FormatText(L"Process ID: %lu\r\n", GetCurrentProcessId());
    header += L"Built on: " CORVIX_WIDE(__DATE__) L" " CORVIX_WIDE(__TIME__) L"\r\n";
    header += L"Log File Name: <" + fileName + L">\r\n";
    return header;
}

}  // namespace KyUtils
