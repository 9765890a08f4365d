/// A part of the library that logs under a name of its own.
#pragma once

#include <windows.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>

#include "utilslib/logflags.h"

namespace KyUtils {

/// One module, shared by the source files that name it. The gate is read by any thread without a lock.
struct LogModule {
    explicit LogModule(const wchar_t* moduleName) : name(moduleName) {}

    const std::wstring name;
    const std::chrono::steady_clock::time_point loaded = std::chrono::steady_clock::now();
    std::atomic<std::uint32_t> gate{LineGate::closed};
    bool isCapped = false;  // the file has reached its greatest size; the facility's
};

/// The tick count up to which the settings that the gates follow are good; the first look finds them overdue.
inline std::atomic<std::uint64_t> logSettingsKeptUntil{0};

}  // namespace KyUtils
