// Writes a response to a connection, bent by the faults that befall it.
#pragma once

#include "base/socket.h"
#include "base/stopper.h"
#include "http/message.h"

namespace CorvixSim {

enum class AfterAnswer { KeepOpen, Close, Reset };

/// Writes `response` to the request. Returns what is to become of the connection; throws NetError when it
/// breaks. `stopper` ends delays and endless bodies.
AfterAnswer WriteAnswer(const Socket& socket, const HttpRequest& request, HttpResponse response,
                        const FaultSet& faults, Stopper& stopper);

}  // namespace CorvixSim
