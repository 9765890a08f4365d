#include "output/json.h"

#include "base/text.h"

namespace CorvixCtl {
namespace {

constexpr const wchar_t* lineStart = L"\n  ";

// Everything above the controls may stand for itself: the output is UTF-8. Only DEL, which steers some terminals, is
// escaped besides.
std::wstring ToJsonCharacter(wchar_t c) {
    if (c == L'"' || c == L'\\') return {L'\\', c};
    return c < 0x20 || c == 0x7F ? Escaped(c) : std::wstring(1, c);
}

// Half of a surrogate pair is left to the conversion to UTF-8, which has U+FFFD for it.
std::wstring ToJsonText(std::wstring_view text) {
    std::wstring json = L"\"";
    for (const wchar_t c : text)
        json += ToJsonCharacter(c);
    return json + L"\"";
}

}  // namespace

std::wstring ToJson(const Cell& cell) {
    if (IsEmpty(cell)) return L"null";
    if (const auto* text = std::get_if<std::wstring>(&cell)) return ToJsonText(*text);
    return ToPlainText(cell);
}

JsonObject& JsonObject::AddJson(std::wstring_view name, std::wstring_view value) {
    if (!members_.empty()) members_ += L',';
    if (layout_ == Layout::LineEach) members_ += lineStart;
    members_.append(ToJsonText(name)).append(L":").append(value);
    return *this;
}

std::wstring JsonObject::Text() const {
    const bool hasLines = layout_ == Layout::LineEach && !members_.empty();
    return L"{" + members_ + (hasLines ? L"\n}" : L"}");
}

JsonObject JsonDocument() { return JsonObject().Add(L"schema", 1ll); }

std::wstring ToJsonArray(const std::vector<std::wstring>& values) {
    std::wstring array;
    for (const std::wstring& value : values)
        array += (array.empty() ? L"" : L",") + (lineStart + value);
    return L"[" + array + (values.empty() ? L"]" : L"\n]");
}

std::wstring ToJsonArray(const Records& records) {
    std::vector<std::wstring> objects;
    for (const auto& row : records.rows) {
        JsonObject object;
        for (size_t i = 0; i < row.size(); ++i)
            object.Add(records.columns[i].name, row[i]);
        objects.push_back(object.Text());
    }
    return ToJsonArray(objects);
}

}  // namespace CorvixCtl
