/// Datagrams to and from one address.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "utilslib/winsock.h"

namespace CorvixTransport {

/// A UDP socket for one peer: datagrams from anybody else are not seen. Winsock has to be started for as long
/// as it lives. Errors are system error codes, 0 is none.
class UdpSocket {
public:
    using Clock = std::chrono::steady_clock;
    /// The longest datagram that IPv4 carries.
    static constexpr size_t maxDatagram = 65507;

    int Open(const addrinfoW& peer);
    int Send(std::string_view datagram);
    /// Waits for the next datagram, until the deadline and no longer, however much arrives: WSAETIMEDOUT; or
    /// until the event, if any, is set: ERROR_CANCELLED. `datagram` points into the socket's own buffer until
    /// the next call.
    int Receive(Clock::time_point deadline, HANDLE stop, std::string_view* datagram);

private:
    int WaitUntilReadable(Clock::time_point deadline, HANDLE stop);

    KyUtils::Socket socket_;
    sockaddr_storage peer_{};
    int peerLength_ = 0;
    std::vector<char> buffer_;
};

}  // namespace CorvixTransport
