/// Fetching, parsing and keeping the XML resources of one device.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "corvixdm/disposableptr.h"
#include "corvixdm/transport.h"
#include "corvixdm/xmlprovider.h"
#include "datamodel/dom/dom.h"
#include "utilslib/com.h"
#include "utilslib/disposable.h"

namespace Corvix {

/// The base of the XML providers, which add their port and what is special about their resources.
class XMLProvider : public virtual IXMLProvider, public KyUtils::IDisposableImpl {
public:
    HRESULT GetValue(const wchar_t* uri, const wchar_t* xpath, wchar_t* text, unsigned textChars,
                     unsigned* neededChars, bool useCache, unsigned lifespan) override;
    HRESULT GetContent(const wchar_t* uri, std::string& body) override;
    HRESULT GetDOM(const wchar_t* uri, IXMLDOMDocument** document, bool useCache, unsigned lifespan) override;

    /// The HTTP credentials of later fetches; none are sent while the password is empty.
    void SetCredentials(std::wstring userName, std::wstring password);

protected:
    XMLProvider(Address* address, unsigned long port);

    Address* Device() const { return address_.Get(); }
    const std::wstring& UserName() const { return userName_; }
    const std::wstring& Password() const { return password_; }
    /// A new request on the provider's port.
    HRESULT CreateRequest(DisposablePtr<HTTPRequest>& request);
    /// Waits for the answer of status 200 and takes its text, which is left as it was on failure.
    static HRESULT ReceiveText(HTTPRequest& request, std::string& text);

private:
    struct CachedDocument {
        ComPtr<IXMLDOMDocument> document;
        std::uint64_t timeStamp;
    };

    const CachedDocument* FindDocument(const std::wstring& uri, unsigned lifespan) const;
    void KeepDocument(const std::wstring& uri, const ComPtr<IXMLDOMDocument>& document);

    // Entered before and left after the documents below.
    KyUtils::ComApartment apartment_;
    DisposablePtr<Address> address_;
    unsigned long port_;
    std::wstring userName_;
    std::wstring password_;
    std::map<std::wstring, CachedDocument> documents_;
};

}  // namespace Corvix
