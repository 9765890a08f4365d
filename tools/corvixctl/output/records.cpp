#include "output/records.h"

#include "base/text.h"

namespace CorvixCtl {
namespace {

template <class... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

// A time to the millisecond at most, without zeros that say nothing.
std::wstring ToPlainNumber(double number) {
    std::wstring text = Formatted(L"%.3f", number);
    text.erase(text.find_last_not_of(L'0') + 1);
    if (text.back() == L'.') text.pop_back();
    return text;
}

// RFC 4180 wants quotes around these only; more of them would be noise in most files.
std::wstring ToCsvField(const std::wstring& text) {
    if (text.find_first_of(L",\"\r\n") == std::wstring::npos) return text;
    std::wstring quoted = L"\"";
    for (const wchar_t c : text) {
        if (c == L'"') quoted += c;
        quoted += c;
    }
    return quoted + L'"';
}

}  // namespace

std::wstring ToPlainText(const Cell& cell) {
    return std::visit(Overloaded{[](std::monostate) { return std::wstring(); },
                                 [](const std::wstring& text) { return text; },
                                 [](long long number) { return std::to_wstring(number); },
                                 [](bool yes) { return std::wstring(yes ? L"true" : L"false"); },
                                 [](Seconds time) { return ToPlainNumber(time.count); }},
                      cell);
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

}  // namespace CorvixCtl
