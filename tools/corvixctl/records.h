// What a command prints: rows of named columns, in each of the formats.
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "commandline.h"

namespace CorvixCtl {

// Nothing, a text, a whole number, yes or no, or a number of seconds.
struct Seconds {
    double count;
};
using Cell = std::variant<std::monostate, std::wstring, long long, bool, Seconds>;

struct Column {
    const wchar_t* name;        // in JSON and CSV; in capitals the heading of a table
    bool onlyWhenUsed = false;  // a table leaves the column out when all its cells are empty
};

struct Records {
    std::vector<Column> columns;
    std::vector<std::vector<Cell>> rows;
};

enum class Format { Table, Json, Csv };
extern const OptionGroup formatOptions;
Format ReadFormat(const Arguments& arguments);

// Columns aligned for a reader's eye; long values are kept whole. What could steer a terminal is made
// visible.
std::wstring ToTable(const Records& records);
// RFC 4180, with a heading line.
std::wstring ToCsv(const Records& records);
// An array of objects, one a line.
std::wstring ToJsonArray(const Records& records);
std::wstring ToJson(const Cell& cell);

// The text without what could break a line or steer a terminal: "\\n", "\\u001b" in its place.
std::wstring MakeVisible(std::wstring_view text);
// A JSON string with its quotes. Half of a surrogate pair, which no UTF-8 text can hold, becomes U+FFFD.
std::wstring ToJsonText(std::wstring_view text);
// "0.4 s", "12 s", "5 min", "3 h", "2 d".
std::wstring ToReadableTime(double seconds);

}  // namespace CorvixCtl
