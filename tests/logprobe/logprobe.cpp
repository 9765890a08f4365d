// logprobe HIVE lines COUNT     writes numbered error lines to the log
// logprobe HIVE detail STEM     exits with the detail level that the shared settings of that name have
//
// HIVE is the path of the key that stands for the user's registry, below the user's real one.
#include <windows.h>

#include <cwchar>
#include <string_view>

#include "utilslib/logging.h"
#include "utilslib/logsettings.h"

namespace {

const KyUtils::LogSource logSource(L"Probe");

constexpr int usageError = 2;

int WriteLines(int count) {
    for (int i = 1; i <= count; ++i)
        logSource.Error(L"probe %lu line %d", GetCurrentProcessId(), i);
    return 0;
}

int DetailLevel(const wchar_t* stem) {
    return static_cast<int>(
        KyUtils::SharedLogSettings(stem).Current(GetTickCount64()).settings.infoDetailLevel);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 4) return usageError;
    HKEY hive = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, argv[1], 0, KEY_ALL_ACCESS, &hive) != ERROR_SUCCESS)
        return usageError;
    RegOverridePredefKey(HKEY_CURRENT_USER, hive);
    const std::wstring_view command = argv[2];
    if (command == L"lines") return WriteLines(static_cast<int>(std::wcstol(argv[3], nullptr, 10)));
    if (command == L"detail") return DetailLevel(argv[3]);
    return usageError;
}
