// A port of the test's own that accepts connections.
#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>

#include <cstring>
#include <string>

#include "utilslib/winsock.h"

namespace Corvix::Testing {

/// Listens at a literal address until it goes; port 0 takes any that is free. False when it cannot.
class Listener {
public:
    Listener(const char* host, unsigned short port, int backlog = 8)
        : socket_(std::strchr(host, ':') ? AF_INET6 : AF_INET, SOCK_STREAM, IPPROTO_TCP) {
        ADDRINFOA hints{};
        hints.ai_flags = AI_NUMERICHOST | AI_PASSIVE;
        hints.ai_socktype = SOCK_STREAM;
        ADDRINFOA* found = nullptr;
        if (getaddrinfo(host, std::to_string(port).c_str(), &hints, &found) != 0) return;
        listens_ = ::bind(socket_.Get(), found->ai_addr, static_cast<int>(found->ai_addrlen)) == 0 &&
                   ::listen(socket_.Get(), backlog) == 0;
        freeaddrinfo(found);
    }

    explicit operator bool() const { return listens_; }
    std::wstring Port() const {
        SOCKADDR_STORAGE name{};
        int length = sizeof name;
        getsockname(socket_.Get(), reinterpret_cast<SOCKADDR*>(&name), &length);
        // The port stands at the same place for both families.
        return std::to_wstring(ntohs(reinterpret_cast<const SOCKADDR_IN*>(&name)->sin_port));
    }

private:
    KyUtils::WinsockSession winsock_{MAKEWORD(2, 2)};
    KyUtils::Socket socket_;
    bool listens_ = false;
};

/// Begins to connect, and waits for nothing.
class PendingConnection {
public:
    PendingConnection(const char* host, unsigned short port) : socket_(AF_INET, SOCK_STREAM, IPPROTO_TCP) {
        unsigned long nonBlocking = 1;
        ioctlsocket(socket_.Get(), FIONBIO, &nonBlocking);
        SOCKADDR_IN target{};
        target.sin_family = AF_INET;
        target.sin_port = htons(port);
        target.sin_addr.s_addr = inet_addr(host);
        ::connect(socket_.Get(), reinterpret_cast<const SOCKADDR*>(&target), sizeof target);
    }

private:
    KyUtils::Socket socket_;
};

}  // namespace Corvix::Testing
