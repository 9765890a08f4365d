#include "snmp/agent.h"

#include <algorithm>

namespace CorvixSim {
namespace {

namespace Ber = Snmp::Ber;

// What a UDP datagram over IPv4 holds, with some room.
constexpr size_t kMaxDatagram = 65000;
// A manager may ask for two thousand million repetitions; the datagram is full long before.
constexpr int64_t kMaxRepetitions = 10000;

void Fail(Snmp::Message& response, int32_t error, size_t index) {
    response.errorStatus = error;
    response.errorIndex = static_cast<int32_t>(index);
}

/// Version 1 knows only the first five errors.
int32_t ForVersion(int32_t error, Snmp::Version version) {
    if (version == Snmp::Version::V2c || error <= Snmp::ErrorStatus::GenErr) return error;
    return error == Snmp::ErrorStatus::WrongType || error == Snmp::ErrorStatus::WrongValue
               ? Snmp::ErrorStatus::BadValue
               : Snmp::ErrorStatus::NoSuchName;
}

Snmp::VarBind Exception(const Snmp::Oid& oid, uint8_t tag) { return {oid, {tag, {}}}; }

/// An OID behind `oid` that stays beside it.
Snmp::Oid Sibling(Snmp::Oid oid) {
    if (oid.back() == UINT32_MAX) {
        oid.push_back(0);
    } else {
        ++oid.back();
    }
    return oid;
}

/// A value of quite another type: text for what is no text, and a number for text.
Snmp::Value OfWrongType(const Snmp::Value& value) {
    if (value.tag == Ber::OctetString) return {Ber::Integer, Ber::IntegerContent(-7)};
    return {Ber::OctetString, "not a number"};
}

Snmp::Message Bent(Snmp::Message response, const FaultSet& faults) {
    if (faults.Has(FaultKind::WrongType)) {
        for (Snmp::VarBind& binding : response.variables)
            binding.value = OfWrongType(binding.value);
    }
    // Other bits, not a higher number: the highest has none above it.
    if (faults.Has(FaultKind::WrongId)) response.requestId ^= 3;
    if (faults.Has(FaultKind::WrongCommunity)) response.community = "somebody-else";
    if (faults.Has(FaultKind::TooBig)) Fail(response, Snmp::ErrorStatus::TooBig, 0);
    if (faults.Has(FaultKind::ErrorStatus)) {
        response.errorStatus = static_cast<int32_t>(faults.Number(FaultKind::ErrorStatus));
        response.errorIndex = 1;
    }
    return response;
}

std::string Datagram(Snmp::Message response, const FaultSet& faults) {
    if (faults.Has(FaultKind::Garbage)) return "\x30\x82\xff\xff garbage";
    std::string datagram = Snmp::Encode(response);
    // As the protocol has it, an answer that does not fit is told without its variables.
    if (datagram.size() > kMaxDatagram) {
        Fail(response, Snmp::ErrorStatus::TooBig, 0);
        response.variables.clear();
        datagram = Snmp::Encode(response);
    }
    if (faults.Has(FaultKind::Truncate)) {
        datagram.resize(std::min<size_t>(datagram.size(), faults.Number(FaultKind::Truncate)));
    }
    return datagram;
}

}  // namespace

SnmpAgent::SnmpAgent(Device& device) : device_(device), table_(device.File("snmp.txt"), device.values) {}

/// What a request may ask for, as rules and counters name it.
struct SnmpAgent::Operation {
    Snmp::PduType type;
    const char* name;
    void (SnmpAgent::*respond)(const Snmp::Message& request, const FaultSet& faults, Snmp::Message& response);
};

const SnmpAgent::Operation SnmpAgent::kOperations[] = {
    {Snmp::PduType::Get, "get", &SnmpAgent::RespondToGet},
    {Snmp::PduType::GetNext, "getnext", &SnmpAgent::RespondToGetNext},
    {Snmp::PduType::GetBulk, "getbulk", &SnmpAgent::RespondToGetBulk},
    {Snmp::PduType::Set, "set", &SnmpAgent::RespondToSet},
};

const SnmpAgent::Operation* SnmpAgent::FindOperation(const std::optional<Snmp::Message>& message) {
    for (const Operation& operation : kOperations) {
        if (message && message->type == operation.type) return &operation;
    }
    return nullptr;
}

std::vector<SnmpReply> SnmpAgent::Answer(std::string_view datagram) {
    const std::optional<Snmp::Message> request = Snmp::DecodeMessage(datagram);
    const Operation* operation = FindOperation(request);
    device_.counters.Count("snmp", operation ? operation->name : "malformed");
    // Strangers get no answer at all, as from a real agent.
    if (!operation || !MayRead(*request)) return {};

    const std::string path =
        request->variables.empty() ? "" : Snmp::FormatOid(request->variables.front().oid);
    // Asked twice: rules without an operation fit exchanges without one, see FaultTable::Match().
    FaultSet faults = device_.faults.Match({"snmp", path, {}});
    faults.Merge(device_.faults.Match({"snmp", path, operation->name}));
    if (faults.Has(FaultKind::Drop) || device_.faults.Refuses("snmp")) return {};
    Snmp::Message response = *request;
    response.type = Snmp::PduType::Response;
    response.errorStatus = Snmp::ErrorStatus::NoError;
    response.errorIndex = 0;
    (this->*operation->respond)(*request, faults, response);
    const SnmpReply reply{Datagram(Bent(std::move(response), faults), faults),
                          std::chrono::milliseconds(faults.Number(FaultKind::Delay))};
    return std::vector<SnmpReply>(faults.Has(FaultKind::Duplicate) ? 2 : 1, reply);
}

bool SnmpAgent::MayWrite(const Snmp::Message& request) const {
    return request.community == device_.values.Get("snmp-write-community");
}

bool SnmpAgent::MayRead(const Snmp::Message& request) const {
    return request.community == device_.values.Get("snmp-community") || MayWrite(request);
}

void SnmpAgent::RespondToGet(const Snmp::Message& request, const FaultSet&, Snmp::Message& response) {
    for (size_t i = 0; i < request.variables.size(); ++i) {
        const Snmp::Oid& oid = request.variables[i].oid;
        const std::optional<Snmp::Value> value = table_.Get(oid);
        const bool isV1 = request.version == Snmp::Version::V1;
        // Version 1 has no Counter64: to its managers such an object does not exist.
        if (value && !(isV1 && value->tag == Snmp::Tag::Counter64)) {
            response.variables[i].value = *value;
        } else if (isV1) {
            response.variables = request.variables;
            return Fail(response, Snmp::ErrorStatus::NoSuchName, i + 1);
        } else {
            // An object exists when an instance of it does: that of its column, or the one ending in .0.
            const Snmp::Oid column(oid.begin(), oid.end() - 1);
            const bool object = table_.HasBelow(column) || table_.HasBelow(oid);
            response.variables[i] =
                Exception(oid, object ? Snmp::Tag::NoSuchInstance : Snmp::Tag::NoSuchObject);
        }
    }
}

std::optional<Snmp::VarBind> SnmpAgent::Next(const Snmp::Oid& oid, Snmp::Version version,
                                             const FaultSet& faults) const {
    if (faults.Has(FaultKind::EndOfView)) return std::nullopt;
    if (faults.Has(FaultKind::Stuck)) return Snmp::VarBind{oid, {Ber::Integer, Ber::IntegerContent(1)}};
    // Behind every column there is another instance, so a walk neither leaves its subtree nor ends.
    if (faults.Has(FaultKind::Endless) && !table_.HasBelow(oid)) {
        return Snmp::VarBind{Sibling(oid), {Ber::Integer, Ber::IntegerContent(1)}};
    }
    std::optional<Snmp::VarBind> next = table_.Next(oid);
    while (next && version == Snmp::Version::V1 && next->value.tag == Snmp::Tag::Counter64) {
        next = table_.Next(next->oid);
    }
    return next;
}

void SnmpAgent::RespondToGetNext(const Snmp::Message& request, const FaultSet& faults,
                                 Snmp::Message& response) {
    for (size_t i = 0; i < request.variables.size(); ++i) {
        const Snmp::Oid& oid = request.variables[i].oid;
        if (std::optional<Snmp::VarBind> next = Next(oid, request.version, faults)) {
            response.variables[i] = std::move(*next);
        } else if (request.version == Snmp::Version::V1) {
            response.variables = request.variables;
            return Fail(response, Snmp::ErrorStatus::NoSuchName, i + 1);
        } else {
            response.variables[i] = Exception(oid, Snmp::Tag::EndOfMibView);
        }
    }
}

void SnmpAgent::RespondToGetBulk(const Snmp::Message& request, const FaultSet& faults,
                                 Snmp::Message& response) {
    const auto count = static_cast<int64_t>(request.variables.size());
    const auto single = static_cast<size_t>(std::clamp<int64_t>(request.errorStatus, 0, count));
    const int64_t repetitions = std::clamp<int64_t>(request.errorIndex, 0, kMaxRepetitions);
    response.variables.clear();
    size_t size = 100;  // room for what surrounds the bindings
    const auto add = [&](const Snmp::Oid& oid) {
        std::optional<Snmp::VarBind> next = Next(oid, request.version, faults);
        response.variables.push_back(next ? std::move(*next) : Exception(oid, Snmp::Tag::EndOfMibView));
        size += Snmp::Encode(response.variables.back()).size();
    };
    for (size_t i = 0; i < single; ++i)
        add(request.variables[i].oid);
    const size_t repeaters = request.variables.size() - single;
    // Half a datagram is enough for any test, and leaves room for a last long round.
    for (int64_t round = 0; repeaters != 0 && round < repetitions && size < kMaxDatagram / 2; ++round) {
        bool ended = true;
        for (size_t i = 0; i < repeaters; ++i) {
            const Snmp::Oid from = round == 0 ? request.variables[single + i].oid
                                              : response.variables[response.variables.size() - repeaters].oid;
            add(from);
            ended = ended && response.variables.back().value.tag == Snmp::Tag::EndOfMibView;
        }
        if (ended) return;
    }
}

void SnmpAgent::RespondToSet(const Snmp::Message& request, const FaultSet&, Snmp::Message& response) {
    // All or none: every binding is checked before the first is set.
    for (size_t i = 0; i < request.variables.size(); ++i) {
        const int32_t error =
            MayWrite(request) ? table_.CheckSet(request.variables[i]) : Snmp::ErrorStatus::NoAccess;
        if (error != Snmp::ErrorStatus::NoError)
            return Fail(response, ForVersion(error, request.version), i + 1);
    }
    for (const Snmp::VarBind& binding : request.variables)
        table_.Set(binding);
}

}  // namespace CorvixSim
