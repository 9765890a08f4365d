#include "datamodel/caches/regcacheprovider.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "utilslib/boundary.h"
#include "utilslib/clock.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr size_t maximumKeyPart = 255;
constexpr wchar_t hexDigits[] = L"0123456789ABCDEF";

bool FitsInKey(wchar_t c) { return c >= 0x20 && c != 0x7F && c != L'\\' && c != L'%'; }

/// FNV-1a over the UTF-16 code units.
std::uint64_t DigestOf(const std::wstring& text) {
    std::uint64_t digest = 14695981039346656037u;
    for (const wchar_t c : text)
        digest = (digest ^ static_cast<std::uint16_t>(c)) * 1099511628211u;
    return digest;
}

std::wstring HexText(std::uint64_t number) {
    std::wstring text(16, L'0');
    for (auto digit = text.rbegin(); digit != text.rend(); ++digit, number >>= 4)
        *digit = hexDigits[number & 15];
    return text;
}

std::wstring WithoutOuterBackslashes(std::wstring path) {
    path.erase(path.find_last_not_of(L'\\') + 1);
    return path.erase(0, path.find_first_not_of(L'\\'));
}

std::wstring Joined(std::wstring path, const std::wstring& part) {
    if (part.empty()) return path;
    return std::move(path.append(L"\\").append(KeyPart(part)));
}

KyUtils::Variant VariantFrom(DWORD type, const BYTE* data, DWORD bytes) {
    if (type == REG_SZ) {
        std::wstring_view text(reinterpret_cast<const wchar_t*>(data), bytes / sizeof(wchar_t));
        if (!text.empty() && text.back() == L'\0') text.remove_suffix(1);
        return KyUtils::Variant::FromText(text);
    }
    LONG number = 0;
    std::memcpy(&number, data, std::min<size_t>(bytes, sizeof number));
    return KyUtils::Variant::FromI4(number);
}

/// All values of a key. A value that another process changed to a longer one meanwhile is passed over.
void LoadValues(HKEY key, CachedValues& values) {
    DWORD count = 0;
    DWORD longestName = 0;
    DWORD longestData = 0;
    const LSTATUS queried = RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                             &count, &longestName, &longestData, nullptr, nullptr);
    if (queried != ERROR_SUCCESS) return;
    std::wstring name(longestName + size_t{1}, L'\0');
    // Of whole characters, so that a text stands aligned in it.
    std::vector<wchar_t> data(longestData / sizeof(wchar_t) + 2);
    for (DWORD i = 0; i < count; ++i) {
        auto nameChars = static_cast<DWORD>(name.size());
        auto bytes = static_cast<DWORD>(data.size() * sizeof(wchar_t));
        auto* content = reinterpret_cast<BYTE*>(data.data());
        DWORD type = REG_NONE;
        const LSTATUS read = RegEnumValueW(key, i, name.data(), &nameChars, nullptr, &type, content, &bytes);
        if (read == ERROR_NO_MORE_ITEMS) return;
        if (read == ERROR_SUCCESS) values.Put(name.substr(0, nameChars), VariantFrom(type, content, bytes));
    }
}

LSTATUS WriteText(HKEY key, const wchar_t* name, std::wstring_view text) {
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.data()), bytes);
}

/// Values of other types are not kept.
LSTATUS WriteValue(HKEY key, const wchar_t* name, const VARIANT& value) {
    if (value.vt == VT_BSTR) {
        return WriteText(key, name,
                         value.bstrVal ? std::wstring_view(value.bstrVal, SysStringLen(value.bstrVal)) : L"");
    }
    if (value.vt == VT_I4) {
        return RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value.lVal),
                              sizeof value.lVal);
    }
    return ERROR_SUCCESS;
}

void RegistryWrite(HKEY key, const std::wstring& name, const VARIANT& value, std::uint64_t timeStamp) {
    if (!key || name.empty()) return;
    LSTATUS written = WriteValue(key, name.c_str(), value);
    if (written == ERROR_SUCCESS)
        written = WriteText(key, ExpiresName(name).c_str(), FormatTimeStamp(timeStamp));
    if (written != ERROR_SUCCESS) {
        logSource.Error(L"Registry writing failed with the error = %d ", static_cast<int>(written));
    }
}

}  // namespace

