#include "snmptransport/scriptedagent.h"

#include <chrono>
#include <stdexcept>

namespace CorvixTransport {
namespace {

void Require(bool done, const char* what) {
    if (!done) throw std::runtime_error(std::string(what) + ": " + std::to_string(WSAGetLastError()));
}

KyUtils::Socket Bind(const wchar_t* host) {
    const KyUtils::AddressList address = KyUtils::ResolveHost(host, 0, SOCK_DGRAM);
    Require(address != nullptr, "resolve");
    KyUtils::Socket made(socket(address->ai_family, SOCK_DGRAM, IPPROTO_UDP));
    Require(static_cast<bool>(made), "socket");
    Require(bind(made.Get(), address->ai_addr, static_cast<int>(address->ai_addrlen)) == 0, "bind");
    return made;
}

sockaddr_storage AddressOf(const KyUtils::Socket& bound, int* length) {
    sockaddr_storage address{};
    *length = sizeof(address);
    Require(getsockname(bound.Get(), reinterpret_cast<sockaddr*>(&address), length) == 0, "getsockname");
    return address;
}

unsigned short PortOf(const KyUtils::Socket& bound) {
    int length = 0;
    const sockaddr_storage address = AddressOf(bound, &length);
    return ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port);
}

void SendTo(const KyUtils::Socket& from, std::string_view datagram, const sockaddr_storage& to, int length) {
    sendto(from.Get(), datagram.data(), static_cast<int>(datagram.size()), 0,
           reinterpret_cast<const sockaddr*>(&to), length);
}

}  // namespace

ScriptedAgent::ScriptedAgent(Script script, const wchar_t* host)
    : script_(std::move(script)), agent_(Bind(host)) {
    // Replies from elsewhere make sense within one address family only.
    if (std::wstring_view(host).find(L':') == std::wstring_view::npos) {
        otherPort_ = Bind(host);
        otherHost_ = Bind(L"127.0.0.8");
    }
    port_ = PortOf(agent_);
    thread_ = std::thread([this] { Serve(); });
}

ScriptedAgent::~ScriptedAgent() {
    ending_ = true;
    int length = 0;
    const sockaddr_storage self = AddressOf(agent_, &length);
    SendTo(agent_, "wake up", self, length);
    thread_.join();
}

std::vector<Snmp::Message> ScriptedAgent::Received() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return received_;
}

const KyUtils::Socket& ScriptedAgent::SocketOf(Sender sender) const {
    if (sender == Sender::OtherPort) return otherPort_;
    return sender == Sender::OtherHost ? otherHost_ : agent_;
}

void ScriptedAgent::Serve() {
    std::vector<char> buffer(65536);
    while (!ending_) {
        sockaddr_storage client{};
        int clientLength = sizeof(client);
        const int length = recvfrom(agent_.Get(), buffer.data(), static_cast<int>(buffer.size()), 0,
                                    reinterpret_cast<sockaddr*>(&client), &clientLength);
        if (length < 0) continue;
        const std::optional<Snmp::Message> request =
            Snmp::DecodeMessage({buffer.data(), static_cast<size_t>(length)});
        if (!request) continue;
        size_t before = 0;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            before = received_.size();
            received_.push_back(*request);
        }
        Play(script_(before, *request), client, clientLength);
    }
}

void ScriptedAgent::Play(const Turn& turn, const sockaddr_storage& client, int clientLength) {
    for (const Reply& reply : turn.replies)
        SendTo(SocketOf(reply.sender), reply.datagram, client, clientLength);
    while (!turn.flood.empty() && !ending_) {
        SendTo(agent_, turn.flood, client, clientLength);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

unsigned short UnusedPort() {
    const KyUtils::WinsockSession winsock;
    return PortOf(Bind(L"127.0.0.7"));
}

Snmp::Message AnswerTo(const Snmp::Message& request, std::vector<Snmp::VarBind> variables) {
    Snmp::Message answer = request;
    answer.type = Snmp::PduType::Response;
    answer.variables = std::move(variables);
    return answer;
}

Snmp::Message ErrorTo(const Snmp::Message& request, std::int32_t status) {
    Snmp::Message answer = AnswerTo(request, request.variables);
    answer.errorStatus = status;
    answer.errorIndex = 1;
    return answer;
}

ScriptedAgent::Turn Only(const Snmp::Message& answer) { return {{{Snmp::Encode(answer)}}, {}}; }

Snmp::VarBind Integer(const Snmp::Oid& oid, std::int32_t number) {
    return {oid, {Snmp::Ber::Integer, Snmp::Ber::IntegerContent(number)}};
}

Snmp::VarBind Text(const Snmp::Oid& oid, std::string text) {
    return {oid, {Snmp::Ber::OctetString, std::move(text)}};
}

}  // namespace CorvixTransport
