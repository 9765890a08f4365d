#include "datamodel/ipp/printing/printstream.h"

#include <cstdio>
#include <string_view>
#include <utility>

#include "utilslib/lasterror.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

/// The chunk of no bytes, which ends a body.
constexpr std::string_view lastChunk = "0\r\n\r\n";

/// The room of the chunk before is used again: getting it anew for each piece takes longer than filling it.
void FormChunk(const unsigned char* bytes, unsigned long length, std::string& chunk) {
    char head[16];
    const int headLength = std::snprintf(head, sizeof head, "%lX\r\n", length);
    chunk.clear();
    chunk.reserve(static_cast<std::size_t>(headLength) + length + 2);
    chunk.append(head, static_cast<std::size_t>(headLength));
    chunk.append(reinterpret_cast<const char*>(bytes), length);
    chunk.append("\r\n");
}

const unsigned char* BytesOf(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace

HRESULT PrintStream::Begin(const IppTarget& target, const RequestValues& values, bool announcesChunks) {
    Abandon();
    exchange_.Target() = target;
    const HRESULT begun = exchange_.Begin(values.record);
    if (FAILED(begun)) return begun;
    std::string attributes;
    if (FAILED(FormAttributes(target, values, attributes))) return Fail(GetLastError());
    request_ = dynamic_cast<KyHTTPRequestEx*>(exchange_.Request());
    if (!request_) return Fail(0);
    if (announcesChunks) {
        request_->AddHeader(L"Transfer-Encoding", L"chunked");
        request_->AddHeader(L"Content-Type", L"application/ipp");
    }
    request_->SetTotalBodyLength(0);  // nobody knows yet
    return Write(BytesOf(attributes), static_cast<unsigned long>(attributes.size()));
}

HRESULT PrintStream::Write(const unsigned char* piece, unsigned long length) {
    if (!request_) return E_FAIL;
    FormChunk(piece, length, chunk_);
    const HRESULT written =
        request_->Write(BytesOf(chunk_), static_cast<unsigned long>(chunk_.size()), false);
    return SUCCEEDED(written) ? S_OK : Fail(RefusalStatus());
}

HRESULT PrintStream::End() {
    if (!request_) return E_FAIL;
    const HRESULT written = request_->Write(BytesOf(lastChunk), lastChunk.size(), true);
    return SUCCEEDED(written) && SUCCEEDED(request_->GetResult()) ? S_OK : Fail(RefusalStatus());
}

HRESULT PrintStream::GetResponse(DisposablePtr<HTTPResponse>& response) {
    const HRESULT fetched = GetEarlyResponse(response);
    if (SUCCEEDED(fetched)) Abandon();
    return fetched;
}

HRESULT PrintStream::GetEarlyResponse(DisposablePtr<HTTPResponse>& response) {
    if (!request_) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
    // A device answers once: whoever asks again gets the same.
    if (!response_) {
        DisposablePtr<HTTPResponse> answer;
        const HRESULT fetched = exchange_.Fetch(answer);
        if (FAILED(fetched)) {
            Forget();
            return fetched;
        }
        response_ = std::move(answer);
    }
    response = response_;
    return S_OK;
}

/// The HTTP status with which the device cut the body short, 0 when it did not say.
unsigned long PrintStream::RefusalStatus() const {
    const unsigned long status = request_->GetResponseStatus();
    return status == httpOk ? 0 : status;
}

void PrintStream::Abandon() {
    Forget();
    exchange_.End();
}

HRESULT PrintStream::Fail(unsigned long reason) {
    Forget();
    return exchange_.Fail(reason);
}

/// Lets go of all that belongs to the body in hand but its request, which is the exchange's.
void PrintStream::Forget() {
    request_ = nullptr;
    response_.Reset();
    chunk_ = std::string();
}

}  // namespace Corvix
