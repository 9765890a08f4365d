/// \file pavoprovider.h
/// XML resources that a device lists in a discovery tree.
#pragma once

#include <windows.h>

#include "transport.h"
#include "xmlprovider.h"

namespace Corvix {

/// The provider of the "Pavo" protocol, on port 8080. What IXMLProvider calls the URI of a resource may be
/// its type here: a text that does not begin with "/" is looked up in the device's discovery tree, which is
/// fetched once. A type that the tree does not list is used as a URI.
class CORVIXDM_API PavoProvider : public virtual IXMLProvider {
public:
    ~PavoProvider() override;

    /// Looks up the URI of a resource type in the discovery tree; arguments and results as those of
    /// GetValue().
    /// \param lifespan how old the discovery tree may be, in tenths of a second; 0 takes one of any age.
    /// \return S_FALSE when the tree does not list the type; E_FAIL for a null type or one that holds a '"'.
    virtual HRESULT GetResourceURI(const wchar_t* resourceType, wchar_t* text, unsigned textChars,
                                   unsigned* neededChars, unsigned lifespan) = 0;
};

}  // namespace Corvix

extern "C" {
/// Makes the provider for a device. Fetches the discovery tree.
/// \return the provider with one reference, owned by the caller; null for a null address, and for a device
///     whose discovery tree does not list the product configuration.
/// \throws _com_error with E_OUTOFMEMORY when memory runs out.
CORVIXDM_API Corvix::PavoProvider* CreatePavoProvider(Corvix::Address* address);
}
