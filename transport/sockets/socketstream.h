/// A TCP connection over Winsock.
#pragma once

#include <memory>
#include <string>

#include "transport/sockets/bytestream.h"
#include "utilslib/winsock.h"

namespace CorvixTransport {

/// One connected, non-blocking socket, owned together with its event and a Winsock session.
class SocketStream final : public ByteStream {
public:
    /// Connects to the host (an IPv4 or IPv6 address, or a name, whose addresses are tried in turn).
    static std::unique_ptr<SocketStream> Connect(const std::wstring& host, unsigned short port,
                                                 const Waiting& waiting);

    size_t Read(char* buffer, size_t capacity, const Waiting& waiting) override;
    size_t Write(std::string_view bytes, const Waiting& waiting) override;
    bool IsReadable(const Waiting& waiting) override;
    bool MayBeReadable() override;

private:
    SocketStream(const addrinfoW& address, const Waiting& waiting);

    void WaitUntilConnected(const Waiting& waiting);
    /// Waits for any event of the socket, after which the caller repeats its operation.
    WSANETWORKEVENTS WaitForEvents(const Waiting& waiting);

    KyUtils::WinsockSession winsock_;
    NetEvent event_;
    KyUtils::Socket socket_;
};

}  // namespace CorvixTransport
