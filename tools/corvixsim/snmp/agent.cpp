#include "snmp/agent.h"

#include <algorithm>

namespace CorvixSim {
namespace {

constexpr size_t kMaxDatagram = 65000;
constexpr int64_t kMaxRepetitions = 10000;

void Fail(SnmpMessage& response, SnmpError error, size_t index) {
    response.errorStatus = static_cast<int64_t>(error);
    response.errorIndex = static_cast<int64_t>(index);
}

/// Version 1 knows only the first five errors.
SnmpError ForVersion(SnmpError error, SnmpVersion version) {
    if (version == SnmpVersion::V2c || error <= SnmpError::GenErr) return error;
    return error == SnmpError::WrongType || error == SnmpError::WrongValue ? SnmpError::BadValue
                                                                           : SnmpError::NoSuchName;
}

VarBind Exception(const Oid& oid, uint8_t tag) { return {oid, {tag, {}}}; }

/// An OID behind `oid` that stays beside it.
Oid Sibling(Oid oid) {
    if (oid.back() == UINT32_MAX) {
        oid.push_back(0);
    } else {
        ++oid.back();
    }
    return oid;
}

/// A value of quite another type: text for what is no text, and a number for text.
SnmpValue OfWrongType(const SnmpValue& value) {
    if (value.tag == SnmpTag::OctetString) return {SnmpTag::Integer, EncodeInteger(-7)};
    return {SnmpTag::OctetString, "not a number"};
}

SnmpMessage Bent(SnmpMessage response, const FaultSet& faults) {
    if (faults.Has(FaultKind::WrongType)) {
        for (VarBind& binding : response.bindings)
            binding.value = OfWrongType(binding.value);
    }
    if (faults.Has(FaultKind::WrongId)) ++response.requestId;
    if (faults.Has(FaultKind::WrongCommunity)) response.community = "somebody-else";
    if (faults.Has(FaultKind::TooBig)) Fail(response, SnmpError::TooBig, 0);
    if (faults.Has(FaultKind::ErrorStatus)) {
        response.errorStatus = static_cast<int64_t>(faults.Number(FaultKind::ErrorStatus));
        response.errorIndex = 1;
    }
    return response;
}

std::string Datagram(SnmpMessage response, const FaultSet& faults) {
    if (faults.Has(FaultKind::Garbage)) return "\x30\x82\xff\xff garbage";
    std::string datagram = EncodeMessage(response);
    if (datagram.size() > kMaxDatagram) {
        Fail(response, SnmpError::TooBig, 0);
        response.bindings.clear();
        datagram = EncodeMessage(response);
    }
    if (faults.Has(FaultKind::Truncate)) {
        datagram.resize(std::min<size_t>(datagram.size(), faults.Number(FaultKind::Truncate)));
    }
    return datagram;
}

}  // namespace

SnmpAgent::SnmpAgent(Device& device) : device_(device), table_(device.File("snmp.txt"), device.values) {}

std::vector<SnmpReply> SnmpAgent::Answer(std::string_view datagram) {
    SnmpMessage request;
    try {
        request = DecodeRequest(datagram);
    } catch (const BerError&) {
        device_.counters.Count("snmp", "malformed");
        return {};
    }
    const std::string operation = NameOf(request.type);
    device_.counters.Count("snmp", operation);
    if (!MayRead(request)) return {};

    const std::string path = request.bindings.empty() ? "" : FormatOid(request.bindings.front().oid);
    FaultSet faults = device_.faults.Match({"snmp", path, {}});
    faults.Merge(device_.faults.Match({"snmp", path, operation}));
    if (faults.Has(FaultKind::Drop) || device_.faults.Refuses("snmp")) return {};
    const SnmpReply reply{Datagram(Bent(Respond(request, faults), faults), faults),
                          std::chrono::milliseconds(faults.Number(FaultKind::Delay))};
    return std::vector<SnmpReply>(faults.Has(FaultKind::Duplicate) ? 2 : 1, reply);
}

bool SnmpAgent::MayWrite(const SnmpMessage& request) const {
    return request.community == device_.values.Get("snmp-write-community");
}

bool SnmpAgent::MayRead(const SnmpMessage& request) const {
    return request.community == device_.values.Get("snmp-community") || MayWrite(request);
}

SnmpMessage SnmpAgent::Respond(const SnmpMessage& request, const FaultSet& faults) {
    SnmpMessage response = request;
    response.type = PduType::Response;
    response.errorStatus = 0;
    response.errorIndex = 0;
    switch (request.type) {
        case PduType::Get:
            RespondToGet(request, response);
            break;
        case PduType::GetNext:
            RespondToGetNext(request, faults, response);
            break;
        case PduType::GetBulk:
            RespondToGetBulk(request, faults, response);
            break;
        case PduType::Set:
            RespondToSet(request, response);
            break;
        case PduType::Response:
            break;  // no request has this type
    }
    return response;
}

void SnmpAgent::RespondToGet(const SnmpMessage& request, SnmpMessage& response) const {
    for (size_t i = 0; i < request.bindings.size(); ++i) {
        const Oid& oid = request.bindings[i].oid;
        const std::optional<SnmpValue> value = table_.Get(oid);
        const bool isV1 = request.version == SnmpVersion::V1;
        if (value && !(isV1 && value->tag == SnmpTag::Counter64)) {
            response.bindings[i].value = *value;
        } else if (isV1) {
            response.bindings = request.bindings;
            return Fail(response, SnmpError::NoSuchName, i + 1);
        } else {
            // An object exists when an instance of it does: that of its column, or the one ending in .0.
            const Oid column(oid.begin(), oid.end() - 1);
            const bool object = table_.HasBelow(column) || table_.HasBelow(oid);
            response.bindings[i] = Exception(oid, object ? SnmpTag::NoSuchInstance : SnmpTag::NoSuchObject);
        }
    }
}

std::optional<VarBind> SnmpAgent::Next(const Oid& oid, SnmpVersion version, const FaultSet& faults) const {
    if (faults.Has(FaultKind::EndOfView)) return std::nullopt;
    if (faults.Has(FaultKind::Stuck)) return VarBind{oid, {SnmpTag::Integer, EncodeInteger(1)}};
    if (faults.Has(FaultKind::Endless) && !table_.HasBelow(oid)) {
        return VarBind{Sibling(oid), {SnmpTag::Integer, EncodeInteger(1)}};
    }
    std::optional<VarBind> next = table_.Next(oid);
    while (next && version == SnmpVersion::V1 && next->value.tag == SnmpTag::Counter64) {
        next = table_.Next(next->oid);
    }
    return next;
}

void SnmpAgent::RespondToGetNext(const SnmpMessage& request, const FaultSet& faults,
                                 SnmpMessage& response) const {
    for (size_t i = 0; i < request.bindings.size(); ++i) {
        const Oid& oid = request.bindings[i].oid;
        if (std::optional<VarBind> next = Next(oid, request.version, faults)) {
            response.bindings[i] = std::move(*next);
        } else if (request.version == SnmpVersion::V1) {
            response.bindings = request.bindings;
            return Fail(response, SnmpError::NoSuchName, i + 1);
        } else {
            response.bindings[i] = Exception(oid, SnmpTag::EndOfMibView);
        }
    }
}

void SnmpAgent::RespondToGetBulk(const SnmpMessage& request, const FaultSet& faults,
                                 SnmpMessage& response) const {
    const auto count = static_cast<int64_t>(request.bindings.size());
    const auto single = static_cast<size_t>(std::clamp<int64_t>(request.errorStatus, 0, count));
    const int64_t repetitions = std::clamp<int64_t>(request.errorIndex, 0, kMaxRepetitions);
    response.bindings.clear();
    size_t size = 100;  // room for what surrounds the bindings
    const auto add = [&](const Oid& oid) {
        std::optional<VarBind> next = Next(oid, request.version, faults);
        response.bindings.push_back(next ? std::move(*next) : Exception(oid, SnmpTag::EndOfMibView));
        size += EncodeBinding(response.bindings.back()).size();
    };
    for (size_t i = 0; i < single; ++i)
        add(request.bindings[i].oid);
    const size_t repeaters = request.bindings.size() - single;
    for (int64_t round = 0; repeaters != 0 && round < repetitions && size < kMaxDatagram / 2; ++round) {
        bool ended = true;
        for (size_t i = 0; i < repeaters; ++i) {
            const Oid from = round == 0 ? request.bindings[single + i].oid
                                        : response.bindings[response.bindings.size() - repeaters].oid;
            add(from);
            ended = ended && response.bindings.back().value.tag == SnmpTag::EndOfMibView;
        }
        if (ended) return;
    }
}

void SnmpAgent::RespondToSet(const SnmpMessage& request, SnmpMessage& response) {
    // All or none: every binding is checked before the first is set.
    for (size_t i = 0; i < request.bindings.size(); ++i) {
        const SnmpError error =
            MayWrite(request) ? table_.CheckSet(request.bindings[i]) : SnmpError::NoAccess;
        if (error != SnmpError::None) return Fail(response, ForVersion(error, request.version), i + 1);
    }
    for (const VarBind& binding : request.bindings)
        table_.Set(binding);
}

}  // namespace CorvixSim
