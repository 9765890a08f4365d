/// The log of the process: its settings, its modules and its file.
#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "utilslib/handle.h"
#include "utilslib/logfile.h"
#include "utilslib/logmodule.h"
#include "utilslib/logmonitor.h"
#include "utilslib/logsettings.h"

namespace KyUtils {

/// There is one, made at the first use and never destroyed: lines come until the very last static destructor,
/// that of the set of live objects among them. Any thread; nothing here throws but Register().
class LogFacility {
public:
    static LogFacility& Instance();
    LogFacility(const LogFacility&) = delete;
    LogFacility& operator=(const LogFacility&) = delete;

    /// The module of that name, new or known; it stays for good.
    LogModule& Register(const wchar_t* name);
    /// Reads the settings again when they are due, or in any case with `anew`.
    void Refresh(bool anew) noexcept;
    /// Writes a text whose flags have passed the module's gate.
    void Write(LogModule& module, std::uint32_t flags, const std::wstring& text) noexcept;

private:
    LogFacility() = default;
    ~LogFacility() = default;
    MonitorSettings ReadSettings(std::uint64_t now, bool anew);
    void Adopt(LogSettings settings);
    std::uint32_t Gate() const;
    /// \return whether the line is in the file, or held back for it.
    bool Append(LogModule& module, std::uint32_t flags, const std::wstring& text);

    KernelMutex lock_;
    std::list<LogModule> modules_;
    SharedLogSettings sharedSettings_{L"RegValues"};
    SharedMonitorSettings sharedMonitorSettings_{L"ExtMonitor"};
    LogSettings settings_;
    LogMonitor monitor_;
    LogFile file_;
    unsigned lastSequence_ = 0;
};

}  // namespace KyUtils
