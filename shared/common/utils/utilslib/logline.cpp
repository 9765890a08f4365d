#include "utilslib/logline.h"

#include <algorithm>
#include <cwctype>

#include "utilslib/logflags.h"
#include "utilslib/logtext.h"

namespace KyUtils {
namespace {

using Sequence = std::optional<unsigned>;

/// The clock count is written with ten digits.
constexpr std::uint64_t clockModulus = 10'000'000'000;

std::wstring DatePrefix(std::uint32_t options, const LineOrigin& origin, Sequence) {
    const SYSTEMTIME& t = origin.localTime;
    const wchar_t* format = options & LogOption::Separated ? L"%04u/%02u/%02u " : L"%04u%02u%02u ";
    return FormatText(format, t.wYear, t.wMonth, t.wDay);
}

std::wstring TimePrefix(std::uint32_t options, const LineOrigin& origin, Sequence) {
    const SYSTEMTIME& t = origin.localTime;
    const wchar_t* format = options & LogOption::Separated ? L"%02u:%02u:%02u " : L"%02u%02u%02u ";
    return FormatText(format, t.wHour, t.wMinute, t.wSecond);
}

std::wstring ClockPrefix(std::uint32_t, const LineOrigin& origin, Sequence) {
    return FormatText(L"%10.10I64d ", origin.clockCount % clockModulus);
}

std::wstring ElapsedPrefix(std::uint32_t, const LineOrigin& origin, Sequence) {
    return FormatText(L"(%6.6I64d ms) ", origin.elapsedMilliseconds);
}

std::wstring ModulePrefix(std::uint32_t, const LineOrigin& origin, Sequence) {
    return std::wstring(origin.module) + L' ';
}

std::wstring ThreadPrefix(std::uint32_t, const LineOrigin& origin, Sequence) {
    return FormatText(L"{tid: 0x%04X} ", static_cast<unsigned>(origin.threadId));
}

std::wstring SequencePrefix(std::uint32_t, const LineOrigin&, Sequence sequence) {
    return sequence ? FormatText(L"%04d: ", *sequence) : L"      ";
}

struct PrefixPart {
    std::uint32_t option;
    std::wstring (*text)(std::uint32_t options, const LineOrigin& origin, Sequence sequence);
};

/// In the order in which they are written.
constexpr PrefixPart prefixParts[] = {
    {LogOption::Date, DatePrefix},
    {LogOption::Time, TimePrefix},
    {LogOption::ClockAndSequence, ClockPrefix},
    {LogOption::Elapsed, ElapsedPrefix},
    {LogOption::Module, ModulePrefix},
    {LogOption::ThreadId, ThreadPrefix},
    {LogOption::ClockAndSequence, SequencePrefix},
};

struct Marker {
    std::uint32_t bits;
    const wchar_t* format;  // of the number that stands in `numberMask`, if there is one
    std::uint32_t numberMask = 0;
    unsigned numberShift = 0;
};

constexpr Marker markers[] = {
    {LineFlag::Exception, L"(EX) "},
    {LineFlag::Error, L"(##) "},
    {LineFlag::Warning, L"(WN) "},
    {LineFlag::Milestone, L"(++) "},
    {LineFlag::Info, L"(I%d) ", LineFlag::InfoLevelMask},
    {LineFlag::State, L"(ST) "},
    {LineFlag::Debug, L"(DB) "},
    {LineFlag::Entry, L"(->) "},
    {LineFlag::Exit, L"(<-) "},
    {LineFlag::Remark, L"(**) "},
    {LineFlag::Lock, L"(LK) "},
    {LineFlag::Network, L"(IP) "},
    {LineFlag::PartMask, L"(M%d) ", LineFlag::PartMask, LineFlag::PartShift},
};

/// Replaces control characters, so that a text cannot forge lines or confuse a viewer.
void AppendPrintable(std::wstring& line, std::wstring_view text) {
    std::transform(text.begin(), text.end(), std::back_inserter(line),
                   [](wchar_t c) { return c < L' ' && c != L'\t' ? L' ' : c; });
}

std::wstring_view WithoutTrailingLineEnds(std::wstring_view text) {
    const size_t last = text.find_last_not_of(L"\r\n");
    return text.substr(0, last == text.npos ? 0 : last + 1);
}

/// Cuts off the first line, with the line end after it.
std::wstring_view TakeLine(std::wstring_view& text) {
    const size_t end = text.find(L'\n');
    std::wstring_view line = text.substr(0, end);
    text.remove_prefix(end == text.npos ? text.size() : end + 1);
    return WithoutTrailingLineEnds(line);
}

}  // namespace

std::wstring LinePrefix(std::uint32_t options, const LineOrigin& origin, std::optional<unsigned> sequence) {
    std::wstring prefix;
    for (const PrefixPart& part : prefixParts) {
        if (options & part.option) prefix += part.text(options, origin, sequence);
    }
    return prefix;
}

std::wstring KindMarkers(std::uint32_t flags) {
    std::wstring text;
    for (const Marker& marker : markers) {
        if (flags & marker.bits)
            text += FormatText(marker.format, (flags & marker.numberMask) >> marker.numberShift);
    }
    return text;
}

std::wstring FormatLines(std::uint32_t options, const LineOrigin& origin, unsigned sequence,
                         std::uint32_t flags, std::wstring_view text) {
    const std::wstring kinds = KindMarkers(flags);
    std::wstring lines;
    text = WithoutTrailingLineEnds(text);
    Sequence number = sequence;
    do {
        lines += LinePrefix(options, origin, number) + kinds;
        AppendPrintable(lines, TakeLine(text));
        lines += L"\r\n";
        // Continuation lines have no number, which tells them from lines of their own.
        number.reset();
    } while (!text.empty());
    return lines;
}

}  // namespace KyUtils
