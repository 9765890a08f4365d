/// The form of a line: its prefix, its markers and its text.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace KyUtils {

/// The bits of the `LogOptions` setting.
namespace LogOption {
constexpr std::uint32_t Separated = 1u << 23;  // 2024/05/31 13:45:00 instead of 20240531 134500
constexpr std::uint32_t Date = 1u << 24;
constexpr std::uint32_t Time = 1u << 25;
constexpr std::uint32_t Module = 1u << 26;
constexpr std::uint32_t ThreadId = 1u << 27;
constexpr std::uint32_t Elapsed = 1u << 28;
constexpr std::uint32_t ClockAndSequence = 1u << 29;
}  // namespace LogOption

/// What prefixes tell about the moment and the place that a line comes from.
struct LineOrigin {
    SYSTEMTIME localTime;
    std::uint64_t clockCount;           // of the performance counter
    std::uint64_t elapsedMilliseconds;  // since the module was loaded
    std::wstring_view module;
    DWORD threadId;
};

std::wstring LinePrefix(std::uint32_t options, const LineOrigin& origin, std::optional<unsigned> sequence);

/// The markers of a line of these flags, each with the blank that follows it.
std::wstring KindMarkers(std::uint32_t flags);

/// Prefix, markers and text, ended with a line end. Of a text of several lines each becomes a line of its
/// own, of which only the first has the sequence number: so no text from outside can pass for a line of the
/// log.
std::wstring FormatLines(std::uint32_t options, const LineOrigin& origin, unsigned sequence,
                         std::uint32_t flags, std::wstring_view text);

}  // namespace KyUtils
