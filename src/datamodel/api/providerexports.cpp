// The exported factories of the providers.
#include "corvixdm/pavoprovider.h"
#include "corvixdm/wsprovider.h"
#include "datamodel/xml/pavoproviderimpl.h"
#include "datamodel/xml/wsproviderimpl.h"
#include "utilslib/boundary.h"
#include "utilslib/logging.h"

namespace {

using Corvix::Address;

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

Corvix::PavoProvider* CreatePavoProvider(Address* address) {
    const KyUtils::LogScope scope(logSource, "CreatePavoProvider");
    return KyUtils::RaisingComErrors([&] { return Corvix::PavoProviderImpl::Create(address).Release(); });
}

Corvix::WSProvider* CreateWSProvider(Address* address) {
    const KyUtils::LogScope scope(logSource, "CreateWSProvider");
    return KyUtils::RaisingComErrors([&] { return Corvix::WSProviderImpl::Create(address).Release(); });
}
