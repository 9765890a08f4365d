// An SNMP agent in the test's own process that does whatever it is told, mistakes above all.
#pragma once

#include "utilslib/winsock.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "wire/snmp/message.h"

namespace CorvixTransport {

namespace Snmp = Corvix::Snmp;

class ScriptedAgent {
public:
    enum class Sender { Agent, OtherPort, OtherHost };
    struct Reply {
        std::string datagram;
        Sender sender = Sender::Agent;
    };
    // What follows a request: these replies, then `flood` again and again until the agent ends.
    struct Turn {
        std::vector<Reply> replies;
        std::string flood;
    };
    // Called with each request and the number of those before it.
    using Script = std::function<Turn(size_t before, const Snmp::Message& request)>;

    explicit ScriptedAgent(Script script, const wchar_t* host = L"127.0.0.7");
    ~ScriptedAgent();
    ScriptedAgent(const ScriptedAgent&) = delete;
    ScriptedAgent& operator=(const ScriptedAgent&) = delete;

    unsigned short Port() const { return ntohs(reinterpret_cast<const sockaddr_in*>(&address_)->sin_port); }
    std::vector<Snmp::Message> Received() const;

private:
    void Serve();
    void Play(const Turn& turn, const sockaddr_storage& client);

    KyUtils::WinsockSession winsock_;
    Script script_;
    // One for each sender.
    std::vector<KyUtils::Socket> sockets_;
    sockaddr_storage address_{};
    mutable std::mutex mutex_;
    std::vector<Snmp::Message> received_;
    std::atomic<bool> ending_{false};
    std::thread thread_;
};

}  // namespace CorvixTransport
