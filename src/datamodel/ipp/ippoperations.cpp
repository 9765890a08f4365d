#include "datamodel/ipp/ippoperations.h"

#include <iterator>

#include "datamodel/ipp/ippattributecache.h"
#include "utilslib/lasterror.h"
#include "utilslib/logging.h"
#include "wire/ipp/tags.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr int lowestOperation = 2;
constexpr int highestOperation = 16384;

/// Every request carries this id.
constexpr const char* requestId = "100";

constexpr int firstNamedState = 3;
constexpr const char* jobStateNames[] = {"Pending",  "Pending_held", "Processing", "Processing_stopped",
                                         "Canceled", "Aborted",      "Completed"};

struct CopiedAttribute {
    std::string_view name;
    void (IPPResponseBase::*set)(const char* text);
};

constexpr CopiedAttribute copiedAttributes[] = {
    {"document-access-error", &IPPResponseBase::SetDocumentAccessError},
    {"job-uri", &IPPResponseBase::SetJobURI},
    {"job-id", &IPPResponseBase::SetJobID},
    {"job-state-reasons", &IPPResponseBase::SetJobStateReasons},
};

void CopyJob(const Ipp::Message& response, IPPResponseBase& record) {
    for (const CopiedAttribute& attribute : copiedAttributes) {
        if (const auto text = response.ValueText(attribute.name)) (record.*attribute.set)(text->c_str());
    }
    if (const auto state = response.ValueText("job-state")) record.SetJobState(GetJobState(*state).c_str());
}

}  // namespace

HRESULT IPPOperations::SetAttributeLanguage(std::string_view language) {
    if (!language.empty()) values_.language = language;
    return S_OK;
}

void IPPOperations::SetPrinterFileBufferContent(const unsigned char* document, unsigned long length) {
    values_.document = document;
    values_.documentLength = document ? length : 0;
}

HRESULT IPPOperations::FormIPPRequestBasedOnOperation(unsigned char* buffer, int operation, int& length,
                                                      IPPRequestBase* record) const {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::FormIPPRequestBasedOnOperation");
    std::string attributes;
    const HRESULT formed = FormAttributes(exchange_.Target(), values_.For(operation, record), attributes);
    if (FAILED(formed)) return formed;
    attributes.copy(reinterpret_cast<char*>(buffer), attributes.size());
    length = static_cast<int>(attributes.size());
    return S_OK;
}

HRESULT IPPOperations::AddPrinterFileBufferToRequestData(int operation, std::string& body) const {
    return AppendDocument(values_.For(operation, nullptr), body);
}

HRESULT IPPOperations::SendIPPRequest(int operation, HTTPResponse** response, IPPRequestBase* record,
                                      bool secure) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::SendIPPRequest");
    if (!response || !exchange_.Device()) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
    if (operation < lowestOperation || operation > highestOperation) return E_FAIL;
    exchange_.Target().secure = secure;
    DisposablePtr<HTTPResponse> answer;
    const HRESULT sent = exchange_.Send(values_.For(operation, record), answer);
    if (SUCCEEDED(sent)) *response = answer.Release();
    return sent;
}

HRESULT IPPOperations::Ask(int operation, IPPRequestBase* record, bool secure, VARIANT* value) {
    DisposablePtr<HTTPResponse> answer;
    const HRESULT sent = SendIPPRequest(operation, answer.Receive(), record, secure);
    return FAILED(sent) ? sent : ParseIPPResponse(answer.Get(), value);
}

