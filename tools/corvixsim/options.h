// The command line.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace CorvixSim {

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A service as a client knows it: by the port of a real device.
struct ServiceInfo {
    const char* name;
    uint16_t port;
    bool datagrams;
    uint16_t offset;  ///< from the base of the real ports
    const char* help;
};

/// Every service.
const std::vector<ServiceInfo>& AllServices();

/// "80" or "161/udp", as port maps name it.
std::string PortName(const ServiceInfo& service);

struct Options {
    std::string address;                      ///< empty: 127.0.0.2 or the next that is free
    std::map<std::string, uint16_t> portMap;  ///< real ports by port name; "control" too
    std::optional<uint16_t> portBase;
    std::vector<std::string> services;  ///< empty: all
    std::string deviceFolder;
    std::string spoolFolder;
    std::string scenarioFile;
    std::vector<std::string> values;  ///< "name=value"
    std::vector<std::string> faults;
    bool untilEof = false;
    bool help = false;

    bool Serves(const ServiceInfo& service) const;

    /// The real port of a service, 0 for any free one.
    uint16_t PortOf(const ServiceInfo& service) const;
    uint16_t ControlPort() const;
};

/// Throws UsageError for arguments that it does not understand.
Options ParseOptions(const std::vector<std::string>& arguments);

std::string UsageText();

}  // namespace CorvixSim
