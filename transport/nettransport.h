/// \file nettransport.h
/// The reference transport: a printer on the network, reached with HTTP/1.1 over sockets (TLS included) and
/// SNMP.
///
///     CorvixTransport::NetAddressOptions options;
///     options.host = L"192.0.2.7";
///     Corvix::DisposablePtr<Corvix::KyNetAddress> address(CorvixTransport::CreateNetAddress(options));
///
/// The address is then handed to the library's factories. docs/transports.md tells how it behaves in detail.
#pragma once

#include <functional>
#include <string>

#include "corvixdm/disposableptr.h"
#include "corvixdm/transport.h"
#include "transport/portmap.h"
#include "transport/snmpconnection.h"

namespace CorvixTransport {

/// What one finished HTTP exchange came to.
struct ExchangeRecord {
    std::wstring method;
    std::wstring path;
    /// The library's port, and the one really connected to.
    unsigned short port = 0;
    unsigned short realPort = 0;
    bool secure = false;
    /// Whether a connection kept alive from an earlier exchange was used.
    bool reusedConnection = false;
    /// The HTTP status; 0 when no response came.
    unsigned long status = 0;
    /// The system error code; 0 when a response came.
    unsigned long error = 0;
    /// Body bytes, without heads and frames of the response.
    unsigned long long bytesSent = 0;
    unsigned long long bytesReceived = 0;
};

/// Called once for each exchange, on the thread that made it, which waits for it. It must not throw.
using ExchangeObserver = std::function<void(const ExchangeRecord&)>;

struct NetAddressOptions {
    /// A dotted IPv4 address, an IPv6 address without brackets, or a DNS name.
    std::wstring host;
    /// What GetHostName() answers until SetHostName() is called; empty for the host. With the name of a local
    /// port, such as L"USB001", the library takes the printer for one behind a local endpoint, and does not
    /// probe the standard ports of the host. Devices are compared by this name, too.
    std::wstring hostName;
    /// What GetPort() answers, such as L"631"; empty when none is configured.
    std::wstring port;
    /// A name for people; empty for none.
    std::wstring displayName;
    /// Credentials for requests that are given none of their own. They are sent only when the device asks.
    std::wstring userName;
    std::wstring password;
    /// Whether requests use TLS until SetSecure() says otherwise.
    bool secure = false;
    /// WinINet request flags for TLS, answered by GetConnectionParameter(): see docs/transports.md.
    unsigned long securityFlags = 0;
    /// The longest wait for the device, each for connecting, for sending a piece and for receiving one.
    unsigned timeoutMilliseconds = 30000;
    /// The longest time for one whole response, so that a device that trickles cannot hold a thread for ever;
    /// 0 means ten times the time-out.
    unsigned responseLimitMilliseconds = 0;
    /// The longest body of a response in bytes.
    unsigned long maximumBodyLength = 16ul * 1024 * 1024;
    PortMap portMap;
    /// Its host, port and stop event are filled in by the address.
    SnmpOptions snmp;
    bool webServicePortAvailable = true;
    ExchangeObserver observer;
    /// An event of the caller's, which outlives the address and everything made by it; null for none. Once it
    /// is set, every HTTP exchange and SNMP operation of the address ends soon with ERROR_CANCELLED, and no
    /// other one begins.
    HANDLE stopEvent = nullptr;
};

/// Makes an address that holds one reference, owned by the caller. Nothing is resolved or connected yet.
Corvix::KyNetAddress* CreateNetAddress(const NetAddressOptions& options);

/// What a code of HTTPRequest::GetLastErrorCode() means, in one English sentence without a line end, or the
/// system's own text; "error N" when nobody knows.
std::wstring DescribeNetError(unsigned long code);

}  // namespace CorvixTransport
