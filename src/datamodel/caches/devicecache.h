/// A registry cache as one collection uses it.
#pragma once

#include <string>

#include "datamodel/caches/regcacheprovider.h"

namespace Corvix {

/// Does everything under the keys of one device and map, whatever the provider was last used for: a caller
/// who hands the same provider to the collections of two devices must not get the values of one under the
/// other's key.
class DeviceCache final : public ICacheProvider, public KyUtils::IDisposableImpl {
public:
    static DisposablePtr<DeviceCache> Create(RegCacheProvider& provider, std::wstring collectionKey,
                                             std::wstring dataMapKey);

    HRESULT PopulateFromRegistry(const DataMapSpec* spec, ValueStore& target);
    HRESULT GetDataValue(const wchar_t* name, VARIANT* value) override;
    HRESULT SetDataValue(const wchar_t* name, const VARIANT& value, unsigned long long timeStamp) override;
    HRESULT SetDataValues(const CachedValueMap* values) override;

private:
    DeviceCache(RegCacheProvider& provider, std::wstring collectionKey, std::wstring dataMapKey);
    RegCacheProvider& KeyedProvider();

    DisposablePtr<RegCacheProvider> provider_;
    std::wstring collectionKey_;
    std::wstring dataMapKey_;
};

}  // namespace Corvix
