// TCP connections over Winsock.
#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>

#include <memory>
#include <string>
#include <vector>

#include "transport/bytestream.h"

namespace CorvixTransport {

// Winsock is usable as long as one of these lives.
class WinsockSession {
public:
    WinsockSession();
    ~WinsockSession() { WSACleanup(); }
    WinsockSession(const WinsockSession&) = delete;
    WinsockSession& operator=(const WinsockSession&) = delete;
};

// Owns a socket.
class Socket {
public:
    explicit Socket(int family);
    ~Socket() { closesocket(handle_); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    SOCKET Get() const { return handle_; }

private:
    SOCKET handle_;
};

class SocketStream final : public ByteStream {
public:
    // Connects to the host (an IPv4 or IPv6 address, or a name, whose addresses are tried in turn).
    static std::unique_ptr<SocketStream> Connect(const std::wstring& host, unsigned short port,
                                                 const Waiting& waiting);

    size_t Read(char* buffer, size_t capacity, const Waiting& waiting) override;
    size_t Write(std::string_view bytes, const Waiting& waiting) override;
    bool IsReadable() override;

private:
    SocketStream(const SOCKADDR* address, int length, const Waiting& waiting);

    // Waits until something happens to the socket; whoever waits tries its own operation again.
    WSANETWORKEVENTS WaitForEvents(const Waiting& waiting);

    WinsockSession winsock_;
    Socket socket_;
    NetEvent event_;
};


}  // namespace CorvixTransport
