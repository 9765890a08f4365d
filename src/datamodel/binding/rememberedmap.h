/// Binds from the protocol and identity that an earlier collection recorded, without contacting the device.
#pragma once

#include "datamodel/binding/mapbinders.h"
#include "datamodel/caches/regcacheprovider.h"

namespace Corvix {

/// Binds the map that the device answered to lately. No mapper when nothing is remembered.
/// \param cache one with a memory; the mapper shares it.
BoundMap BindFromMemory(Address& address, const DataMapSpecCollection& maps, RegCacheProvider& cache);

/// Remembers which of the maps was bound, and for whom. A device without an identity is not remembered.
void Remember(const BoundMap& bound, const DataMapSpecCollection& maps, const RegCacheProvider& cache);

}  // namespace Corvix
