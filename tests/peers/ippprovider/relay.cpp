#include "relay.h"

#include <ws2tcpip.h>

#include <utility>

namespace CorvixTest {
namespace {

// A wait for the sockets alone could not be interrupted on every system.
constexpr int patience = 10;

sockaddr_in LoopbackAddress(const char* host, unsigned short port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    inet_pton(AF_INET, host, &address.sin_addr);
    return address;
}

void SendAtOnce(SOCKET socket) {
    const BOOL noDelay = TRUE;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&noDelay), sizeof noDelay);
}

bool SendAll(SOCKET socket, const std::string& bytes) {
    for (size_t sent = 0; sent < bytes.size();) {
        const int count = send(socket, bytes.data() + sent, static_cast<int>(bytes.size() - sent), 0);
        if (count <= 0) return false;
        sent += static_cast<size_t>(count);
    }
    return true;
}

/// Where the request's body begins and how long it is; nothing was found while `begin` is npos.
struct Body {
    size_t begin = std::string::npos;
    size_t lengthText = std::string::npos;
    size_t length = 0;
};

Body FindBody(const std::string& request) {
    constexpr std::string_view lengthName = "\r\nContent-Length: ";
    Body body;
    const size_t end = request.find("\r\n\r\n");
    if (end == std::string::npos) return body;
    body.begin = end + 4;
    const size_t name = request.find(lengthName);
    if (name >= end) return body;
    body.lengthText = name + lengthName.size();
    body.length = std::stoul(request.substr(body.lengthText));
    return body;
}

void CallIppPrint(std::string& request, const Body& body) {
    constexpr std::string_view name = "printer-uri";
    constexpr std::string_view path = "/ipp/printer";
    constexpr size_t removed = path.size() - std::string_view("/ipp/print").size();
    const size_t at = request.find(name, body.begin);
    if (at == std::string::npos) return;
    const size_t value = at + name.size() + 2;
    const auto length = static_cast<unsigned char>(request.at(value - 1));
    if (length < path.size() || request.compare(value + length - path.size(), path.size(), path) != 0) return;
    request[value - 1] = static_cast<char>(length - removed);
    request.erase(value + length - removed, removed);
    const size_t digits = std::to_string(body.length).size();
    request.replace(body.lengthText, digits, std::to_string(body.length - removed));
}

}  // namespace

std::string TakeAll(std::string& received) { return std::exchange(received, {}); }

std::string TakeForIppPrint(std::string& received) {
    const Body body = FindBody(received);
    if (body.begin == std::string::npos || received.size() < body.begin + body.length) return {};
    std::string request = received.substr(0, body.begin + body.length);
    received.erase(0, request.size());
    if (body.length > 0) CallIppPrint(request, body);
    return request + TakeForIppPrint(received);
}

Relay::End::~End() {
    if (socket != INVALID_SOCKET) closesocket(socket);
}

Relay::Relay(const char* host, const std::vector<unsigned short>& ports, unsigned short target,
             TakeReady take)
    : target_(target), take_(std::move(take)) {
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    for (const unsigned short port : ports)
        listens_ = Listen(host, port) && listens_;
    thread_ = std::thread([this] { Run(); });
}

Relay::~Relay() {
    stopping_ = true;
    thread_.join();
    pairs_.clear();
    listeners_.clear();
    WSACleanup();
}

bool Relay::Listen(const char* host, unsigned short port) {
    const SOCKET listener = listeners_.emplace_back().socket = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    const sockaddr_in address = LoopbackAddress(host, port);
    return bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
           listen(listener, SOMAXCONN) == 0;
}

void Relay::Run() {
    while (!stopping_) {
        std::vector<WSAPOLLFD> polled;
        for (const End& listener : listeners_)
            polled.push_back({listener.socket, POLLIN, 0});
        for (const Pair& pair : pairs_) {
            polled.push_back({pair.client.socket, POLLIN, 0});
            polled.push_back({pair.printer.socket, POLLIN, 0});
        }
        if (WSAPoll(polled.data(), static_cast<ULONG>(polled.size()), patience) <= 0) continue;
        auto poll = polled.begin() + static_cast<std::ptrdiff_t>(listeners_.size());
        pairs_.remove_if([&](Pair& pair) {
            const bool fromClient = (poll++)->revents != 0;
            const bool fromPrinter = (poll++)->revents != 0;
            return (fromClient && !Forward(pair, true)) || (fromPrinter && !Forward(pair, false));
        });
        for (size_t i = 0; i < listeners_.size(); ++i) {
            if (polled[i].revents != 0) Accept(polled[i].fd);
        }
    }
}

void Relay::Accept(SOCKET listener) {
    Pair& pair = pairs_.emplace_back();
    pair.client.socket = accept(listener, nullptr, nullptr);
    pair.printer.socket = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    const sockaddr_in address = LoopbackAddress("127.0.0.1", target_);
    const int connected =
        connect(pair.printer.socket, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    SendAtOnce(pair.client.socket);
    SendAtOnce(pair.printer.socket);
    if (pair.client.socket == INVALID_SOCKET || connected != 0) pairs_.pop_back();
}

bool Relay::Forward(Pair& pair, bool fromClient) const {
    char buffer[65536];
    const int count = recv(fromClient ? pair.client.socket : pair.printer.socket, buffer, sizeof buffer, 0);
    if (count <= 0) return false;
    const std::string bytes(buffer, static_cast<size_t>(count));
    if (!fromClient) return SendAll(pair.client.socket, bytes);
    pair.received += bytes;
    return SendAll(pair.printer.socket, take_(pair.received));
}

}  // namespace CorvixTest
