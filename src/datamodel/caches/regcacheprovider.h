/// Values kept in the registry, one key for each device and data map.
#pragma once

#include <optional>
#include <string>

#include "corvixdm/cacheprovider.h"
#include "corvixdm/datamapspec.h"
#include "corvixdm/disposableptr.h"
#include "datamodel/caches/cachedvalues.h"
#include "datamodel/caches/devicememory.h"
#include "datamodel/collection/valuestore.h"
#include "utilslib/disposable.h"
#include "utilslib/registry.h"

namespace Corvix {

class RegCacheProvider final : public ICacheProvider, public KyUtils::IDisposableImpl {
public:
    /// \param rootPath the base key below HKEY_LOCAL_MACHINE; null or empty caches nothing.
    static DisposablePtr<RegCacheProvider> Create(const wchar_t* rootPath);

    bool HasBaseKey() const { return !rootPath_.empty(); }
    /// From now on Memory() is there. An empty name remembers nothing.
    void RememberDevice(const std::wstring& deviceName, unsigned lifespan);
    /// What is remembered about the device; null when nothing is to be.
    const DeviceMemory* Memory() const { return memory_ ? &*memory_ : nullptr; }
    /// Chooses the key below the base key. Values loaded from another key are forgotten.
    /// \param collectionKey what tells the device from all others.
    /// \param dataMapKey what tells the map from the device's other maps.
    void SetKeys(const std::wstring& collectionKey, const std::wstring& dataMapKey);

    /// Loads what the key holds, and puts what is fresh and in the map into the store.
    /// \return S_FALSE when there is neither an item nor a value.
    HRESULT PopulateFromRegistry(const DataMapSpec* spec, ValueStore& target);

    HRESULT GetDataValue(const wchar_t* name, VARIANT* value) override;
    HRESULT SetDataValue(const wchar_t* name, const VARIANT& value, unsigned long long timeStamp) override;
    HRESULT SetDataValues(const CachedValueMap* values) override;

private:
    explicit RegCacheProvider(std::wstring rootPath);
    bool OpenForWriting(KyUtils::RegistryKey& key) const;

    std::wstring rootPath_;
    std::wstring path_;  // the whole path, below the root
    CachedValues values_;
    std::optional<DeviceMemory> memory_;
};

}  // namespace Corvix
