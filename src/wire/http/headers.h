/// Header lines of a request or a response.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Corvix::Http {

/// Keeps the lines in their order; names are compared without case.
class Headers {
public:
    void Add(std::string_view name, std::string_view value) { lines_.emplace_back(name, value); }
    /// More text for the line added last, which went on in the next one.
    void Continue(std::string_view text);

    /// The value of the first header of this name, or null.
    const std::string* Find(std::string_view name) const;
    std::vector<std::string_view> FindAll(std::string_view name) const;
    /// Whether one of the headers of this name holds the token in its list, such as "close" in "Connection".
    bool HasToken(std::string_view name, std::string_view token) const;

    bool IsEmpty() const { return lines_.empty(); }
    auto begin() const { return lines_.begin(); }
    auto end() const { return lines_.end(); }

private:
    std::vector<std::pair<std::string, std::string>> lines_;
};

/// Whether the text may be the name of a header, or a method.
bool IsToken(std::string_view text);

/// Whether the text may be the value of a header: it must not end the line, or hold another control character.
bool IsFieldValue(std::string_view text);

/// The trimmed elements of a list whose elements are separated by commas; empty ones are left out.
std::vector<std::string_view> SplitList(std::string_view text);

}  // namespace Corvix::Http
