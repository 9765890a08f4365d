#include "transport/sockets/socketstream.h"

#include <algorithm>

#include "transport/sockets/resolver.h"

namespace CorvixTransport {

namespace {

// Sending more in one call than the system buffers would hide progress from the time-out.
constexpr size_t maximumSend = 256 * 1024;
constexpr size_t maximumReceive = 1024 * 1024;

unsigned long LastSocketError() { return static_cast<unsigned long>(WSAGetLastError()); }

size_t CountAddresses(const addrinfoW* address) {
    size_t count = 0;
    for (; address; address = address->ai_next)
        ++count;
    return count;
}

// The time left, shared out among the addresses that are still to be tried: one that swallows everything
// must not use up the chance of the others.
Waiting ShareFor(const addrinfoW* address, const Waiting& waiting) {
    const size_t left = CountAddresses(address);
    const unsigned long time = std::min(waiting.stallMilliseconds, waiting.deadline.RemainingMilliseconds());
    return waiting.Within(std::max<unsigned long>(1, time / static_cast<unsigned long>(left)));
}

}  // namespace

std::unique_ptr<SocketStream> SocketStream::Connect(const std::wstring& host, unsigned short port,
                                                    const Waiting& waiting) {
    const KyUtils::WinsockSession winsock;
    ThrowUnless(winsock.Status() == 0, static_cast<unsigned long>(winsock.Status()));
    const KyUtils::AddressList addresses = ResolveHost(host, port, waiting);
    const Waiting whole = waiting.Within(waiting.stallMilliseconds);
    for (const addrinfoW* address = addresses.get();; address = address->ai_next) {
        try {
            return std::unique_ptr<SocketStream>(new SocketStream(*address, ShareFor(address, whole)));
        } catch (const Failure& failure) {
            // The failure of the last address is the one reported.
            if (failure.Code() == ERROR_CANCELLED || !address->ai_next) throw;
        }
    }
}

SocketStream::SocketStream(const addrinfoW& address, const Waiting& waiting)
    : socket_(address.ai_family, address.ai_socktype, address.ai_protocol) {
    ThrowUnless(static_cast<bool>(socket_), LastSocketError());
    // The head and the body go in separate calls: the second must not wait for the first's acknowledgement.
    const BOOL noDelay = TRUE;
    setsockopt(socket_.Get(), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&noDelay),
               sizeof noDelay);
    // WSAEventSelect() makes the socket non-blocking: from here on every wait is a wait for events.
    const int selected =
        WSAEventSelect(socket_.Get(), event_.Get(), FD_CONNECT | FD_READ | FD_WRITE | FD_CLOSE);
    ThrowUnless(selected == 0, LastSocketError());
    if (connect(socket_.Get(), address.ai_addr, static_cast<int>(address.ai_addrlen)) == 0) return;
    ThrowUnless(WSAGetLastError() == WSAEWOULDBLOCK, LastSocketError());
    WaitUntilConnected(waiting);
}

void SocketStream::WaitUntilConnected(const Waiting& waiting) {
    WSANETWORKEVENTS events = {};
    while (!(events.lNetworkEvents & FD_CONNECT))
        events = WaitForEvents(waiting);
    const int error = events.iErrorCode[FD_CONNECT_BIT];
    ThrowUnless(error == 0, static_cast<unsigned long>(error));
}

WSANETWORKEVENTS SocketStream::WaitForEvents(const Waiting& waiting) {
    WaitFor(event_.Get(), waiting);
    WSANETWORKEVENTS events = {};
    ThrowUnless(WSAEnumNetworkEvents(socket_.Get(), event_.Get(), &events) == 0, LastSocketError());
    return events;
}

size_t SocketStream::Read(char* buffer, size_t capacity, const Waiting& waiting) {
    const int wanted = static_cast<int>(std::min(capacity, maximumReceive));
    for (;;) {
        // A device that always has one more byte ready must not hold the thread past the deadline.
        waiting.Check();
        const int count = recv(socket_.Get(), buffer, wanted, 0);
        if (count >= 0) return static_cast<size_t>(count);
        ThrowUnless(WSAGetLastError() == WSAEWOULDBLOCK, LastSocketError());
        WaitForEvents(waiting);
    }
}

size_t SocketStream::Write(std::string_view bytes, const Waiting& waiting) {
    size_t sent = 0;
    while (sent < bytes.size()) {
        waiting.Check();
        const int wanted = static_cast<int>(std::min(bytes.size() - sent, maximumSend));
        const int count = send(socket_.Get(), bytes.data() + sent, wanted, 0);
        if (count >= 0) {
            sent += static_cast<size_t>(count);
            continue;
        }
        ThrowUnless(WSAGetLastError() == WSAEWOULDBLOCK, LastSocketError());
        // A device that has answered may never take the rest.
        if (IsReadable(waiting)) return sent;
        WaitForEvents(waiting);
    }
    return sent;
}

bool SocketStream::IsReadable(const Waiting&) {
    char byte;
    return recv(socket_.Get(), &byte, 1, MSG_PEEK) >= 0 || WSAGetLastError() != WSAEWOULDBLOCK;
}

// Under Wine MSG_PEEK costs as much as sending a large piece of a document; FIONREAD is cheap.
bool SocketStream::MayBeReadable() {
    unsigned long count = 0;
    return ioctlsocket(socket_.Get(), static_cast<long>(FIONREAD), &count) != 0 || count > 0;
}

}  // namespace CorvixTransport
