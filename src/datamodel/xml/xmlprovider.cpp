#include "datamodel/xml/xmlprovider.h"

#include <algorithm>
#include <utility>

#include "datamodel/dom/devicexml.h"
#include "datamodel/transport/fetch.h"
#include "utilslib/clock.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr wchar_t defaultUserName[] = L"admin";

HRESULT CopyText(std::wstring_view source, wchar_t* text, unsigned textChars) {
    if (!text || textChars <= source.size()) return E_OUTOFMEMORY;
    std::copy(source.begin(), source.end(), text);
    text[source.size()] = L'\0';
    return S_OK;
}

}  // namespace

IXMLProvider::~IXMLProvider() = default;

XMLProvider::XMLProvider(Address* address, unsigned long port)
    : address_(DisposablePtr<Address>::Share(address)), port_(port) {}

void XMLProvider::SetCredentials(std::wstring userName, std::wstring password) {
    userName_ = std::move(userName);
    password_ = std::move(password);
}

HRESULT XMLProvider::CreateRequest(DisposablePtr<HTTPRequest>& request) {
    return address_ ? Corvix::CreateRequest(*address_, port_, request) : E_FAIL;
}

HRESULT XMLProvider::ReceiveText(HTTPRequest& request, std::string& text) {
    std::string body;
    unsigned long status = 0;
    const HRESULT result = ReceiveBody(request, body, status);
    // The body counts as a zero-terminated text.
    if (SUCCEEDED(result)) text = body.substr(0, body.find('\0'));
    return result;
}

HRESULT XMLProvider::GetContent(const wchar_t* uri, std::string& body) {
    const KyUtils::LogScope scope(logSource, "Corvix::XMLProvider::GetContent");
    if (!uri) return E_FAIL;
    DisposablePtr<HTTPRequest> request;
    const HRESULT created = CreateRequest(request);
    if (FAILED(created)) return created;
    request->SetURI(uri);
    // Credentials go together: without a password no user name is sent either.
    if (!password_.empty()) {
        request->SetPassword(password_.c_str());
        request->SetUserName(userName_.empty() ? defaultUserName : userName_.c_str());
    }
    return ReceiveText(*request, body);
}

const XMLProvider::CachedDocument* XMLProvider::FindDocument(const std::wstring& uri,
                                                             unsigned lifespan) const {
    const auto found = documents_.find(uri);
    if (found == documents_.end() || KyUtils::IsExpired(found->second.timeStamp, lifespan)) return nullptr;
    return &found->second;
}

void XMLProvider::KeepDocument(const std::wstring& uri, const ComPtr<IXMLDOMDocument>& document) {
    if (const auto now = KyUtils::CurrentFileTime()) documents_[uri] = {document, *now};
}

HRESULT XMLProvider::GetDOM(const wchar_t* uri, IXMLDOMDocument** document, bool useCache,
                            unsigned lifespan) {
    const KyUtils::LogScope scope(logSource, "Corvix::XMLProvider::GetDOM");
    if (!uri || !document) return E_FAIL;
    if (useCache) {
        if (const CachedDocument* cached = FindDocument(uri, lifespan))
            return cached->document.CopyTo(document);
    }
    std::string body;
    const HRESULT fetched = GetContent(uri, body);
    if (FAILED(fetched)) return fetched;
    ComPtr<IXMLDOMDocument> parsed;
    const HRESULT result = ParseDeviceXml(body, parsed);
    if (FAILED(result)) return result;
    // Only now: a document that does not parse must not replace the one kept before.
    KeepDocument(uri, parsed);
    *document = parsed.Detach();
    return S_OK;
}

HRESULT XMLProvider::GetValue(const wchar_t* uri, const wchar_t* xpath, wchar_t* text, unsigned textChars,
                              unsigned* neededChars, bool useCache, unsigned lifespan) {
    const KyUtils::LogScope scope(logSource, "Corvix::XMLProvider::GetValue");
    if (!uri || !xpath) return E_FAIL;
    ComPtr<IXMLDOMDocument> document;
    HRESULT result = GetDOM(uri, &document, useCache, lifespan);
    if (FAILED(result)) return result;
    if (neededChars) *neededChars = 0;
    ComPtr<IXMLDOMNode> node;
    result = SelectNode(document.Get(), xpath, node);
    if (result != S_OK) return result;
    KyUtils::Bstr content;
    result = node->get_text(content.Receive());
    if (FAILED(result)) return result;
    if (neededChars) *neededChars = static_cast<unsigned>(content.View().size()) + 1;
    return CopyText(content.View(), text, textChars);
}

}  // namespace Corvix
