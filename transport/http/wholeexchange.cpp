#include "transport/http/wholeexchange.h"

namespace CorvixTransport {

namespace {

// A short body travels in the same packet as the head.
constexpr size_t maximumJoinedBody = 16 * 1024;

class WholeExchange {
public:
    WholeExchange(const ExchangeContext& context, std::string_view body)
        : context_(context), body_(body), authenticator_(context.MakeAuthenticator()) {}

    Response Run() {
        Response response = RoundTrip();
        while (authenticator_.Learn(response.head))
            response = RoundTrip();
        return response;
    }

private:
    BodyFraming Framing() const {
        const std::string& method = context_.Draft().Method();
        // A POST without a length would leave open whether a body follows.
        const bool meansBody = method != "GET" && method != "HEAD" && method != "DELETE";
        return body_.empty() && !meansBody ? BodyFraming::None : BodyFraming::Length;
    }

    Response RoundTrip() {
        const std::string head = context_.WriteHead(Framing(), body_.size(), authenticator_, false);
        if (std::unique_ptr<HttpExchange> kept = context_.OnKeptConnection()) {
            const unsigned long error = Attempt(*kept, head, true);
            if (error == ERROR_SUCCESS) return TakeResponse(*kept);
            // Once the device has begun to answer, it may have acted on the request.
            const bool mayTryAgain = IsBrokenConnection(error) && !kept->Reader().HasBegun();
            ThrowUnless(mayTryAgain, error);
        }
        const std::unique_ptr<HttpExchange> exchange = OpenExchange();
        const unsigned long error = Attempt(*exchange, head, false);
        ThrowUnless(error == ERROR_SUCCESS, error);
        return TakeResponse(*exchange);
    }

    std::unique_ptr<HttpExchange> OpenExchange() {
        try {
            return context_.OnNewConnection();
        } catch (const Failure& failure) {
            context_.Report(nullptr, false, 0, failure.Code());
            throw;
        }
    }

    // \return the system error code that it failed with.
    unsigned long Attempt(HttpExchange& exchange, const std::string& head, bool reused) {
        const unsigned long error = RunGuarded([&] { SendAndRead(exchange, head); });
        context_.Report(&exchange.Reader(), reused, body_.size(), error);
        return error;
    }

    void SendAndRead(HttpExchange& exchange, const std::string& head) {
        const Waiting sending = context_.ForSending();
        if (body_.size() <= maximumJoinedBody) {
            exchange.Send(head + std::string(body_), sending);
        } else {
            exchange.Send(head, sending);
            exchange.Send(body_, sending);
        }
        exchange.ReadResponse(context_.ForResponse());
    }

    Response TakeResponse(HttpExchange& exchange) {
        context_.Keep(exchange);
        return {exchange.Reader().Head(), exchange.Reader().TakeBody()};
    }

    const ExchangeContext& context_;
    std::string_view body_;
    Authenticator authenticator_;
};

}  // namespace

Response RunWholeExchange(const ExchangeContext& context, std::string_view body) {
    return WholeExchange(context, body).Run();
}

}  // namespace CorvixTransport
