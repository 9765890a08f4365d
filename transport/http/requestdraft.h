/// A request as its caller puts it together.
#pragma once

#include <string>

#include "transport/sockets/failure.h"
#include "wire/http/heads.h"

namespace CorvixTransport {

namespace Http = Corvix::Http;

/// How the device is told where the body ends.
enum class BodyFraming { None, Length, CallersChunks, OwnChunks };

/// Input that would change the meaning of the request, such as a line end in a header, is left out and
/// remembered as the draft's error, which sending reports.
class RequestDraft {
public:
    void SetUri(const wchar_t* path);
    bool SetMethod(const wchar_t* method);
    void AddHeader(const wchar_t* name, const wchar_t* value);
    void SetContentType(const wchar_t* contentType);

    /// The system error code of what was refused first; 0 when all is well.
    unsigned long Error() const { return error_; }
    const std::string& Method() const { return method_; }
    const std::string& Target() const { return target_; }
    bool HasContentType() const { return !contentType_.empty(); }
    /// The caller writes a chunked body, frames included.
    bool IsChunkedByCaller() const { return chunkedByCaller_; }
    bool HasAuthorization() const { return headers_.Find("Authorization") != nullptr; }

    /// The head with the host's name and, for BodyFraming::Length, the body's length.
    Http::RequestHead MakeHead(const std::string& host, BodyFraming framing, unsigned long long length) const;

private:
    void Refuse(unsigned long error);
    void AddChecked(const std::string& name, const std::string& value);

    std::string method_ = "GET";
    std::string target_ = "/";
    std::string contentType_;
    Http::Headers headers_;
    bool chunkedByCaller_ = false;
    unsigned long error_ = 0;
};

}  // namespace CorvixTransport
