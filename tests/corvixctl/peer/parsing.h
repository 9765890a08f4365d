// Reads the program's output back: strictly, so that a slip of its writers shows.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

/// One JSON value.
struct Json {
    using Array = std::vector<Json>;
    using Object = std::vector<std::pair<std::string, Json>>;
    std::variant<std::nullptr_t, bool, double, std::string, Array, Object> value;

    /// Throws std::runtime_error unless the whole text is one JSON value in UTF-8 of RFC 8259.
    static Json Parse(std::string_view text);

    bool IsNull() const { return std::holds_alternative<std::nullptr_t>(value); }
    const std::string& Text() const { return std::get<std::string>(value); }
    double Number() const { return std::get<double>(value); }
    const Array& Items() const { return std::get<Array>(value); }
    /// Throws when there is no such member.
    const Json& operator[](std::string_view name) const;
    bool Has(std::string_view name) const;
};

/// The records of an RFC 4180 text; throws std::runtime_error when it is none or they differ in length.
std::vector<std::vector<std::string>> ParseCsv(std::string_view text);

/// The lines of a text without their ends.
std::vector<std::string> LinesOf(std::string_view text);
