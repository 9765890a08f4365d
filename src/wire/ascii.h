/// Text of protocols: ASCII, compared without case, independent of the locale. Other bytes are left as they are.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Corvix::Ascii {

inline bool IsDigit(char c) { return c >= '0' && c <= '9'; }

inline char LowerCharacter(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// Without the blanks and tabs at both ends.
inline std::string_view Trim(std::string_view text) {
    const size_t begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
}

inline std::string ToLower(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        c = LowerCharacter(c);
    return lower;
}

inline bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
    if (left.size() != right.size()) return false;
    for (size_t i = 0; i < left.size(); ++i) {
        if (LowerCharacter(left[i]) != LowerCharacter(right[i])) return false;
    }
    return true;
}

/// A number without a sign that is all of the text; nothing for any other text, or a number that does not fit.
inline std::optional<std::uint64_t> ParseNumber(std::string_view digits, int base = 10) {
    std::uint64_t number = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, base);
    if (error != std::errc() || stop != end) return std::nullopt;
    return number;
}

}  // namespace Corvix::Ascii
