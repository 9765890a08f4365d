#include "options.h"

#include <algorithm>

#include "base/text.h"
#include "control/control.h"
#include "device/faults.h"

namespace CorvixSim {
namespace {

// Leaves room for services to come between them and the control port.
constexpr uint16_t kControlOffset = 9;

/// An option of the command line and what it does to the options.
struct Switch {
    std::string_view name;
    std::string_view argument;  ///< empty: it takes none
    void (*apply)(Options& options, const std::string& argument);
    std::string_view help;
};

uint16_t PortNumber(std::string_view text) {
    const auto number = ParseNumber(text, 65535);
    if (!number) throw UsageError("not a port: " + std::string(text));
    return static_cast<uint16_t>(*number);
}

template <typename Condition>
bool HasService(Condition condition) {
    const auto& all = AllServices();
    return std::any_of(all.begin(), all.end(), condition);
}

bool IsPortName(std::string_view name) {
    return name == "control" || HasService([name](const ServiceInfo& s) { return PortName(s) == name; });
}

void AddPortMap(Options& options, const std::string& text) {
    for (const std::string_view entry : Split(text, ',')) {
        const size_t equals = entry.find('=');
        const std::string_view name = entry.substr(0, equals);
        if (equals == std::string_view::npos || !IsPortName(name)) {
            throw UsageError("not of the form PORT=REAL, or not a port that is served: " +
                             std::string(entry));
        }
        options.portMap[std::string(name)] = PortNumber(entry.substr(equals + 1));
    }
}

void AddServices(Options& options, const std::string& text) {
    for (const std::string_view name : Split(text, ',')) {
        if (!HasService([name](const ServiceInfo& service) { return service.name == name; }))
            throw UsageError("not a service: " + std::string(name));
        options.services.emplace_back(name);
    }
}

void SetPortBase(Options& options, const std::string& text) {
    options.portBase = PortNumber(text);
    if (*options.portBase > 65535 - kControlOffset) throw UsageError("no room for ports above " + text);
}

constexpr Switch kSwitches[] = {
    {"--bind", "ADDRESS", [](Options& o, const std::string& a) { o.address = a; },
     "the loopback address to serve on (default: 127.0.0.2, or the next that is free)"},
    {"--port-map", "LIST", AddPortMap,
     "real ports for the ports of a device, such as 80=18080,161/udp=10161; 'control=PORT' too"},
    {"--port-base", "N", SetPortBase,
     "real ports from N on, in the order of the services below, control at N+9; 0: any free ports"},
    {"--services", "LIST", AddServices, "serve only these (default: all)"},
    {"--device", "FOLDER", [](Options& o, const std::string& a) { o.deviceFolder = a; },
     "files that replace or add to the built-in files of the device"},
    {"--spool", "FOLDER", [](Options& o, const std::string& a) { o.spoolFolder = a; },
     "where printed documents are stored (default: they are counted only)"},
    {"--scenario", "FILE", [](Options& o, const std::string& a) { o.scenarioFile = a; },
     "what becomes of print jobs (default: printed within a second)"},
    {"--set", "NAME=VALUE", [](Options& o, const std::string& a) { o.values.push_back(a); },
     "a value of the device; may be given more than once"},
    {"--fault", "RULE", [](Options& o, const std::string& a) { o.faults.push_back(a); },
     "a fault rule, see below; may be given more than once"},
    {"--until-eof", "", [](Options& o, const std::string&) { o.untilEof = true; },
     "end when standard input ends"},
    {"--help", "", [](Options& o, const std::string&) { o.help = true; }, "show this text"},
};

const Switch& FindSwitch(const std::string& name) {
    for (const Switch& known : kSwitches) {
        if (known.name == name) return known;
    }
    throw UsageError("unknown option: " + name);
}

std::string Row(std::string name, std::string_view help) {
    name = "  " + name;
    name.resize(std::max<size_t>(name.size() + 1, 24), ' ');
    return name + std::string(help) + "\n";
}

}  // namespace

const std::vector<ServiceInfo>& AllServices() {
    static const std::vector<ServiceInfo> services = {
        {"plsxml", 80, false, 0, "device documents as XML over HTTP"},
        {"pavo", 8080, false, 1, "the Pavo discovery tree and its resources"},
        {"ws", 3910, false, 2, "SOAP web services: WS-Transfer Get and GetPrinterElements"},
        {"ipp", 631, false, 3, "an IPP Everywhere printer that prints"},
        {"snmp", 161, true, 4, "an SNMP agent, versions 1 and 2c"},
    };
    return services;
}

std::string PortName(const ServiceInfo& service) {
    return std::to_string(service.port) + (service.datagrams ? "/udp" : "");
}

bool Options::Serves(const ServiceInfo& service) const {
    return services.empty() || std::find(services.begin(), services.end(), service.name) != services.end();
}

uint16_t Options::PortOf(const ServiceInfo& service) const {
    // A single port wins over the base, which is for all that were not named.
    if (const auto mapped = portMap.find(PortName(service)); mapped != portMap.end()) return mapped->second;
    if (!portBase) return service.port;
    return *portBase == 0 ? uint16_t{0} : static_cast<uint16_t>(*portBase + service.offset);
}

uint16_t Options::ControlPort() const {
    if (const auto mapped = portMap.find("control"); mapped != portMap.end()) return mapped->second;
    return portBase.value_or(0) == 0 ? uint16_t{0} : static_cast<uint16_t>(*portBase + kControlOffset);
}

Options ParseOptions(const std::vector<std::string>& arguments) {
    Options options;
    for (auto it = arguments.begin(); it != arguments.end(); ++it) {
        const Switch& known = FindSwitch(*it);
        // Every option with a value has it as the next argument; there is no "--name=value".
        if (known.argument.empty()) {
            known.apply(options, {});
        } else if (++it == arguments.end()) {
            throw UsageError(std::string(known.name) + " needs a value");
        } else {
            known.apply(options, *it);
        }
    }
    return options;
}

std::string UsageText() {
    std::string text =
        "corvixsim - a simulated printer on a loopback address\n\n"
        "usage: corvixsim [OPTION]...\n\nOptions:\n";
    for (const Switch& known : kSwitches) {
        text += Row(std::string(known.name) + " " + std::string(known.argument), known.help);
    }
    text += "\nServices:\n";
    for (const ServiceInfo& service : AllServices()) {
        text += Row(std::string(service.name) + " " + PortName(service), service.help);
    }
    text +=
        "\nWhen all services are ready, one line on standard output says where, such as\n"
        "  ready address=127.0.0.2 port-map=80=18080,8080=18081,3910=18082,631=18083,161/udp=18084 "
        "control=18089\n"
        "It ends on Ctrl-C, on POST /sim/quit, or with --until-eof at the end of standard input.\n\n"
        "Paths on the control port, and on every HTTP service:\n" +
        Control::Help() + "\nFaults:\n" + FaultTable::Help() +
        "\nExamples:\n"
        "  corvixsim --port-base 18080\n"
        "  corvixsim --bind 127.0.0.9 --port-base 0 --until-eof\n"
        "  corvixsim --port-base 18080 --fault \"service=plsxml path=*/trays.xml truncate=200\"\n"
        "  corvixsim --port-base 18080 --fault \"delay=3000 every=5\" --set serial-number=VYR0000042\n"
        "  curl -d \"service=plsxml status=503 times=2\" http://127.0.0.2:18089/sim/faults\n"
        "  curl -d \"black-level=3\" http://127.0.0.2:18089/sim/values\n"
        "  curl -X POST http://127.0.0.2:18089/sim/quit\n";
    return text;
}

}  // namespace CorvixSim
