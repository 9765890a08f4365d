#include "ipp/attributetext.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <stdexcept>

#include "base/text.h"
#include "ipp/message.h"

namespace CorvixSim {
namespace {

// Collections are read by recursion; files of a device are trusted, typing mistakes are not.
constexpr int kMaxDepth = 8;

/// The words, quoted texts and separators of a text.
class Tokenizer {
public:
    explicit Tokenizer(std::string_view text) : text_(text) {}

    struct Token {
        std::string text;
        bool quoted = false;
        bool Is(std::string_view separator) const { return !quoted && text == separator; }
    };

    bool AtEnd() {
        SkipBlanks();
        return next_ == text_.size();
    }

    Token Take() {
        if (AtEnd()) Fail("the text breaks off");
        if (IsSeparator(text_[next_])) return {std::string(1, text_[next_++]), false};
        return text_[next_] == '"' ? TakeQuoted() : TakeBare();
    }

    // A value list goes on only after a comma, which belongs to the next token.
    Token Peek() {
        const size_t place = next_;
        Token token = Take();
        next_ = place;
        return token;
    }

    [[noreturn]] void Fail(const std::string& why) const {
        const auto line =
            1 + std::count(text_.begin(), text_.begin() + static_cast<std::ptrdiff_t>(next_), '\n');
        throw std::invalid_argument("IPP attributes, line " + std::to_string(line) + ": " + why);
    }

private:
    static bool IsSeparator(char c) { return c == ',' || c == '{' || c == '}'; }
    static bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

    void SkipBlanks() {
        while (next_ < text_.size()) {
            if (text_[next_] == '#') {
                next_ = std::min(text_.find('\n', next_), text_.size());
            } else if (IsBlank(text_[next_])) {
                ++next_;
            } else {
                return;
            }
        }
    }

    Token TakeQuoted() {
        Token token{{}, true};
        for (++next_; next_ < text_.size() && text_[next_] != '"'; ++next_) {
            if (text_[next_] == '\\' && next_ + 1 < text_.size()) ++next_;
            token.text += text_[next_];
        }
        if (next_ == text_.size()) Fail("a quoted text does not end");
        ++next_;
        return token;
    }

    Token TakeBare() {
        const size_t start = next_;
        while (next_ < text_.size() && !IsBlank(text_[next_]) && !IsSeparator(text_[next_]))
            ++next_;
        return {std::string(text_.substr(start, next_ - start)), false};
    }

