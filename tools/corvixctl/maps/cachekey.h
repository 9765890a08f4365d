// The registry key of a cache, as the user names it.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace CorvixCtl {

// The key path below HKEY_LOCAL_MACHINE that an option gives, without backslashes around it. Throws UsageError.
std::wstring ReadCacheKey(std::wstring_view option, const std::wstring& text);

// Why the library could not do something with the key, by its result.
std::wstring DescribeCacheFailure(const std::wstring& key, HRESULT result);

}  // namespace CorvixCtl
