// Small helpers for the line-based texts that the simulator reads and the JSON that it writes.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CorvixSim {

bool StartsWith(std::string_view text, std::string_view prefix);
std::string_view Trim(std::string_view text);

/// The lines of a text without their ends; a last line without an end counts.
std::vector<std::string_view> SplitLines(std::string_view text);

/// Hands on each line that is neither blank nor begins with '#'. A std::invalid_argument thrown meanwhile goes on with
/// `what` and the number of the line before its reason.
void ForEachLine(std::string_view text, const char* what,
                 const std::function<void(std::string_view line)>& take);

/// The parts between separators, trimmed; empty parts are kept. An empty text has no parts.
std::vector<std::string_view> Split(std::string_view text, char separator);

/// Takes the first blank-separated word off `rest` and leaves the trimmed remainder in it.
std::string_view TakeWord(std::string_view& rest);

/// A whole decimal number within [0, max], or nothing.
std::optional<uint64_t> ParseNumber(std::string_view text, uint64_t max);

/// A whole decimal number with an optional minus sign, or nothing.
std::optional<int32_t> ParseInteger(std::string_view text);

/// The bytes of pairs of hexadecimal digits; blanks and colons between pairs are skipped.
std::optional<std::string> ParseHex(std::string_view text);

/// Whether `text` fits `pattern`, in which each '*' stands for any run of characters.
bool MatchesPattern(std::string_view pattern, std::string_view text);

/// The text with each `what` in it replaced.
std::string ReplaceAll(std::string text, std::string_view what, std::string_view replacement);

/// What `show` makes of each item, separated by commas.
template <typename Items, typename Show>
std::string Joined(const Items& items, Show show) {
    std::string list;
    for (const auto& item : items)
        list += (list.empty() ? "" : ",") + show(item);
    return list;
}

std::string EscapeXml(std::string_view text);

/// The five named references resolved; all others stay.
std::string UnescapeXml(std::string_view text);

/// The text as a JSON string with its quotes.
std::string JsonText(std::string_view text);

/// Percent signs of a URI undone. Broken escapes stay as they are.
std::string PercentDecode(std::string_view text);

}  // namespace CorvixSim
