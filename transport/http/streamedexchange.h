// An exchange whose body is written piece by piece, each sent as it comes.
#pragma once

#include <memory>
#include <string_view>

#include "transport/http/exchangecontext.h"

namespace CorvixTransport {

// Always on a connection of its own making, because what has been written cannot be sent again. With a user
// name at hand the device is asked to speak up before the body is sent ("Expect: 100-continue"), so that its
// challenge can still be answered.
//
// The operations throw a Failure. A device that refuses the request before it was sent the whole body shows
// as ERROR_REQUEST_ABORTED, and its response is there to be had from Finish().
class StreamedExchange {
public:
    // `length` is that of the whole body, for BodyFraming::Length.
    StreamedExchange(const ExchangeContext& context, BodyFraming framing, unsigned long long length)
        : context_(context),
          authenticator_(context.MakeAuthenticator()),
          framing_(framing),
          length_(length) {}

    void Begin();
    void Write(std::string_view piece, bool last);
    // Ends the body where that is left to us, and reads the response. Called once.
    Response Finish();

    // The whole response is there.
    bool HasResponse() const { return exchange_ && exchange_->Reader().IsComplete(); }
    unsigned long long BytesWritten() const { return bytesWritten_; }
    // 0 as long as the device has not answered.
    unsigned Status() const;

private:
    void BeginUnreported();
    void Open(bool expectContinue);
    void WriteUnreported(std::string_view piece, bool last);
    void SendFramed(std::string_view piece, const Waiting& waiting);
    void EndBody(const Waiting& waiting);
    // Whether it is worth asking again, going by the response.
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
