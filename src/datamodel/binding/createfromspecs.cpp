#include "datamodel/binding/createfromspecs.h"

#include <utility>

#include "datamodel/binding/mapbinders.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

BoundMap BindFirstMap(Address& address, const DataMapSpecCollection& maps, bool identityWanted) {
    for (unsigned i = 0; i < maps.GetCount(); ++i) {
        DataMapSpec* map = maps.GetDataMapSpec(i);
        const MapBinder bind = BinderOf(map->GetDataMapType());
        if (!bind) continue;
        if (BoundMap bound = bind(address, *map, identityWanted); bound.mapper) return bound;
        logSource.Debug(L"No provider for the map with protocol %ls", map->GetProtocolType().c_str());
    }
    return {};
}

}  // namespace

HRESULT CreateFromSpecs(Address* address, DataMapSpecCollection* maps, DataCollection** collection,
                        ICacheProvider* cache) {
    const KyUtils::LogScope scope(logSource, "Corvix::DataCollectionImpl::CreateFromSpecs");
    if (!address || !maps || !collection || maps->GetCount() == 0) return E_FAIL;
    BoundMap bound = BindFirstMap(*address, *maps, false);
    if (!bound.mapper) return E_FAIL;
    bound.mapper->SetCacheProvider(cache);
    bound.mapper->LoadStaticItems(bound.mapper->Map());
    *collection = bound.mapper.Release();
    return S_OK;
}

}  // namespace Corvix
