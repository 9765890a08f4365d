// What a command prints: rows of named columns, as a table for readers or as CSV for programs.
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace CorvixCtl {

// Nothing, a text, a whole number, yes or no, or a number of seconds.
struct Seconds {
    double count;
};
using Cell = std::variant<std::monostate, std::wstring, long long, bool, Seconds>;

inline bool IsEmpty(const Cell& cell) { return std::holds_alternative<std::monostate>(cell); }

struct Column {
    const wchar_t* name;        // in JSON and CSV; in capitals the heading of a table
    bool onlyWhenUsed = false;  // a table leaves the column out when all its cells are empty
};

struct Records {
    std::vector<Column> columns;
    std::vector<std::vector<Cell>> rows;
};

// As programs read it: times in seconds, nothing as an empty text.
std::wstring ToPlainText(const Cell& cell);

// RFC 4180, with a heading line.
std::wstring ToCsv(const Records& records);

// Columns aligned for a reader's eye; long values are kept whole. What could steer a terminal is made
// visible.
std::wstring ToTable(const Records& records);
// The text without what could break a line or steer a terminal: "\\n", "\\u001b" in its place.
std::wstring MakeVisible(std::wstring_view text);

}  // namespace CorvixCtl
