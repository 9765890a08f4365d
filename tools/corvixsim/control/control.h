// The paths below "/sim/": counters, values, faults and documents at run time.
#pragma once

#include <functional>

#include "device/device.h"
#include "http/message.h"

namespace CorvixSim {

class Control final : public HttpHandler {
public:
    Control(Device& device, std::function<void()> quit) : device_(device), quit_(std::move(quit)) {}

    HttpResponse Handle(const HttpRequest& request, HttpReceiver& body) override;

    /// A description of the paths for people.
    static std::string Help();

private:
    Device& device_;
    std::function<void()> quit_;
};

}  // namespace CorvixSim
