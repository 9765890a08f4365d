// Host names to addresses, without waiting longer than the request is willing to.
#pragma once

#include <string>

#include "transport/waiting.h"
#include "transport/winsock.h"

namespace CorvixTransport {

// The TCP addresses of a host, at least one. The system's own resolver cannot be interrupted: a name is
// looked up on another thread, which is left to itself when the time is up or the request is cancelled.
// Winsock has to be started.
AddressList ResolveHost(const std::wstring& host, unsigned short port, const Waiting& waiting);

}  // namespace CorvixTransport
