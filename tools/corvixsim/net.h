// Owner types for Winsock: the session, a socket, and what the servers do with them.
#pragma once

#include <winsock2.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace CorvixSim {

/// A call of the socket layer that failed; `Code()` is its Winsock error.
class NetError : public std::runtime_error {
public:
    NetError(const std::string& what, int code);
    int Code() const { return code_; }

private:
    int code_;
};

/// Winsock is usable while one of these lives.
class WinsockSession {
public:
    WinsockSession();
    ~WinsockSession();
    WinsockSession(const WinsockSession&) = delete;
    WinsockSession& operator=(const WinsockSession&) = delete;
};

class Socket {
public:
    Socket() = default;
    explicit Socket(SOCKET handle) : handle_(handle) {}
    Socket(Socket&& other) noexcept : handle_(other.Release()) {}
    Socket& operator=(Socket&& other) noexcept;
    ~Socket() { Close(); }

    SOCKET Get() const { return handle_; }
    explicit operator bool() const { return handle_ != INVALID_SOCKET; }
    void Close();

    /// Closes so that the peer sees a reset instead of an orderly end.
    void CloseWithReset();

    /// Ends both directions and wakes a thread that is blocked on this socket. It stays open.
    void Interrupt();

private:
    SOCKET Release();

    SOCKET handle_ = INVALID_SOCKET;
};

/// A numeric loopback address (127.x.y.z or ::1) with a port.
class Endpoint {
public:
    /// Throws std::invalid_argument for anything that is not a numeric loopback address: a simulated device
    /// that anyone may command does not belong on a network.
    Endpoint(const std::string& address, uint16_t port);

    const sockaddr* Address() const { return reinterpret_cast<const sockaddr*>(&storage_); }
    int Length() const { return length_; }
    int Family() const { return storage_.ss_family; }

private:
    sockaddr_storage storage_{};
    int length_ = 0;
};

Socket ListenOn(const Endpoint& endpoint);
Socket BindDatagrams(const Endpoint& endpoint);
uint16_t LocalPort(const Socket& socket);

/// Connects and at once closes: wakes a thread that waits in accept().
void KnockAt(const Endpoint& endpoint);

/// Sends an empty datagram: wakes a thread that waits in recvfrom().
void SendEmptyDatagram(const Endpoint& endpoint);

/// Sends all of `data`, or throws NetError.
void SendAll(const Socket& socket, std::string_view data);

/// The number of bytes received, 0 at the peer's orderly end; throws NetError.
size_t ReceiveSome(const Socket& socket, char* buffer, size_t size);

}  // namespace CorvixSim
