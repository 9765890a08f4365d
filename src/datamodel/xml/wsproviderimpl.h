/// WS: XML resources as the answers to SOAP requests.
#pragma once

#include <string>

#include "corvixdm/wsprovider.h"
#include "datamodel/xml/xmlprovider.h"

namespace Corvix {

class WSProviderImpl final : public WSProvider, public XMLProvider {
public:
    static constexpr unsigned kind = 3910;

    /// Probes the device. \return null for a null address or a device that does not speak the protocol.
    static DisposablePtr<WSProvider> Create(Address* address);

    unsigned GetKind() const override { return kind; }
    HRESULT GetContent(const wchar_t* uri, std::string& body) override;
    HRESULT BuildTransferGetRequest(const wchar_t* uri, const wchar_t* path, std::string& envelope) override;
    HRESULT BuildGetPrinterElementsRequest(std::string& envelope) override;

private:
    explicit WSProviderImpl(Address* address) : XMLProvider(address, kind) {}
    HRESULT BuildRequest(const wchar_t* uri, std::string& envelope);
    std::string HostText() const;
    HRESULT Post(const wchar_t* path, const std::string& envelope, std::string& body);
};

}  // namespace Corvix
