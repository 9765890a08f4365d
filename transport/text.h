/// \file text.h
/// Small text helpers of the transports. Wide text is UTF-16, narrow text UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace CorvixTransport {

/// Lone surrogates become U+FFFD.
std::string ToUtf8(std::wstring_view text);
/// Reads UTF-8; text that is none is taken as Latin-1, which is what old devices put into headers.
std::wstring ToWide(std::string_view text);

/// Without the blanks and tabs at both ends.
template <class Char>
std::basic_string_view<Char> Trim(std::basic_string_view<Char> text) {
    const auto isBlank = [](Char c) { return c == Char(' ') || c == Char('\t'); };
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

/// ASCII letters in lower case, everything else as it is.
template <class Char>
std::basic_string<Char> ToLower(std::basic_string<Char> text) {
    for (Char& c : text) {
        if (c >= Char('A') && c <= Char('Z')) c = static_cast<Char>(c - Char('A') + Char('a'));
    }
    return text;
}

/// Compares as protocols do: ASCII letters without case, everything else as it is.
template <class Char>
bool EqualsIgnoringCase(std::basic_string_view<Char> left, std::basic_string_view<Char> right) {
    return left.size() == right.size() &&
           ToLower(std::basic_string<Char>(left)) == ToLower(std::basic_string<Char>(right));
}
inline bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
    return EqualsIgnoringCase<char>(left, right);
}

}  // namespace CorvixTransport
