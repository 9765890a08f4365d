#include "snmpserver.h"

#include <algorithm>

namespace CorvixSim {
namespace {

constexpr size_t kMaxPending = 10000;

}  // namespace

SnmpServer::SnmpServer(const std::string& address, uint16_t port, Device& device)
    : agent_(device),
      address_(address),
      socket_(BindDatagrams(Endpoint(address, port))),
      port_(LocalPort(socket_)) {
    thread_ = std::thread([this] { Run(); });
}

SnmpServer::~SnmpServer() {
    stopper_.Stop();
    SendEmptyDatagram(Endpoint(address_, port_));
    thread_.join();
}

void SnmpServer::Run() {
    while (!stopper_.Stopped()) {
        if (WaitForDatagram()) Receive();
        SendDue();
    }
}

bool SnmpServer::WaitForDatagram() {
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(socket_.Get(), &readable);
    if (pending_.empty()) return select(0, &readable, nullptr, nullptr, nullptr) > 0;
    const auto wait =
        std::chrono::duration_cast<std::chrono::microseconds>(pending_.begin()->first - Clock::now());
    const long left = std::max(0L, static_cast<long>(std::min<int64_t>(wait.count(), 60'000'000)));
    timeval timeout{left / 1'000'000, left % 1'000'000};
    return select(0, &readable, nullptr, nullptr, &timeout) > 0;
}

void SnmpServer::Receive() {
    char buffer[65536];
    Pending pending{};
    pending.toLength = sizeof pending.to;
    const int length = recvfrom(socket_.Get(), buffer, sizeof buffer, 0,
                                reinterpret_cast<sockaddr*>(&pending.to), &pending.toLength);
    // An error here tells of an earlier answer that nobody waited for.
    if (length <= 0) return;
    for (SnmpReply& reply : agent_.Answer({buffer, static_cast<size_t>(length)})) {
        if (pending_.size() == kMaxPending) return;
        pending.datagram = std::move(reply.datagram);
        pending_.emplace(Clock::now() + reply.delay, pending);
    }
}

void SnmpServer::SendDue() {
    while (!pending_.empty() && pending_.begin()->first <= Clock::now()) {
        const Pending& due = pending_.begin()->second;
        sendto(socket_.Get(), due.datagram.data(), static_cast<int>(due.datagram.size()), 0,
               reinterpret_cast<const sockaddr*>(&due.to), due.toLength);
        pending_.erase(pending_.begin());
    }
}

}  // namespace CorvixSim
