// The exported factories of the SNMP and XML providers.
#include "datamodel/snmp/oidproviderimpl.h"
#include "datamodel/xml/pavoproviderimpl.h"
#include "datamodel/xml/wsproviderimpl.h"
#include "utilslib/boundary.h"

namespace {

using Corvix::Address;
using KyUtils::Entry;

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

Corvix::OIDProvider* CreateOIDProvider(Address* address) {
    return Entry(logSource, "CreateOIDProvider",
                 [&] { return Corvix::OIDProviderImpl::Create(address).Release(); });
}

Corvix::PavoProvider* CreatePavoProvider(Address* address) {
    return Entry(logSource, "CreatePavoProvider",
                 [&] { return Corvix::PavoProviderImpl::Create(address).Release(); });
}

Corvix::WSProvider* CreateWSProvider(Address* address) {
    return Entry(logSource, "CreateWSProvider",
                 [&] { return Corvix::WSProviderImpl::Create(address).Release(); });
}
