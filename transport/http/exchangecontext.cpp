#include "transport/http/exchangecontext.h"

#include <algorithm>
#include <limits>

#include "transport/tls/certificate.h"
#include "utilslib/stringutils.h"

namespace CorvixTransport {

namespace {

// Stands for no limit, and still fits into every sum of times.
constexpr unsigned long noLimit = 0x7fffffff;  // 24 days

unsigned long TenTimes(unsigned long milliseconds) { return std::min(milliseconds, noLimit / 10) * 10; }

}  // namespace

ExchangeContext::ExchangeContext(const RequestSettings& settings, const RequestDraft& draft,
                                 const Cancellation& cancellation)
    : settings_(settings), draft_(draft), cancellation_(cancellation) {
    // Without TLS the flags make no difference, and must not keep connections apart.
    const unsigned long leniency = settings.secure ? LeniencyOf(settings.securityFlags) : 0;
    endpoint_ = {settings.host, settings.realPort, settings.secure, leniency};
}

Waiting ExchangeContext::ForSending() const {
    return {cancellation_, settings_.timeoutMilliseconds, Deadline::After(noLimit)};
}

Waiting ExchangeContext::ForResponse() const {
    const unsigned long limit = settings_.responseLimitMilliseconds;
    return ForSending().Within(limit ? limit : TenTimes(settings_.timeoutMilliseconds));
}

std::unique_ptr<HttpExchange> ExchangeContext::MakeExchange(std::unique_ptr<ByteStream> stream) const {
    Http::Limits limits;
    limits.bodyBytes = settings_.maximumBodyLength;
    return std::make_unique<HttpExchange>(std::move(stream), limits, draft_.Method() == "HEAD");
}

std::unique_ptr<HttpExchange> ExchangeContext::OnNewConnection() const {
    return MakeExchange(OpenStream(endpoint_, ForSending()));
}

std::unique_ptr<HttpExchange> ExchangeContext::OnKeptConnection() const {
    std::unique_ptr<ByteStream> stream = settings_.device->connections.Take(endpoint_, ForSending());
    return stream ? MakeExchange(std::move(stream)) : nullptr;
}

void ExchangeContext::Keep(HttpExchange& exchange) const {
    std::unique_ptr<ByteStream> stream = exchange.ReleaseReusable();
    if (stream) settings_.device->connections.Give(endpoint_, std::move(stream));
}

Authenticator ExchangeContext::MakeAuthenticator() const {
    // Answering a challenge as well would send two "Authorization" headers.
    const Http::Credentials none;
    return Authenticator(settings_.device->challenges, endpoint_,
                         draft_.HasAuthorization() ? none : settings_.credentials);
}

std::string ExchangeContext::WriteHead(BodyFraming framing, unsigned long long length,
                                       Authenticator& authenticator, bool expectContinue) const {
    // The library's port, not the mapped one: the device knows itself by the former.
    const std::string host =
        Http::MakeHostValue(KyUtils::ToUtf8(settings_.host), settings_.port, settings_.secure ? 443 : 80);
    Http::RequestHead head = draft_.MakeHead(host, framing, length);
    const std::string authorization = authenticator.MakeAuthorization(head.method, head.target);
    if (!authorization.empty()) head.headers.Add("Authorization", authorization);
    if (expectContinue) head.headers.Add("Expect", "100-continue");
    return Http::WriteHead(head);
}

void ExchangeContext::Report(Http::ResponseReader* reader, bool reused, unsigned long long bytesSent,
                             unsigned long error) const {
    if (!settings_.observer) return;
    ExchangeRecord record;
    record.method = KyUtils::ToWide(draft_.Method());
    record.path = KyUtils::ToWide(draft_.Target());
    record.port = settings_.port;
    record.realPort = settings_.realPort;
    record.secure = settings_.secure;
    record.reusedConnection = reused;
    // A response that failed half-way still has a status, which tells more than the error alone.
    record.status = reader && reader->HasHead() ? reader->Head().status : 0;
    record.error = error;
    record.bytesSent = bytesSent;
    record.bytesReceived = reader ? reader->Body().size() : 0;
    settings_.observer(record);
}

}  // namespace CorvixTransport
