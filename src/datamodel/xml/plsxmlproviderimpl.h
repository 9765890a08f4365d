/// PLSXML: plain XML resources on the device's web port.
#pragma once

#include "datamodel/xml/xmlprovider.h"

namespace Corvix {

class PLSXMLProviderImpl final : public XMLProvider {
public:
    static constexpr unsigned kind = 80;

    /// Does not ask the device. \return null for a null address.
    static DisposablePtr<IXMLProvider> Create(Address* address);
    unsigned GetKind() const override { return kind; }

private:
    explicit PLSXMLProviderImpl(Address* address) : XMLProvider(address, kind) {}
};

}  // namespace Corvix
