#include "records.h"

#include <algorithm>
#include <array>
#include <cwchar>
#include <cwctype>

#include "exitcodes.h"

namespace CorvixCtl {

const OptionGroup formatOptions = {
    L"Output",
    {{L"format", L"table|json|csv", L"the form of the output; a table when it is not given"}},
};

namespace {

struct FormatName {
    const wchar_t* name;
    Format format;
};
constexpr FormatName formatNames[] = {
    {L"table", Format::Table}, {L"json", Format::Json}, {L"csv", Format::Csv}};

template <class... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

template <class... Arguments>
std::wstring Format16(const wchar_t* format, Arguments... arguments) {
    std::array<wchar_t, 64> text{};
    swprintf(text.data(), text.size(), format, arguments...);
    return text.data();
}

bool IsHighSurrogate(wchar_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool IsLowSurrogate(wchar_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

// A time to the millisecond at most, without zeros that say nothing.
std::wstring ToPlainNumber(double number) {
    std::wstring text = Format16(L"%.3f", number);
    text.erase(text.find_last_not_of(L'0') + 1);
    if (text.back() == L'.') text.pop_back();
    return text;
}

std::wstring ToPlainText(const Cell& cell) {
    return std::visit(Overloaded{[](std::monostate) { return std::wstring(); },
                                 [](const std::wstring& text) { return text; },
                                 [](long long number) { return std::to_wstring(number); },
                                 [](bool yes) { return std::wstring(yes ? L"true" : L"false"); },
                                 [](Seconds time) { return ToPlainNumber(time.count); }},
                      cell);
}

// ---- table

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
        if (IsLowSurrogate(text[i])) continue;
        const unsigned code = CodePointAt(text, i);
        columns += IsIn(wideRanges, code) ? 2 : IsIn(markRanges, code) ? 0 : 1;
    }
    return columns;
}

}  // namespace

std::wstring MakeVisible(std::wstring_view text) {
    std::wstring visible;
    for (const wchar_t c : text) {
        const bool isControl = c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029;
        if (c == L'\n') {
            visible += L"\\n";
        } else if (c == L'\r') {
            visible += L"\\r";
        } else if (c == L'\t') {
            visible += L"\\t";
        } else if (isControl || IsIn(directionRanges, c)) {
            visible += Format16(L"\\u%04x", static_cast<unsigned>(c));
        } else {
            visible += c;
        }
    }
    return visible;
}

namespace {

std::wstring ToTableText(const Cell& cell) {
    if (const auto* time = std::get_if<Seconds>(&cell)) return ToReadableTime(time->count);
    return MakeVisible(ToPlainText(cell));
}

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
                       [&](const auto& row) { return !std::holds_alternative<std::monostate>(row[column]); });
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

// ---- CSV and JSON

std::wstring ToCsvField(const std::wstring& text) {
    if (text.find_first_of(L",\"\r\n") == std::wstring::npos) return text;
    std::wstring quoted = L"\"";
    for (const wchar_t c : text) {
        if (c == L'"') quoted += c;
        quoted += c;
    }
    return quoted + L'"';
}

std::wstring ToJsonCharacter(wchar_t c) {
    switch (c) {
        case L'"':
            return L"\\\"";
        case L'\\':
            return L"\\\\";
        case L'\n':
            return L"\\n";
        case L'\r':
            return L"\\r";
        case L'\t':
            return L"\\t";
        default:
            return c < 0x20 || c == 0x7F ? Format16(L"\\u%04x", static_cast<unsigned>(c))
                                         : std::wstring(1, c);
    }
}

std::wstring ToJsonObject(const Records& records, const std::vector<Cell>& row) {
    std::wstring object;
    for (size_t i = 0; i < row.size(); ++i) {
        object += i == 0 ? L"{" : L",";
        object += ToJsonText(records.columns[i].name) + L":" + ToJson(row[i]);
    }
    return object + L"}";
}

}  // namespace

Format ReadFormat(const Arguments& arguments) {
    const std::optional<std::wstring> name = arguments.Find(L"format");
    if (!name) return Format::Table;
    for (const FormatName& known : formatNames) {
        if (*name == known.name) return known.format;
    }
    throw UsageError(L"--format " + *name + L": expected table, json or csv");
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
        text.erase(text.find_last_not_of(L' ') + 1);
        table += text + L"\n";
    }
    return table;
}

std::wstring ToCsv(const Records& records) {
    constexpr const wchar_t* lineEnd = L"\r\n";
    std::wstring csv;
    for (size_t i = 0; i < records.columns.size(); ++i)
        csv += (i ? L"," : L"") + ToCsvField(records.columns[i].name);
    csv += lineEnd;
    for (const auto& row : records.rows) {
        for (size_t i = 0; i < row.size(); ++i)
            csv += (i ? L"," : L"") + ToCsvField(ToPlainText(row[i]));
        csv += lineEnd;
    }
    return csv;
}

std::wstring ToJsonArray(const Records& records) {
    std::wstring array = L"[";
    for (size_t i = 0; i < records.rows.size(); ++i)
        array += (i ? L",\n  " : L"\n  ") + ToJsonObject(records, records.rows[i]);
    return array + (records.rows.empty() ? L"]" : L"\n]");
}

std::wstring ToJson(const Cell& cell) {
    if (std::holds_alternative<std::monostate>(cell)) return L"null";
    if (const auto* text = std::get_if<std::wstring>(&cell)) return ToJsonText(*text);
    return ToPlainText(cell);
}

std::wstring ToJsonText(std::wstring_view text) {
    std::wstring json = L"\"";
    for (size_t i = 0; i < text.size(); ++i) {
        if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            json.append(text.substr(i++, 2));
        } else if (IsHighSurrogate(text[i]) || IsLowSurrogate(text[i])) {
            json += L'\xFFFD';
        } else {
            json += ToJsonCharacter(text[i]);
        }
    }
    return json + L"\"";
}

std::wstring ToReadableTime(double seconds) {
    struct Unit {
        double seconds;
        const wchar_t* name;
    };
    constexpr Unit units[] = {{86400, L"d"}, {3600, L"h"}, {60, L"min"}};
    for (const Unit& unit : units) {
        // From two of a unit on: "90 min" tells more than "1.5 h".
        if (seconds >= 2 * unit.seconds) return Format16(L"%.0f ", seconds / unit.seconds) + unit.name;
    }
    return seconds < 10 && seconds > 0 ? Format16(L"%.1f s", seconds) : Format16(L"%.0f s", seconds);
}

}  // namespace CorvixCtl
