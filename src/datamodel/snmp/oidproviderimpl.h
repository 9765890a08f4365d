/// The SNMP provider over the connection of an address.
#pragma once

#include "corvixdm/disposableptr.h"
#include "corvixdm/oidprovider.h"
#include "utilslib/disposable.h"

namespace Corvix {

class OIDProviderImpl final : public OIDProvider, public KyUtils::IDisposableImpl {
public:
    /// See CreateOIDProvider(). Null where that gives null.
    static DisposablePtr<OIDProvider> Create(Address* address);

    HRESULT GetValue(const wchar_t* oid, VARIANT* value) override;
    HRESULT GetNextOidAndValue(const wchar_t* oid, wchar_t* nextOid, unsigned nextOidChars,
                               VARIANT* value) override;
    HRESULT GetMultipleValues(const wchar_t** oids, VARIANT* values, unsigned count) override;

private:
    explicit OIDProviderImpl(DisposablePtr<MIBConnection> connection);

    DisposablePtr<MIBConnection> connection_;
};

}  // namespace Corvix
