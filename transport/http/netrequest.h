/// The request of the reference transport.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "transport/http/exchangecontext.h"
#include "transport/http/netresponse.h"
#include "transport/http/streamedexchange.h"
#include "transport/refcounted.h"

namespace CorvixTransport {

/// Owns its exchange: whole, or streamed as soon as the body is written in pieces. Used once.
class NetRequest final : public RefCounted<Corvix::KyHTTPRequestEx> {
public:
    explicit NetRequest(RequestSettings settings)
        : settings_(std::move(settings)), cancellation_(settings_.stopEvent) {}

    void SetURI(const wchar_t* path) override;
    void SetUserName(const wchar_t* userName) override;
    void SetPassword(const wchar_t* password) override;
    HRESULT SetMethod(const wchar_t* method) override;
    void AddHeader(const wchar_t* name, const wchar_t* value) override;
    void SetContentType(const wchar_t* contentType) override;
    /// Returns when the response is there, because the request may have to be sent twice and the body is valid
    /// only during this call. A body without a content type is kept for GetResponse(): the type may still be
    /// set.
    HRESULT Send(const unsigned char* body, unsigned long length) override;
    HRESULT GetResponse(Corvix::HTTPResponse** response) override;
    void SetRequestParameter(unsigned long value) override { settings_.securityFlags = value; }
    unsigned long GetLastErrorCode() override { return lastError_; }
    void Cancel() override { cancellation_.Request(); }
    void SetTimeout(unsigned long milliseconds) override;

    unsigned long long GetBytesWritten() override;
    HRESULT GetResult() override { return result_; }
    HRESULT Write(const unsigned char* piece, unsigned long length, bool last) override;
    unsigned long GetResponseStatus() override;
    void SetTotalBodyLength(unsigned long length) override { totalBodyLength_ = length; }

    const wchar_t* GetTypeName() override { return L"CorvixTransport::NetRequest"; }

private:
    template <class Work>
    HRESULT Run(Work&& work);

    bool BeginsStream(unsigned long length) const;
    Http::Credentials ChooseCredentials() const;
    void Begin();
    void BeginStream();
    void ExchangeWhole(std::string_view body);
    void TakeResponse(Response response);
    void Complete();

    RequestSettings settings_;
    RequestDraft draft_;
    Http::Credentials ownCredentials_;
    Cancellation cancellation_;
    unsigned long totalBodyLength_ = 0;

    /// Sent or being sent; a request is used once.
    bool begun_ = false;
    HRESULT result_ = S_OK;
    unsigned long lastError_ = ERROR_SUCCESS;
    std::optional<std::string> keptBody_;
    std::optional<ExchangeContext> context_;
    std::unique_ptr<StreamedExchange> streamed_;
    Corvix::DisposablePtr<NetResponse> response_;
};

}  // namespace CorvixTransport
