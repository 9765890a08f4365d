// Attribute queries: from the cache, by a fresh request, with authorisation.
#include <algorithm>

#include "datamodel/ipp/ippproviderimpl.h"
#include "utilslib/boundary.h"
#include "utilslib/com.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"
#include "wire/ipp/tags.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

/// The pieces between the separators, empty ones included.
std::vector<std::string_view> Split(std::string_view text, std::string_view separator) {
    std::vector<std::string_view> pieces;
    for (size_t end; (end = text.find(separator)) != std::string_view::npos;) {
        pieces.push_back(text.substr(0, end));
        text.remove_prefix(end + separator.size());
    }
    pieces.push_back(text);
    return pieces;
}

bool HasText(const KyUtils::Variant& value) { return value->vt != VT_EMPTY && !value.Text().empty(); }

/// A blank key asks for no attribute in particular.
bool NamesAttribute(const char* key) { return key && *key && *key != ' '; }

/// Whether a request was carried out and yet brought none of the attributes that it named.
bool LacksAll(const Ipp::Message& response, std::string_view list) {
    const auto names = Split(list, ",");
    return response.Code() < Ipp::Status::FirstError &&
           std::none_of(names.begin(), names.end(),
                        [&](std::string_view name) { return response.ValueText(name).has_value(); });
}

/// The values of several attributes, those that are there, joined by ",".
KyUtils::Variant JoinedValues(const IPPOperations& operations, std::string_view list) {
    std::wstring joined;
    for (const std::string_view name : Split(list, ",")) {
        KyUtils::Variant value;
        operations.GetValueFromIPPMap(name, value.Receive());
        if (!joined.empty() && HasText(value)) joined += L',';
        joined += value.Text();
    }
    return joined.empty() ? KyUtils::Variant() : KyUtils::Variant::FromText(joined);
}

}  // namespace

bool IPPProviderImpl::ReadCached(const std::string& name, VARIANT* value) const {
    KyUtils::Variant cached;
    if (cache_.GetValue(name, cached.Receive()) != S_OK || !HasText(cached)) return false;
    *value = cached.Release();
    return true;
}

HRESULT IPPProviderImpl::ReadAlternative(const std::string& name, VARIANT* value) {
    if (ReadCached(name, value)) return S_OK;
    KyUtils::Variant fresh;
    const HRESULT result = GetIPPValue(name.c_str(), 0, fresh.Receive(), nullptr, target_.resource.c_str(),
                                       target_.securityFlags, 0, " ");
    if (FAILED(result)) return result;
    // An attribute without text does not answer the question; the next alternative may.
    if (!HasText(fresh)) return E_FAIL;
    *value = fresh.Release();
    return S_OK;
}

HRESULT IPPProviderImpl::GetValue(const char* name, VARIANT* value) {
    return KyUtils::Entry(logSource, "Corvix::IPPProviderImpl::GetValue", [&]() -> HRESULT {
        if (!name || !value) return E_FAIL;
        for (const std::string_view alternative : Split(name, "_OR_")) {
            if (!alternative.empty() && ReadAlternative(std::string(alternative), value) == S_OK) return S_OK;
        }
        return E_FAIL;
    });
}

HRESULT IPPProviderImpl::GetIPPValue(const char* requestedAttributes, int jobQuery, VARIANT* value,
                                     const char* jobUri, const wchar_t* resource, unsigned securityFlags,
                                     int useCache, const char* attributeKey) {
    return KyUtils::Entry(logSource, "Corvix::IPPProviderImpl::GetIPPValue", [&]() -> HRESULT {
        if (!value) return E_FAIL;
        const bool cached = useCache == 1;
        if (cached && attributeKey && ReadCached(attributeKey, value)) return S_OK;
        if (!requestedAttributes) return E_FAIL;
        const Operations operations = MakeOperations();
        operations->SetAttributeName(requestedAttributes);
        if (resource && *resource) operations->SetResourceURI(resource);
        if (!target_.secure || securityFlags != 0) operations->SetSecurityFlags(securityFlags);
        const bool hasKey = NamesAttribute(attributeKey);
        if (hasKey) operations->SetAttributeKey(attributeKey);
        KyUtils::Variant answer;
        const HRESULT result = jobQuery ? QueryJob(*operations, requestedAttributes, jobUri, answer.Receive())
                                        : QueryPrinter(*operations, jobUri, cached, answer.Receive());
        if (FAILED(result)) return result;
        // A parse answers one attribute; of several, all that came are the value.
        if (answer->vt == VT_EMPTY)
            answer = JoinedValues(*operations, hasKey ? attributeKey : requestedAttributes);
        *value = answer.Release();
        return result;
    });
}

HRESULT IPPProviderImpl::QueryPrinter(IPPOperations& operations, const char* printerUri, bool merge,
                                      VARIANT* value) {
    if (printerUri && *printerUri) operations.SetPrinterURI(KyUtils::ToWide(printerUri));
    const HRESULT asked =
        operations.Ask(Ipp::Operation::GetPrinterAttributes, nullptr, target_.secure, value);
    if (operations.LastResponse())
        logSource.Debug(L"ptrIPPOperations->ParseIPPResponse(httpResponse,&value) GetIPPValue done");
    if (SUCCEEDED(asked) && merge) cache_.Merge(operations.LastResponse());
    return asked;
}

HRESULT IPPProviderImpl::QueryJob(IPPOperations& operations, const std::string& names, const char* jobUri,
                                  VARIANT* value) {
    if (jobUri && *jobUri) operations.SetJobURI(jobUri);
    const HRESULT result = SendJobQuery(operations, names, value);
    const bool isList = names.find(',') != std::string::npos;
    if (FAILED(result) || !isList || !LacksAll(*operations.LastResponse(), names)) return result;
    // The list is sent as one value, which not every printer takes apart. To one that does not it names no
    // attribute at all, and asking for every attribute costs less than an exchange for each name.
    operations.SetAttributeName("all");
    return SendJobQuery(operations, names, value);
}

/// What was asked for last; what is wanted of the answer is `names`.
HRESULT IPPProviderImpl::SendJobQuery(IPPOperations& operations, const std::string& names, VARIANT* value) {
    DisposablePtr<HTTPResponse> response;
    if (FAILED(operations.SendIPPRequest(Ipp::Operation::GetJobAttributes, response.Receive(), nullptr,
                                         target_.secure)))
        return E_FAIL;
    operations.SetAttributeName(names);
    return operations.ParseIPPResponse(response.Get(), value);
}

HRESULT IPPProviderImpl::RequestAuthorization(IPPRequestBase* request, IPPResponseBase* response) {
    return KyUtils::Entry(logSource, "Corvix::IPPProviderImpl::RequestAuthorization", [&]() -> HRESULT {
        if (!request || !response) return E_FAIL;
        RenewJobOperations();
        if (target_.printerUri.find(L"ipps") == std::wstring::npos) return E_FAIL;
        DisposablePtr<HTTPResponse> answer;
        // A refused exchange leaves the HTTP status, such as 401, in the last error.
        const HRESULT sent = jobOperations_->SendIPPRequest(Ipp::Operation::StreamedPrintJob,
                                                            answer.Receive(), request, target_.secure);
        if (FAILED(sent)) return sent;
        const HRESULT read =
            ReadJobAnswer(*jobOperations_, *answer, Ipp::Operation::StreamedPrintJob, response);
        if (FAILED(read)) return read;
        if (const wchar_t* authorization = answer->GetHeader(L"Authorization"))
            request->SetAuthorization(authorization);
        return S_OK;
    });
}

}  // namespace Corvix
