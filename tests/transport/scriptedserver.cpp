#include "transport/scriptedserver.h"

#include <stdexcept>

namespace CorvixTransport {

namespace {

void Require(bool succeeded, const char* what) {
    if (!succeeded) throw std::runtime_error(what);
}

}  // namespace

bool Peer::WaitUntilReadable() {
    // A wait for the socket alone could not be interrupted on every system.
    constexpr int patience = 10;
    while (!isInterrupted_) {
        WSAPOLLFD poll = {socket_.Get(), POLLIN, 0};
        if (WSAPoll(&poll, 1, patience) != 0) return true;
    }
    return false;
}

bool Peer::Receive() {
    if (!WaitUntilReadable()) return false;
    char buffer[65536];
    const int count = recv(socket_.Get(), buffer, sizeof buffer, 0);
    if (count <= 0) return false;
    received_.append(buffer, static_cast<size_t>(count));
    return true;
}

std::string Peer::ReadThrough(const std::string& text) {
    size_t found;
    while ((found = received_.find(text)) == std::string::npos) {
        if (Receive()) continue;
        return std::exchange(received_, {});
    }
    return ReadExactly(found + text.size());
}

std::string Peer::ReadExactly(size_t count) {
    while (received_.size() < count && Receive()) {
    }
    const std::string bytes = received_.substr(0, count);
    received_.erase(0, bytes.size());
    return bytes;
}

std::string Peer::ReadRequest() {
    std::string request = ReadHead();
    const std::string lengthHeader = "\r\nContent-Length: ";
    const size_t length = request.find(lengthHeader);
    if (length != std::string::npos)
        request += ReadExactly(std::stoul(request.substr(length + lengthHeader.size())));
    if (request.find("\r\nTransfer-Encoding: chunked") != std::string::npos) {
        while (request.size() < 7 || request.compare(request.size() - 7, 7, "\r\n0\r\n\r\n") != 0)
            request += ReadThrough("\r\n\r\n");
    }
    return request;
}

void Peer::Send(const std::string& bytes) {
    for (size_t sent = 0; sent < bytes.size();) {
        const int count = send(socket_.Get(), bytes.data() + sent, static_cast<int>(bytes.size() - sent), 0);
        if (count <= 0) return;
        sent += static_cast<size_t>(count);
    }
}

void Peer::Respond(const std::string& body, const std::string& status, const std::string& headers) {
    Send("HTTP/1.1 " + status + "\r\n" + headers + "Content-Length: " + std::to_string(body.size()) +
         "\r\n\r\n" + body);
}

size_t Peer::WaitForEnd() {
    size_t total = received_.size();
    for (received_.clear(); Receive(); received_.clear())
        total += received_.size();
    return total;
}

void Peer::Hold() { interrupted_.get_future().wait(); }

void Peer::Interrupt() {
    isInterrupted_ = true;
    interrupted_.set_value();
    shutdown(socket_.Get(), SD_BOTH);
}

void Peer::Reset() {
    const linger abort = {1, 0};
    setsockopt(socket_.Get(), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&abort), sizeof abort);
    socket_ = KyUtils::Socket();
}

ScriptedServer::ScriptedServer(Script script, const std::string& host) : script_(std::move(script)) {
    const KyUtils::AddressList list =
        KyUtils::ResolveHost(std::wstring(host.begin(), host.end()), 0, SOCK_STREAM);
    Require(list != nullptr, "no such address");
    listener_ = KyUtils::Socket(socket(list->ai_family, SOCK_STREAM, IPPROTO_TCP));
    Require(bind(listener_.Get(), list->ai_addr, static_cast<int>(list->ai_addrlen)) == 0, "cannot bind");
    Require(listen(listener_.Get(), 16) == 0, "cannot listen");
    addressLength_ = sizeof address_;
    getsockname(listener_.Get(), reinterpret_cast<sockaddr*>(&address_), &addressLength_);
    port_ = ntohs(reinterpret_cast<sockaddr_in*>(&address_)->sin_port);  // at the same place for IPv6
    acceptor_ = std::thread([this] { Accept(); });
}

ScriptedServer::~ScriptedServer() {
    stopping_ = true;
    const KyUtils::Socket waker(socket(address_.ss_family, SOCK_STREAM, IPPROTO_TCP));
    connect(waker.Get(), reinterpret_cast<sockaddr*>(&address_), addressLength_);
    acceptor_.join();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (Peer* peer : peers_)
            peer->Interrupt();
    }
    for (std::thread& thread : threads_)
        thread.join();
}

void ScriptedServer::Accept() {
    for (;;) {
        KyUtils::Socket accepted(accept(listener_.Get(), nullptr, nullptr));
        if (stopping_ || !accepted) return;
        const int connection = connections_++;
        auto shared = std::make_shared<KyUtils::Socket>(std::move(accepted));
        threads_.emplace_back([this, shared, connection] { Play(std::move(*shared), connection); });
    }
}

void ScriptedServer::Play(KyUtils::Socket socket, int connection) {
    Peer peer(std::move(socket));
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        peers_.push_back(&peer);
    }
    if (!stopping_) script_(peer, connection);
    const std::lock_guard<std::mutex> lock(mutex_);
    peers_.remove(&peer);
}

}  // namespace CorvixTransport
