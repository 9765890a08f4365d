// Serves SNMP over UDP.
#pragma once

#include <chrono>
#include <map>
#include <string>
#include <thread>

#include "base/server.h"
#include "base/socket.h"
#include "base/stopper.h"
#include "snmp/agent.h"

namespace CorvixSim {

class SnmpServer final : public Server {
public:
    /// Serves from then on until destroyed. Throws NetError when the port cannot be had.
    SnmpServer(const std::string& address, uint16_t port, Device& device);
    ~SnmpServer() override;

    uint16_t Port() const override { return port_; }

    /// Nothing to do: the agent itself stays silent while the rules say so.
    void Refuse(bool) override {}

private:
    using Clock = std::chrono::steady_clock;

    struct Pending {
        std::string datagram;
        Peer to;
    };

    void Run();
    std::chrono::microseconds TimeToNextAnswer() const;
    void Receive();
    void SendDue();

    SnmpAgent agent_;
    std::string address_;
    Socket socket_;
    uint16_t port_;
    Stopper stopper_;
    std::multimap<Clock::time_point, Pending> pending_;
    std::thread thread_;
};

}  // namespace CorvixSim
