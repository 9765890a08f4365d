#include "snmptransport/scriptedagent.h"

#include <chrono>
#include <stdexcept>

namespace CorvixTransport {
namespace {

KyUtils::Socket Bind(const wchar_t* host) {
    const KyUtils::AddressList address = KyUtils::ResolveHost(host, 0, SOCK_DGRAM);
    KyUtils::Socket made(address ? address->ai_family : AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    if (!address || bind(made.Get(), address->ai_addr, static_cast<int>(address->ai_addrlen)) != 0)
        throw std::runtime_error("cannot bind");
    return made;
}

void SendTo(const KyUtils::Socket& from, std::string_view datagram, const sockaddr_storage& to) {
    sendto(from.Get(), datagram.data(), static_cast<int>(datagram.size()), 0,
           reinterpret_cast<const sockaddr*>(&to),
           to.ss_family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6));
}

}  // namespace

ScriptedAgent::ScriptedAgent(Script script, const wchar_t* host) : script_(std::move(script)) {
    sockets_.push_back(Bind(host));
    sockets_.push_back(Bind(host));
    sockets_.push_back(Bind(L"127.0.0.8"));
    int length = sizeof address_;
    getsockname(sockets_[0].Get(), reinterpret_cast<sockaddr*>(&address_), &length);
    thread_ = std::thread([this] { Serve(); });
}

ScriptedAgent::~ScriptedAgent() {
    ending_ = true;
    SendTo(sockets_[0], "wake up", address_);
    thread_.join();
}

std::vector<Snmp::Message> ScriptedAgent::Received() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return received_;
}

void ScriptedAgent::Serve() {
    std::vector<char> buffer(65536);
    while (!ending_) {
        sockaddr_storage client{};
        int clientLength = sizeof(client);
        const int length = recvfrom(sockets_[0].Get(), buffer.data(), static_cast<int>(buffer.size()), 0,
                                    reinterpret_cast<sockaddr*>(&client), &clientLength);
        if (length < 0) continue;
        const auto request = Snmp::DecodeMessage({buffer.data(), static_cast<size_t>(length)});
        if (!request) continue;
        std::unique_lock<std::mutex> lock(mutex_);
        const size_t before = received_.size();
        received_.push_back(*request);
        lock.unlock();
        Play(script_(before, *request), client);
    }
}

void ScriptedAgent::Play(const Turn& turn, const sockaddr_storage& client) {
    for (const Reply& reply : turn.replies)
        SendTo(sockets_[static_cast<size_t>(reply.sender)], reply.datagram, client);
    while (!turn.flood.empty() && !ending_) {
        SendTo(sockets_[0], turn.flood, client);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

}  // namespace CorvixTransport
