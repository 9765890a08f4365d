// The library looks for IPP on port 631 of a device before anything else, wherever the printer really
// listens.
#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>

namespace CorvixTest {

/// Accepts connections to port 631 of a loopback address, and does nothing with them. Where somebody else
/// already does, that will do as well.
class IppPort {
public:
    explicit IppPort(const wchar_t* host) {
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(number);
        InetPtonW(AF_INET, host, &address.sin_addr);
        socket_ = socket(AF_INET, SOCK_STREAM, 0);
        listens_ = (bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                    listen(socket_, SOMAXCONN) == 0) ||
                   WSAGetLastError() == WSAEADDRINUSE;
    }
    IppPort(const IppPort&) = delete;
    IppPort& operator=(const IppPort&) = delete;
    ~IppPort() {
        closesocket(socket_);
        WSACleanup();
    }
    /// False where the port may not be taken.
    explicit operator bool() const { return listens_; }

    static constexpr unsigned short number = 631;

private:
    SOCKET socket_ = INVALID_SOCKET;
    bool listens_ = false;
};

}  // namespace CorvixTest
