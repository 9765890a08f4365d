// Owners of Winsock resources, shared by the transports.
#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>

#include <memory>
#include <string>
#include <utility>

namespace CorvixTransport {

// Keeps Winsock started while the object lives.
class WinsockSession {
public:
    WinsockSession() {
        WSADATA data;
        status_ = WSAStartup(MAKEWORD(2, 2), &data);
    }
    ~WinsockSession() {
        if (status_ == 0) WSACleanup();
    }
    WinsockSession(const WinsockSession&) = delete;
    WinsockSession& operator=(const WinsockSession&) = delete;

    // 0, or the system error code.
    int Status() const { return status_; }

private:
    int status_;
};

// Owns one socket.
class Socket {
public:
    Socket() noexcept = default;
    explicit Socket(SOCKET handle) noexcept : handle_(handle) {}
    Socket(Socket&& other) noexcept : handle_(std::exchange(other.handle_, INVALID_SOCKET)) {}
    Socket& operator=(Socket&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Socket() {
        if (handle_ != INVALID_SOCKET) closesocket(handle_);
    }

    SOCKET Get() const noexcept { return handle_; }
    explicit operator bool() const noexcept { return handle_ != INVALID_SOCKET; }

private:
    SOCKET handle_ = INVALID_SOCKET;
};

struct AddressListDeleter {
    void operator()(addrinfoW* list) const noexcept { FreeAddrInfoW(list); }
};
// What a host name stands for, in the order to try.
using AddressList = std::unique_ptr<addrinfoW, AddressListDeleter>;

// The addresses of a host: a dotted IPv4 address, an IPv6 address without brackets, or a DNS name.
// `socketType` is SOCK_STREAM or SOCK_DGRAM. Null on failure, and GetLastError() tells why. Winsock has to be
// started.
inline AddressList ResolveHost(const std::wstring& host, unsigned short port, int socketType) {
    addrinfoW hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = socketType;
    addrinfoW* list = nullptr;
    const int error = GetAddrInfoW(host.c_str(), std::to_wstring(port).c_str(), &hints, &list);
    if (error != 0) SetLastError(static_cast<DWORD>(error));
    return AddressList(list);
}

}  // namespace CorvixTransport
