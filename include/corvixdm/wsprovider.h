/// \file wsprovider.h
/// XML resources that a device serves as web services.
#pragma once

#include <windows.h>

#include <string>

#include "transport.h"
#include "xmlprovider.h"

namespace Corvix {

/// The provider of the "WS" protocol: every resource is the answer to a SOAP 1.2 request that is posted to
/// port 3910.
///
/// The URI "uri:prn" names the Web Services on Devices print service and is asked with GetPrinterElements;
/// every other URI names a WS-Management resource, such as
/// "urn:veyra:imaging:con:service:device:DeviceService", and is asked for with WS-Transfer Get. A URI that
/// begins with "/" is also the path that is posted to; other requests go to "/".
class CORVIXDM_API WSProvider : public virtual IXMLProvider {
public:
    ~WSProvider() override;

    /// Builds a WS-Transfer Get request in UTF-8, with a message id of its own.
    /// \param uri the resource.
    /// \param path the path of the address that the request names as its recipient.
    /// \param envelope receives the request; untouched on failure.
    /// \return S_OK; E_FAIL for a null argument or without a message id.
    virtual HRESULT BuildTransferGetRequest(const wchar_t* uri, const wchar_t* path,
                                            std::string& envelope) = 0;

    /// Builds a GetPrinterElements request in UTF-8, with message ids of its own.
    /// \return as above; E_FAIL, too, when the device's host name does not fit into a request.
    virtual HRESULT BuildGetPrinterElementsRequest(std::string& envelope) = 0;
};

}  // namespace Corvix

extern "C" {
/// Makes the provider for a device. Asks the device for its identity.
/// \return the provider with one reference, owned by the caller; null for a null address, and for a device
///     that does not answer with a device id.
/// \throws _com_error with E_OUTOFMEMORY when memory runs out.
CORVIXDM_API Corvix::WSProvider* CreateWSProvider(Corvix::Address* address);
}
