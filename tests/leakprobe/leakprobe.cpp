// leakprobe HIVE MADE LEAKED     makes that many data maps and never releases that many of them
//
// HIVE is the path of the key that stands for the user's registry, below the user's real one.
#include <windows.h>

#include <cwchar>

#include "corvixdm/corvixdm.h"

int wmain(int argc, wchar_t** argv) {
    constexpr int usageError = 2;
    if (argc != 4) return usageError;
    HKEY hive = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, argv[1], 0, KEY_ALL_ACCESS, &hive) != ERROR_SUCCESS)
        return usageError;
    RegOverridePredefKey(HKEY_CURRENT_USER, hive);

    const long made = std::wcstol(argv[2], nullptr, 10);
    const long leaked = std::wcstol(argv[3], nullptr, 10);
    for (long i = 0; i < made; ++i) {
        Corvix::DataMapSpec* map = Corvix::DataMapSpec::CreateDataMapSpec();
        if (i >= leaked) map->Dispose();
    }
    return 0;
}
