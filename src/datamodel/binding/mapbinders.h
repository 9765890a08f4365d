/// One binder for each kind of map: makes the provider of the map's protocol, and the mapper over it.
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

/// Binds one map. `identityWanted` asks for the device's identity, which may cost an exchange.
using MapBinder = BoundMap (*)(Address& address, DataMapSpec& map, bool identityWanted);

/// The binder of a kind of map, or null where there is none.
MapBinder BinderOf(DataMapTypeEnum type);

/// Binds an IPP map to a provider that is there already.
BoundMap BindIppProvider(DisposablePtr<IPPProvider> provider, DataMapSpec& map, bool identityWanted);

/// Told the identity of the device once it is asked, empty when it gave none; says whether it is the right one.
using IdentityCheck = std::function<bool(const std::wstring& identity)>;

/// Binds a map to a device that is known to speak its protocol, without asking it. When the first value is
/// wanted the device's identity is read and checked; a device that fails the check is asked nothing else.
/// \return null when the address itself rules the protocol out.
using DeferredMapBinder = DisposablePtr<DataCollectionImpl> (*)(Address& address, DataMapSpec& map,
                                                                IdentityCheck check);

/// The deferred binder of a kind of map, or null where there is none.
DeferredMapBinder DeferredBinderOf(DataMapTypeEnum type);

/// The SNMP provider of a device, or null. A description that is no text is a device that does not fit, which
/// is no reason to fail for good.
DisposablePtr<OIDProvider> CreateOidProviderOrNull(Address& address);

}  // namespace Corvix
