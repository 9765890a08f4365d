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
    SnmpMessage Respond(const SnmpMessage& request, const FaultSet& faults);
    void RespondToGet(const SnmpMessage& request, SnmpMessage& response) const;
    void RespondToGetNext(const SnmpMessage& request, const FaultSet& faults, SnmpMessage& response) const;
    void RespondToGetBulk(const SnmpMessage& request, const FaultSet& faults, SnmpMessage& response) const;
    void RespondToSet(const SnmpMessage& request, SnmpMessage& response);
    std::optional<VarBind> Next(const Oid& oid, SnmpVersion version, const FaultSet& faults) const;
    bool MayRead(const SnmpMessage& request) const;
    bool MayWrite(const SnmpMessage& request) const;

    Device& device_;
    SnmpTable table_;
};

}  // namespace CorvixSim
