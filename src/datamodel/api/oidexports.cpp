// The exported factory of the SNMP provider.
#include "corvixdm/oidprovider.h"
#include "datamodel/snmp/oidproviderimpl.h"
#include "utilslib/boundary.h"
#include "utilslib/logging.h"

namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

Corvix::OIDProvider* CreateOIDProvider(Corvix::Address* address) {
    const KyUtils::LogScope scope(logSource, "CreateOIDProvider");
    return KyUtils::RaisingComErrors([&] { return Corvix::OIDProviderImpl::Create(address).Release(); });
}
