#include "datamodel/ipp/exchange/ippexchange.h"

#include <algorithm>
#include <utility>

#include "datamodel/transport/fetch.h"
#include "utilslib/lasterror.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"
#include "wire/ipp/messagereader.h"
#include "wire/ipp/tags.h"

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

HRESULT IppExchange::Begin(IPPRequestBase* record) {
    if (!address_) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
    End();
    const unsigned long port = target_.PortAt(*address_);
    // Requests are made with what the address says at that moment.
    address_->SetSecure(target_.secure);
    DisposablePtr<HTTPRequest> request;
    if (FAILED(CreateRequest(*address_, port, request))) {
        logSource.Error(L"failed to createhttpRequest");
        return E_FAIL;
    }
    // If Cancel() already ran, do not start: this request would never be cancelled.
    if (!Take(std::move(request))) return Fail(ERROR_CANCELLED);
    if (request_->SetMethod(L"POST") != S_OK) return Fail();
    request_->SetURI(target_.resource.c_str());
    request_->SetContentType(L"application/ipp");
    request_->SetRequestParameter(target_.securityFlags);
    AddHttpHeaders(record, request_.Get());
    SetCredentials(record, *request_);
    return S_OK;
}

HRESULT IppExchange::Fetch(DisposablePtr<HTTPResponse>& answer) {
    if (FAILED(request_->GetResponse(answer.Receive())) || !answer) return Fail();
    const unsigned long status = answer->GetStatusCode();
    return status == httpOk && answer->GetBody() ? S_OK : Fail(status);
}

HRESULT IppExchange::Fail(unsigned long reason) {
    const unsigned long error = reason ? reason : request_->GetLastErrorCode();
    End();
    logSource.Error(L"The IPP exchange failed with %lu", error);
    return KyUtils::FailWith(error);
}

/// Puts a request in the place of the one in hand. False when the object was cancelled.
bool IppExchange::Take(DisposablePtr<HTTPRequest> request) {
    const std::lock_guard<std::mutex> lock(requestLock_);
    request_ = std::move(request);
    return !cancelled_;
}

void IppExchange::Cancel() {
    const std::lock_guard<std::mutex> lock(requestLock_);
    cancelled_ = true;
    if (request_) request_->Cancel();
}

HRESULT IppExchange::Send(const RequestValues& values, DisposablePtr<HTTPResponse>& response) {
    const HRESULT begun = Begin(values.record);
    if (FAILED(begun)) return begun;
    std::string body;
    if (FAILED(FormBody(target_, values, body))) return Fail(GetLastError());
    const auto* bytes = reinterpret_cast<const unsigned char*>(body.data());
    if (FAILED(request_->Send(bytes, static_cast<unsigned long>(body.size())))) return Fail();
    DisposablePtr<HTTPResponse> answer;
    const HRESULT fetched = Fetch(answer);
    if (FAILED(fetched)) return fetched;
    End();
    response = std::move(answer);
    return S_OK;
}

HRESULT IppExchange::Ask(const RequestValues& values, IppAnswer& answer) {
    DisposablePtr<HTTPResponse> response;
    const HRESULT sent = Send(values, response);
    return FAILED(sent) ? sent : answer.Read(*response);
}

HRESULT IppAnswer::Read(HTTPResponse& response) {
    const unsigned long length = response.GetBodyLength();
    const auto* body = reinterpret_cast<const char*>(response.GetBody());
    return Read(std::string_view(body, body ? length : 0));
}

HRESULT IppAnswer::Read(std::string_view body, bool failOnErrorStatus) {
    message_ = std::make_shared<const Ipp::Message>(
        Ipp::ReadResponseData(body, Ipp::ReadOptions{failOnErrorStatus}));
    if (message_->HasHeader() && message_->Code() != Ipp::Status::Ok)
        logSource.Error(L"IPP status is not success %d", static_cast<int>(message_->Code()));
    const auto& fault = message_->GetFault();
    if (!fault) return S_OK;
    logSource.Error(L"The IPP response is malformed at byte %lu: %hs",
                    static_cast<unsigned long>(fault->offset), fault->reason);
    return KyUtils::FailWith(unreadableAnswerError);
}

}  // namespace Corvix
