#include "utilslib/winsock.h"
// Winsock's header comes before every other that includes windows.h.
#include <algorithm>
#include <cwchar>
#include <iterator>

#include "datamodel/ipp/target/deviceprobe.h"
#include "utilslib/lasterror.h"
#include "utilslib/logging.h"
#include "utilslib/sync.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr WORD resolverVersion = MAKEWORD(2, 2);
constexpr WORD connectVersion = MAKEWORD(1, 1);
constexpr unsigned short ippPort = 631;
constexpr unsigned short httpPort = 80;

bool IsIpv6Literal(const std::wstring& host) {
    const KyUtils::WinsockSession winsock(resolverVersion);
    if (!winsock.Runs(resolverVersion)) return false;
    ADDRINFOW hints{};
    hints.ai_flags = AI_NUMERICHOST;
    ADDRINFOW* found = nullptr;
    if (GetAddrInfoW(host.c_str(), nullptr, &hints, &found) != 0 || !found) return false;
    const bool isIpv6 = found->ai_family == AF_INET6;
    FreeAddrInfoW(found);
    return isIpv6;
}

bool IsIpv4Literal(const std::wstring& host) {
    unsigned octets[4] = {};
    unsigned port = 0;
    wchar_t colon = 0;
    wchar_t rest = 0;
    const int fields = swscanf(host.c_str(), L"%3u.%3u.%3u.%3u%lc%u%lc", &octets[0], &octets[1], &octets[2],
                               &octets[3], &colon, &port, &rest);
    const bool octetsFit =
        std::all_of(std::begin(octets), std::end(octets), [](unsigned o) { return o <= 255; });
    return octetsFit && (fields == 4 || (fields == 6 && colon == L':' && port < 65536));
}

/// Sets the last error when the connection does not come about.
bool AwaitConnection(const KyUtils::Socket& socket, HANDLE event, HANDLE interrupt) {
    const HANDLE ends[] = {event, interrupt};
    WSANETWORKEVENTS events{};
    while (!(events.lNetworkEvents & FD_CONNECT)) {
        if (WaitForMultipleObjects(interrupt ? 2 : 1, ends, FALSE, INFINITE) != WAIT_OBJECT_0) {
            SetLastError(ERROR_CANCELLED);
            return false;
        }
        if (WSAEnumNetworkEvents(socket.Get(), event, &events) != 0) return false;
    }
    const int error = events.iErrorCode[FD_CONNECT_BIT];
    if (error != 0) SetLastError(static_cast<DWORD>(error));
    return error == 0;
}

/// Where a connection is tried.
struct Endpoint {
    int family;
    std::wstring text;        ///< an address; that of IPv6 with its port
    unsigned short ipv4Port;  ///< 0 for IPv6
};

bool Connect(const KyUtils::Socket& socket, Endpoint endpoint, HANDLE interrupt) {
    if (!socket) return false;
    SOCKADDR_STORAGE storage{};
    int length = sizeof storage;
    auto* address = reinterpret_cast<SOCKADDR*>(&storage);
    if (WSAStringToAddressW(endpoint.text.data(), endpoint.family, nullptr, address, &length) != 0)
        return false;
    if (endpoint.family == AF_INET)
        reinterpret_cast<SOCKADDR_IN*>(address)->sin_port = htons(endpoint.ipv4Port);
    // A blocking connect could not be interrupted.
    const KyUtils::Handle connected = KyUtils::CreateManualResetEvent();
    if (!connected || WSAEventSelect(socket.Get(), connected.Get(), FD_CONNECT) != 0) return false;
    if (::connect(socket.Get(), address, length) == 0) return true;
    return WSAGetLastError() == WSAEWOULDBLOCK && AwaitConnection(socket, connected.Get(), interrupt);
}

}  // namespace

bool DeviceExists(const std::wstring& host, const wchar_t* port, HANDLE interrupt) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::DeviceExists");
    const std::wstring portText(port);
    const bool isIpv6 = IsIpv6Literal(host);
    if (!isIpv6 && !IsIpv4Literal(host)) return false;
    // Closing the socket must not hide why it did not connect.
    KyUtils::LastErrorScope lastError;
    const KyUtils::WinsockSession winsock(connectVersion);
    if (!winsock.Runs(connectVersion)) return false;
    const Endpoint endpoint = isIpv6 ? Endpoint{AF_INET6, L"[" + host + L"]:" + portText, 0}
                                     : Endpoint{AF_INET, host, portText == L"80" ? httpPort : ippPort};
    const KyUtils::Socket socket(endpoint.family, SOCK_STREAM, IPPROTO_TCP);
    const bool connected = Connect(socket, endpoint, interrupt);
    lastError.LeaveWith(GetLastError());
    return connected;
}

}  // namespace Corvix
