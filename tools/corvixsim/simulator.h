// The whole simulated printer: the device and the services that show it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "control/control.h"
#include "device/device.h"
#include "http/server.h"
#include "options.h"

namespace CorvixSim {

class Simulator {
public:
    /// Serves from then on until destroyed; `quit` is called when a client asks for the end.
    /// Throws when the device's files cannot be used or an address or port cannot be had.
    Simulator(const Options& options, std::function<void()> quit);
    ~Simulator();
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    /// "ready address=... port-map=... control=..."
    std::string ReadyLine() const;

private:
    struct Service {
        const ServiceInfo* info;
        std::unique_ptr<HttpHandler> handler;
        std::unique_ptr<Server> server;
    };

    void StartOnFreeAddress(const Options& options);
    void Start(const Options& options, const std::string& address);
    Service MakeService(const ServiceInfo& info, const std::string& address, uint16_t port);
    void Stop();
    void ApplyRefusals();

    std::string spoolFolder_;
    Device device_;
    Control control_;
    std::string address_;
    std::vector<Service> services_;
    std::unique_ptr<HttpServer> controlServer_;
};

}  // namespace CorvixSim
