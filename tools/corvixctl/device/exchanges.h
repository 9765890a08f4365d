// What the transport's exchanges with the device came to, for messages that say what went wrong.
#pragma once

#include <optional>
#include <string>

#include "transport/nettransport.h"

namespace CorvixCtl {

// Told of every exchange by the address. Used on one thread.
class ExchangeJournal {
public:
    void Record(const CorvixTransport::ExchangeRecord& exchange);

    // Forgets the last exchange, so that what Last() tells belongs to what is asked next.
    void BeginRequest() {
        last_.reset();
        failure_.reset();
    }
    const std::optional<CorvixTransport::ExchangeRecord>& Last() const { return last_; }
    // The first one since then that did not come to HTTP status 200.
    const std::optional<CorvixTransport::ExchangeRecord>& FirstFailure() const { return failure_; }

    // Whether the device gave any sign of life.
    bool HasAnswered() const { return answered_; }
    // The first failure to get through to the device; nothing when there was none.
    const std::optional<CorvixTransport::ExchangeRecord>& Unreachable() const { return unreachable_; }

private:
    std::optional<CorvixTransport::ExchangeRecord> last_;
    std::optional<CorvixTransport::ExchangeRecord> failure_;
    std::optional<CorvixTransport::ExchangeRecord> unreachable_;
    bool answered_ = false;
};

// What became of one exchange: "HTTP 404 for /x", "document refused: /x". `result` is what the library made
// of it.
std::wstring DescribeExchange(const CorvixTransport::ExchangeRecord& exchange, HRESULT result);
// The same for an IPP exchange; `answered` is said of one that went well as far as HTTP goes.
std::wstring DescribeIppExchange(const CorvixTransport::ExchangeRecord& exchange, const wchar_t* answered);
// Why nothing came of it at all: "the device refused the connection (port 80)".
std::wstring DescribeConnection(const CorvixTransport::ExchangeRecord& exchange);

}  // namespace CorvixCtl
