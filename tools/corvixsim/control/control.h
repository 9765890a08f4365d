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
    struct Command;
    static const Command kCommands[];

    HttpResponse ShowCounters(const std::string& text);
    HttpResponse ResetCounters(const std::string& text);
    HttpResponse ShowValues(const std::string& text);
    HttpResponse SetValues(const std::string& text);
    HttpResponse ShowFaults(const std::string& text);
    HttpResponse AddFaults(const std::string& text);
    HttpResponse ClearFaults(const std::string& text);
    HttpResponse ShowJobs(const std::string& text);
    HttpResponse StepJob(const std::string& id, const std::string& text);
    HttpResponse SetScenario(const std::string& text);
    HttpResponse Quit(const std::string& text);
    HttpResponse PutDocument(const std::string& place, std::string text);

    Device& device_;
    std::function<void()> quit_;
};

}  // namespace CorvixSim
