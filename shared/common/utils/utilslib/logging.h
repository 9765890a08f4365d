/// The log: lines of a per-user file, switched on and formed by settings in the registry (docs/logging.md).
///
/// Each source file has one LogSource that names its module; functions open a LogScope and write lines
/// through the source. Formats are those of wprintf; texts go in with %ls. Nothing here throws or changes the
/// thread's last-error value, and arguments of a line that is switched off are not formatted.
#pragma once

#include <windows.h>

#include <cstdarg>
#include <cstdint>
#include <string>

#include "utilslib/logflags.h"
#include "utilslib/logmodule.h"

namespace KyUtils {

/// A source file's way to the log of its module. Any thread.
class LogSource {
public:
    /// Registers with the module; made when the library is loaded.
    explicit LogSource(const wchar_t* module);

    /// Whether a line of one of these kinds is written. While logging is off this costs a look at the tick
    /// count, whether the settings are due to be read again, and at the module's gate.
    bool IsOn(std::uint32_t flags) const noexcept {
        if (GetTickCount64() > logSettingsKeptUntil.load(std::memory_order_relaxed)) RefreshSettings();
        // A line may come before its file's source is made, from another file's static constructor.
        return module_ && LineGate::Passes(module_->gate.load(std::memory_order_relaxed), flags);
    }

    template <class... Args>
    void Debug(const wchar_t* format, Args... args) const {
        Line(LineFlag::Debug, format, args...);
    }
    /// Written when the level is no more than the detail level that is set.
    template <class... Args>
    void Info(unsigned level, const wchar_t* format, Args... args) const {
        Line(LineFlag::Info | (level & LineFlag::InfoLevelMask), format, args...);
    }
    template <class... Args>
    void State(const wchar_t* format, Args... args) const {
        Line(LineFlag::State, format, args...);
    }
    template <class... Args>
    void Warning(const wchar_t* format, Args... args) const {
        Line(LineFlag::Warning, format, args...);
    }
    template <class... Args>
    void Error(const wchar_t* format, Args... args) const {
        Line(LineFlag::Error, format, args...);
    }
    /// For the handler of an exception: the innermost open scope of the thread ends with "(handled exception)
    /// ".
    template <class... Args>
    void Exception(const wchar_t* format, Args... args) const {
        Line(LineFlag::Exception, format, args...);
    }
    /// Adds "[Err: 0x%08X]" with the result.
    template <class... Args>
    void ErrorResult(HRESULT result, const wchar_t* format, Args... args) const {
        if (IsOn(LineFlag::Error)) WriteWithResult(LineFlag::Error, result, format, args...);
    }
    /// Adds ", [GLE: 0x%08X] %s" with the thread's last error and its text.
    template <class... Args>
    void ErrorLastError(const wchar_t* format, Args... args) const {
        if (IsOn(LineFlag::Error)) WriteWithLastError(LineFlag::Error, format, args...);
    }
    template <class... Args>
    void Line(std::uint32_t flags, const wchar_t* format, Args... args) const {
        if (IsOn(flags)) Write(flags, format, args...);
    }

private:
    static void RefreshSettings() noexcept;
    void Write(std::uint32_t flags, const wchar_t* format, ...) const noexcept;
    void WriteWithResult(std::uint32_t flags, HRESULT result, const wchar_t* format, ...) const noexcept;
    void WriteWithLastError(std::uint32_t flags, const wchar_t* format, ...) const noexcept;
    template <class Note>
    void WriteNoted(std::uint32_t flags, const wchar_t* format, std::va_list arguments,
                    Note note) const noexcept;

    LogModule* module_;
};

/// Logs the entry to and the exit from a function; its name is the qualified one, such as "Corvix::Foo::Bar".
/// The exit line tells how long that took and whether the function was left by an exception that was thrown
/// in the same module: those of another module's runtime cannot be seen. For one thread, on its stack.
class LogScope {
public:
    /// \param flags are added to both lines: LineFlag::Duration, a part of the module, markers.
    LogScope(const LogSource& source, const char* function,
             std::uint32_t flags = LineFlag::Duration) noexcept {
        if (source.IsOn(LineFlag::Entry | LineFlag::Exit)) Enter(source, function, flags);
    }
    ~LogScope() {
        if (source_) Leave();
    }
    LogScope(const LogScope&) = delete;
    LogScope& operator=(const LogScope&) = delete;

    /// Says that an exception was handled within the innermost open scope of the calling thread.
    static void NoteHandledException() noexcept;

private:
    void Enter(const LogSource& source, const char* function, std::uint32_t flags) noexcept;
    void Leave() noexcept;
    std::wstring ExitNotes(int exceptionsInFlight) const;

    const LogSource* source_ = nullptr;  // none while the scope is not logged
    const char* function_ = nullptr;
    LogScope* outer_ = nullptr;
    std::uint32_t flags_ = 0;
    int exceptionsAtEntry_ = 0;
    bool handledException_ = false;
    std::int64_t entered_ = 0;
};

/// Reads the settings now, whatever their poll time: for who has just changed them.
void RereadLogSettings() noexcept;

}  // namespace KyUtils
