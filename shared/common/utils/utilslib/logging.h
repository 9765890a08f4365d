/// The log: lines of a per-user file, switched on and formed by settings in the registry.
///
/// Each source file has one LogSource that names its module; functions open a LogScope and write lines
/// through the source. Formats are those of wprintf; texts go in with %ls.
#pragma once

#include <windows.h>

#include <cstdint>

namespace KyUtils {

/// What a line is, as its flags say.
namespace LineFlag {
constexpr std::uint32_t Info = 0x10;  // the level stands in the lowest four bits
constexpr std::uint32_t Exception = 0x20;
constexpr std::uint32_t Warning = 0x40;
constexpr std::uint32_t Error = 0x80;
constexpr std::uint32_t Debug = 0x200;
constexpr std::uint32_t Entry = 0x400;
constexpr std::uint32_t Exit = 0x800;
constexpr std::uint32_t Duration = 0x400000;
}  // namespace LineFlag

/// A source file's way to the log of its module. Any thread.
class LogSource {
public:
    explicit LogSource(const wchar_t* module);

    /// Whether a line of these flags would be written: a load and a branch while logging is off.
    bool IsOn(std::uint32_t flags) const;

    template <class... Args>
    void Debug(const wchar_t* format, Args... args) const {
        Line(LineFlag::Debug, format, args...);
    }
    template <class... Args>
    void Warning(const wchar_t* format, Args... args) const {
        Line(LineFlag::Warning, format, args...);
    }
    template <class... Args>
    void Error(const wchar_t* format, Args... args) const {
        Line(LineFlag::Error, format, args...);
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
    void Write(std::uint32_t flags, const wchar_t* format, ...) const;
    void WriteWithResult(std::uint32_t flags, HRESULT result, const wchar_t* format, ...) const;
    void WriteWithLastError(std::uint32_t flags, const wchar_t* format, ...) const;
};

/// Logs the entry to and the exit from a function; its name is the qualified one, such as "Corvix::Foo::Bar".
class LogScope {
public:
    LogScope(const LogSource& source, const char* function);
    ~LogScope();
    LogScope(const LogScope&) = delete;
    LogScope& operator=(const LogScope&) = delete;
};

}  // namespace KyUtils
