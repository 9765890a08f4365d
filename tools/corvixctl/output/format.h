// The formats of --format, and the one choice between them.
#pragma once

#include <functional>
#include <string>

#include "base/commandline.h"
#include "output/json.h"
#include "output/records.h"

namespace CorvixCtl {

extern const OptionGroup formatOptions;

enum class Format { Table, Json, Csv };
// Throws UsageError for a format that there is not.
Format ReadFormat(const Arguments& arguments);

// Makes what a command prints; of the three only the one that is asked for is called.
struct Forms {
    std::function<std::wstring()> table;
    std::function<JsonObject()> json;
    std::function<std::wstring()> csv;
};
// Records as table and as CSV; in JSON a member of the command's document, behind those of `head`.
Forms FormsOf(const Records& records, const JsonObject& head, const wchar_t* member);

// Prints to standard output. Throws Failure when it cannot be written.
void PrintAs(Format format, const Forms& forms);

}  // namespace CorvixCtl
