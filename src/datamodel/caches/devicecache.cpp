#include "datamodel/caches/devicecache.h"

#include <utility>

namespace Corvix {

DeviceCache::DeviceCache(RegCacheProvider& provider, std::wstring collectionKey, std::wstring dataMapKey)
    : provider_(DisposablePtr<RegCacheProvider>::Share(&provider)),
      collectionKey_(std::move(collectionKey)),
      dataMapKey_(std::move(dataMapKey)) {}

DisposablePtr<DeviceCache> DeviceCache::Create(RegCacheProvider& provider, std::wstring collectionKey,
                                               std::wstring dataMapKey) {
    return DisposablePtr<DeviceCache>::Share(
        new DeviceCache(provider, std::move(collectionKey), std::move(dataMapKey)));
}

RegCacheProvider& DeviceCache::KeyedProvider() {
    // Another collection may have used the provider since.
    provider_->SetKeys(collectionKey_, dataMapKey_);
    return *provider_;
}

HRESULT DeviceCache::PopulateFromRegistry(const DataMapSpec* spec, ValueStore& target) {
    return KeyedProvider().PopulateFromRegistry(spec, target);
}

HRESULT DeviceCache::GetDataValue(const wchar_t* name, VARIANT* value) {
    return KeyedProvider().GetDataValue(name, value);
}

HRESULT DeviceCache::SetDataValue(const wchar_t* name, const VARIANT& value, unsigned long long timeStamp) {
    return KeyedProvider().SetDataValue(name, value, timeStamp);
}

HRESULT DeviceCache::SetDataValues(const CachedValueMap* values) {
    return KeyedProvider().SetDataValues(values);
}

}  // namespace Corvix
