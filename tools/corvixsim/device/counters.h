// How often each service was asked, and for what.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace CorvixSim {

/// Any thread may call any operation.
class Counters {
public:
    /// Counts one request; `what` is its path or request type.
    void Count(const std::string& service, const std::string& what);

    /// Counts what a request that was counted before asks for, once that is known.
    void CountOperation(const std::string& service, const std::string& operation);

    /// Counts one connection that carried a request.
    void CountConnection(const std::string& service);

    void Reset();

    /// {"total":N,"services":{"plsxml":{"connections":N,"requests":N,"paths":{"/x":N},
    /// "operations":{"Get":N}}}}
    std::string Json() const;

private:
    struct Service {
        uint64_t connections = 0;
        uint64_t requests = 0;
        std::map<std::string, uint64_t> paths;
        std::map<std::string, uint64_t> operations;
    };

    mutable std::mutex mutex_;
    std::map<std::string, Service> services_;
};

}  // namespace CorvixSim
