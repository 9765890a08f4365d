#include "utilslib/logfacility.h"

#include <windows.h>

#include <algorithm>
#include <new>
#include <utility>

#include "utilslib/lasterror.h"
#include "utilslib/logline.h"

namespace KyUtils {
namespace {

constexpr std::uint64_t bytesPerKilobyte = 1024;

std::uint64_t ClockCount() {
    LARGE_INTEGER count;
    QueryPerformanceCounter(&count);
    return static_cast<std::uint64_t>(count.QuadPart);
}

LineOrigin OriginNow(const LogModule& module) {
    using std::chrono::milliseconds;
    const auto elapsed = std::chrono::steady_clock::now() - module.loaded;
    LineOrigin origin{};
    GetLocalTime(&origin.localTime);
    origin.clockCount = ClockCount();
    origin.elapsedMilliseconds =
        static_cast<std::uint64_t>(std::chrono::duration_cast<milliseconds>(elapsed).count());
    origin.module = module.name;
    origin.threadId = GetCurrentThreadId();
    return origin;
}

bool SameFile(const LogSettings& left, const LogSettings& right) {
    return left.fileName == right.fileName && left.sizeLimitKilobytes == right.sizeLimitKilobytes;
}

}  // namespace

LogFacility& LogFacility::Instance() {
    // Never destroyed, because static destructors of other files still log.
    static LogFacility* const instance = new LogFacility;
    return *instance;
}

LogModule& LogFacility::Register(const wchar_t* name) {
    const KernelLock lock(lock_);
    const auto known = std::find_if(modules_.begin(), modules_.end(),
                                    [name](const LogModule& module) { return module.name == name; });
    if (known != modules_.end()) return *known;
    LogModule& module = modules_.emplace_back(name);
    module.gate = Gate();
    return module;
}

void LogFacility::Refresh(bool anew) noexcept {
    const LastErrorScope lastError;
    try {
        MonitorSettings monitorSettings;
        {
            const KernelLock lock(lock_);
            if (!lock) return;
            const std::uint64_t now = GetTickCount64();
            if (!anew && now <= logSettingsKeptUntil) return;  // another thread has just read them
            monitorSettings = ReadSettings(now, anew);
        }
        // Outside the lock: releasing the old monitor runs its code, which may log.
        monitor_.Configure(monitorSettings);
    } catch (const std::bad_alloc&) {
        // Out of memory: keep the old settings and try again before the next line.
    }
}

MonitorSettings LogFacility::ReadSettings(std::uint64_t now, bool anew) {
    auto reading = sharedSettings_.Current(now, anew);
    auto monitorReading = sharedMonitorSettings_.Current(now, anew);
    Adopt(std::move(reading.settings));
    logSettingsKeptUntil = reading.keptUntil;
    return std::move(monitorReading.settings);
}

void LogFacility::Adopt(LogSettings settings) {
    const bool fileStays = SameFile(settings_, settings);
    settings_ = std::move(settings);
    for (LogModule& module : modules_) {
        // A module that filled the file stays off until there is another file, or more room in it.
        if (fileStays && module.isCapped) continue;
        module.isCapped = false;
        module.gate = Gate();
    }
}

std::uint32_t LogFacility::Gate() const {
    if (settings_.fileName.empty()) return LineGate::closed;
    return LineGate::Of(settings_.categories, settings_.infoDetailLevel);
}

void LogFacility::Write(LogModule& module, std::uint32_t flags, const std::wstring& text) noexcept {
    try {
        if (Append(module, flags, text)) monitor_.Line(module.name, flags, text);
    } catch (const std::bad_alloc&) {
        // Out of memory: drop the line. Logging never fails the function that logs.
    }
}

bool LogFacility::Append(LogModule& module, std::uint32_t flags, const std::wstring& text) {
    const KernelLock lock(lock_);
    // Asked again under the lock: the gate was read without it and may be out of date.
    if (!lock || settings_.fileName.empty() || module.isCapped) return false;
    const LogFile::Target target{settings_.fileName, settings_.sizeLimitKilobytes * bytesPerKilobyte};
    const std::wstring lines =
        FormatLines(settings_.options, OriginNow(module), ++lastSequence_, flags, text);
    if (file_.Append(target, module.name, lines) != LogFile::Outcome::LimitReached) return true;
    module.isCapped = true;
    module.gate = LineGate::closed;
    return false;
}

}  // namespace KyUtils
