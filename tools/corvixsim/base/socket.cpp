#include "base/socket.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <netdb.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#endif

#include <algorithm>
#include <utility>

namespace CorvixSim {
namespace {

// What the two systems name or type differently.
#ifdef _WIN32
constexpr int kAddressInUse = WSAEADDRINUSE;
constexpr int kBothWays = SD_BOTH;
using TimeLimit = DWORD;

int LastError() { return WSAGetLastError(); }
void CloseHandleOf(SocketHandle handle) { closesocket(handle); }
int PieceOf(size_t size) { return static_cast<int>(std::min<size_t>(size, 1 << 20)); }
TimeLimit LimitOf(std::chrono::seconds time) { return static_cast<DWORD>(time.count() * 1000); }
#else
constexpr int kAddressInUse = EADDRINUSE;
constexpr int kBothWays = SHUT_RDWR;
using TimeLimit = timeval;

int LastError() { return errno; }
void CloseHandleOf(SocketHandle handle) { close(handle); }
size_t PieceOf(size_t size) { return size; }
TimeLimit LimitOf(std::chrono::seconds time) { return {time.count(), 0}; }
#endif

template <typename Value>
void SetOption(const Socket& socket, int level, int option, Value value) {
    setsockopt(socket.Get(), level, option, reinterpret_cast<const char*>(&value), sizeof value);
}

[[noreturn]] void Fail(const char* call) {
    const int code = LastError();
    const std::string what = std::string(call) + " failed with socket error " + std::to_string(code);
    // The one failure that is answered by trying elsewhere.
    if (code == kAddressInUse) throw AddressInUse(what);
    throw NetError(what);
}

bool IsLoopback(const sockaddr_storage& storage) {
    if (storage.ss_family == AF_INET6) {
        const auto& v6 = reinterpret_cast<const sockaddr_in6&>(storage);
        static const in6_addr loopback = IN6ADDR_LOOPBACK_INIT;
        return std::equal(std::begin(loopback.s6_addr), std::end(loopback.s6_addr), v6.sin6_addr.s6_addr);
    }
    const auto& v4 = reinterpret_cast<const sockaddr_in&>(storage);
    return (ntohl(v4.sin_addr.s_addr) >> 24) == 127;
}

/// Another process must not be able to take the same port: a busy address is skipped for the next one.
void ClaimAlone(const Socket& socket, int type) {
#ifdef _WIN32
    (void)type;
    SetOption(socket, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, 1);
#else
    // So it is anyway, but then even connections that have ended would keep the port busy for a while.
    if (type == SOCK_STREAM) SetOption(socket, SOL_SOCKET, SO_REUSEADDR, 1);
#endif
}

Socket Bound(const Endpoint& endpoint, int type) {
    Socket socket(::socket(endpoint.Family(), type, 0));
    if (!socket) Fail("socket");
    ClaimAlone(socket, type);
    if (bind(socket.Get(), endpoint.Address(), endpoint.Length()) != 0) Fail("bind");
    return socket;
}

}  // namespace

#ifdef _WIN32
NetSession::NetSession() {
    WSADATA data;
    const int error = WSAStartup(MAKEWORD(2, 2), &data);
    if (error != 0) throw NetError("WSAStartup failed with error " + std::to_string(error));
}

NetSession::~NetSession() { WSACleanup(); }
#else
// Sending to a peer that has gone is an error like others, not the end of the process.
NetSession::NetSession() { std::signal(SIGPIPE, SIG_IGN); }

NetSession::~NetSession() = default;
#endif

Socket& Socket::operator=(Socket&& other) noexcept {
    if (this != &other) {
        Close();
        handle_ = other.Release();
    }
    return *this;
}

SocketHandle Socket::Release() { return std::exchange(handle_, kNone); }

void Socket::Close() {
    if (*this) CloseHandleOf(Release());
}

void Socket::CloseWithReset() {
    // Lingering for no time at all is what makes a close abortive.
    SetOption(*this, SOL_SOCKET, SO_LINGER, linger{1, 0});
    Close();
}

void Socket::Interrupt() {
    if (!*this) return;
    // That wakes a blocked receive on POSIX; Windows needs to be asked to cancel it.
    shutdown(handle_, kBothWays);
#ifdef _WIN32
    CancelIoEx(reinterpret_cast<HANDLE>(handle_), nullptr);
#endif
}

void Socket::TuneConnection(std::chrono::seconds idleLimit) {
    // The head and the body of an answer go separately: the second must not wait for the first's receipt.
    SetOption(*this, IPPROTO_TCP, TCP_NODELAY, 1);
    for (const int option : {SO_RCVTIMEO, SO_SNDTIMEO})
        SetOption(*this, SOL_SOCKET, option, LimitOf(idleLimit));
}

Endpoint::Endpoint(const std::string& address, uint16_t port) {
    addrinfo hints{};
    // Names would need a resolver, and what they resolve to is not for a test to depend on.
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    if (getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) {
        throw std::invalid_argument("not a numeric address: " + address);
    }
    length_ = static_cast<socklen_t>(std::min<size_t>(found->ai_addrlen, sizeof storage_));
    std::copy_n(reinterpret_cast<const char*>(found->ai_addr), length_, reinterpret_cast<char*>(&storage_));
    freeaddrinfo(found);
    if (!IsLoopback(storage_)) throw std::invalid_argument("not a loopback address: " + address);
}

Socket ListenOn(const Endpoint& endpoint) {
    Socket socket = Bound(endpoint, SOCK_STREAM);
    if (listen(socket.Get(), SOMAXCONN) != 0) Fail("listen");
    return socket;
}

Socket BindDatagrams(const Endpoint& endpoint) { return Bound(endpoint, SOCK_DGRAM); }

uint16_t LocalPort(const Socket& socket) {
    sockaddr_storage storage{};
    socklen_t length = sizeof storage;
    if (getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&storage), &length) != 0) Fail("getsockname");
    // The port lies at the same place in both families.
    return ntohs(reinterpret_cast<const sockaddr_in&>(storage).sin_port);
}

