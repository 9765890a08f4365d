/// Host names to addresses, without waiting longer than the request is willing to.
#pragma once

#include <string>

#include "transport/sockets/waiting.h"
#include "utilslib/winsock.h"

namespace CorvixTransport {

/// Whether a host is an IPv4 or IPv6 address rather than a name, judged by its characters. An address is resolved
/// without asking the network.
bool LooksNumeric(const std::wstring& host);

/// The TCP addresses of a host, at least one. The system's own resolver cannot be interrupted: a name is
/// looked up on another thread, which is abandoned when the time is up or the request is cancelled.
/// Winsock has to be started.
KyUtils::AddressList ResolveHost(const std::wstring& host, unsigned short port, const Waiting& waiting);

}  // namespace CorvixTransport
