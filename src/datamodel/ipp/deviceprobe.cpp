#include "utilslib/winsock.h"
// Winsock's header comes before every other that includes windows.h.
#include <algorithm>
#include <cwchar>
#include <iterator>

#include "datamodel/ipp/deviceprobe.h"
#include "utilslib/lasterror.h"
#include "utilslib/logging.h"
#include "utilslib/sync.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr WORD resolverVersion = MAKEWORD(2, 2);
constexpr WORD connectVersion = MAKEWORD(1, 1);

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

bool Connect(const KyUtils::Socket& socket, const std::wstring& text, int family, SOCKADDR_STORAGE& address,
             unsigned short ipv4Port, HANDLE interrupt) {
    if (!socket) return false;
    int length = sizeof address;
    std::wstring writable = text;
    auto* target = reinterpret_cast<SOCKADDR*>(&address);
    if (WSAStringToAddressW(writable.data(), family, nullptr, target, &length) != 0) return false;
    if (family == AF_INET) reinterpret_cast<SOCKADDR_IN*>(target)->sin_port = htons(ipv4Port);
    const KyUtils::Handle connected = KyUtils::CreateManualResetEvent();
    if (!connected || WSAEventSelect(socket.Get(), connected.Get(), FD_CONNECT) != 0) return false;
    if (::connect(socket.Get(), target, length) == 0) return true;
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
    const int family = isIpv6 ? AF_INET6 : AF_INET;
    const KyUtils::Socket socket(family, SOCK_STREAM, IPPROTO_TCP);
    const std::wstring text = isIpv6 ? L"[" + host + L"]:" + portText : host;
    SOCKADDR_STORAGE address{};
    const bool connected = Connect(socket, text, family, address, portText == L"80" ? 80 : 631, interrupt);
    lastError.LeaveWith(GetLastError());
    return connected;
}

}  // namespace Corvix