void KnockAt(const Endpoint& endpoint, int type) {
    const Socket socket(::socket(endpoint.Family(), type, 0));
    // On a datagram socket "connect" only sets the address, and the empty send is the knock.
    if (!socket || connect(socket.Get(), endpoint.Address(), endpoint.Length()) != 0) return;
    (void)send(socket.Get(), "", 0, 0);
}

bool WaitForDatagram(const Socket& socket, std::chrono::microseconds time) {
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(socket.Get(), &readable);
    const auto left = std::max<int64_t>(0, time.count());
    timeval timeout{};
    timeout.tv_sec = static_cast<decltype(timeout.tv_sec)>(left / 1'000'000);
    timeout.tv_usec = static_cast<decltype(timeout.tv_usec)>(left % 1'000'000);
    return select(static_cast<int>(socket.Get()) + 1, &readable, nullptr, nullptr, &timeout) > 0;
}

size_t ReceiveDatagram(const Socket& socket, char* buffer, size_t size, Peer& from) {
    from.length = sizeof from.address;
    auto* address = reinterpret_cast<sockaddr*>(&from.address);
    const auto length = recvfrom(socket.Get(), buffer, PieceOf(size), 0, address, &from.length);
    // An error here may tell of an answer that could not be delivered earlier: no reason to stop serving.
    return length < 0 ? 0 : static_cast<size_t>(length);
}

void SendDatagram(const Socket& socket, std::string_view data, const Peer& to) {
    const auto* address = reinterpret_cast<const sockaddr*>(&to.address);
    (void)sendto(socket.Get(), data.data(), PieceOf(data.size()), 0, address, to.length);
}

void SendAll(const Socket& socket, std::string_view data) {
    // The system takes as much as it has room for.
    while (!data.empty()) {
        const auto sent = send(socket.Get(), data.data(), PieceOf(data.size()), 0);
        if (sent <= 0) Fail("send");
        data.remove_prefix(static_cast<size_t>(sent));
    }
}

size_t ReceiveSome(const Socket& socket, char* buffer, size_t size) {
    const auto received = recv(socket.Get(), buffer, PieceOf(size), 0);
    if (received < 0) Fail("recv");
    return static_cast<size_t>(received);
}

}  // namespace CorvixSim
