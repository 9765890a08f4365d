#include "device/exchanges.h"

#include <winsock2.h>

#include <winhttp.h>

#include <algorithm>
#include <iterator>

#include "corvixdm/documentfault.h"

namespace CorvixCtl {
namespace {

using CorvixTransport::ExchangeRecord;

// With these nothing at all came from the device.
constexpr unsigned long unreachableErrors[] = {
    WSAECONNREFUSED, WSAHOST_NOT_FOUND, WSANO_DATA,       WSATRY_AGAIN, WSANO_RECOVERY,
    WSAENETUNREACH,  WSAEHOSTUNREACH,   WSAEADDRNOTAVAIL, WSAETIMEDOUT, ERROR_TIMEOUT,
};

constexpr unsigned long httpOk = 200;

bool IsUnreachable(const ExchangeRecord& exchange) {
    const auto* end = std::end(unreachableErrors);
    // A device that sent a part of an answer is there, whatever broke off then.
    return exchange.status == 0 && exchange.bytesReceived == 0 &&
           std::find(std::begin(unreachableErrors), end, exchange.error) != end;
}

std::wstring Place(const ExchangeRecord& exchange) {
    return exchange.path + L" (port " + std::to_wstring(exchange.realPort) + L")";
}

// What went wrong before there was a whole answer; nothing when there was one.
std::optional<std::wstring> DescribeFailure(const ExchangeRecord& exchange) {
    if (exchange.error != 0)
        return CorvixTransport::DescribeNetError(exchange.error) + L": " + Place(exchange);
    if (exchange.status == 200) return std::nullopt;
    const std::wstring text = L"HTTP " + std::to_wstring(exchange.status) + L" for " + Place(exchange);
    // Many devices answer a wrong password with 403.
    const bool isRefusal = exchange.status == 401 || exchange.status == 403;
    return isRefusal ? text + L": the device wants another --user and --password" : text;
}

// What to do about an error of the transport, or an HTTP status, of an IPP exchange.
struct IppAdvice {
    unsigned long code;
    const wchar_t* text;
};
constexpr const wchar_t* anotherPath = L"the printer does not know this path";
constexpr const wchar_t* insecureAccepts = L"--insecure accepts it all the same";
constexpr IppAdvice ippAdvice[] = {
    {400, anotherPath},
    {404, anotherPath},
    {405, anotherPath},
    {426, L"the printer wants TLS; use --uri with ipps://"},
    {ERROR_WINHTTP_SECURE_CERT_CN_INVALID, insecureAccepts},
    {ERROR_WINHTTP_SECURE_CERT_DATE_INVALID, insecureAccepts},
    {ERROR_WINHTTP_SECURE_INVALID_CA, insecureAccepts},
};

}  // namespace

void ExchangeJournal::Record(const ExchangeRecord& exchange) {
    last_ = exchange;
    if (!failure_ && exchange.status != httpOk) failure_ = exchange;
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
    if (const auto failure = DescribeFailure(exchange)) return *failure;
    const wchar_t* reason = DescribeDocumentFault(result);
    return L"document refused: " + Place(exchange) + L": " + (reason ? reason : L"it cannot be read as XML");
}

std::wstring DescribeIppExchange(const ExchangeRecord& exchange, const wchar_t* answered) {
    const auto failure = DescribeFailure(exchange);
    if (!failure) return answered;
    // Errors of the system and HTTP statuses do not overlap: they share a table.
    const unsigned long code = exchange.error ? exchange.error : exchange.status;
    for (const IppAdvice& known : ippAdvice) {
        if (known.code == code) return *failure + L": " + known.text;
    }
    return *failure;
}

}  // namespace CorvixCtl
