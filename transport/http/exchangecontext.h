/// What an exchange is made with: the device, the request and how long to wait.
#pragma once

#include <memory>
#include <string>

#include "transport/http/authenticator.h"
#include "transport/http/connectionpool.h"
#include "transport/http/httpexchange.h"
#include "transport/http/requestdraft.h"
#include "transport/nettransport.h"

namespace CorvixTransport {

/// What all requests of one address share.
struct DeviceState {
    ConnectionPool connections;
    ChallengeMemory challenges;
};

/// The settings of the address when the request was made: a copy, because a later change of the address must
/// not reach a request under way.
struct RequestSettings {
    std::shared_ptr<DeviceState> device;
    std::wstring host;
    /// The library's port, and the one to connect to.
    unsigned short port = 0;
    unsigned short realPort = 0;
    bool secure = false;
    /// WinINet request flags.
    unsigned long securityFlags = 0;
    Http::Credentials credentials;
    unsigned long timeoutMilliseconds = 0;
    /// 0: ten times the time-out.
    unsigned long responseLimitMilliseconds = 0;
    unsigned long maximumBodyLength = 0;
    ExchangeObserver observer;
    HANDLE stopEvent = nullptr;
};

struct Response {
    Http::ResponseHead head;
    std::string body;
};

/// One request's way to its device: opens or reuses connections and writes heads. Refers to the request's own
/// settings, draft and cancellation, which outlive it.
class ExchangeContext {
public:
    ExchangeContext(const RequestSettings& settings, const RequestDraft& draft,
                    const Cancellation& cancellation);

    const RequestDraft& Draft() const { return draft_; }

    /// A device may take a job as slowly as it prints, so sending is bounded by the stall time only; a response is
    /// bounded as a whole.
    Waiting ForSending() const;
    Waiting ForResponse() const;

    std::unique_ptr<HttpExchange> OnNewConnection() const;
    /// Null when there is no connection to be reused.
    std::unique_ptr<HttpExchange> OnKeptConnection() const;
    /// Keeps the exchange's connection for later where it can be used again.
    void Keep(HttpExchange& exchange) const;

    /// An "Authorization" header set by the caller takes precedence over user name and password.
    Authenticator MakeAuthenticator() const;

    /// The bytes of the head.
    std::string WriteHead(BodyFraming framing, unsigned long long length, Authenticator& authenticator,
                          bool expectContinue) const;

    /// Tells the observer. `reader` is null when no connection was made, `error` 0 when there is a response.
    void Report(Http::ResponseReader* reader, bool reused, unsigned long long bytesSent,
                unsigned long error) const;

private:
    std::unique_ptr<HttpExchange> MakeExchange(std::unique_ptr<ByteStream> stream) const;

    const RequestSettings& settings_;
    const RequestDraft& draft_;
    const Cancellation& cancellation_;
    Endpoint endpoint_;
};

}  // namespace CorvixTransport
