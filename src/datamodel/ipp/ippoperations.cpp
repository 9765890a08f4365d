// The state of a connection, and the exchange of one whole body.
#include "datamodel/ipp/ippoperations.h"

#include <algorithm>
#include <array>

#include "datamodel/ipp/codec/requestwriter.h"
#include "datamodel/ipp/codec/tags.h"
#include "datamodel/ipp/ipprequestfields.h"
#include "datamodel/ipp/ippwire.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr unsigned long ippPort = 631;
constexpr unsigned long tlsPort = 443;
constexpr int lowestOperation = 2;
constexpr int highestOperation = 16384;
constexpr DWORD nothingRequestedError = 4306;

constexpr std::pair<const wchar_t*, const wchar_t*> standardHeaders[] = {
    {L"Cache-Control", L"no-cache"}, {L"Connection", L"Keep-Alive"}, {L"Pragma", L"no-cache"}};

unsigned long PortOf(Address& address, bool secure) {
    if (!secure) return ippPort;
    const wchar_t* port = address.GetPort();
    return port && std::wstring_view(port) == L"631" ? ippPort : tlsPort;
}

bool Names(const HTTPHeaderList& headers, const wchar_t* name) {
    return std::any_of(headers.begin(), headers.end(),
                       [&](const auto& header) { return KyUtils::EqualsIgnoringCase(header.first, name); });
}

}  // namespace

HRESULT FailForNullArgument() {
    SetLastError(ERROR_INVALID_PARAMETER);
    return E_FAIL;
}

void SetCredentials(const IPPRequestBase* record, HTTPRequest& request) {
    if (!record) return;
    if (const wchar_t* userName = record->GetUsername()) request.SetUserName(userName);
    if (const wchar_t* password = record->GetPassword()) request.SetPassword(password);
}

void AddHttpHeaders(IPPRequestBase* record, HTTPRequest* request) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::AddHttpHeaders");
    static const HTTPHeaderList none;
    const HTTPHeaderList& extra = record ? record->GetExtraHTTPHeader() : none;
    for (const auto& [name, value] : extra)
        request->AddHeader(name.c_str(), value.c_str());
    const wchar_t* authorization = record ? record->GetAuthorization() : nullptr;
    if (authorization && !Names(extra, L"Authorization")) request->AddHeader(L"Authorization", authorization);
    for (const auto& [name, value] : standardHeaders) {
        if (!Names(extra, name)) request->AddHeader(name, value);
    }
}

std::wstring IPPOperations::GetFullyQualifiedURI() const {
    if (resource_.empty()) return printerUri_;
    const std::size_t scheme = printerUri_.find(L"://");
    const std::size_t host = scheme == std::wstring::npos ? 0 : scheme + 3;
    const std::size_t path = printerUri_.find(L'/', host);
    if (path != std::wstring::npos && path + 1 < printerUri_.size()) return printerUri_;
    std::wstring uri = printerUri_.substr(0, path);
    if (resource_.front() != L'/') uri += L'/';
    return uri + resource_;
}

HRESULT IPPOperations::SetAttributeLanguage(std::string_view language) {
    if (!language.empty()) language_ = language;
    return S_OK;
}

void IPPOperations::SetPrinterFileBufferContent(const unsigned char* document, unsigned long length) {
    document_ = document;
    documentLength_ = document ? length : 0;
}

bool IPPOperations::AsksForNothing(int operation) const {
    return operation == Ipp::Operation::GetPrinterAttributes && requestedAttributes_.empty();
}

HRESULT IPPOperations::FormIPPRequestBasedOnOperation(unsigned char* buffer, int operation, int& length,
                                                      IPPRequestBase* record) const {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::FormIPPRequestBasedOnOperation");
    const std::string uri = KyUtils::ToUtf8(GetFullyQualifiedURI());
    Ipp::RequestFields fields;
    fields.language = language_;
    fields.printerUri = uri;
    fields.requestedAttributes = requestedAttributes_;
    fields.jobUri = jobUri_;
    fields.userName = userName_;
    fields.completedJobs = completedJobs_;
    if (record) TakeFromRecord(*record, fields);
    const Ipp::FormResult result = Ipp::FormRequest(buffer, length, operation, fields);
    if (result == Ipp::FormResult::NothingRequested) SetLastError(nothingRequestedError);
    if (result == Ipp::FormResult::Formed) return S_OK;
    logSource.ErrorResult(E_FAIL, L"The request of operation %d cannot be formed", operation);
    return E_FAIL;
}

HRESULT IPPOperations::AddPrinterFileBufferToRequestData(int operation,
                                                         std::vector<unsigned char>& body) const {
    if (operation != Ipp::Operation::PrintJob && operation != Ipp::Operation::StreamedPrintJob) return S_OK;
    if (documentLength_ > MAXDWORD - body.size()) return E_FAIL;
    body.insert(body.end(), document_, document_ + documentLength_);
    return S_OK;
}

