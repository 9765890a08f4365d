// Host names to addresses.
#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>

#include <string>
#include <vector>

#include "transport/waiting.h"

namespace CorvixTransport {

// The addresses of a host (an IPv4 or IPv6 address, or a name) in the system's order; at least one. Winsock has
// to be started.
std::vector<SOCKADDR_STORAGE> ResolveHost(const std::wstring& host, unsigned short port, const Waiting& waiting);

}  // namespace CorvixTransport
