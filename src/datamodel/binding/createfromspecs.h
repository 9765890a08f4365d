/// Makes the collection for a device from a document's maps.
#pragma once

#include "corvixdm/datacollection.h"
#include "corvixdm/ippprovider.h"

namespace Corvix {

/// Binds the first map, in document order, whose provider can be made for the device. See
/// CreateDataCollectionFromDataMapSpecsCollection().
HRESULT CreateFromSpecs(Address* address, DataMapSpecCollection* maps, DataCollection** collection,
                        ICacheProvider* cache);

/// Binds the first IPP map to a provider. See CreateDataCollectionFromIPPProvider().
HRESULT CreateFromIppProvider(IPPProvider* provider, DataMapSpecCollection* maps, DataCollection** collection,
                              ICacheProvider* cache);

}  // namespace Corvix
