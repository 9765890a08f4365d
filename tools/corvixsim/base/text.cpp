#include "base/text.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <stdexcept>

#include "wire/ascii.h"

namespace CorvixSim {
namespace {

constexpr std::string_view kEscaped = "&<>\"'";
constexpr const char* kReferences[] = {"&amp;", "&lt;", "&gt;", "&quot;", "&apos;"};

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    const char lower = Corvix::Ascii::LowerCharacter(c);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

}  // namespace

bool StartsWith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

std::string_view Trim(std::string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::vector<std::string_view> SplitLines(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        lines.push_back(line);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return lines;
}

void ForEachLine(std::string_view text, const char* what,
                 const std::function<void(std::string_view line)>& take) {
    int number = 0;
    for (const std::string_view line : SplitLines(text)) {
        ++number;
        if (Trim(line).empty() || Trim(line).front() == '#') continue;
        try {
            take(line);
        } catch (const std::invalid_argument& error) {
            throw std::invalid_argument(std::string(what) + ", line " + std::to_string(number) + ": " +
                                        error.what());
        }
    }
}

std::vector<std::string_view> Split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    if (text.empty()) return parts;
    for (;;) {
        const size_t end = text.find(separator);
        parts.push_back(Trim(text.substr(0, end)));
        if (end == std::string_view::npos) return parts;
        text.remove_prefix(end + 1);
    }
}

std::string_view TakeWord(std::string_view& rest) {
    rest = Trim(rest);
    size_t end = 0;
    while (end < rest.size() && !IsBlank(rest[end]))
        ++end;
    const std::string_view word = rest.substr(0, end);
    rest = Trim(rest.substr(end));
    return word;
}

std::optional<uint64_t> ParseNumber(std::string_view text, uint64_t max) {
    const std::optional<uint64_t> number = Corvix::Ascii::ParseNumber(text);
    return number && *number <= max ? number : std::nullopt;
}

std::optional<int32_t> ParseInteger(std::string_view text) {
    int32_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (text.empty() || error != std::errc() || stop != end) return std::nullopt;
    return number;
}

std::optional<std::string> ParseHex(std::string_view text) {
    std::string bytes;
    for (size_t i = 0; i < text.size();) {
        if (IsBlank(text[i]) || text[i] == ':') {
            ++i;
            continue;
        }
        const int high = HexDigit(text[i]);
        const int low = i + 1 < text.size() ? HexDigit(text[i + 1]) : -1;
        if (high < 0 || low < 0) return std::nullopt;
        bytes.push_back(static_cast<char>(high * 16 + low));
        i += 2;
    }
    return bytes;
}

bool MatchesPattern(std::string_view pattern, std::string_view text) {
    // Goes back to the last star only: linear in practice, and never exponential.
    size_t p = 0;
    size_t t = 0;
    size_t star = std::string_view::npos;
    size_t resume = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            resume = t;
        } else if (p < pattern.size() && pattern[p] == text[t]) {
            ++p;
            ++t;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            t = ++resume;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

std::string ReplaceAll(std::string text, std::string_view what, std::string_view replacement) {
    for (size_t at = text.find(what); at != std::string::npos;
         at = text.find(what, at + replacement.size())) {
        text.replace(at, what.size(), replacement);
    }
    return text;
}

std::string EscapeXml(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        const size_t known = kEscaped.find(c);
        escaped += known == std::string_view::npos ? std::string(1, c) : kReferences[known];
    }
    return escaped;
}

std::string UnescapeXml(std::string_view text) {
    std::string plain(text);
    // "&amp;" last: what it leaves is no reference any more.
    for (size_t known = kEscaped.size(); known-- != 0;)
        plain = ReplaceAll(plain, kReferences[known], kEscaped.substr(known, 1));
    return plain;
}

std::string JsonText(std::string_view text) {
    std::string json = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            json += '\\';
            json += c;
            // JSON allows no control character as it is.
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
            json += escape;
        } else {
            json += c;
        }
    }
    return json + '"';
}

std::string PercentDecode(std::string_view text) {
    std::string decoded;
    for (size_t i = 0; i < text.size(); ++i) {
        const bool escape =
            text[i] == '%' && i + 2 < text.size() && HexDigit(text[i + 1]) >= 0 && HexDigit(text[i + 2]) >= 0;
        if (!escape) {
            decoded += text[i];
            continue;
        }
        decoded += static_cast<char>(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2]));
        i += 2;
    }
    return decoded;
}

}  // namespace CorvixSim
