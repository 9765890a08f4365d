#include "datamodel/xml/xmlprovider.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "datamodel/dom/devicexml.h"
#include "utilslib/clock.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr unsigned long statusOk = 200;
constexpr const wchar_t* defaultUserName = L"admin";

std::string TextOf(HTTPResponse& response) {
    const auto* body = reinterpret_cast<const char*>(response.GetBody());
    return body ? std::string(body, strnlen(body, response.GetBodyLength())) : std::string();
}

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
    if (!address_) return E_FAIL;
    const HRESULT result = address_->CreateHTTPRequest(request.Receive(), port_);
    if (result != S_OK) return FAILED(result) ? result : E_FAIL;
    return request ? S_OK : E_FAIL;
}

HRESULT XMLProvider::ReceiveBody(HTTPRequest& request, std::string& body) {
    DisposablePtr<HTTPResponse> response;
    const HRESULT result = request.GetResponse(response.Receive());
    if (FAILED(result)) {
        logSource.ErrorResult(result, L"No response, system error %lu", request.GetLastErrorCode());
        return result;
    }
    if (!response) return E_FAIL;
    const unsigned long status = response->GetStatusCode();
    if (status != statusOk) {
        logSource.Error(L"HTTP status %lu", status);
        return E_FAIL;
    }
    body = TextOf(*response);
    return S_OK;
}

HRESULT XMLProvider::GetContent(const wchar_t* uri, std::string& body) {
    const KyUtils::LogScope scope(logSource, "Corvix::XMLProvider::GetContent");
    if (!uri) return E_FAIL;
    DisposablePtr<HTTPRequest> request;
    const HRESULT created = CreateRequest(request);
    if (FAILED(created)) return created;
    request->SetURI(uri);
    if (!password_.empty()) {
        request->SetPassword(password_.c_str());
        request->SetUserName(userName_.empty() ? defaultUserName : userName_.c_str());
    }
    return ReceiveBody(*request, body);
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