HRESULT IPPOperations::FormBody(int operation, IPPRequestBase* record,
                                std::vector<unsigned char>& body) const {
    std::array<unsigned char, Ipp::attributePartCapacity> attributes{};
    int length = 0;
    const HRESULT formed = FormIPPRequestBasedOnOperation(attributes.data(), operation, length, record);
    if (FAILED(formed)) return formed;
    try {
        body.reserve(static_cast<std::size_t>(length) + documentLength_);
        body.assign(attributes.begin(), attributes.begin() + length);
        return AddPrinterFileBufferToRequestData(operation, body);
    } catch (const std::bad_alloc&) {
        logSource.ErrorResult(E_FAIL, L"No memory for a request with a document of %lu bytes",
                              documentLength_);
        return E_FAIL;
    }
}

void IPPOperations::ForgetRequest() {
    stream_ = nullptr;
    earlyResponse_.Reset();
    chunk_ = std::string();
    TakeRequest(nullptr);
}

/// Puts a request in the place of the one in hand. False when the object was cancelled.
bool IPPOperations::TakeRequest(DisposablePtr<HTTPRequest> request) {
    const std::lock_guard<std::mutex> lock(requestLock_);
    request_ = std::move(request);
    return !cancelled_;
}

void IPPOperations::Cancel() {
    const std::lock_guard<std::mutex> lock(requestLock_);
    cancelled_ = true;
    if (request_) request_->Cancel();
}

/// Gives the request up. The last error becomes `reason`, or what the transport says where that is 0.
HRESULT IPPOperations::FailWith(unsigned long reason) {
    const unsigned long error = reason ? reason : request_->GetLastErrorCode();
    ForgetRequest();
    logSource.Error(L"The IPP exchange failed with %lu", error);
    SetLastError(error);
    return E_FAIL;
}

HRESULT IPPOperations::BeginRequest(bool secure) {
    ForgetRequest();
    httpStatus_ = 0;
    const unsigned long port = PortOf(*address_, secure);
    address_->SetSecure(secure);
    DisposablePtr<HTTPRequest> request;
    if (address_->CreateHTTPRequest(request.Receive(), port) != S_OK || !request) {
        logSource.Error(L"failed to createhttpRequest");
        return E_FAIL;
    }
    if (!TakeRequest(std::move(request))) return FailWith(ERROR_CANCELLED);
    if (request_->SetMethod(L"POST") != S_OK) return FailWith(0);
    request_->SetURI(resource_.c_str());
    request_->SetContentType(L"application/ipp");
    request_->SetRequestParameter(securityFlags_);
    return S_OK;
}

HRESULT IPPOperations::FetchResponse(DisposablePtr<HTTPResponse>& answer) {
    if (FAILED(request_->GetResponse(answer.Receive())) || !answer) return FailWith(0);
    httpStatus_ = answer->GetStatusCode();
    return httpStatus_ == httpOk && answer->GetBody() ? S_OK : FailWith(httpStatus_);
}

HRESULT IPPOperations::ReceiveResponse(HTTPResponse** response) {
    DisposablePtr<HTTPResponse> answer;
    const HRESULT fetched = FetchResponse(answer);
    if (FAILED(fetched)) return fetched;
    ForgetRequest();
    *response = answer.Release();
    return S_OK;
}

HRESULT IPPOperations::Exchange(int operation, IPPRequestBase* record, HTTPResponse** response) {
    std::vector<unsigned char> body;
    if (FAILED(FormBody(operation, record, body)))
        return FailWith(AsksForNothing(operation) ? nothingRequestedError : 0);
    AddHttpHeaders(record, request_.Get());
    SetCredentials(record, *request_);
    if (FAILED(request_->Send(body.data(), static_cast<unsigned long>(body.size())))) return FailWith(0);
    return ReceiveResponse(response);
}

HRESULT IPPOperations::SendIPPRequest(int operation, HTTPResponse** response, IPPRequestBase* record,
                                      bool secure) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::SendIPPRequest");
    if (!address_ || !response) return FailForNullArgument();
    if (operation < lowestOperation || operation > highestOperation) return E_FAIL;
    const HRESULT begun = BeginRequest(secure);
    return FAILED(begun) ? begun : Exchange(operation, record, response);
}

HRESULT IPPOperations::SendIPPRequest(KyHTTPRequestEx* request, IPPRequestBase* record, bool limitsWait,
                                      unsigned long milliseconds) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::SendIPPRequest");
    if (!address_ || !request) return FailForNullArgument();
    std::vector<unsigned char> body;
    if (FAILED(FormBody(Ipp::Operation::StreamedPrintJob, record, body))) return E_FAIL;
    const auto length = static_cast<unsigned long>(body.size());
    const auto sent = [&]() -> HRESULT {
        if (const HRESULT result = request->SetMethod(L"POST"); result != S_OK) return E_FAIL;
        request->SetURI(resource_.c_str());
        request->AddHeader(L"Content-Type", L"application/ipp");
        request->SetRequestParameter(static_cast<unsigned long>(address_->GetConnectionParameter()));
        SetCredentials(record, *request);
        request->SetTotalBodyLength(length);
        if (FAILED(request->Send(body.data(), length))) return E_FAIL;
        if (limitsWait) request->SetTimeout(milliseconds);
        if (FAILED(request->Write(nullptr, 0, true))) return E_FAIL;
        return limitsWait ? S_OK : request->GetResult();
    }();
    if (SUCCEEDED(sent)) return S_OK;
    SetLastError(request->GetLastErrorCode());
    return E_FAIL;
}

}  // namespace Corvix