HRESULT IPPOperations::SendIPPRequest(KyHTTPRequestEx* request, IPPRequestBase* record, bool limitsWait,
                                      unsigned long milliseconds) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::SendIPPRequest");
    if (!request || !exchange_.Device()) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
    std::string body;
    const IppTarget& target = exchange_.Target();
    if (FAILED(FormBody(target, values_.For(Ipp::Operation::StreamedPrintJob, record), body))) return E_FAIL;
    const auto length = static_cast<unsigned long>(body.size());
    const auto sent = [&]() -> HRESULT {
        if (const HRESULT result = request->SetMethod(L"POST"); result != S_OK) return E_FAIL;
        request->SetURI(target.resource.c_str());
        request->AddHeader(L"Content-Type", L"application/ipp");
        request->SetRequestParameter(
            static_cast<unsigned long>(exchange_.Device()->GetConnectionParameter()));
        SetCredentials(record, *request);
        request->SetTotalBodyLength(length);
        if (FAILED(request->Send(reinterpret_cast<const unsigned char*>(body.data()), length))) return E_FAIL;
        if (limitsWait) request->SetTimeout(milliseconds);
        if (FAILED(request->Write(nullptr, 0, true))) return E_FAIL;
        return limitsWait ? S_OK : request->GetResult();
    }();
    return SUCCEEDED(sent) ? S_OK : KyUtils::FailWith(request->GetLastErrorCode());
}

HRESULT IPPOperations::OpenStream(int operation, IPPRequestBase* record, bool secure, bool chunked) {
    if (stream_.IsOpen()) return S_OK;
    exchange_.Target().secure = secure;
    return stream_.Begin(exchange_.Target(), values_.For(operation, record), chunked);
}

HRESULT IPPOperations::WriteToStream(const unsigned char* piece, unsigned long length, bool last) {
    // A chunk of no bytes would end the body.
    if (length > 0 && FAILED(stream_.Write(piece, length))) return E_FAIL;
    return last ? stream_.End() : S_OK;
}

HRESULT IPPOperations::SendPrintJobRequest(IPPRequestBase* record, bool secure, const unsigned char* piece,
                                           unsigned long length, bool last, bool chunked) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::SendPrintJobRequest");
    if (!piece && length > 0) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
    const HRESULT open = OpenStream(Ipp::Operation::PrintJob, record, secure, chunked);
    return FAILED(open) ? open : WriteToStream(piece, length, last);
}

HRESULT IPPOperations::SendDocumentRequest(IPPRequestBase* record, bool secure, const unsigned char* piece,
                                           unsigned long length, bool last, bool chunked) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::SendDocumentRequest");
    if (!piece && length > 0) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
    const HRESULT open = OpenStream(Ipp::Operation::SendDocument, record, secure, chunked);
    return FAILED(open) ? open : WriteToStream(piece, length, last);
}

std::string GetJobState(std::string_view number) {
    for (size_t i = 0; i < std::size(jobStateNames); ++i) {
        if (number == std::to_string(firstNamedState + i)) return jobStateNames[i];
    }
    return std::string(number);
}

/// The attribute that a parse answers: the one requested, or of several the one that the key names.
std::string_view IPPOperations::TargetName() const {
    const bool single = values_.requestedAttributes.find(',') == std::string::npos;
    return single && !values_.requestedAttributes.empty() ? values_.requestedAttributes : attributeKey_;
}

HRESULT IPPOperations::ParseIPPContent(const unsigned char* body, unsigned long length, VARIANT* value) {
    const std::string_view bytes(reinterpret_cast<const char*>(body), body ? length : 0);
    const HRESULT read = answer_.Read(bytes, failOnErrorStatus_);
    if (SUCCEEDED(read) && value && LastResponse()->HasEndTag()) GetValueFromIPPMap(TargetName(), value);
    return read;
}

HRESULT IPPOperations::ParseIPPResponse(HTTPResponse* response, VARIANT* value) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::ParseIPPResponse");
    if (!response) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
    const unsigned long length = response->GetBodyLength();
    return ParseIPPContent(response->GetBody(), length, value);
}

HRESULT IPPOperations::GetValueFromIPPMap(std::string_view name, VARIANT* value) const {
    if (!value) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
    return LastResponse() ? CopyAttributeText(*LastResponse(), name, value) : S_FALSE;
}

HRESULT IPPOperations::FormResponseStructure(int operation, IPPResponseBase* record) const {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::FormResponseStructure");
    if (!record) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
    if (!LastResponse()) return E_FAIL;
    record->SetSuccess(LastResponse()->ValueText("status-code").value_or("NOT_SET_ERROR").c_str());
    record->SetRequestID(requestId);
    if (operation != Ipp::Operation::CancelJob) CopyJob(*LastResponse(), *record);
    return S_OK;
}

}  // namespace Corvix
