/// Texts of the form key, separator, value, line end.
#pragma once

#include <string_view>

#include "corvixdm/deviceinfo.h"

namespace Corvix {

/// How a text is taken apart.
struct StringsFormat {
    std::wstring_view elementSeparator;
    std::wstring_view lineSeparator;
    size_t keyTrim;    ///< characters cut from either end of a key
    size_t valueTrim;  ///< and of a value
};

/// A strings file: "key" = "value";
constexpr StringsFormat stringsFileFormat = {L" = ", L";\n", 1, 1};
/// A device ID: KEY:value;
constexpr StringsFormat deviceIdFormat = {L":", L";", 0, 0};

/// Adds the pairs of a text to a map; the last value of a key stays.
void ParseStrings(std::wstring_view text, const StringsFormat& format, StringsMap& strings);

}  // namespace Corvix
