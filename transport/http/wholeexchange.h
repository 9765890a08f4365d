// An exchange whose body is at hand as a whole, so that it can be sent again.
#pragma once

#include <string_view>

#include "transport/http/exchangecontext.h"

namespace CorvixTransport {

// Sends the request and reads the response. A kept connection turns out closed only when it is used: when
// nothing at all came back on it, the request is sent again, once, on a new one. A response that asks for a
// password is answered when there is one. Redirections are handed to the caller like any other response.
Response RunWholeExchange(const ExchangeContext& context, std::string_view body);

}  // namespace CorvixTransport
