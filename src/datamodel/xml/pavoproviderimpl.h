/// Pavo: XML resources found through the device's discovery tree.
#pragma once

#include <string>

#include "corvixdm/pavoprovider.h"
#include "datamodel/xml/xmlprovider.h"

namespace Corvix {

class PavoProviderImpl final : public PavoProvider, public XMLProvider {
public:
    static constexpr unsigned kind = 8080;

    /// Probes the device. \return null for a null address or a device that does not speak the protocol.
    static DisposablePtr<PavoProvider> Create(Address* address);

    unsigned GetKind() const override { return kind; }
    HRESULT GetValue(const wchar_t* uri, const wchar_t* xpath, wchar_t* text, unsigned textChars,
                     unsigned* neededChars, bool useCache, unsigned lifespan) override;
    HRESULT GetResourceURI(const wchar_t* resourceType, wchar_t* text, unsigned textChars,
                           unsigned* neededChars, unsigned lifespan) override;

private:
    explicit PavoProviderImpl(Address* address) : XMLProvider(address, kind) {}
    HRESULT ReadResourceURI(const wchar_t* resourceType, std::wstring& uri);
};

}  // namespace Corvix
