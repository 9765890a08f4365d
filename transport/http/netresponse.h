/// The response of the reference transport.
#pragma once

#include <map>
#include <string>

#include "corvixdm/transport.h"
#include "transport/refcounted.h"
#include "wire/http/responsereader.h"

namespace CorvixTransport {

namespace Http = Corvix::Http;

/// A copy of what came, independent of the request and its connection.
class NetResponse final : public RefCounted<Corvix::HTTPResponse> {
public:
    NetResponse(const Http::ResponseHead& head, std::string body);

    unsigned long GetStatusCode() override { return status_; }
    const wchar_t* GetHeader(const wchar_t* name) override;
    const wchar_t* GetContentType() override { return GetHeader(L"Content-Type"); }
    unsigned long GetBodyLength() override { return static_cast<unsigned long>(body_.size()); }
    const unsigned char* GetBody() override;
    const wchar_t* GetReasonPhrase() override { return reason_.empty() ? nullptr : reason_.c_str(); }
    const wchar_t* GetTypeName() override { return L"CorvixTransport::NetResponse"; }

private:
    unsigned long status_;
    std::wstring reason_;
    /// By name in lower case.
    std::map<std::wstring, std::wstring> headers_;
    std::string body_;
};

}  // namespace CorvixTransport
