#include "datamodel/ipp/printing/printstream.h"

#include <string_view>
#include <utility>

#include "datamodel/transport/fetch.h"
#include "utilslib/lasterror.h"
#include "utilslib/logging.h"
#include "wire/http/chunks.h"

namespace Corvix {
namespace {

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
    // A plain request takes its body in one piece only.
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
    Http::FormChunk({reinterpret_cast<const char*>(piece), length}, chunk_);
    const HRESULT written =
        request_->Write(BytesOf(chunk_), static_cast<unsigned long>(chunk_.size()), false);
    return SUCCEEDED(written) ? S_OK : Fail(RefusalStatus());
}

HRESULT PrintStream::End() {
    if (!request_) return E_FAIL;
    const HRESULT written = request_->Write(BytesOf(Http::lastChunk), Http::lastChunk.size(), true);
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
