// peer_attributes HOST PORT: asks the printer at that loopback address and port, through the DLL and the
// reference transport, for each attribute named on a line of the standard input, and prints "NAME<tab>TEXT"
// for each that it has. The library looks for IPP on port 631 before anything else, so the program listens
// there itself; where it may not, it exits with 77.
#include <winsock2.h>
#include <ws2tcpip.h>

#include <cstdio>
#include <iostream>
#include <string>

#include "corvixdm/corvixdm.h"
#include "transport/nettransport.h"

namespace {

constexpr int skipped = 77;
constexpr u_short ippPort = 631;

std::string ToUtf8(const wchar_t* text) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string utf8(static_cast<size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), size, nullptr, nullptr);
    utf8.pop_back();
    return utf8;
}

/// Accepts connections to a port of a loopback address, and does nothing with them.
class Listener {
public:
    explicit Listener(const wchar_t* host) {
        WSADATA data;
        WSAStartup(MAKEWORD(2, 2), &data);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(ippPort);
        InetPtonW(AF_INET, host, &address.sin_addr);
        socket_ = socket(AF_INET, SOCK_STREAM, 0);
        listens_ = (bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                    listen(socket_, SOMAXCONN) == 0) ||
                   WSAGetLastError() == WSAEADDRINUSE;
    }
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;
    ~Listener() {
        closesocket(socket_);
        WSACleanup();
    }
    bool Listens() const { return listens_; }

private:
    SOCKET socket_ = INVALID_SOCKET;
    bool listens_ = false;
};

void PrintAttribute(Corvix::IPPProvider& provider, const std::string& name) {
    VARIANT value;
    VariantInit(&value);
    if (provider.GetIPPValue(name.c_str(), 0, &value, nullptr, nullptr, 0, 1, name.c_str()) == S_OK &&
        value.vt == VT_BSTR)
        std::printf("%s\t%s\n", name.c_str(), ToUtf8(value.bstrVal).c_str());
    VariantClear(&value);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc != 3) return 2;
    const Listener listener(argv[1]);
    if (!listener.Listens()) return skipped;
    CorvixTransport::NetAddressOptions options;
    options.host = argv[1];
    options.portMap.MapTcp(ippPort, static_cast<unsigned short>(std::stoi(argv[2])));
    const Corvix::DisposablePtr<Corvix::KyNetAddress> address(CorvixTransport::CreateNetAddress(options));
    const Corvix::DisposablePtr<Corvix::IPPProvider> provider(CreateIPPProvider(address.Get(), "/ipp/print"));
    if (!provider) {
        std::fprintf(stderr, "no provider: last error %lu\n", GetLastError());
        return 1;
    }
    for (std::string name; std::getline(std::cin, name);) {
        if (!name.empty() && name.back() == '\r') name.pop_back();
        PrintAttribute(*provider, name);
    }
    return 0;
}
