/// Owners of Winsock resources.
#pragma once

#include <winsock2.h>

#include <ws2tcpip.h>

#include <utility>

namespace KyUtils {

/// Winsock, started in one version for as long as the object lives.
class WinsockSession {
public:
    explicit WinsockSession(WORD version) noexcept : status_(WSAStartup(version, &data_)) {}
    ~WinsockSession() {
        if (status_ == 0) WSACleanup();
    }
    WinsockSession(const WinsockSession&) = delete;
    WinsockSession& operator=(const WinsockSession&) = delete;

    /// Whether Winsock runs, in just the version that was asked for.
    bool Runs(WORD version) const noexcept { return status_ == 0 && data_.wVersion == version; }

private:
    WSADATA data_{};
    int status_;
};

/// Owns one socket, which may be none.
class Socket {
public:
    Socket(int family, int type, int protocol) noexcept : socket_(::socket(family, type, protocol)) {}
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    ~Socket() {
        if (*this) closesocket(socket_);
    }

    SOCKET Get() const noexcept { return socket_; }
    explicit operator bool() const noexcept { return socket_ != INVALID_SOCKET; }

private:
    SOCKET socket_;
};

}  // namespace KyUtils
