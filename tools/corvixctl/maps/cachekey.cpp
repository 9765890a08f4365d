#include "maps/cachekey.h"

#include "base/exitcodes.h"
#include "base/systemtext.h"

namespace CorvixCtl {

std::wstring ReadCacheKey(std::wstring_view option, const std::wstring& text) {
    std::wstring key = text;
    key.erase(key.find_last_not_of(L'\\') + 1);
    key.erase(0, key.find_first_not_of(L'\\'));
    if (key.empty())
        throw UsageError(L"--" + std::wstring(option) +
                         L": expected a registry key below HKEY_LOCAL_MACHINE, " +
                         L"such as Software\\Example\\Cache");
    return key;
}

std::wstring DescribeCacheFailure(const std::wstring& key, HRESULT result) {
    return L"registry key HKEY_LOCAL_MACHINE\\" + key + L": " +
           SystemText(static_cast<unsigned long>(HRESULT_CODE(result)));
}

}  // namespace CorvixCtl