std::wstring KeyPart(const std::wstring& text) {
    std::wstring part;
    for (const wchar_t c : text) {
        if (FitsInKey(c)) {
            part += c;
        } else {
            part += {L'%', hexDigits[(c >> 4) & 15], hexDigits[c & 15]};
        }
    }
    if (part.size() <= maximumKeyPart) return part;
    const std::wstring ending = L"~" + HexText(DigestOf(text));
    return part.substr(0, maximumKeyPart - ending.size()) + ending;
}

RegCacheProvider::RegCacheProvider(std::wstring rootPath)
    : rootPath_(std::move(rootPath)), path_(rootPath_) {}

DisposablePtr<RegCacheProvider> RegCacheProvider::Create(const wchar_t* rootPath) {
    return DisposablePtr<RegCacheProvider>::Share(
        new RegCacheProvider(WithoutOuterBackslashes(rootPath ? rootPath : L"")));
}

void RegCacheProvider::RememberDevice(const std::wstring& deviceName, unsigned lifespan) {
    if (HasBaseKey() && !deviceName.empty()) memory_.emplace(rootPath_, deviceName, lifespan);
}

void RegCacheProvider::SetKeys(const std::wstring& collectionKey, const std::wstring& dataMapKey) {
    std::wstring path = Joined(Joined(rootPath_, collectionKey), dataMapKey);
    if (path == path_) return;
    path_ = std::move(path);
    values_.Clear();
}

HRESULT RegCacheProvider::PopulateFromRegistry(const DataMapSpec* spec, ValueStore& target) {
    const KyUtils::LogScope scope(logSource, "Corvix::RegCacheProvider::PopulateFromRegistry");
    values_.Clear();
    KyUtils::RegistryKey key;
    if (HasBaseKey() && key.Open(HKEY_LOCAL_MACHINE, path_.c_str(), KEY_READ) == ERROR_SUCCESS) {
        LoadValues(key.Get(), values_);
    }
    return values_.FillDataMapSpec(spec, target);
}

HRESULT RegCacheProvider::GetDataValue(const wchar_t* name, VARIANT* value) {
    const KyUtils::LogScope scope(logSource, "Corvix::RegCacheProvider::GetDataValue");
    return KyUtils::RaisingComErrors([&] { return values_.Get(name, value); });
}

bool RegCacheProvider::OpenForWriting(KyUtils::RegistryKey& key) const {
    // Without a base key the path would name the root of the machine's registry.
    if (!HasBaseKey()) return false;
    const LSTATUS created = key.Create(HKEY_LOCAL_MACHINE, path_.c_str(), KEY_ALL_ACCESS);
    if (created == ERROR_SUCCESS) return true;
    logSource.Error(L"RegCreateKeyEx failed with error code =%ld", static_cast<long>(created));
    return false;
}

HRESULT RegCacheProvider::SetDataValue(const wchar_t* name, const VARIANT& value,
                                       unsigned long long timeStamp) {
    const KyUtils::LogScope scope(logSource, "Corvix::RegCacheProvider::SetDataValue");
    if (!name) return S_FALSE;
    return KyUtils::RaisingComErrors([&] {
        KyUtils::RegistryKey key;
        if (!OpenForWriting(key)) return S_FALSE;
        RegistryWrite(key.Get(), name, value, timeStamp);
        return S_OK;
    });
}

HRESULT RegCacheProvider::SetDataValues(const CachedValueMap* values) {
    const KyUtils::LogScope scope(logSource, "Corvix::RegCacheProvider::SetDataValues");
    if (!values) return S_FALSE;
    return KyUtils::RaisingComErrors([&] {
        KyUtils::RegistryKey key;
        if (!OpenForWriting(key)) return S_FALSE;
        for (const auto& [name, record] : *values) {
            if (KyUtils::IsExpired(record.timeStamp, record.lifespan)) continue;
            RegistryWrite(key.Get(), name, record.value, record.timeStamp);
        }
        return S_OK;
    });
}

}  // namespace Corvix
