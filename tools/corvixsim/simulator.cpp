#include "simulator.h"

#include <chrono>

#include "documenthandler.h"
#include "snmpserver.h"
#include "soaphandler.h"
#include "text.h"

namespace CorvixSim {
namespace {

using Hundredths = std::chrono::duration<int64_t, std::centi>;

constexpr int kFirstHost = 2;  // 127.0.0.1 is left to the developer's own services
constexpr int kLastHost = 254;

void LoadValues(Device& device, const Options& options) {
    if (const auto file = device.files.find("values.txt"); file != device.files.end()) {
        device.values.Load(file->second);
    }
    for (const std::string& value : options.values)
        device.values.Load(value);
    const auto start = std::chrono::steady_clock::now();
    device.values.SetComputed("uptime", [start] {
        const auto up = std::chrono::steady_clock::now() - start;
        return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(up).count() + 1);
    });
    device.values.SetComputed("uptime-ticks", [start] {
        const auto up = std::chrono::steady_clock::now() - start;
        return std::to_string(std::chrono::duration_cast<Hundredths>(up).count() + 1);
    });
}

std::unique_ptr<HttpHandler> MakeHandler(const ServiceInfo& info, Device& device) {
    if (std::string_view(info.name) == "ws") return std::make_unique<SoapHandler>(device);
    return std::make_unique<DocumentHandler>(device, info.port);
}

}  // namespace

Simulator::Simulator(const Options& options, std::function<void()> quit)
    : device_(LoadDeviceFiles(options.deviceFolder)), control_(device_, std::move(quit)) {
    LoadValues(device_, options);
    for (const std::string& rule : options.faults)
        device_.faults.Add(rule);
    if (options.address.empty()) {
        StartOnFreeAddress(options);
    } else {
        Start(options, options.address);
    }
    ApplyRefusals();
    device_.faults.OnChange([this] { ApplyRefusals(); });
}

void Simulator::StartOnFreeAddress(const Options& options) {
    for (int host = kFirstHost;; ++host) {
        try {
            return Start(options, "127.0.0." + std::to_string(host));
        } catch (const NetError& error) {
            Stop();
            if (host == kLastHost || error.Code() != WSAEADDRINUSE) throw;
        }
    }
}

void Simulator::Start(const Options& options, const std::string& address) {
    address_ = address;
    controlServer_ =
        std::make_unique<HttpServer>("control", address, options.ControlPort(), device_, control_, control_);
    for (const ServiceInfo& info : AllServices()) {
        if (!options.Serves(info)) continue;
        services_.push_back(MakeService(info, address, options.PortOf(info)));
    }
}

Simulator::Service Simulator::MakeService(const ServiceInfo& info, const std::string& address,
                                          uint16_t port) {
    if (info.datagrams) return {&info, nullptr, std::make_unique<SnmpServer>(address, port, device_)};
    Service service{&info, MakeHandler(info, device_), nullptr};
    service.server =
        std::make_unique<HttpServer>(info.name, address, port, device_, *service.handler, control_);
    return service;
}

void Simulator::Stop() {
    services_.clear();
    controlServer_.reset();
}

void Simulator::ApplyRefusals() {
    for (const Service& service : services_)
        service.server->Refuse(device_.faults.Refuses(service.info->name));
}

std::string Simulator::ReadyLine() const {
    std::string ports;
    for (const Service& service : services_) {
        ports += (ports.empty() ? "" : ",") + PortName(*service.info) + "=" +
                 std::to_string(service.server->Port());
    }
    return "ready address=" + address_ + " port-map=" + ports +
           " control=" + std::to_string(controlServer_->Port());
}

}  // namespace CorvixSim
