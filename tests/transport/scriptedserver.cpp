#include "transport/scriptedserver.h"

#include <limits>
#include <stdexcept>

namespace CorvixTransport {

namespace Http = Corvix::Http;

std::string Received::Header(std::string_view name) const {
    const std::string* value = head.headers.Find(name);
    return value ? *value : "";
}

bool Peer::Receive() {
    // A wait for the socket alone could not be interrupted on every system.
    constexpr int patience = 10;
    WSAPOLLFD poll = {socket_.Get(), POLLIN, 0};
    while (WSAPoll(&poll, 1, patience) == 0) {
        if (isInterrupted_) return false;
    }
    char buffer[65536];
    const int count = recv(socket_.Get(), buffer, sizeof buffer, 0);
    if (count <= 0) return false;
    received_.append(buffer, static_cast<size_t>(count));
    return true;
}

Received Peer::Read(bool whole) {
    Http::RequestReader reader({65536, std::numeric_limits<uint64_t>::max()});
    Received request;
    while (!reader.IsComplete() && (whole || !reader.HasHead()) && (!received_.empty() || Receive())) {
        // By the byte, so that what follows the head stays.
        const size_t taken = reader.Feed(whole ? received_ : received_.substr(0, 1));
        request.bytes += received_.substr(0, taken);
        received_.erase(0, taken);
        if (reader.IsFaulty()) break;
    }
    request.head = reader.Head();
    request.body = reader.TakeBody();
    return request;
}

std::string Peer::ReadThrough(const std::string& text) {
    size_t found;
    while ((found = received_.find(text)) == std::string::npos) {
        if (!Receive()) return std::exchange(received_, {});
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

void Peer::ServeAll(const std::string& body) {
    while (!ReadRequest().IsEmpty())
        Respond(body);
}

void Peer::WaitForEnd() {
    while (Receive())
        received_.clear();
}

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

ScriptedServer::ScriptedServer(Script script, const wchar_t* host)
    : script_(std::move(script)),
      host_(KyUtils::ResolveHost(host, 0, SOCK_STREAM)),
      listener_(host_ ? host_->ai_family : AF_INET, SOCK_STREAM, IPPROTO_TCP) {
    auto* const address = host_ ? host_->ai_addr : nullptr;
    int length = host_ ? static_cast<int>(host_->ai_addrlen) : 0;
    if (!address || bind(listener_.Get(), address, length) != 0 || listen(listener_.Get(), 16) != 0)
        throw std::runtime_error("cannot listen");
    getsockname(listener_.Get(), address, &length);
    port_ = ntohs(reinterpret_cast<sockaddr_in*>(address)->sin_port);  // at the same place for IPv6
    acceptor_ = std::thread([this] { Accept(); });
}

ScriptedServer::~ScriptedServer() {
    stopping_ = true;
    const KyUtils::Socket waker(host_->ai_family, SOCK_STREAM, IPPROTO_TCP);
    connect(waker.Get(), host_->ai_addr, static_cast<int>(host_->ai_addrlen));
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