    std::string_view text_;
    size_t next_ = 0;
};

using Encoded = std::optional<std::string>;

Encoded EncodePlain(const std::string& text) { return text; }

Encoded EncodeInteger32(const std::string& text) {
    const auto number = ParseInteger(text);
    if (!number) return std::nullopt;
    return NumberBytes(*number);
}

Encoded EncodeTruth(const std::string& text) {
    if (text != "true" && text != "false") return std::nullopt;
    return std::string(1, text == "true" ? '\1' : '\0');
}

Encoded EncodeRange(const std::string& text) {
    // From the second character on: the first may be a minus sign.
    const size_t dash = text.find('-', 1);
    if (dash == std::string::npos) return std::nullopt;
    const auto low = ParseInteger(text.substr(0, dash));
    const auto high = ParseInteger(text.substr(dash + 1));
    if (!low || !high) return std::nullopt;
    return NumberBytes(*low) + NumberBytes(*high);
}

/// "600dpi" or "600x1200dpi"; dpcm likewise.
Encoded EncodeResolution(const std::string& text) {
    const size_t unit = text.find_first_not_of("0123456789x");
    if (unit == std::string::npos) return std::nullopt;
    const std::string digits = text.substr(0, unit);
    const size_t cross = digits.find('x');
    const auto width = ParseInteger(digits.substr(0, cross));
    const auto height = cross == std::string::npos ? width : ParseInteger(digits.substr(cross + 1));
    const bool isInch = text.compare(unit, std::string::npos, "dpi") == 0;
    if (!width || !height || (!isInch && text.compare(unit, std::string::npos, "dpcm") != 0))
        return std::nullopt;
    return NumberBytes(*width) + NumberBytes(*height) +
           static_cast<char>(isInch ? Ipp::DotsPerInch : Ipp::DotsPerCentimeter);
}

/// "2024-06-11T09:30:00Z"
Encoded EncodeDateTime(const std::string& text) {
    int year = 0;
    std::array<int, 5> parts{};
    char zone = 0;
    const int count = std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%c", &year, &parts[0], &parts[1],
                                  &parts[2], &parts[3], &parts[4], &zone);
    if (count != 7 || zone != 'Z') return std::nullopt;
    std::string bytes = {static_cast<char>(year >> 8), static_cast<char>(year)};
    for (const int part : parts)
        bytes += static_cast<char>(part);
    // No tenths of a second, and no distance from UTC, which is the only zone that is read.
    return bytes + std::string("\0+\0\0", 4);
}

Encoded EncodeNothing(const std::string&) { return std::string(); }

struct Syntax {
    std::string_view name;
    uint8_t tag;
    Encoded (*encode)(const std::string& text);
};

constexpr Syntax kSyntaxes[] = {
    {"integer", Ipp::Tag::Integer, EncodeInteger32},
    {"enum", Ipp::Tag::Enum, EncodeInteger32},
    {"boolean", Ipp::Tag::Boolean, EncodeTruth},
    {"rangeOfInteger", Ipp::Tag::RangeOfInteger, EncodeRange},
    {"resolution", Ipp::Tag::Resolution, EncodeResolution},
    {"dateTime", Ipp::Tag::DateTime, EncodeDateTime},
    {"octetString", Ipp::Tag::OctetString, EncodePlain},
    {"text", Ipp::Tag::TextWithoutLanguage, EncodePlain},
    {"name", Ipp::Tag::NameWithoutLanguage, EncodePlain},
    {"keyword", Ipp::Tag::Keyword, EncodePlain},
    {"uri", Ipp::Tag::Uri, EncodePlain},
    {"uriScheme", Ipp::Tag::UriScheme, EncodePlain},
    {"charset", Ipp::Tag::Charset, EncodePlain},
    {"naturalLanguage", Ipp::Tag::NaturalLanguage, EncodePlain},
    {"mimeMediaType", Ipp::Tag::MimeMediaType, EncodePlain},
    {"no-value", Ipp::Tag::NoValue, EncodeNothing},
    {"unknown", Ipp::Tag::Unknown, EncodeNothing},
};

IppAttribute ParseAttribute(Tokenizer& tokens, int depth);

IppValue ParseCollection(Tokenizer& tokens, int depth) {
    if (!tokens.Take().Is("{") || depth == kMaxDepth) tokens.Fail("not a collection");
    IppValue collection;
    collection.tag = Ipp::Tag::BegCollection;
    for (;;) {
        const Tokenizer::Token token = tokens.Take();
        if (token.Is("}")) return collection;
        if (!token.Is("MEMBER")) tokens.Fail("MEMBER or } is missing");
        collection.members.push_back(ParseAttribute(tokens, depth + 1));
    }
}

IppValue ParseValue(Tokenizer& tokens, const std::string& syntaxName, int depth) {
    if (syntaxName == "collection") return ParseCollection(tokens, depth);
    for (const Syntax& syntax : kSyntaxes) {
        if (syntax.name != syntaxName) continue;
        const std::string text = tokens.Take().text;
        const Encoded bytes = syntax.encode(text);
        if (!bytes) tokens.Fail("not of syntax " + syntaxName + ": " + text);
        return {syntax.tag, *bytes, {}};
    }
    tokens.Fail("not a syntax: " + syntaxName);
}

IppAttribute ParseAttribute(Tokenizer& tokens, int depth) {
    const std::string syntax = tokens.Take().text;
    IppAttribute attribute{tokens.Take().text, {}};
    attribute.values.push_back(ParseValue(tokens, syntax, depth));
    while (!tokens.AtEnd() && tokens.Peek().Is(",")) {
        tokens.Take();
        attribute.values.push_back(ParseValue(tokens, syntax, depth));
    }
    return attribute;
}

std::string FormatCollection(const IppValue& value) {
    std::string text;
    for (const IppAttribute& member : value.members) {
        text += (text.empty() ? "" : " ") + member.name + "=";
        for (size_t i = 0; i < member.values.size(); ++i) {
            text += (i == 0 ? "" : ",") + FormatIppValue(member.values[i]);
        }
    }
    return "{" + text + "}";
}

}  // namespace

IppAttributeGroups ParseIppAttributes(std::string_view text) {
    IppAttributeGroups groups;
    Tokenizer tokens(text);
    while (!tokens.AtEnd()) {
        const Tokenizer::Token token = tokens.Take();
        if (token.Is("GROUP")) {
            groups.push_back({tokens.Take().text, {}});
        } else if (token.Is("ATTR") && !groups.empty()) {
            groups.back().second.push_back(ParseAttribute(tokens, 0));
        } else {
            tokens.Fail("GROUP or ATTR is missing before " + token.text);
        }
    }
    return groups;
}

std::string QuoteForIppAttributes(std::string_view text) {
    std::string quoted;
    for (const char c : text) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted;
}

std::string FormatIppValue(const IppValue& value) {
    if (value.tag == Ipp::Tag::BegCollection) return FormatCollection(value);
    if (value.tag == Ipp::Tag::Boolean) return value.Number() != 0 ? "true" : "false";
    std::string text;
    Ipp::AppendText(text, {value.tag, value.bytes});
    return text;
}

}  // namespace CorvixSim
