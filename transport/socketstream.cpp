#include "transport/socketstream.h"

#include <algorithm>

#include "transport/resolver.h"

namespace CorvixTransport {

namespace {

// A call that is told to send more than the system buffers at a time only makes progress harder to see.
constexpr size_t maximumSend = 256 * 1024;

unsigned long LastSocketError() { return static_cast<unsigned long>(WSAGetLastError()); }

int LengthOf(const SOCKADDR_STORAGE& address) {
    return address.ss_family == AF_INET6 ? static_cast<int>(sizeof(SOCKADDR_IN6)) : static_cast<int>(sizeof(SOCKADDR_IN));
}

}  // namespace

WinsockSession::WinsockSession() {
    WSADATA data;
    const int error = WSAStartup(MAKEWORD(2, 2), &data);
    ThrowUnless(error == 0, static_cast<unsigned long>(error));
}

Socket::Socket(int family) : handle_(socket(family, SOCK_STREAM, IPPROTO_TCP)) {
    ThrowUnless(handle_ != INVALID_SOCKET, LastSocketError());
}

std::unique_ptr<SocketStream> SocketStream::Connect(const std::wstring& host, unsigned short port,
                                                    const Waiting& waiting) {
    const WinsockSession winsock;
    const std::vector<SOCKADDR_STORAGE> addresses = ResolveHost(host, port, waiting);
    for (size_t i = 0;; ++i) {
        try {
            const auto* address = reinterpret_cast<const SOCKADDR*>(&addresses[i]);
            return std::unique_ptr<SocketStream>(new SocketStream(address, LengthOf(addresses[i]), waiting));
        } catch (const Failure& failure) {
            if (failure.Code() == ERROR_CANCELLED || i + 1 == addresses.size()) throw;
        }
    }
}

SocketStream::SocketStream(const SOCKADDR* address, int length, const Waiting& waiting)
    : socket_(address->sa_family) {
    const BOOL noDelay = TRUE;
    setsockopt(socket_.Get(), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&noDelay), sizeof noDelay);
    // From here on the socket does not block: every wait is one for events.
    const int selected =
        WSAEventSelect(socket_.Get(), event_.Get(), FD_CONNECT | FD_READ | FD_WRITE | FD_CLOSE);
    ThrowUnless(selected == 0, LastSocketError());
    if (connect(socket_.Get(), address, length) == 0) return;
    ThrowUnless(WSAGetLastError() == WSAEWOULDBLOCK, LastSocketError());
    for (;;) {
        const WSANETWORKEVENTS events = WaitForEvents(waiting);
        if (!(events.lNetworkEvents & FD_CONNECT)) continue;
        const int error = events.iErrorCode[FD_CONNECT_BIT];
        ThrowUnless(error == 0, static_cast<unsigned long>(error));
        return;
    }
}

WSANETWORKEVENTS SocketStream::WaitForEvents(const Waiting& waiting) {
    WaitFor(event_.Get(), waiting);
    WSANETWORKEVENTS events = {};
    ThrowUnless(WSAEnumNetworkEvents(socket_.Get(), event_.Get(), &events) == 0, LastSocketError());
    return events;
}

size_t SocketStream::Read(char* buffer, size_t capacity, const Waiting& waiting) {
    const int wanted = static_cast<int>(std::min<size_t>(capacity, 1 << 20));
    for (;;) {
        // A device that always has another byte ready must not keep us past the deadline either.
        ThrowUnless(waiting.deadline.RemainingMilliseconds() > 0, ERROR_TIMEOUT);
        const int count = recv(socket_.Get(), buffer, wanted, 0);
        if (count >= 0) return static_cast<size_t>(count);
        ThrowUnless(WSAGetLastError() == WSAEWOULDBLOCK, LastSocketError());
        WaitForEvents(waiting);
    }
}

size_t SocketStream::Write(std::string_view bytes, const Waiting& waiting) {
    size_t sent = 0;
    while (sent < bytes.size()) {
        const int wanted = static_cast<int>(std::min(bytes.size() - sent, maximumSend));
        const int count = send(socket_.Get(), bytes.data() + sent, wanted, 0);
        if (count >= 0) {
            sent += static_cast<size_t>(count);
            continue;
        }
        ThrowUnless(WSAGetLastError() == WSAEWOULDBLOCK, LastSocketError());
        if (IsReadable()) return sent;
        WaitForEvents(waiting);
    }
    return sent;
}

bool SocketStream::IsReadable() {
    char byte;
    return recv(socket_.Get(), &byte, 1, MSG_PEEK) >= 0 || WSAGetLastError() != WSAEWOULDBLOCK;
}

}  // namespace CorvixTransport
