/// An exchange whose body is written piece by piece, each sent as it comes.
#pragma once

#include <memory>
#include <string_view>

#include "transport/http/exchangecontext.h"

namespace CorvixTransport {

/// Always on a new connection: a body that was written cannot be sent again if a kept one turns out closed. With
/// credentials, "Expect: 100-continue" lets the device challenge the head, while the body is still unsent.
///
/// The operations throw a Failure. A device that refuses the request before it was sent the whole body shows
/// as ERROR_REQUEST_ABORTED; Finish() still gives its response.
class StreamedExchange {
public:
    /// `length` is that of the whole body, for BodyFraming::Length.
    StreamedExchange(const ExchangeContext& context, BodyFraming framing, unsigned long long length)
        : context_(context),
          authenticator_(context.MakeAuthenticator()),
          framing_(framing),
          length_(length) {}

    void Begin();
    void Write(std::string_view piece, bool last);
    /// Ends the body unless the caller has, and reads the response. Called once.
    Response Finish();

    /// The whole response is there.
    bool HasResponse() const { return exchange_ && exchange_->Reader().IsComplete(); }
    unsigned long long BytesWritten() const { return bytesWritten_; }
    /// 0 as long as the device has not answered.
    unsigned Status() const;

private:
    void BeginUnreported();
    void Open(bool expectContinue);
    void WriteUnreported(std::string_view piece, bool last);
    void SendFramed(std::string_view piece, const Waiting& waiting);
    void EndBody(const Waiting& waiting);
    /// Whether it is worth asking again, going by the response.
    bool ReadResponse();

    template <class Work>
    void ReportFailure(Work&& work);

    const ExchangeContext& context_;
    Authenticator authenticator_;
    BodyFraming framing_;
    unsigned long long length_;
    unsigned long long bytesWritten_ = 0;
    bool ended_ = false;
    std::unique_ptr<HttpExchange> exchange_;
};

}  // namespace CorvixTransport
