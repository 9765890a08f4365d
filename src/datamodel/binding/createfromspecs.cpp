#include "datamodel/binding/createfromspecs.h"

#include <string>
#include <string_view>
#include <utility>

#include "datamodel/binding/mapbinders.h"
#include "datamodel/binding/rememberedmap.h"
#include "datamodel/caches/devicecache.h"
#include "datamodel/caches/printdatacacheprovider.h"
#include "datamodel/caches/regcacheprovider.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

BoundMap BindFirstMap(Address& address, const DataMapSpecCollection& maps, bool identityWanted) {
    for (unsigned i = 0; i < maps.GetCount(); ++i) {
        DataMapSpec* map = maps.GetDataMapSpec(i);
        const MapBinder bind = BindersOf(map->GetDataMapType()).bind;
        if (!bind) continue;
        if (BoundMap bound = bind(address, *map, identityWanted); bound.mapper) return bound;
        logSource.Debug(L"No provider for the map with protocol %ls", map->GetProtocolType().c_str());
    }
    return {};
}

BoundMap BindFirstIppMap(IPPProvider& provider, const DataMapSpecCollection& maps, bool identityWanted) {
    for (unsigned i = 0; i < maps.GetCount(); ++i) {
        DataMapSpec* map = maps.GetDataMapSpec(i);
        if (map->GetDataMapType() == DataMapTypeEnum::IPP)
            return BindIppProvider(DisposablePtr<IPPProvider>::Share(&provider), *map, identityWanted);
    }
    return {};
}

/// "urn:uuid:1234" and "1234" are the same device.
std::wstring WithoutUuidScheme(const std::wstring& identity) {
    constexpr std::wstring_view mark = L"uuid:";
    const size_t found = identity.find(mark);
    return found == std::wstring::npos ? identity : identity.substr(found + mark.size());
}

/// Devices whose serial number was never set answer blanks. They must not share one key.
bool IsBlank(std::wstring_view identity) {
    return identity.find_first_not_of(L" \t\r\n\u00A0") == std::wstring_view::npos;
}

BoundMap BindRemembering(Address& address, const DataMapSpecCollection& maps, RegCacheProvider& cache) {
    if (BoundMap remembered = BindFromMemory(address, maps, cache); remembered.mapper) return remembered;
    // The identity is wanted in any case: it is what is remembered.
    BoundMap bound = BindFirstMap(address, maps, true);
    Remember(bound, maps, cache);
    return bound;
}

/// A registry cache under the key of this device. Null for a device that does not tell who it is: what is kept could
/// be another device's.
DisposablePtr<ICacheProvider> KeyByDevice(RegCacheProvider& cache, std::wstring identity,
                                          const DataMapSpec& map) {
    identity = WithoutUuidScheme(identity);
    if (!IsBlank(identity)) return DeviceCache::Create(cache, std::move(identity), map.GetProtocolType());
    if (cache.HasBaseKey()) logSource.Warning(L"The device has no identity: its values are not cached");
    return {};
}

/// Fills the store with what the collection's cache kept.
void PopulateValueFromCache(DataCollectionImpl& collection, ICacheProvider* cache) {
    if (auto* registry = dynamic_cast<DeviceCache*>(cache)) {
        registry->PopulateFromRegistry(collection.Map(), collection.Store());
        return;
    }
    const auto* printerData = dynamic_cast<const PrintDataCacheProvider*>(cache);
    if (printerData && printerData->HasPrinter())
        printerData->FillDataMapSpec(collection.Map(), collection.Store());
}

void TakeCache(DataCollectionImpl& collection, ICacheProvider* cache, std::wstring identity) {
    auto* registry = dynamic_cast<RegCacheProvider*>(cache);
    const auto taken = registry ? KeyByDevice(*registry, std::move(identity), *collection.Map())
                                : DisposablePtr<ICacheProvider>::Share(cache);
    collection.SetCacheProvider(taken.Get());
    PopulateValueFromCache(collection, taken.Get());
}

bool NeedsIdentity(ICacheProvider* cache) {
    const auto* registry = dynamic_cast<const RegCacheProvider*>(cache);
    return registry && registry->HasBaseKey();
}

BoundMap Bind(Address& address, const DataMapSpecCollection& maps, ICacheProvider* cache) {
    auto* registry = dynamic_cast<RegCacheProvider*>(cache);
    if (registry && registry->Memory()) return BindRemembering(address, maps, *registry);
    return BindFirstMap(address, maps, NeedsIdentity(cache));
}

/// Gives a bound collection its cache and its constants, and hands it out.
HRESULT Complete(BoundMap bound, DataCollection** collection, ICacheProvider* cache) {
    if (!bound.mapper) return E_FAIL;
    TakeCache(*bound.mapper, cache, std::move(bound.identity));
    bound.mapper->LoadStaticItems(bound.mapper->Map());
    *collection = bound.mapper.Release();
    return S_OK;
}

}  // namespace

HRESULT CreateFromSpecs(Address* address, DataMapSpecCollection* maps, DataCollection** collection,
                        ICacheProvider* cache) {
    const KyUtils::LogScope scope(logSource, "Corvix::DataCollectionImpl::CreateFromSpecs");
    if (!address || !maps || !collection || maps->GetCount() == 0) return E_FAIL;
    return Complete(Bind(*address, *maps, cache), collection, cache);
}

HRESULT CreateFromIppProvider(IPPProvider* provider, DataMapSpecCollection* maps, DataCollection** collection,
                              ICacheProvider* cache) {
    const KyUtils::LogScope scope(logSource, "Corvix::DataCollectionImpl::CreateFromIppProvider");
    if (!provider || !maps || !collection) return E_FAIL;
    return Complete(BindFirstIppMap(*provider, *maps, NeedsIdentity(cache)), collection, cache);
}

}  // namespace Corvix
