#include "transport/snmp/udpsocket.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace CorvixTransport {

namespace {

template <class Address>
const Address& As(const sockaddr_storage& address) {
    return *reinterpret_cast<const Address*>(&address);
}

bool IsLoopback(const in_addr& address) { return ntohl(address.s_addr) >> 24 == 127; }

// An agent on this machine may answer from another loopback address than the one it was asked at.
bool IsSameHost(const in_addr& left, const in_addr& right) {
    return left.s_addr == right.s_addr || (IsLoopback(left) && IsLoopback(right));
}

bool IsSameHost(const in6_addr& left, const in6_addr& right) {
    return std::memcmp(&left, &right, sizeof(left)) == 0;
}

// How long a wait goes on before it looks at the event that may end it.
constexpr std::int64_t stopCheckMicroseconds = 100'000;

bool IsSet(HANDLE event) { return event && WaitForSingleObject(event, 0) == WAIT_OBJECT_0; }

int Select(const KyUtils::Socket& socket, std::int64_t microseconds) {
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(socket.Get(), &readable);
    timeval wait{static_cast<long>(microseconds / 1'000'000), static_cast<long>(microseconds % 1'000'000)};
    return select(0, &readable, nullptr, nullptr, &wait);
}

// Anybody may send to the port; an answer counts only from where the request went.
bool IsSamePeer(const sockaddr_storage& left, const sockaddr_storage& right) {
    if (left.ss_family != right.ss_family) return false;
    const auto& left4 = As<sockaddr_in>(left);
    const auto& right4 = As<sockaddr_in>(right);
    if (left.ss_family == AF_INET) {
        return left4.sin_port == right4.sin_port && IsSameHost(left4.sin_addr, right4.sin_addr);
    }
    const auto& left6 = As<sockaddr_in6>(left);
    const auto& right6 = As<sockaddr_in6>(right);
    return left6.sin6_port == right6.sin6_port && IsSameHost(left6.sin6_addr, right6.sin6_addr);
}

}  // namespace

int UdpSocket::Open(const addrinfoW& peer) {
    KyUtils::Socket made(peer.ai_family, SOCK_DGRAM, IPPROTO_UDP);
    if (!made) return WSAGetLastError();
    // A datagram that select() announced may still be dropped for its checksum, and recvfrom() must not block then.
    u_long nonBlocking = 1;
    if (ioctlsocket(made.Get(), static_cast<long>(FIONBIO), &nonBlocking) != 0) return WSAGetLastError();
    std::memcpy(&peer_, peer.ai_addr, peer.ai_addrlen);
    peerLength_ = static_cast<int>(peer.ai_addrlen);
    socket_ = std::move(made);
    // One byte more than the longest datagram, so that none is cut off unnoticed.
    buffer_.resize(maxDatagram + 1);
    return 0;
}

int UdpSocket::Send(std::string_view datagram) {
    const int length = static_cast<int>(datagram.size());
    const auto* peer = reinterpret_cast<const sockaddr*>(&peer_);
    if (sendto(socket_.Get(), datagram.data(), length, 0, peer, peerLength_) == length) return 0;
    return WSAGetLastError();
}

int UdpSocket::WaitUntilReadable(Clock::time_point deadline, HANDLE stop) {
    for (;;) {
        if (IsSet(stop)) return ERROR_CANCELLED;
        const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline - Clock::now()).count();
        if (left <= 0) return WSAETIMEDOUT;
        const int ready = Select(socket_, stop ? std::min<std::int64_t>(left, stopCheckMicroseconds) : left);
        if (ready < 0) return WSAGetLastError();
        if (ready > 0) return 0;
    }
}

int UdpSocket::Receive(Clock::time_point deadline, HANDLE stop, std::string_view* datagram) {
    for (;;) {
        if (const int error = WaitUntilReadable(deadline, stop)) return error;
        sockaddr_storage sender{};
        int senderLength = sizeof(sender);
        const int length = recvfrom(socket_.Get(), buffer_.data(), static_cast<int>(buffer_.size()), 0,
                                    reinterpret_cast<sockaddr*>(&sender), &senderLength);
        // Winsock reports an unreachable port of an earlier datagram as an error of this call.
        if (length < 0) {
            const int error = WSAGetLastError();
            if (error != WSAEWOULDBLOCK && error != WSAEMSGSIZE) return error;
        } else if (IsSamePeer(sender, peer_)) {
            *datagram = std::string_view(buffer_.data(), static_cast<size_t>(length));
            return 0;
        }
    }
}

}  // namespace CorvixTransport
