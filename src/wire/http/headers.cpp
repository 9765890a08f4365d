#include "wire/http/headers.h"

#include <algorithm>

#include "wire/ascii.h"

namespace Corvix::Http {

void Headers::Continue(std::string_view text) {
    std::string& value = lines_.back().second;
    if (!value.empty() && !text.empty()) value += ' ';
    value += text;
}

const std::string* Headers::Find(std::string_view name) const {
    for (const auto& [lineName, value] : lines_) {
        if (Ascii::EqualsIgnoringCase(lineName, name)) return &value;
    }
    return nullptr;
}

std::vector<std::string_view> Headers::FindAll(std::string_view name) const {
    std::vector<std::string_view> values;
    for (const auto& [lineName, value] : lines_) {
        if (Ascii::EqualsIgnoringCase(lineName, name)) values.push_back(value);
    }
    return values;
}

/// "Connection" may be sent as several headers and as a list, and means the same.
bool Headers::HasToken(std::string_view name, std::string_view token) const {
    for (const std::string_view value : FindAll(name)) {
        for (const std::string_view element : SplitList(value)) {
            if (Ascii::EqualsIgnoringCase(element, token)) return true;
        }
    }
    return false;
}

/// RFC 9110, section 5.6.2.
bool IsToken(std::string_view text) {
    const auto isTokenCharacter = [](char c) {
        if (c >= '0' && c <= '9') return true;
        if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')) return true;
        return std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
    };
    return !text.empty() && std::all_of(text.begin(), text.end(), isTokenCharacter);
}

/// Bytes above ASCII pass: devices put UTF-8 and Latin-1 into headers. A tabulator is the one control character that
/// cannot end or hide a line.
bool IsFieldValue(std::string_view text) {
    return std::none_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return (byte < 0x20 && c != '\t') || byte == 0x7f;
    });
}

std::vector<std::string_view> SplitList(std::string_view text) {
    std::vector<std::string_view> elements;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find(',', begin), text.size());
        const std::string_view element = Ascii::Trim(text.substr(begin, end - begin));
        if (!element.empty()) elements.push_back(element);
        begin = end + 1;
    }
    return elements;
}

}  // namespace Corvix::Http
