/// \file snmpconnection.h
/// An SNMP connection to one device over UDP.
#pragma once

#include <string>

#include "corvixdm/transport.h"

namespace CorvixTransport {

/// The versions of SNMP that are spoken; the numbers are those on the wire.
enum class SnmpVersion : int { V1 = 0, V2c = 1 };

/// Where and how to ask. An address fills in the host, and the port from its port map.
struct SnmpOptions {
    /// A dotted IPv4 address, an IPv6 address without brackets, or a DNS name.
    std::wstring host;
    unsigned short port = 161;
    SnmpVersion version = SnmpVersion::V2c;
    std::string readCommunity = "public";
    std::string writeCommunity = "public";
    /// The longest wait for one answer.
    unsigned timeoutMilliseconds = 2000;
    /// How often a request is sent again when no answer came.
    unsigned retries = 2;
    /// An event of the caller's, which outlives the connection; null for none. Once it is set, every operation
    /// ends soon with ERROR_CANCELLED, and nothing more is sent.
    HANDLE stopEvent = nullptr;
};

/// Makes a connection that holds one reference, owned by the caller. Nothing is sent yet: an unreachable
/// device shows at the first request. Null when the host cannot be resolved or a socket cannot be made;
/// GetLastError() tells why.
Corvix::MIBConnection* CreateSnmpConnection(const SnmpOptions& options);

}  // namespace CorvixTransport
