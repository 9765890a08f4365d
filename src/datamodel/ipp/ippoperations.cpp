#include "datamodel/ipp/ippoperations.h"

#include "utilslib/lasterror.h"
#include "utilslib/logging.h"
#include "wire/ipp/tags.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr int lowestOperation = 2;
constexpr int highestOperation = 16384;

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

HRESULT IPPOperations::BeginStream(int operation, IPPRequestBase* record, bool secure, bool chunked) {
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
    if (!stream_.IsOpen() && FAILED(BeginStream(Ipp::Operation::PrintJob, record, secure, chunked)))
        return E_FAIL;
    return WriteToStream(piece, length, last);
}

HRESULT IPPOperations::SendDocumentRequest(IPPRequestBase* record, bool secure, const unsigned char* piece,
                                           unsigned long length, bool last, bool chunked) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::SendDocumentRequest");
    if (!piece && length > 0) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
    if (!stream_.IsOpen() && FAILED(BeginStream(Ipp::Operation::SendDocument, record, secure, chunked)))
        return E_FAIL;
    return WriteToStream(piece, length, last);
}

}  // namespace Corvix
