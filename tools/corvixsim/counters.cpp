#include "counters.h"

#include "text.h"

namespace CorvixSim {
namespace {

// Junk requests must not fill the memory of a long-running simulator with paths.
constexpr size_t kMaxPaths = 10000;

}  // namespace

void Counters::Count(const std::string& service, const std::string& what) {
    const std::lock_guard lock(mutex_);
    Service& counted = services_[service];
    ++counted.requests;
    if (counted.paths.size() < kMaxPaths || counted.paths.count(what) != 0) ++counted.paths[what];
}

void Counters::CountConnection(const std::string& service) {
    const std::lock_guard lock(mutex_);
    ++services_[service].connections;
}

void Counters::Reset() {
    const std::lock_guard lock(mutex_);
    services_.clear();
}

std::string Counters::Json() const {
    const std::lock_guard lock(mutex_);
    uint64_t total = 0;
    std::string services;
    for (const auto& [name, service] : services_) {
        total += service.requests;
        std::string paths;
        for (const auto& [path, count] : service.paths) {
            paths += (paths.empty() ? "" : ",") + JsonText(path) + ":" + std::to_string(count);
        }
        services += (services.empty() ? "" : ",") + JsonText(name) +
                    ":{\"connections\":" + std::to_string(service.connections) +
                    ",\"requests\":" + std::to_string(service.requests) + ",\"paths\":{" + paths + "}}";
    }
    return "{\"total\":" + std::to_string(total) + ",\"services\":{" + services + "}}\n";
}

}  // namespace CorvixSim
