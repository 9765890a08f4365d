#include "maps/registrycache.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <cwchar>

#include "base/exitcodes.h"
#include "base/systemtext.h"
#include "corvixdm/datamapspec.h"
#include "maps/mapfile.h"

namespace CorvixCtl {
namespace {

constexpr std::wstring_view stampSuffix = L".Expires";

Failure RegistryFailure(const std::wstring& path, LSTATUS status) {
    return Failure(ExitCode::Incomplete, L"registry key HKEY_LOCAL_MACHINE\\" + path + L": " +
                                             SystemText(static_cast<unsigned long>(status)));
}

class RegistryKey {
public:
    RegistryKey() = default;
    ~RegistryKey() {
        if (key_) RegCloseKey(key_);
    }
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;

    LSTATUS Open(const std::wstring& path, REGSAM access) {
        return RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, access, &key_);
    }
    LSTATUS Create(const std::wstring& path) {
        return RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                               &key_, nullptr);
    }

    std::vector<std::wstring> SubKeys() const {
        std::vector<std::wstring> names;
        wchar_t name[256];
        for (DWORD i = 0;; ++i) {
            auto length = static_cast<DWORD>(std::size(name));
            if (RegEnumKeyExW(key_, i, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
                return names;
            names.emplace_back(name, length);
        }
    }

    std::vector<std::wstring> ValueNames() const {
        constexpr DWORD longest = 16384;  // of any value's name
        std::vector<std::wstring> names;
        std::wstring name(longest, L'\0');
        for (DWORD i = 0;; ++i) {
            DWORD length = longest;
            if (RegEnumValueW(key_, i, name.data(), &length, nullptr, nullptr, nullptr, nullptr) !=
                ERROR_SUCCESS)
                return names;
            names.push_back(name.substr(0, length));
        }
    }

    // A text or a number; nothing for what is neither, or gone meanwhile.
    Cell Read(const std::wstring& name) const {
        DWORD type = REG_NONE;
        DWORD bytes = 0;
        if (RegQueryValueExW(key_, name.c_str(), nullptr, &type, nullptr, &bytes) != ERROR_SUCCESS) return {};
        std::wstring text(bytes / sizeof(wchar_t) + 1, L'\0');
        const LSTATUS status = RegQueryValueExW(key_, name.c_str(), nullptr, &type,
                                                reinterpret_cast<BYTE*>(text.data()), &bytes);
        if (status != ERROR_SUCCESS) return {};
        if (type == REG_SZ) return std::wstring(text.c_str());
        LONG number = 0;
        std::memcpy(&number, text.data(), std::min<size_t>(bytes, sizeof number));
        return type == REG_DWORD ? Cell(static_cast<long long>(number)) : Cell();
    }

    LSTATUS Delete(const std::wstring& name) const { return RegDeleteValueW(key_, name.c_str()); }

    bool IsEmpty() const { return SubKeys().empty() && ValueNames().empty(); }

private:
    HKEY key_ = nullptr;
};

bool IsProtocol(const std::wstring& name) {
    return MapTypeOfProtocol(name) != Corvix::DataMapTypeEnum::Unknown;
}

bool IsStamp(const std::wstring& name) {
    return name.size() > stampSuffix.size() &&
           name.compare(name.size() - stampSuffix.size(), stampSuffix.size(), stampSuffix) == 0;
}

// The names of the values that carry a time stamp: only those are the cache's.
std::vector<std::wstring> CachedNames(const RegistryKey& key) {
    std::vector<std::wstring> names = key.ValueNames();
    std::vector<std::wstring> cached;
    for (const std::wstring& name : names) {
        const std::wstring stamp = name + std::wstring(stampSuffix);
        if (!IsStamp(name) && std::find(names.begin(), names.end(), stamp) != names.end())
            cached.push_back(name);
    }
    std::sort(cached.begin(), cached.end());
    return cached;
}

unsigned long long StampOf(const RegistryKey& key, const std::wstring& name) {
    const Cell stamp = key.Read(name + std::wstring(stampSuffix));
    const auto* text = std::get_if<std::wstring>(&stamp);
    return text ? std::wcstoull(text->c_str(), nullptr, 10) : 0;
}

// Calls `visit` for each device\protocol below the root.
template <class Visit>
void ForEachMapKey(const std::wstring& root, Visit visit) {
    RegistryKey rootKey;
    const LSTATUS opened = rootKey.Open(root, KEY_READ);
    if (opened == ERROR_FILE_NOT_FOUND) return;
    if (opened != ERROR_SUCCESS) throw RegistryFailure(root, opened);
    for (const std::wstring& device : rootKey.SubKeys()) {
        RegistryKey deviceKey;
        if (deviceKey.Open(root + L"\\" + device, KEY_READ) != ERROR_SUCCESS) continue;
        for (const std::wstring& protocol : deviceKey.SubKeys()) {
            if (IsProtocol(protocol)) visit(device, protocol);
        }
    }
}

// Removes the cache's values of one key.
size_t ClearKey(const std::wstring& path) {
    RegistryKey key;
    const LSTATUS opened = key.Open(path, KEY_READ | KEY_WRITE);
    if (opened == ERROR_FILE_NOT_FOUND) return 0;
    if (opened != ERROR_SUCCESS) throw RegistryFailure(path, opened);
    const std::vector<std::wstring> names = CachedNames(key);
    for (const std::wstring& name : names) {
        // The stamp last: a value without one is not the cache's, and would stay for ever.
        for (const std::wstring& each : {name, name + std::wstring(stampSuffix)}) {
            const LSTATUS deleted = key.Delete(each);
            if (deleted != ERROR_SUCCESS) throw RegistryFailure(path, deleted);
        }
    }
    return names.size();
}

void RemoveIfEmpty(const std::wstring& path) {
    {
        RegistryKey key;
        if (key.Open(path, KEY_READ) != ERROR_SUCCESS || !key.IsEmpty()) return;
    }
    RegDeleteKeyW(HKEY_LOCAL_MACHINE, path.c_str());
}

}  // namespace

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

std::vector<CachedEntry> ListCache(const std::wstring& root) {
    std::vector<CachedEntry> entries;
    ForEachMapKey(root, [&](const std::wstring& device, const std::wstring& protocol) {
        RegistryKey key;
        if (key.Open(root + L"\\" + device + L"\\" + protocol, KEY_READ) != ERROR_SUCCESS) return;
        for (const std::wstring& name : CachedNames(key))
            entries.push_back({device, protocol, name, key.Read(name), StampOf(key, name)});
    });
    return entries;
}

size_t ClearCache(const std::wstring& root) {
    size_t removed = 0;
    // Keys are removed only after the visit, which counts them by position.
    std::vector<std::wstring> visited;
    ForEachMapKey(root, [&](const std::wstring& device, const std::wstring& protocol) {
        const std::wstring devicePath = root + L"\\" + device;
        removed += ClearKey(devicePath + L"\\" + protocol);
        visited.insert(visited.end(), {devicePath + L"\\" + protocol, devicePath});
    });
    for (const std::wstring& path : visited)
        RemoveIfEmpty(path);
    // Which devices answered is remembered here.
    ClearKey(root);
    return removed;
}

std::optional<std::wstring> WhyNotWritable(const std::wstring& root) {
    RegistryKey key;
    const LSTATUS created = key.Create(root);
    if (created == ERROR_SUCCESS) return std::nullopt;
    return RegistryFailure(root, created).Message();
}

}  // namespace CorvixCtl
