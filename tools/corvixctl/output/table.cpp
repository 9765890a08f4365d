// Tables for readers: what a terminal makes of characters decides how wide a column is.
#include <algorithm>
#include <cwctype>

#include "base/text.h"
#include "output/records.h"

namespace CorvixCtl {
namespace {

bool IsHighSurrogate(wchar_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool IsLowSurrogate(wchar_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

struct CodeRange {
    unsigned first;
    unsigned last;
};
// Characters that take two columns of a terminal, coarsely: East Asian scripts, full-width forms,
// pictographs.
constexpr CodeRange wideRanges[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},  {0x3041, 0xA4CF}, {0xAC00, 0xD7A3},
                                    {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},  {0xFF00, 0xFF60}, {0xFFE0, 0xFFE6},
                                    {0x1F300, 0x1FAFF}, {0x20000, 0x3FFFD}};
// Marks that take none.
constexpr CodeRange markRanges[] = {{0x0300, 0x036F}, {0x200B, 0x200D}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}};
// Characters that change the direction of the text around them.
constexpr CodeRange directionRanges[] = {{0x200E, 0x200F}, {0x202A, 0x202E}, {0x2066, 0x2069}};

template <size_t N>
bool IsIn(const CodeRange (&ranges)[N], unsigned code) {
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [&](const CodeRange& range) { return code >= range.first && code <= range.last; });
}

unsigned CodePointAt(std::wstring_view text, size_t index) {
    const unsigned unit = text[index];
    if (!IsHighSurrogate(text[index]) || index + 1 == text.size()) return unit;
    return 0x10000 + ((unit - 0xD800) << 10) + (static_cast<unsigned>(text[index + 1]) - 0xDC00);
}

size_t ColumnsOf(std::wstring_view text) {
    size_t columns = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        // Counted with the half before it.
        if (IsLowSurrogate(text[i])) continue;
        const unsigned code = CodePointAt(text, i);
        columns += IsIn(wideRanges, code) ? 2 : IsIn(markRanges, code) ? 0 : 1;
    }
    return columns;
}

// "0.4 s", "12 s", "5 min", "3 h", "2 d".
std::wstring ToReadableTime(double seconds) {
    struct Unit {
        double seconds;
        const wchar_t* name;
    };
    constexpr Unit units[] = {{86400, L"d"}, {3600, L"h"}, {60, L"min"}};
    for (const Unit& unit : units) {
        // From two of a unit on: "90 min" tells more than "1.5 h".
        if (seconds >= 2 * unit.seconds) return Formatted(L"%.0f ", seconds / unit.seconds) + unit.name;
    }
    return seconds < 10 && seconds > 0 ? Formatted(L"%.1f s", seconds) : Formatted(L"%.0f s", seconds);
}

std::wstring ToTableText(const Cell& cell) {
    if (const auto* time = std::get_if<Seconds>(&cell)) return ToReadableTime(time->count);
    return MakeVisible(ToPlainText(cell));
}

// Columns have one name for programs and readers.
std::wstring Heading(const Column& column) {
    std::wstring heading = column.name;
    for (wchar_t& c : heading)
        c = static_cast<wchar_t>(std::towupper(c));
    return heading;
}

using Lines = std::vector<std::vector<std::wstring>>;

bool IsShown(const Records& records, size_t column) {
    if (!records.columns[column].onlyWhenUsed) return true;
    return std::any_of(records.rows.begin(), records.rows.end(),
                       [&](const auto& row) { return !IsEmpty(row[column]); });
}

Lines LinesOf(const Records& records) {
    Lines lines(records.rows.size() + 1);
    for (size_t column = 0; column < records.columns.size(); ++column) {
        if (!IsShown(records, column)) continue;
        lines[0].push_back(Heading(records.columns[column]));
        for (size_t row = 0; row < records.rows.size(); ++row)
            lines[row + 1].push_back(ToTableText(records.rows[row][column]));
    }
    return lines;
}

// One very long value must not push the columns after it out of every other row's sight.
size_t WidthOf(const Lines& lines, size_t column) {
    constexpr size_t widest = 40;
    size_t width = 0;
    for (const auto& line : lines) {
        const size_t columns = ColumnsOf(line[column]);
        if (columns <= widest) width = std::max(width, columns);
    }
    return width;
}

}  // namespace

std::wstring MakeVisible(std::wstring_view text) {
    std::wstring visible;
    for (const wchar_t c : text) {
        const bool isControl = c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029;
        visible += isControl || IsIn(directionRanges, c) ? Escaped(c) : std::wstring(1, c);
    }
    return visible;
}

std::wstring ToTable(const Records& records) {
    const Lines lines = LinesOf(records);
    std::vector<size_t> widths;
    for (size_t column = 0; column < lines[0].size(); ++column)
        widths.push_back(WidthOf(lines, column));
    std::wstring table;
    for (const auto& line : lines) {
        std::wstring text;
        for (size_t column = 0; column < line.size(); ++column) {
            const size_t used = ColumnsOf(line[column]);
            text += line[column];
            text.append(used < widths[column] ? widths[column] - used : 0, L' ');
            text += L"  ";
        }
        // Blanks at the end of a line would only make it wrap.
        text.erase(text.find_last_not_of(L' ') + 1);
        table += text + L"\n";
    }
    return table;
}

}  // namespace CorvixCtl
