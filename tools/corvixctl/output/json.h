// JSON texts, made piece by piece.
#pragma once

#include <string>
#include <string_view>

#include "output/records.h"

namespace CorvixCtl {

std::wstring ToJson(const Cell& cell);

// An object whose members stand in the order in which they are added.
class JsonObject {
public:
    enum class Layout { OneLine, LineEach };
    explicit JsonObject(Layout layout = Layout::OneLine) : layout_(layout) {}

    JsonObject& Add(std::wstring_view name, const Cell& value) { return AddJson(name, ToJson(value)); }
    // The value is JSON already: an object, an array.
    JsonObject& AddJson(std::wstring_view name, std::wstring_view value);

    std::wstring Text() const;

private:
    const Layout layout_;
    std::wstring members_;
};

// The object that a command prints, with the number of its schema.
JsonObject JsonDocument();

// An array of JSON values, one a line.
std::wstring ToJsonArray(const std::vector<std::wstring>& values);
// An array of objects.
std::wstring ToJsonArray(const Records& records);

}  // namespace CorvixCtl
