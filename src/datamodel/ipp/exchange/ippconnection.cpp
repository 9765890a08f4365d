#include "datamodel/ipp/exchange/ippconnection.h"

#include <algorithm>
#include <utility>

#include "utilslib/lasterror.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr std::pair<const wchar_t*, const wchar_t*> standardHeaders[] = {
    {L"Cache-Control", L"no-cache"}, {L"Connection", L"Keep-Alive"}, {L"Pragma", L"no-cache"}};

bool Names(const HTTPHeaderList& headers, const wchar_t* name) {
    return std::any_of(headers.begin(), headers.end(),
                       [&](const auto& header) { return KyUtils::EqualsIgnoringCase(header.first, name); });
}

}  // namespace

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

HRESULT IppConnection::Begin(const IppTarget& target, IPPRequestBase* record) {
    if (!address_) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
    End();
    httpStatus_ = 0;
    const unsigned long port = target.PortAt(*address_);
    address_->SetSecure(target.secure);
    DisposablePtr<HTTPRequest> request;
    if (address_->CreateHTTPRequest(request.Receive(), port) != S_OK || !request) {
        logSource.Error(L"failed to createhttpRequest");
        return E_FAIL;
    }
    if (!Take(std::move(request))) return Fail(ERROR_CANCELLED);
    if (request_->SetMethod(L"POST") != S_OK) return Fail();
    request_->SetURI(target.resource.c_str());
    request_->SetContentType(L"application/ipp");
    request_->SetRequestParameter(target.securityFlags);
    AddHttpHeaders(record, request_.Get());
    SetCredentials(record, *request_);
    return S_OK;
}

HRESULT IppConnection::Fetch(DisposablePtr<HTTPResponse>& answer) {
    if (FAILED(request_->GetResponse(answer.Receive())) || !answer) return Fail();
    httpStatus_ = answer->GetStatusCode();
    return httpStatus_ == httpOk && answer->GetBody() ? S_OK : Fail(httpStatus_);
}

HRESULT IppConnection::Fail(unsigned long reason) {
    const unsigned long error = reason ? reason : request_->GetLastErrorCode();
    End();
    logSource.Error(L"The IPP exchange failed with %lu", error);
    return KyUtils::FailWith(error);
}

/// Puts a request in the place of the one in hand. False when the object was cancelled.
bool IppConnection::Take(DisposablePtr<HTTPRequest> request) {
    const std::lock_guard<std::mutex> lock(requestLock_);
    request_ = std::move(request);
    return !cancelled_;
}

void IppConnection::Cancel() {
    const std::lock_guard<std::mutex> lock(requestLock_);
    cancelled_ = true;
    if (request_) request_->Cancel();
}

}  // namespace Corvix
