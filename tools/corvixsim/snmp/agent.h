// Answers SNMP requests, with the faults that befall them.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "device/device.h"
#include "snmp/table.h"

namespace CorvixSim {

/// A datagram to be sent some time after the request came.
struct SnmpReply {
    std::string datagram;
    std::chrono::milliseconds delay{0};
};

class SnmpAgent {
public:
    /// Serves the objects of the device's file "snmp.txt". Throws std::invalid_argument when it is malformed.
    explicit SnmpAgent(Device& device);

    /// What goes back for a datagram: nothing for one that is no request or whose community is unknown.
    std::vector<SnmpReply> Answer(std::string_view datagram);

private:
    struct Operation;
    static const Operation kOperations[];
    static const Operation* FindOperation(const std::optional<Snmp::Message>& message);

    // Each fills in what differs from an answer without error that repeats the request's variables.
    void RespondToGet(const Snmp::Message& request, const FaultSet& faults, Snmp::Message& response);
    void RespondToGetNext(const Snmp::Message& request, const FaultSet& faults, Snmp::Message& response);
    void RespondToGetBulk(const Snmp::Message& request, const FaultSet& faults, Snmp::Message& response);
    void RespondToSet(const Snmp::Message& request, const FaultSet& faults, Snmp::Message& response);
    std::optional<Snmp::VarBind> Next(const Snmp::Oid& oid, Snmp::Version version,
                                      const FaultSet& faults) const;
    bool MayRead(const Snmp::Message& request) const;
    bool MayWrite(const Snmp::Message& request) const;

    Device& device_;
    SnmpTable table_;
};

}  // namespace CorvixSim
