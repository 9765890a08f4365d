#include "datamodel/xml/pavoproviderimpl.h"

#include <algorithm>

#include "datamodel/xml/xmlidentity.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr wchar_t discoveryTree[] = L"/DevMgmt/DiscoveryTree.xml";

bool IsResourceType(const wchar_t* uri) { return *uri && *uri != L'/'; }

/// The listed URI goes into a request line. Refuse blanks and controls, which would let the device forge headers.
bool IsUsableUri(const std::wstring& uri) {
    return !uri.empty() && std::all_of(uri.begin(), uri.end(), [](wchar_t c) { return c > L' '; });
}

}  // namespace

PavoProvider::~PavoProvider() = default;

DisposablePtr<PavoProvider> PavoProviderImpl::Create(Address* address) {
    const KyUtils::LogScope scope(logSource, "Corvix::PavoProviderImpl::Create");
    if (!address) return {};
    auto provider = DisposablePtr<PavoProviderImpl>::Share(new PavoProviderImpl(address));
    unsigned needed = 0;
    // With no buffer, E_OUTOFMEMORY means that the tree lists the resource; needed is 1 for an empty URI.
    const HRESULT probed = provider->GetResourceURI(pavoIdentity.uri, nullptr, 0, &needed, 0);
    if (probed != E_OUTOFMEMORY || needed <= 1) return {};
    return provider;
}

HRESULT PavoProviderImpl::GetResourceURI(const wchar_t* resourceType, wchar_t* text, unsigned textChars,
                                         unsigned* neededChars, unsigned lifespan) {
    const KyUtils::LogScope scope(logSource, "Corvix::PavoProviderImpl::GetResourceURI");
    // The type is quoted in the XPath, which knows no escape for a quote.
    if (!resourceType || wcschr(resourceType, L'"')) return E_FAIL;
    const std::wstring xpath =
        std::wstring(L"//.[dd:ResourceType=\"").append(resourceType).append(L"\"]/dd:ResourceURI");
    return XMLProvider::GetValue(discoveryTree, xpath.c_str(), text, textChars, neededChars, true, lifespan);
}

HRESULT PavoProviderImpl::ReadResourceURI(const wchar_t* resourceType, std::wstring& uri) {
    std::wstring text(256, L'\0');
    unsigned needed = 0;
    HRESULT result = GetResourceURI(resourceType, text.data(), 256, &needed, 0);
    if (result == E_OUTOFMEMORY) {
        text.resize(needed);
        result = GetResourceURI(resourceType, text.data(), needed, &needed, 0);
    }
    if (result == S_OK) uri.assign(text, 0, text.find(L'\0'));
    return result;
}

HRESULT PavoProviderImpl::GetValue(const wchar_t* uri, const wchar_t* xpath, wchar_t* text,
                                   unsigned textChars, unsigned* neededChars, bool useCache,
                                   unsigned lifespan) {
    const KyUtils::LogScope scope(logSource, "Corvix::PavoProviderImpl::GetValue");
    if (!uri || !xpath) return E_FAIL;
    std::wstring resolved;
    const bool found = IsResourceType(uri) && ReadResourceURI(uri, resolved) == S_OK && IsUsableUri(resolved);
    return XMLProvider::GetValue(found ? resolved.c_str() : uri, xpath, text, textChars, neededChars,
                                 useCache, lifespan);
}

}  // namespace Corvix
