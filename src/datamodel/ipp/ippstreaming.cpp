// The streamed body: the attributes as its first chunk, then the document piece by piece.
#include <array>
#include <cstdio>
#include <string>

#include "datamodel/ipp/codec/requestwriter.h"
#include "datamodel/ipp/codec/tags.h"
#include "datamodel/ipp/ippoperations.h"
#include "datamodel/ipp/ippwire.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

/// One HTTP chunk. That of no bytes is the one that ends a body. The room of the chunk before is used again:
/// getting it anew for each piece takes longer than filling it.
void FormChunk(const unsigned char* bytes, unsigned long length, std::string& chunk) {
    char head[16];
    const int headLength = std::snprintf(head, sizeof head, "%lX\r\n", length);
    chunk.clear();
    chunk.reserve(static_cast<std::size_t>(headLength) + length + 2);
    chunk.append(head, static_cast<std::size_t>(headLength));
    if (length > 0) chunk.append(reinterpret_cast<const char*>(bytes), length);
    chunk.append("\r\n");
}

}  // namespace

HRESULT IPPOperations::WriteChunk(const unsigned char* bytes, unsigned long length, bool last) {
    FormChunk(bytes, length, chunk_);
    return stream_->Write(reinterpret_cast<const unsigned char*>(chunk_.data()),
                          static_cast<unsigned long>(chunk_.size()), last);
}

HRESULT IPPOperations::BeginStream(int operation, IPPRequestBase* record, bool secure, bool chunked) {
    const HRESULT begun = BeginRequest(secure);
    if (FAILED(begun)) return begun;
    AddHttpHeaders(record, request_.Get());
    SetCredentials(record, *request_);
    std::array<unsigned char, Ipp::attributePartCapacity> attributes{};
    int length = 0;
    if (FAILED(FormIPPRequestBasedOnOperation(attributes.data(), operation, length, record)))
        return FailWith(0);
    stream_ = dynamic_cast<KyHTTPRequestEx*>(request_.Get());
    if (!stream_) return FailWith(0);
    if (chunked) {
        stream_->AddHeader(L"Transfer-Encoding", L"chunked");
        stream_->AddHeader(L"Content-Type", L"application/ipp");
    }
    stream_->SetTotalBodyLength(0);  // nobody knows yet
    if (FAILED(WriteChunk(attributes.data(), static_cast<unsigned long>(length), false))) return FailWith(0);
    return S_OK;
}

HRESULT IPPOperations::WritePieces(const unsigned char* piece, unsigned long length, bool last) {
    if (length > 0 && FAILED(WriteChunk(piece, length, false))) return E_FAIL;
    if (!last) return S_OK;
    if (FAILED(WriteChunk(nullptr, 0, true))) return E_FAIL;
    return FAILED(stream_->GetResult()) ? E_FAIL : S_OK;
}

/// The HTTP status with which the device cut the body short, 0 when it did not say.
unsigned long IPPOperations::RefusalStatus() const {
    const unsigned long status = stream_->GetResponseStatus();
    return status == httpOk ? 0 : status;
}

HRESULT IPPOperations::SendPiece(int operation, IPPRequestBase* record, bool secure,
                                 const unsigned char* piece, unsigned long length, bool last, bool chunked) {
    if (!address_ || (!piece && length > 0)) return FailForNullArgument();
    if (!stream_) {
        const HRESULT begun = BeginStream(operation, record, secure, chunked);
        if (FAILED(begun)) return begun;
    }
    return SUCCEEDED(WritePieces(piece, length, last)) ? S_OK : FailWith(RefusalStatus());
}

HRESULT IPPOperations::SendPrintJobRequest(IPPRequestBase* record, bool secure, const unsigned char* piece,
                                           unsigned long length, bool last, bool chunked) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::SendPrintJobRequest");
    return SendPiece(Ipp::Operation::PrintJob, record, secure, piece, length, last, chunked);
}

HRESULT IPPOperations::SendDocumentRequest(IPPRequestBase* record, bool secure, const unsigned char* piece,
                                           unsigned long length, bool last, bool chunked) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::SendDocumentRequest");
    return SendPiece(Ipp::Operation::SendDocument, record, secure, piece, length, last, chunked);
}

HRESULT IPPOperations::GetStreamedResponse(HTTPResponse** response) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::GetStreamedResponse");
    if (!response || !stream_) return FailForNullArgument();
    if (!earlyResponse_) return ReceiveResponse(response);
    *response = earlyResponse_.Release();
    ForgetRequest();
    return S_OK;
}

HRESULT IPPOperations::GetEarlyResponse(HTTPResponse** response) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPOperations::GetEarlyResponse");
    if (!response || !stream_) return FailForNullArgument();
    const HRESULT fetched = FetchResponse(earlyResponse_);
    if (FAILED(fetched)) return fetched;
    *response = DisposablePtr<HTTPResponse>(earlyResponse_).Release();
    return S_OK;
}

}  // namespace Corvix
