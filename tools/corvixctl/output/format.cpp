#include "output/format.h"

#include "base/console.h"
#include "base/exitcodes.h"

namespace CorvixCtl {

const OptionGroup formatOptions = {
    L"Output",
    {{L"format", L"table|json|csv", L"the form of the output; a table when it is not given"}},
};

Format ReadFormat(const Arguments& arguments) {
    const std::wstring name = arguments.Find(L"format").value_or(L"table");
    if (name == L"table") return Format::Table;
    if (name == L"json") return Format::Json;
    if (name == L"csv") return Format::Csv;
    throw UsageError(L"--format " + name + L": expected table, json or csv");
}

Forms FormsOf(const Records& records, const JsonObject& head, const wchar_t* member) {
    return {[&] { return ToTable(records); },
            [&records, head, member] {
                JsonObject document = head;
                return document.AddJson(member, ToJsonArray(records));
            },
            [&] { return ToCsv(records); }};
}

void PrintAs(Format format, const Forms& forms) {
    // The texts of a large map are worth making only once.
    switch (format) {
        case Format::Json:
            return Print(forms.json().Text() + L"\n");
        case Format::Csv:
            return Print(forms.csv());
        default:
            return Print(forms.table());
    }
}

}  // namespace CorvixCtl
