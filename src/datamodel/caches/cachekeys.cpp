#include "datamodel/caches/cachekeys.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "datamodel/maps/protocols.h"
#include "utilslib/registryvalues.h"

namespace Corvix {
namespace {

using KyUtils::RegistryKey;

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

/// The key of one device's data map as it is named in the registry.
struct MapKey {
    std::wstring device;
    std::wstring protocol;
    std::wstring devicePath;
    std::wstring path;
};

LSTATUS FindMapKeys(const std::wstring& basePath, std::vector<MapKey>& keys) {
    RegistryKey base;
    const LSTATUS opened = base.Open(HKEY_LOCAL_MACHINE, basePath.c_str(), KEY_READ);
    if (opened == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;
    if (opened != ERROR_SUCCESS) return opened;
    for (const std::wstring& device : KyUtils::SubKeyNames(base)) {
        RegistryKey deviceKey;
        if (deviceKey.Open(base.Get(), device.c_str(), KEY_READ) != ERROR_SUCCESS) continue;
        const std::wstring devicePath = basePath + L"\\" + device;
        for (const std::wstring& protocol : KyUtils::SubKeyNames(deviceKey)) {
            // A key with another name was not made by a cache.
            if (ProtocolType(protocol) != DataMapTypeEnum::Unknown)
                keys.push_back({device, protocol, devicePath, devicePath + L"\\" + protocol});
        }
    }
    return ERROR_SUCCESS;
}

/// Removes the values of one key that have a time stamp; only those are the cache's.
LSTATUS RemoveValues(const std::wstring& path, unsigned& removed) {
    RegistryKey key;
    LSTATUS status = key.Open(HKEY_LOCAL_MACHINE, path.c_str(), KEY_READ | KEY_WRITE);
    if (status == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;
    if (status != ERROR_SUCCESS) return status;
    CachedValues values;
    LoadValues(key, values);
    values.ForEachStamped([&](const std::wstring& name, const KyUtils::Variant&, const TimeStamp&) {
        if (status == ERROR_SUCCESS) status = RegDeleteValueW(key.Get(), name.c_str());
        // Delete the stamp last: a value without one is not recognised as cached and would stay for ever.
        if (status == ERROR_SUCCESS) status = RegDeleteValueW(key.Get(), ExpiresName(name).c_str());
        if (status == ERROR_SUCCESS) ++removed;
    });
    return status;
}

void RemoveIfEmpty(const std::wstring& path) {
    if (KyUtils::IsEmptyKey(path)) RegDeleteKeyW(HKEY_LOCAL_MACHINE, path.c_str());
}

}  // namespace

std::wstring BaseKeyPath(const wchar_t* rootPath) {
    std::wstring path = rootPath ? rootPath : L"";
    path.erase(path.find_last_not_of(L'\\') + 1);
    return path.erase(0, path.find_first_not_of(L'\\'));
}

std::wstring MapKeyPath(const std::wstring& basePath, const std::wstring& device,
                        const std::wstring& protocol) {
    std::wstring path = basePath;
    for (const std::wstring* part : {&device, &protocol}) {
        if (!part->empty()) path.append(L"\\").append(KeyPart(*part));
    }
    return path;
}

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

void LoadValues(const RegistryKey& key, CachedValues& values) {
    DWORD count = 0;
    DWORD longestName = 0;
    DWORD longestData = 0;
    const LSTATUS queried = RegQueryInfoKeyW(key.Get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                             &count, &longestName, &longestData, nullptr, nullptr);
    if (queried != ERROR_SUCCESS) return;
    std::wstring name(longestName + size_t{1}, L'\0');
    // A buffer of wchar_t, so that texts in it are aligned.
    std::vector<wchar_t> data(longestData / sizeof(wchar_t) + 2);
    for (DWORD i = 0; i < count; ++i) {
        auto nameChars = static_cast<DWORD>(name.size());
        auto bytes = static_cast<DWORD>(data.size() * sizeof(wchar_t));
        auto* content = reinterpret_cast<BYTE*>(data.data());
        DWORD type = REG_NONE;
        const LSTATUS read =
            RegEnumValueW(key.Get(), i, name.data(), &nameChars, nullptr, &type, content, &bytes);
        if (read == ERROR_NO_MORE_ITEMS) return;
        if (read == ERROR_SUCCESS) values.Put(name.substr(0, nameChars), VariantFrom(type, content, bytes));
    }
}

LSTATUS VisitCachedValues(const std::wstring& basePath, RegCacheVisitor visit, void* context) {
    std::vector<MapKey> keys;
    const LSTATUS found = FindMapKeys(basePath, keys);
    for (const MapKey& mapKey : keys) {
        RegistryKey key;
        if (key.Open(HKEY_LOCAL_MACHINE, mapKey.path.c_str(), KEY_READ) != ERROR_SUCCESS) continue;
        CachedValues values;
        LoadValues(key, values);
        values.ForEachStamped(
            [&](const std::wstring& name, const KyUtils::Variant& value, const TimeStamp& timeStamp) {
                const RegCacheEntry entry = {mapKey.device.c_str(), mapKey.protocol.c_str(), name.c_str(),
                                             value.Get(), timeStamp.value_or(0)};
                visit(&entry, context);
            });
    }
    return found;
}

LSTATUS RemoveCachedValues(const std::wstring& basePath, unsigned& removed) {
    std::vector<MapKey> keys;
    LSTATUS status = FindMapKeys(basePath, keys);
    for (const MapKey& key : keys) {
        if (status != ERROR_SUCCESS) return status;
        status = RemoveValues(key.path, removed);
        RemoveIfEmpty(key.path);
        RemoveIfEmpty(key.devicePath);
    }
    // The base key itself remembers which devices answered. Those records are removed, but not counted as values.
    unsigned devices = 0;
    return status == ERROR_SUCCESS ? RemoveValues(basePath, devices) : status;
}

}  // namespace Corvix
