#include "simulator.h"

#include <filesystem>

#include "base/text.h"
#include "http/documenthandler.h"
#include "ipp/handler.h"
#include "snmp/server.h"
#include "soap/handler.h"

namespace CorvixSim {
namespace {

constexpr int kFirstHost = 2;  // 127.0.0.1 is left to the developer's own services
constexpr int kLastHost = 254;

std::unique_ptr<HttpHandler> MakeHandler(const ServiceInfo& info, Device& device,
                                         const std::string& spoolFolder) {
    const std::string_view name = info.name;
    if (name == "ws") return std::make_unique<SoapHandler>(device);
    if (name == "ipp") return std::make_unique<IppHandler>(device, info.port, spoolFolder);
    return std::make_unique<DocumentHandler>(device, info.port);
}

}  // namespace

Simulator::Simulator(const Options& options, std::function<void()> quit)
    : spoolFolder_(options.spoolFolder),
      device_(LoadDeviceFiles(options.deviceFolder),
              options.scenarioFile.empty() ? "" : ReadWholeFile(options.scenarioFile)),
      control_(device_, std::move(quit)) {
    if (!spoolFolder_.empty()) std::filesystem::create_directories(std::filesystem::u8path(spoolFolder_));
    // Before anything is served: no client sees the device as it was without them.
    for (const std::string& value : options.values)
        device_.values.Load(value);
    for (const std::string& rule : options.faults)
        device_.faults.Add(rule);
    if (options.address.empty()) {
        StartOnFreeAddress(options);
    } else {
        Start(options, options.address);
    }
    // A refusal is the one fault that strikes before a request: the services stop to listen.
    device_.faults.OnChange([this] { ApplyRefusals(); });
    ApplyRefusals();
}

Simulator::~Simulator() {
    // The servers go one after the other: no rule may reach for one that has gone.
    device_.faults.OnChange(nullptr);
}

void Simulator::StartOnFreeAddress(const Options& options) {
    for (int host = kFirstHost;; ++host) {
        try {
            return Start(options, "127.0.0." + std::to_string(host));
        } catch (const AddressInUse&) {
            // Some services got their ports here: all move on together, as a device has one address.
            Stop();
            if (host < kLastHost) continue;
            throw std::runtime_error(
                "one of the ports is taken at every loopback address: --port-base 0 takes free ones");
        }
    }
}

void Simulator::Start(const Options& options, const std::string& address) {
    address_ = address;
    device_.values.Set("address", address);
    // First of all, so that its port, when it is any free one, is none of those wanted for services.
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
    Service service{&info, MakeHandler(info, device_, spoolFolder_), nullptr};
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
