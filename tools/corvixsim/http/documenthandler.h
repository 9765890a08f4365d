// Hands out the documents of one port.
#pragma once

#include "device/device.h"
#include "http/message.h"

namespace CorvixSim {

class DocumentHandler final : public HttpHandler {
public:
    /// `port` is the port of a real device, whichever port the simulator listens on.
    DocumentHandler(Device& device, unsigned port) : device_(device), port_(port) {}

    HttpResponse Handle(const HttpRequest& request, HttpReceiver& body) override;

private:
    Device& device_;
    unsigned port_;
};

}  // namespace CorvixSim
