// Error codes in words.
#include <winsock2.h>

#include <windows.h>
#include <winhttp.h>

#include <memory>

#include "transport/nettransport.h"

namespace CorvixTransport {

namespace {

struct KnownError {
    unsigned long code;
    const wchar_t* text;
};

// In words of the device's user: the system's own texts for these speak of servers and handles.
constexpr KnownError knownErrors[] = {
    {ERROR_TIMEOUT, L"the device did not answer in time"},
    {ERROR_CANCELLED, L"the request was cancelled"},
    {ERROR_REQUEST_ABORTED, L"the device refused the request before it was sent the whole body"},
    {ERROR_HANDLE_EOF, L"the body was shorter than announced"},
    {WSAECONNREFUSED, L"the device refused the connection"},
    {WSAECONNRESET, L"the device reset the connection"},
    {WSAETIMEDOUT, L"the device did not answer the connection request"},
    {WSAEHOSTUNREACH, L"there is no route to the device"},
    {WSAENETUNREACH, L"there is no route to the device's network"},
    {WSAHOST_NOT_FOUND, L"the host name is not known"},
    {WSANO_DATA, L"the host name has no address"},
    {WSATRY_AGAIN, L"the host name could not be looked up"},
    {ERROR_WINHTTP_INVALID_URL, L"the resource path holds a control character"},
    {ERROR_WINHTTP_INVALID_HEADER, L"a header of the request cannot be sent"},
    {ERROR_WINHTTP_CONNECTION_ERROR, L"the device ended the connection before its response was complete"},
    {ERROR_WINHTTP_INVALID_SERVER_RESPONSE, L"the device's response is not HTTP/1.1"},
    {ERROR_WINHTTP_HEADER_SIZE_OVERFLOW, L"the head of the device's response is too long"},
    {ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW, L"the body of the device's response is longer than the limit"},
    {ERROR_WINHTTP_SECURE_CHANNEL_ERROR, L"no secure connection could be agreed on with the device"},
    {ERROR_WINHTTP_SECURE_CERT_CN_INVALID, L"the device's certificate is for another name"},
    {ERROR_WINHTTP_SECURE_CERT_DATE_INVALID, L"the device's certificate is out of date"},
    {ERROR_WINHTTP_SECURE_INVALID_CA, L"the device's certificate is self-signed or of an unknown issuer"},
    {ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE, L"the device's certificate is not meant for a server"},
    {ERROR_WINHTTP_SECURE_INVALID_CERT, L"the device's certificate is not valid"},
};

struct LocalDeleter {
    void operator()(wchar_t* text) const { LocalFree(text); }
};

std::wstring SystemText(unsigned long code) {
    wchar_t* text = nullptr;
    const DWORD flags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                        FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
    const DWORD length =
        FormatMessageW(flags, nullptr, code, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    const std::unique_ptr<wchar_t, LocalDeleter> owner(text);
    std::wstring line(text ? text : L"", length);
    // The system ends its texts with a line end or a blank, whatever width is asked for.
    while (!line.empty() && (line.back() == L' ' || line.back() == L'\r' || line.back() == L'\n'))
        line.pop_back();
    return line;
}

}  // namespace

std::wstring DescribeNetError(unsigned long code) {
    for (const KnownError& known : knownErrors) {
        if (known.code == code) return known.text;
    }
    const std::wstring text = SystemText(code);
    return text.empty() ? L"error " + std::to_wstring(code) : text;
}

}  // namespace CorvixTransport
