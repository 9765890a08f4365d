#include "exchanges.h"

#include <winsock2.h>

#include <algorithm>
#include <iterator>

#include "xmlfault.h"

namespace CorvixCtl {
namespace {

using CorvixTransport::ExchangeRecord;

// With these nothing at all came from the device.
constexpr unsigned long unreachableErrors[] = {
    WSAECONNREFUSED, WSAHOST_NOT_FOUND, WSANO_DATA,       WSATRY_AGAIN, WSANO_RECOVERY,
    WSAENETUNREACH,  WSAEHOSTUNREACH,   WSAEADDRNOTAVAIL, WSAETIMEDOUT, ERROR_TIMEOUT,
};

bool IsUnreachable(const ExchangeRecord& exchange) {
    const auto* end = std::end(unreachableErrors);
    return exchange.status == 0 && exchange.bytesReceived == 0 &&
           std::find(std::begin(unreachableErrors), end, exchange.error) != end;
}

std::wstring DescribeRefusal(HRESULT result) {
    const std::wstring reason = XmlReason(result);
    return reason.empty() ? L"it cannot be read as XML" : reason;
}

std::wstring Place(const ExchangeRecord& exchange) {
    return exchange.path + L" (port " + std::to_wstring(exchange.realPort) + L")";
}

}  // namespace

void ExchangeJournal::Record(const ExchangeRecord& exchange) {
    last_ = exchange;
    if (!IsUnreachable(exchange)) {
        answered_ = true;
    } else if (!unreachable_) {
        unreachable_ = exchange;
    }
}

std::wstring DescribeConnection(const ExchangeRecord& exchange) {
    return CorvixTransport::DescribeNetError(exchange.error) + L" (port " +
           std::to_wstring(exchange.realPort) + L")";
}

std::wstring DescribeExchange(const ExchangeRecord& exchange, HRESULT result) {
    if (exchange.error != 0)
        return CorvixTransport::DescribeNetError(exchange.error) + L": " + Place(exchange);
    if (exchange.status == 401 || exchange.status == 403) {
        return L"HTTP " + std::to_wstring(exchange.status) + L" for " + Place(exchange) +
               L": the device wants another --user and --password";
    }
    if (exchange.status != 200)
        return L"HTTP " + std::to_wstring(exchange.status) + L" for " + Place(exchange);
    return L"document refused: " + Place(exchange) + L": " + DescribeRefusal(result);
}

}  // namespace CorvixCtl
