/// The protocols of data maps, one row each: what it takes to bind a map to a device, at once or later.
#pragma once

#include <functional>
#include <string>

#include "corvixdm/datamapspec.h"
#include "corvixdm/disposableptr.h"
#include "corvixdm/ippprovider.h"
#include "corvixdm/oidprovider.h"
#include "corvixdm/transport.h"
#include "datamodel/collection/datacollectionimpl.h"

namespace Corvix {

/// A map that was bound to a device.
struct BoundMap {
    DisposablePtr<DataCollectionImpl> mapper;  ///< null when the device does not speak the map's protocol
    std::wstring identity;  ///< what tells the device from others; empty unless wanted and known
};

/// Told the identity of the device once it is asked, empty when it gave none; says whether it is the right one.
using IdentityCheck = std::function<bool(const std::wstring& identity)>;

/// Binds one map at once. `identityWanted` asks for the device's identity, which may cost an exchange.
using MapBinder = BoundMap (*)(Address& address, DataMapSpec& map, bool identityWanted);

/// Binds one map to a device that is known to speak its protocol, without asking it. When the first value is
/// wanted the device's identity is read and checked; a device that fails the check is asked nothing else.
/// \return null when the address itself rules the protocol out.
using DeferredMapBinder = DisposablePtr<DataCollectionImpl> (*)(Address& address, DataMapSpec& map,
                                                                IdentityCheck check);

/// A row of the table: how maps of one kind are bound. Null for what is not possible.
struct MapBinders {
    DataMapTypeEnum type;
    MapBinder bind;
    DeferredMapBinder defer;
};
/// The row of a kind of map, without any binder for a kind that has no row.
const MapBinders& BindersOf(DataMapTypeEnum type);

/// Binds an IPP map to a provider that is there already.
BoundMap BindIppProvider(DisposablePtr<IPPProvider> provider, DataMapSpec& map, bool identityWanted);

/// The SNMP provider of a device, or null. A device whose description is not text is skipped, not reported as an
/// error.
DisposablePtr<OIDProvider> CreateOidProviderOrNull(Address& address);

}  // namespace Corvix
