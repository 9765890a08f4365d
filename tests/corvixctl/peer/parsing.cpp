#include "corvixctl/peer/parsing.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace {

[[noreturn]] void Fail(const std::string& what) { throw std::runtime_error(what); }

void AppendUtf8(std::string& text, unsigned code) {
    if (code >= 0xD800 && code <= 0xDFFF) Fail("half a surrogate pair");
    if (code < 0x80) {
        text += static_cast<char>(code);
    } else if (code < 0x800) {
        text += static_cast<char>(0xC0 | (code >> 6));
        text += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        text += static_cast<char>(0xE0 | (code >> 12));
        text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        text += static_cast<char>(0x80 | (code & 0x3F));
    }
}

class JsonParser {
public:
    explicit JsonParser(std::string_view text) : rest_(text) {}

    Json ParseDocument() {
        Json json = ParseValue();
        SkipBlanks();
        if (!rest_.empty()) Fail("text after the JSON value");
        return json;
    }

private:
    void SkipBlanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t\r\n"), rest_.size())); }

    char Peek() {
        SkipBlanks();
        if (rest_.empty()) Fail("JSON ends too early");
        return rest_.front();
    }

    bool Take(std::string_view word) {
        SkipBlanks();
        if (rest_.substr(0, word.size()) != word) return false;
        rest_.remove_prefix(word.size());
        return true;
    }

    void Expect(std::string_view word) {
        if (!Take(word))
            Fail("expected " + std::string(word) + " before " + std::string(rest_.substr(0, 20)));
    }

    Json ParseValue() {
        switch (Peek()) {
            case '{':
                return {ParseObject()};
            case '[':
                return {ParseArray()};
            case '"':
                return {ParseText()};
            default:
                break;
        }
        if (Take("null")) return {nullptr};
        if (Take("true")) return {true};
        if (Take("false")) return {false};
        return {ParseNumber()};
    }

    Json::Object ParseObject() {
        Json::Object object;
        Expect("{");
        if (Take("}")) return object;
        do {
            if (Peek() != '"') Fail("a member without a name");
            std::string name = ParseText();
            Expect(":");
            object.emplace_back(std::move(name), ParseValue());
        } while (Take(","));
        Expect("}");
        return object;
    }

    Json::Array ParseArray() {
        Json::Array array;
        Expect("[");
        if (Take("]")) return array;
        do {
            array.push_back(ParseValue());
        } while (Take(","));
        Expect("]");
        return array;
    }

    double ParseNumber() {
        double number = 0;
        const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), number);
        if (error != std::errc()) Fail("no JSON value: " + std::string(rest_.substr(0, 20)));
        rest_.remove_prefix(static_cast<size_t>(end - rest_.data()));
        return number;
    }

    std::string ParseText() {
        Expect("\"");
        std::string text;
        for (;;) {
            if (rest_.empty()) Fail("a string without an end");
            const char c = rest_.front();
            rest_.remove_prefix(1);
            if (c == '"') return text;
            if (static_cast<unsigned char>(c) < 0x20) Fail("a control character in a string");
            if (c == '\\') {
                AppendEscape(text);
            } else {
                text += c;
            }
        }
    }

    void AppendEscape(std::string& text) {
        constexpr std::string_view letters = "\"\\/bfnrt";
        constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
        const char c = rest_.empty() ? '\0' : rest_.front();
        rest_.remove_prefix(rest_.empty() ? 0 : 1);
        if (const size_t at = letters.find(c); at != std::string_view::npos) {
            text += meanings[at];
            return;
        }
        unsigned code = 0;
        const auto [end, error] =
            std::from_chars(rest_.data(), rest_.data() + std::min<size_t>(rest_.size(), 4), code, 16);
        if (c != 'u' || error != std::errc() || end != rest_.data() + 4)
            Fail("an escape that JSON does not have");
        rest_.remove_prefix(4);
        AppendUtf8(text, code);
    }

    std::string_view rest_;
};

void RequireUtf8(std::string_view text) {
    for (size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const size_t length = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 0;
        if (length == 0 || i + length > text.size()) Fail("not UTF-8");
        for (size_t k = 1; k < length; ++k) {
            if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) Fail("not UTF-8");
        }
        i += length;
    }
}

/// The field at the start of the text, which is cut off.
std::string TakeField(std::string_view& text) {
    std::string field;
    if (text.empty() || text.front() != '"') {
        const size_t end = std::min(text.find_first_of(",\r\n"), text.size());
        field = text.substr(0, end);
        if (field.find('"') != std::string::npos) Fail("a quote in a field without quotes");
        text.remove_prefix(end);
        return field;
    }
    for (text.remove_prefix(1);; text.remove_prefix(1)) {
        if (text.empty()) Fail("a quoted field without an end");
        if (text.front() == '"') {
            text.remove_prefix(1);
            if (text.empty() || text.front() != '"') return field;
        }
        field += text.front();
    }
}

}  // namespace

Json Json::Parse(std::string_view text) {
    RequireUtf8(text);
    return JsonParser(text).ParseDocument();
}

const Json& Json::operator[](std::string_view name) const {
    for (const auto& [member, json] : std::get<Object>(value)) {
        if (member == name) return json;
    }
    Fail("no member " + std::string(name));
}

bool Json::Has(std::string_view name) const {
    for (const auto& member : std::get<Object>(value)) {
        if (member.first == name) return true;
    }
    return false;
}

std::vector<std::vector<std::string>> ParseCsv(std::string_view text) {
    std::vector<std::vector<std::string>> records;
    while (!text.empty()) {
        std::vector<std::string> record = {TakeField(text)};
        while (!text.empty() && text.front() == ',') {
            text.remove_prefix(1);
            record.push_back(TakeField(text));
        }
        if (text.substr(0, 2) != "\r\n") Fail("a record that does not end with CR LF");
        text.remove_prefix(2);
        if (!records.empty() && records.front().size() != record.size()) Fail("records of different lengths");
        records.push_back(std::move(record));
    }
    return records;
}

std::vector<std::string> LinesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return lines;
}
