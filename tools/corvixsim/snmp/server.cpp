#include "snmp/server.h"

#include <algorithm>

namespace CorvixSim {
namespace {

// Answers that wait for their delay to pass. Whoever floods the agent while a rule delays answers loses some.
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
    // The thread waits for a datagram, maybe for a minute: it gets one.
    KnockAt(Endpoint(address_, port_), SOCK_DGRAM);
    thread_.join();
}

void SnmpServer::Run() {
    while (!stopper_.Stopped()) {
        // One thread does all: it wakes for a datagram or for the next answer that is due.
        if (WaitForDatagram(socket_, TimeToNextAnswer())) Receive();
        SendDue();
    }
}

std::chrono::microseconds SnmpServer::TimeToNextAnswer() const {
    constexpr std::chrono::minutes longest{1};
    // Nothing to send: any time will do, since a datagram or the end wakes the thread.
    if (pending_.empty()) return longest;
    const auto left = pending_.begin()->first - Clock::now();
    return std::min<std::chrono::microseconds>(longest,
                                               std::chrono::duration_cast<std::chrono::microseconds>(left));
}

void SnmpServer::Receive() {
    char buffer[65536];
    Pending pending{};
    const size_t length = ReceiveDatagram(socket_, buffer, sizeof buffer, pending.to);
    if (length == 0) return;
    for (SnmpReply& reply : agent_.Answer({buffer, length})) {
        if (pending_.size() == kMaxPending) return;
        pending.datagram = std::move(reply.datagram);
        pending_.emplace(Clock::now() + reply.delay, pending);
    }
}

void SnmpServer::SendDue() {
    while (!pending_.empty() && pending_.begin()->first <= Clock::now()) {
        const Pending& due = pending_.begin()->second;
        SendDatagram(socket_, due.datagram, due.to);
        pending_.erase(pending_.begin());
    }
}

}  // namespace CorvixSim
