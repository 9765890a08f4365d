#include "device/counters.h"

#include "base/text.h"

namespace CorvixSim {
namespace {

// Junk requests must not fill the memory of a long-running simulator with paths.
constexpr size_t kMaxNames = 10000;

using Counts = std::map<std::string, uint64_t>;

void CountName(Counts& counts, const std::string& name) {
    // Names that are known go on being counted; only new ones are turned away.
    if (counts.size() < kMaxNames || counts.count(name) != 0) ++counts[name];
}

std::string JsonOf(const Counts& counts) {
    return "{" +
           Joined(
               counts,
               [](const auto& count) { return JsonText(count.first) + ":" + std::to_string(count.second); }) +
           "}";
}

}  // namespace

void Counters::Count(const std::string& service, const std::string& what) {
    const std::lock_guard lock(mutex_);
    Service& counted = services_[service];
    ++counted.requests;
    CountName(counted.paths, what);
}

void Counters::CountOperation(const std::string& service, const std::string& operation) {
    const std::lock_guard lock(mutex_);
    CountName(services_[service].operations, operation);
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
    const std::string services = Joined(services_, [&total](const auto& entry) {
        const Service& service = entry.second;
        total += service.requests;
        return JsonText(entry.first) + ":{\"connections\":" + std::to_string(service.connections) +
               ",\"requests\":" + std::to_string(service.requests) + ",\"paths\":" + JsonOf(service.paths) +
               ",\"operations\":" + JsonOf(service.operations) + "}";
    });
    return "{\"total\":" + std::to_string(total) + ",\"services\":{" + services + "}}\n";
}

}  // namespace CorvixSim
