#include "datamodel/deviceinfo/stringsmap.h"

#include <algorithm>

#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

std::wstring_view Trimmed(std::wstring_view text, size_t count) {
    // Shorter than its quotes: nothing is left.
    if (text.size() < 2 * count) return {};
    return text.substr(count, text.size() - 2 * count);
}

}  // namespace

void ParseStrings(std::wstring_view text, const StringsFormat& format, StringsMap& strings) {
    size_t position = 0;
    while (position < text.size()) {
        const size_t keyEnd = text.find(format.elementSeparator, position);
        // A rest without a separator is no pair; the last value may end with the text.
        if (keyEnd == std::wstring_view::npos) return;
        logSource.Debug(L"key_start: %zd, key_end: %zd ", position, keyEnd);
        const size_t valueStart = keyEnd + format.elementSeparator.size();
        const size_t valueEnd = std::min(text.find(format.lineSeparator, valueStart), text.size());
        logSource.Debug(L"val_start: %zd, val_end: %zd ", valueStart, valueEnd);
        const std::wstring_view key = Trimmed(text.substr(position, keyEnd - position), format.keyTrim);
        const std::wstring_view value =
            Trimmed(text.substr(valueStart, valueEnd - valueStart), format.valueTrim);
        strings.insert_or_assign(std::wstring(key), std::wstring(value));
        position = valueEnd + format.lineSeparator.size();
    }
}

}  // namespace Corvix
