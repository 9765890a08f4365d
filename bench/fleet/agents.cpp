#include "agents.h"

#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include "transport/sockets/resolver.h"
#include "utilslib/winsock.h"
#include "wire/snmp/message.h"

namespace CorvixBench {
namespace {

using namespace CorvixTransport;
namespace Snmp = Corvix::Snmp;

KyUtils::Socket Bind(const std::wstring& host) {
    const KyUtils::AddressList address = KyUtils::ResolveHost(host, 0, SOCK_DGRAM);
    KyUtils::Socket made(socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP));
    if (!address || bind(made.Get(), address->ai_addr, static_cast<int>(address->ai_addrlen)) != 0) {
        std::fprintf(stderr, "%ls cannot be bound: %d\n", host.c_str(), WSAGetLastError());
        std::exit(1);
    }
    return made;
}

unsigned short PortOf(const KyUtils::Socket& bound) {
    sockaddr_in address{};
    int length = sizeof address;
    getsockname(bound.Get(), reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
}

void Answer(const KyUtils::Socket& agent, std::string_view datagram, const sockaddr_in& client) {
    std::optional<Snmp::Message> message = Snmp::DecodeMessage(datagram);
    if (!message) return;
    message->type = Snmp::PduType::Response;
    for (Snmp::VarBind& variable : message->variables)
        variable.value = {Snmp::Ber::OctetString, "a value of the device"};
    const std::string answer = Snmp::Encode(*message);
    sendto(agent.Get(), answer.data(), static_cast<int>(answer.size()), 0,
           reinterpret_cast<const sockaddr*>(&client), sizeof client);
}

/// A thread for each device: waiting for all of them at once would cost more the more there are.
void Serve(const KyUtils::Socket agent) {
    std::vector<char> buffer(65536);
    for (;;) {
        sockaddr_in client{};
        int clientLength = sizeof client;
        const int length = recvfrom(agent.Get(), buffer.data(), static_cast<int>(buffer.size()), 0,
                                    reinterpret_cast<sockaddr*>(&client), &clientLength);
        if (length >= 0) Answer(agent, {buffer.data(), static_cast<size_t>(length)}, client);
    }
}

}  // namespace

std::wstring HostOf(int device) {
    return L"127.1." + std::to_wstring(device / 250) + L"." + std::to_wstring(device % 250 + 1);
}

void ServeDevices(int devices) {
    const KyUtils::WinsockSession winsock;
    for (int device = 0; device < devices; ++device) {
        KyUtils::Socket agent = Bind(HostOf(device));
        std::printf("%u ", PortOf(agent));
        std::thread(Serve, std::move(agent)).detach();
    }
    std::printf("\n");
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    ExitProcess(0);
}

}  // namespace CorvixBench
