#include "transport/http/netrequest.h"

#include "transport/http/wholeexchange.h"
#include "utilslib/stringutils.h"

namespace CorvixTransport {

namespace {

std::string_view BytesOf(const unsigned char* bytes, unsigned long length) {
    return bytes ? std::string_view(reinterpret_cast<const char*>(bytes), length) : std::string_view();
}

}  // namespace

// Runs one operation. Its first failure stays the result of the whole exchange.
template <class Work>
HRESULT NetRequest::Run(Work&& work) {
    const unsigned long error = RunGuarded(work);
    if (error == ERROR_SUCCESS) return S_OK;
    lastError_ = error;
    const HRESULT result = HRESULT_FROM_WIN32(error);
    if (result_ == S_OK) result_ = result;
    return result;
}

void NetRequest::SetURI(const wchar_t* path) {
    Run([&] { draft_.SetUri(path); });
}

void NetRequest::AddHeader(const wchar_t* name, const wchar_t* value) {
    Run([&] { draft_.AddHeader(name, value); });
}

void NetRequest::SetContentType(const wchar_t* contentType) {
    Run([&] { draft_.SetContentType(contentType); });
}

void NetRequest::SetUserName(const wchar_t* userName) {
    Run([&] { ownCredentials_.userName = userName ? KyUtils::ToUtf8(userName) : ""; });
}

void NetRequest::SetPassword(const wchar_t* password) {
    Run([&] { ownCredentials_.password = password ? KyUtils::ToUtf8(password) : ""; });
}

HRESULT NetRequest::SetMethod(const wchar_t* method) {
    return Run([&] { ThrowUnless(draft_.SetMethod(method), ERROR_INVALID_PARAMETER); });
}

void NetRequest::SetTimeout(unsigned long milliseconds) {
    if (milliseconds != 0) settings_.timeoutMilliseconds = milliseconds;
}

// A caller that frames chunks itself, or has announced more than this piece, goes on with Write().
bool NetRequest::BeginsStream(unsigned long length) const {
    return draft_.IsChunkedByCaller() || totalBodyLength_ > length;
}

HRESULT NetRequest::Send(const unsigned char* body, unsigned long length) {
    if (BeginsStream(length)) return Write(body, length, false);
    return Run([&] {
        ThrowUnless(!begun_ && !keptBody_ && (body || length == 0), ERROR_INVALID_PARAMETER);
        if (length > 0 && !draft_.HasContentType()) {
            keptBody_ = BytesOf(body, length);
        } else {
            ExchangeWhole(BytesOf(body, length));
        }
    });
}

void NetRequest::ExchangeWhole(std::string_view body) {
    Begin();
    TakeResponse(RunWholeExchange(*context_, body));
}

// A user name without a password, such as a guest's, does not take the place of what the address knows.
Http::Credentials NetRequest::ChooseCredentials() const {
    const bool usesOwn = !ownCredentials_.password.empty() || settings_.credentials.IsEmpty();
    return usesOwn ? ownCredentials_ : settings_.credentials;
}

void NetRequest::Begin() {
    begun_ = true;
    ThrowUnless(draft_.Error() == 0, draft_.Error());
    settings_.credentials = ChooseCredentials();
    // Digest puts the user name into a header; a line end in it would be a header of its own.
    ThrowUnless(Http::IsFieldValue(settings_.credentials.userName), ERROR_INVALID_PARAMETER);
    context_.emplace(settings_, draft_, cancellation_);
}

void NetRequest::BeginStream() {
    ThrowUnless(!begun_, ERROR_INVALID_PARAMETER);
    Begin();
    BodyFraming framing = totalBodyLength_ > 0 ? BodyFraming::Length : BodyFraming::OwnChunks;
    if (draft_.IsChunkedByCaller()) framing = BodyFraming::CallersChunks;
    streamed_ = std::make_unique<StreamedExchange>(*context_, framing, totalBodyLength_);
    streamed_->Begin();
}

HRESULT NetRequest::Write(const unsigned char* piece, unsigned long length, bool last) {
    // There is nothing to end after a body that was sent as a whole.
    if (length == 0 && !streamed_ && (begun_ || keptBody_)) return result_;
    return Run([&] {
        ThrowUnless(piece || length == 0, ERROR_INVALID_PARAMETER);
        // After a failed piece the body has a gap: nothing more of it is sent.
        ThrowUnless(result_ == S_OK, lastError_);
        if (!streamed_) BeginStream();
        streamed_->Write(BytesOf(piece, length), last);
    });
}

HRESULT NetRequest::GetResponse(Corvix::HTTPResponse** response) {
    if (!response) return E_POINTER;
    const HRESULT result = response_ ? S_OK : Run([this] { Complete(); });
    if (!response_) return result;
    response_->AddRef();
    *response = response_.Get();
    return S_OK;
}

void NetRequest::Complete() {
    // A refusal ends the sending with an error, and still has a response to hand out.
    const bool hasFailed = begun_ && result_ != S_OK;
    ThrowUnless(!hasFailed || (streamed_ && streamed_->HasResponse()), lastError_);
    if (streamed_) return TakeResponse(streamed_->Finish());
    ExchangeWhole(keptBody_ ? std::string_view(*keptBody_) : std::string_view());
}

void NetRequest::TakeResponse(Response response) {
    response_ = MakeRefCounted<NetResponse>(response.head, std::move(response.body));
}

unsigned long long NetRequest::GetBytesWritten() { return streamed_ ? streamed_->BytesWritten() : 0; }

unsigned long NetRequest::GetResponseStatus() {
    if (response_) return response_->GetStatusCode();
    return streamed_ ? streamed_->Status() : 0;
}

}  // namespace CorvixTransport
