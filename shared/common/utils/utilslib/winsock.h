/// Owners of Winsock resources. Included before every other header that includes windows.h.
#pragma once

#include <winsock2.h>

#include <ws2tcpip.h>

#include <memory>
#include <string>
#include <utility>

namespace KyUtils {

/// Winsock, started in one version for as long as the object lives.
class WinsockSession {
public:
    explicit WinsockSession(WORD version = MAKEWORD(2, 2)) noexcept : status_(WSAStartup(version, &data_)) {}
    ~WinsockSession() {
        if (status_ == 0) WSACleanup();
    }
    WinsockSession(const WinsockSession&) = delete;
    WinsockSession& operator=(const WinsockSession&) = delete;

    /// 0, or the system error code.
    int Status() const noexcept { return status_; }
    /// Whether Winsock runs, in just the version that was asked for.
    bool Runs(WORD version) const noexcept { return status_ == 0 && data_.wVersion == version; }

private:
    WSADATA data_{};
    int status_;
};

/// Owns one socket, which may be none.
class Socket {
public:
    Socket() noexcept = default;
    explicit Socket(SOCKET socket) noexcept : socket_(socket) {}
    Socket(int family, int type, int protocol) noexcept : socket_(::socket(family, type, protocol)) {}
    Socket(Socket&& other) noexcept : socket_(std::exchange(other.socket_, INVALID_SOCKET)) {}
    Socket& operator=(Socket&& other) noexcept {
        std::swap(socket_, other.socket_);
        return *this;
    }
    ~Socket() {
        if (*this) closesocket(socket_);
    }

    SOCKET Get() const noexcept { return socket_; }
    explicit operator bool() const noexcept { return socket_ != INVALID_SOCKET; }

private:
    SOCKET socket_ = INVALID_SOCKET;
};

struct AddressListDeleter {
    void operator()(addrinfoW* list) const noexcept { FreeAddrInfoW(list); }
};
/// What a host name stands for, in the order to try.
using AddressList = std::unique_ptr<addrinfoW, AddressListDeleter>;

/// The addresses of a host: a dotted IPv4 address, an IPv6 address without brackets, or a DNS name.
/// `socketType` is SOCK_STREAM or SOCK_DGRAM. Null on failure, and GetLastError() tells why. Winsock must run.
inline AddressList ResolveHost(const std::wstring& host, unsigned short port, int socketType) {
    addrinfoW hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = socketType;
    addrinfoW* list = nullptr;
    const int error = GetAddrInfoW(host.c_str(), std::to_wstring(port).c_str(), &hints, &list);
    if (error != 0) SetLastError(static_cast<DWORD>(error));
    return AddressList(list);
}

}  // namespace KyUtils
