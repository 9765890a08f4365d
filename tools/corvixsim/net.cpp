#include "net.h"

#include <windows.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <utility>

namespace CorvixSim {
namespace {

[[noreturn]] void Fail(const char* call) {
    const int code = WSAGetLastError();
    throw NetError(call, code);
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

Socket Bound(const Endpoint& endpoint, int type) {
    Socket socket(::socket(endpoint.Family(), type, 0));
    if (!socket) Fail("socket");
    // Another process must not be able to take the same port: a busy address is skipped for the next one.
    const BOOL exclusive = TRUE;
    setsockopt(socket.Get(), SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char*>(&exclusive),
               sizeof exclusive);
    if (bind(socket.Get(), endpoint.Address(), endpoint.Length()) != 0) Fail("bind");
    return socket;
}

}  // namespace

NetError::NetError(const std::string& what, int code)
    : std::runtime_error(what + " failed with socket error " + std::to_string(code)), code_(code) {}

WinsockSession::WinsockSession() {
    WSADATA data;
    const int error = WSAStartup(MAKEWORD(2, 2), &data);
    if (error != 0) throw NetError("WSAStartup", error);
}

WinsockSession::~WinsockSession() { WSACleanup(); }

Socket& Socket::operator=(Socket&& other) noexcept {
    if (this != &other) {
        Close();
        handle_ = other.Release();
    }
    return *this;
}

SOCKET Socket::Release() { return std::exchange(handle_, INVALID_SOCKET); }

void Socket::Close() {
    if (handle_ != INVALID_SOCKET) closesocket(Release());
}

void Socket::CloseWithReset() {
    const linger abortive{1, 0};
    setsockopt(handle_, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&abortive), sizeof abortive);
    Close();
}

void Socket::Interrupt() {
    if (handle_ == INVALID_SOCKET) return;
    shutdown(handle_, SD_BOTH);
    CancelIoEx(reinterpret_cast<HANDLE>(handle_), nullptr);
}

Endpoint::Endpoint(const std::string& address, uint16_t port) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    if (getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) {
        throw std::invalid_argument("not a numeric address: " + address);
    }
    length_ = static_cast<int>(std::min<size_t>(found->ai_addrlen, sizeof storage_));
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
    int length = sizeof storage;
    if (getsockname(socket.Get(), reinterpret_cast<sockaddr*>(&storage), &length) != 0) Fail("getsockname");
    // The port lies at the same place in both families.
    return ntohs(reinterpret_cast<const sockaddr_in&>(storage).sin_port);
}

void KnockAt(const Endpoint& endpoint) {
    const Socket socket(::socket(endpoint.Family(), SOCK_STREAM, 0));
    if (socket) connect(socket.Get(), endpoint.Address(), endpoint.Length());
}

void SendEmptyDatagram(const Endpoint& endpoint) {
    const Socket socket(::socket(endpoint.Family(), SOCK_DGRAM, 0));
    if (socket) sendto(socket.Get(), "", 0, 0, endpoint.Address(), endpoint.Length());
}

void SendAll(const Socket& socket, std::string_view data) {
    while (!data.empty()) {
        const int piece = static_cast<int>(std::min<size_t>(data.size(), 1 << 20));
        const int sent = send(socket.Get(), data.data(), piece, 0);
        if (sent <= 0) Fail("send");
        data.remove_prefix(static_cast<size_t>(sent));
    }
}

size_t ReceiveSome(const Socket& socket, char* buffer, size_t size) {
    const int piece = static_cast<int>(std::min<size_t>(size, 1 << 20));
    const int received = recv(socket.Get(), buffer, piece, 0);
    if (received < 0) Fail("recv");
    return static_cast<size_t>(received);
}

}  // namespace CorvixSim
