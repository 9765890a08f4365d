// The values that collections left in the registry: root\device\protocol, a value and a time stamp each.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/commandline.h"
#include "output/records.h"

namespace CorvixCtl {

struct CachedEntry {
    std::wstring device;  // its identity as the key is named
    std::wstring protocol;
    std::wstring name;
    Cell value;
    unsigned long long timeStamp;  // FILETIME of when it was obtained; 0 for a value that never expires
};

// The key path below HKEY_LOCAL_MACHINE that an option gives, without backslashes around it. Throws
// UsageError.
std::wstring ReadCacheKey(std::wstring_view option, const std::wstring& text);

// Empty when there is no such key. Throws Failure when it cannot be read.
std::vector<CachedEntry> ListCache(const std::wstring& root);
// Removes what ListCache() lists, and the keys that are empty then; what else is there stays.
// \return the number of values removed. Throws Failure when something cannot be removed.
size_t ClearCache(const std::wstring& root);

// Why the calling user cannot keep values below this key; nothing when it works.
std::optional<std::wstring> WhyNotWritable(const std::wstring& root);

}  // namespace CorvixCtl
