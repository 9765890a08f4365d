#include "exchanges.h"

#include <winsock2.h>

#include <winhttp.h>

#include "systemtext.h"
#include "xmlfault.h"

namespace CorvixCtl {
namespace {

using CorvixTransport::ExchangeRecord;

struct NetworkError {
    unsigned long code;
    bool unreachable;  // nothing at all came from the device
    const wchar_t* text;
};
constexpr NetworkError networkErrors[] = {
    {WSAECONNREFUSED, true, L"connection refused"},
    {WSAHOST_NOT_FOUND, true, L"no such host"},
    {WSANO_DATA, true, L"the host name has no address"},
    {WSATRY_AGAIN, true, L"the name server does not answer"},
    {WSANO_RECOVERY, true, L"the host name cannot be resolved"},
    {WSAENETUNREACH, true, L"network unreachable"},
    {WSAEHOSTUNREACH, true, L"host unreachable"},
    {WSAEADDRNOTAVAIL, true, L"not an address to connect to"},
    {WSAETIMEDOUT, true, L"no answer in time"},
    {ERROR_TIMEOUT, true, L"no answer in time"},
    {WSAECONNRESET, false, L"the device broke the connection off"},
    {WSAECONNABORTED, false, L"the connection broke off"},
    {ERROR_CANCELLED, false, L"cancelled"},
    {ERROR_WINHTTP_CONNECTION_ERROR, false, L"the device stopped before the end of its answer"},
    {ERROR_WINHTTP_INVALID_SERVER_RESPONSE, false, L"the answer is not HTTP"},
    {ERROR_WINHTTP_HEADER_SIZE_OVERFLOW, false, L"the head of the answer is larger than is accepted"},
    {ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW, false, L"the answer is larger than is accepted"},
    {ERROR_WINHTTP_INVALID_URL, false, L"the resource's path is not one that can be asked for"},
    {ERROR_WINHTTP_SECURE_CHANNEL_ERROR, false, L"no secure connection could be agreed on"},
    {ERROR_WINHTTP_SECURE_INVALID_CERT, false, L"the device's certificate is not valid"},
    {ERROR_WINHTTP_SECURE_INVALID_CA, false, L"the device's certificate comes from nobody that is trusted"},
    {ERROR_WINHTTP_SECURE_CERT_DATE_INVALID, false, L"the device's certificate has expired"},
    {ERROR_WINHTTP_SECURE_CERT_CN_INVALID, false, L"the device's certificate is for another host"},
    {ERROR_WINHTTP_SECURE_CERT_REVOKED, false, L"the device's certificate was revoked"},
    {ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE, false, L"the device's certificate is not for a server"},
};

const NetworkError* FindNetworkError(unsigned long code) {
    for (const NetworkError& error : networkErrors) {
        if (error.code == code) return &error;
    }
    return nullptr;
}

bool IsUnreachable(const ExchangeRecord& exchange) {
    const NetworkError* error = FindNetworkError(exchange.error);
    return exchange.status == 0 && exchange.bytesReceived == 0 && error && error->unreachable;
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

std::wstring DescribeNetworkError(unsigned long code) {
    const NetworkError* error = FindNetworkError(code);
    return error ? error->text : SystemText(code);
}

std::wstring DescribeConnection(const ExchangeRecord& exchange) {
    return DescribeNetworkError(exchange.error) + L" on port " + std::to_wstring(exchange.realPort);
}

std::wstring DescribeExchange(const ExchangeRecord& exchange, HRESULT result) {
    if (exchange.error != 0) return DescribeNetworkError(exchange.error) + L" for " + Place(exchange);
    if (exchange.status == 401 || exchange.status == 403) {
        return L"HTTP " + std::to_wstring(exchange.status) + L" for " + Place(exchange) +
               L": the device wants another --user and --password";
    }
    if (exchange.status != 200)
        return L"HTTP " + std::to_wstring(exchange.status) + L" for " + Place(exchange);
    return L"document refused: " + Place(exchange) + L": " + DescribeRefusal(result);
}

}  // namespace CorvixCtl
