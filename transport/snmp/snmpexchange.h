/// One SNMP request and its answer: the sockets, the retries, and what counts as the answer.
#pragma once

#include "utilslib/winsock.h"

#include <string_view>
#include <vector>

#include "transport/snmp/udpsocket.h"
#include "transport/snmpconnection.h"
#include "wire/snmp/message.h"

namespace CorvixTransport {

namespace Snmp = Corvix::Snmp;

/// Owned by one connection and used by one thread at a time.
class SnmpExchange {
public:
    using Variables = std::vector<Snmp::VarBind>;

    explicit SnmpExchange(const SnmpOptions& options);

    /// Resolves the host and opens the sockets. 0, or the system error code.
    int Open();
    void SetTimeout(unsigned long milliseconds, unsigned retries);

    /// Sends the request again until it is answered or the retries are used up.
    /// \return S_OK; what the agent's error status means, which LastErrorStatus() tells; WSAETIMEDOUT, ERROR_CANCELLED
    ///     or what else the network failed with, as HRESULT. `given` is set whenever an answer came.
    HRESULT Ask(Snmp::PduType type, Variables asked, Variables* given);

    /// That of the last answer; no error where none came.
    std::int32_t LastErrorStatus() const { return lastErrorStatus_; }

private:
    HRESULT SendAndWait(const Snmp::Message& request, Snmp::Message* answer);
    int Attempt(UdpSocket& socket, const Snmp::Message& request, std::string_view datagram,
                Snmp::Message* answer);
    int AwaitAnswer(UdpSocket& socket, const Snmp::Message& request, Snmp::Message* answer);
    void KeepOnly(size_t endpoint);
    std::int32_t NextRequestId();

    KyUtils::WinsockSession winsock_;
    SnmpOptions options_;
    /// One for each address of the host, until one has answered; then that alone.
    std::vector<UdpSocket> endpoints_;
    std::int32_t requestId_;
    std::int32_t lastErrorStatus_ = Snmp::ErrorStatus::NoError;
};

}  // namespace CorvixTransport
