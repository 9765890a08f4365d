#include "datamodel/caches/regcacheprovider.h"

#include <cstdint>
#include <utility>

#include "datamodel/caches/cachekeys.h"
#include "utilslib/boundary.h"
#include "utilslib/clock.h"
#include "utilslib/logging.h"
#include "utilslib/registryvalues.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

/// Values of other types are not kept.
LSTATUS WriteValue(const KyUtils::RegistryKey& key, const std::wstring& name, const VARIANT& value) {
    if (value.vt == VT_BSTR) return KyUtils::WriteText(key, name, KyUtils::TextOf(value));
    if (value.vt != VT_I4) return ERROR_SUCCESS;
    return RegSetValueExW(key.Get(), name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value.lVal),
                          sizeof value.lVal);
}

void RegistryWrite(const KyUtils::RegistryKey& key, const std::wstring& name, const VARIANT& value,
                   std::uint64_t timeStamp) {
    if (!key || name.empty()) return;
    LSTATUS written = WriteValue(key, name, value);
    // The stamp follows only a value that was written: without it the value is ignored.
    if (written == ERROR_SUCCESS)
        written = KyUtils::WriteText(key, ExpiresName(name), FormatTimeStamp(timeStamp));
    if (written != ERROR_SUCCESS) {
        logSource.Error(L"Registry writing failed with the error = %d ", static_cast<int>(written));
    }
}

}  // namespace

RegCacheProvider::RegCacheProvider(std::wstring rootPath)
    : rootPath_(std::move(rootPath)), path_(rootPath_) {}

DisposablePtr<RegCacheProvider> RegCacheProvider::Create(const wchar_t* rootPath) {
    return DisposablePtr<RegCacheProvider>::Share(new RegCacheProvider(BaseKeyPath(rootPath)));
}

void RegCacheProvider::RememberDevice(const std::wstring& deviceName, unsigned lifespan) {
    if (HasBaseKey() && !deviceName.empty()) memory_.emplace(rootPath_, deviceName, lifespan);
}

void RegCacheProvider::SetKeys(const std::wstring& collectionKey, const std::wstring& dataMapKey) {
    std::wstring path = MapKeyPath(rootPath_, collectionKey, dataMapKey);
    // Collections set their keys before every call; keep what was loaded while the key is the same.
    if (path == path_) return;
    path_ = std::move(path);
    values_.Clear();
}

HRESULT RegCacheProvider::PopulateFromRegistry(const DataMapSpec* spec, ValueStore& target) {
    const KyUtils::LogScope scope(logSource, "Corvix::RegCacheProvider::PopulateFromRegistry");
    values_.Clear();
    KyUtils::RegistryKey key;
    if (HasBaseKey() && key.Open(HKEY_LOCAL_MACHINE, path_.c_str(), KEY_READ) == ERROR_SUCCESS) {
        LoadValues(key, values_);
    }
    return values_.FillDataMapSpec(spec, target);
}

HRESULT RegCacheProvider::GetDataValue(const wchar_t* name, VARIANT* value) {
    return KyUtils::Entry(logSource, "Corvix::RegCacheProvider::GetDataValue",
                          [&] { return values_.Get(name, value); });
}

bool RegCacheProvider::OpenForWriting(KyUtils::RegistryKey& key) const {
    // With an empty base key the path would begin at the root of HKEY_LOCAL_MACHINE.
    if (!HasBaseKey()) return false;
    const LSTATUS created = key.Create(HKEY_LOCAL_MACHINE, path_.c_str(), KEY_ALL_ACCESS);
    if (created == ERROR_SUCCESS) return true;
    logSource.Error(L"RegCreateKeyEx failed with error code =%ld", static_cast<long>(created));
    return false;
}

HRESULT RegCacheProvider::SetDataValue(const wchar_t* name, const VARIANT& value,
                                       unsigned long long timeStamp) {
    return KyUtils::Entry(logSource, "Corvix::RegCacheProvider::SetDataValue", [&] {
        if (!name) return S_FALSE;
        KyUtils::RegistryKey key;
        if (!OpenForWriting(key)) return S_FALSE;
        RegistryWrite(key, name, value, timeStamp);
        return S_OK;
    });
}

HRESULT RegCacheProvider::SetDataValues(const CachedValueMap* values) {
    return KyUtils::Entry(logSource, "Corvix::RegCacheProvider::SetDataValues", [&] {
        if (!values) return S_FALSE;
        KyUtils::RegistryKey key;
        if (!OpenForWriting(key)) return S_FALSE;
        for (const auto& [name, record] : *values) {
            if (KyUtils::IsExpired(record.timeStamp, record.lifespan)) continue;
            RegistryWrite(key, name, record.value, record.timeStamp);
        }
        return S_OK;
    });
}

}  // namespace Corvix
