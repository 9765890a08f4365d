// An SNMP agent in the test's own process that does whatever it is told, mistakes above all.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "utilslib/winsock.h"
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

    unsigned short Port() const { return port_; }
    std::vector<Snmp::Message> Received() const;

private:
    void Serve();
    void Play(const Turn& turn, const sockaddr_storage& client, int clientLength);
    const KyUtils::Socket& SocketOf(Sender sender) const;

    KyUtils::WinsockSession winsock_;
    Script script_;
    KyUtils::Socket agent_;
    KyUtils::Socket otherPort_;
    KyUtils::Socket otherHost_;
    unsigned short port_ = 0;
    mutable std::mutex mutex_;
    std::vector<Snmp::Message> received_;
    std::atomic<bool> ending_{false};
    std::thread thread_;
};

// A port of the agent's host on which nobody listens.
unsigned short UnusedPort();

// The ordinary answer to a request.
Snmp::Message AnswerTo(const Snmp::Message& request, std::vector<Snmp::VarBind> variables);
Snmp::Message ErrorTo(const Snmp::Message& request, std::int32_t status);
// A turn of one ordinary reply.
ScriptedAgent::Turn Only(const Snmp::Message& answer);

Snmp::VarBind Integer(const Snmp::Oid& oid, std::int32_t number);
Snmp::VarBind Text(const Snmp::Oid& oid, std::string text);

}  // namespace CorvixTransport
