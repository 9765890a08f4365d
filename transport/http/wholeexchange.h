/// An exchange whose body is at hand as a whole, so that it can be sent again.
#pragma once

#include <string_view>

#include "transport/http/exchangecontext.h"

namespace CorvixTransport {

/// Sends the request and reads the response. Whether a kept connection is still open shows only when it is used:
/// when nothing came back on it, the request is sent once more on a new one. A challenge is answered when there are
/// credentials. Redirections are handed to the caller like any other response.
Response RunWholeExchange(const ExchangeContext& context, std::string_view body);

}  // namespace CorvixTransport
