// Sockets of Windows and of POSIX behind one owner type, and what the servers do with them.
#pragma once

#ifdef _WIN32
#include <winsock2.h>
// keep this order
#include <ws2tcpip.h>
#else
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/select.h>
#include <sys/socket.h>
#endif

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace CorvixSim {

#ifdef _WIN32
using SocketHandle = SOCKET;
#else
using SocketHandle = int;
#endif

/// A call of the socket layer that failed; the text names the call and the system's error number.
class NetError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The address and port are taken, by another process or by another simulator.
class AddressInUse : public NetError {
public:
    using NetError::NetError;
};

/// Sockets are usable while one of these lives.
class NetSession {
public:
    NetSession();
    ~NetSession();
    NetSession(const NetSession&) = delete;
    NetSession& operator=(const NetSession&) = delete;
};

class Socket {
public:
    Socket() = default;
    explicit Socket(SocketHandle handle) : handle_(handle) {}
    Socket(Socket&& other) noexcept : handle_(other.Release()) {}
    Socket& operator=(Socket&& other) noexcept;
    ~Socket() { Close(); }

    SocketHandle Get() const { return handle_; }
    explicit operator bool() const { return handle_ != kNone; }
    void Close();

    /// Closes so that the peer sees a reset instead of an orderly end.
    void CloseWithReset();

    /// Ends both directions and wakes a thread that is blocked on this socket. It stays open.
    void Interrupt();

    /// For a connection: sends without collecting, and gives up on a peer that is silent for `idleLimit`.
    void TuneConnection(std::chrono::seconds idleLimit);

private:
    static constexpr SocketHandle kNone = static_cast<SocketHandle>(-1);

    SocketHandle Release();

    SocketHandle handle_ = kNone;
};

/// A numeric loopback address (127.x.y.z or ::1) with a port.
class Endpoint {
public:
    /// Throws std::invalid_argument for anything that is not a numeric loopback address: a simulated device
    /// that anyone may command does not belong on a network.
    Endpoint(const std::string& address, uint16_t port);

    const sockaddr* Address() const { return reinterpret_cast<const sockaddr*>(&storage_); }
    socklen_t Length() const { return length_; }
    int Family() const { return storage_.ss_family; }

private:
    sockaddr_storage storage_{};
    socklen_t length_ = 0;
};

/// Both throw NetError when the port cannot be had.
Socket ListenOn(const Endpoint& endpoint);
Socket BindDatagrams(const Endpoint& endpoint);
uint16_t LocalPort(const Socket& socket);

/// Connects, sends nothing and closes: wakes a thread that waits for a connection (SOCK_STREAM) or a datagram
/// (SOCK_DGRAM) there.
void KnockAt(const Endpoint& endpoint, int type);

/// Whether there is something to receive, waiting for it no longer than `time`.
bool WaitForDatagram(const Socket& socket, std::chrono::microseconds time);

/// Who sent a datagram.
struct Peer {
    sockaddr_storage address;
    socklen_t length;
};

/// The number of bytes that came; 0 also where an earlier answer could not be delivered, which is told here.
size_t ReceiveDatagram(const Socket& socket, char* buffer, size_t size, Peer& from);
void SendDatagram(const Socket& socket, std::string_view data, const Peer& to);

/// Sends all of `data`, or throws NetError.
void SendAll(const Socket& socket, std::string_view data);

/// The number of bytes received, 0 at the peer's orderly end; throws NetError.
size_t ReceiveSome(const Socket& socket, char* buffer, size_t size);

}  // namespace CorvixSim
