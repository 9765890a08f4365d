/// Providers that are made when the first value is wanted.
#pragma once

#include <functional>

#include "corvixdm/disposableptr.h"
#include "corvixdm/oidprovider.h"
#include "corvixdm/xmlprovider.h"

namespace Corvix {

/// What a deferred provider answers when there turns out to be none: the device that it was to ask is not there.
constexpr HRESULT deviceNotConnected = HRESULT_FROM_WIN32(ERROR_DEVICE_NOT_CONNECTED);

/// Makes a provider, or null when there is none. Called once, from the first call that needs it.
template <class Provider>
using ProviderFactory = std::function<DisposablePtr<Provider>()>;

DisposablePtr<OIDProvider> DeferOidProvider(ProviderFactory<OIDProvider> make);

/// \param kind what GetKind() answers without making the provider.
DisposablePtr<IXMLProvider> DeferXmlProvider(unsigned kind, ProviderFactory<IXMLProvider> make);

}  // namespace Corvix
