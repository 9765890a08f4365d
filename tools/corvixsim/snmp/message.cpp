#include "snmp/message.h"

namespace CorvixSim {
namespace {

struct RequestName {
    PduType type;
    const char* name;
};

constexpr RequestName kRequests[] = {
    {PduType::Get, "get"},
    {PduType::GetNext, "getnext"},
    {PduType::Set, "set"},
    {PduType::GetBulk, "getbulk"},
};

SnmpVersion CheckedVersion(int64_t version) {
    if (version != 0 && version != 1) throw BerError("not a version that is spoken here");
    return static_cast<SnmpVersion>(version);
}

PduType CheckedType(uint8_t tag, SnmpVersion version) {
    const auto type = static_cast<PduType>(tag);
    if (*NameOf(type) == '\0') throw BerError("not a request");
    if (type == PduType::GetBulk && version == SnmpVersion::V1) throw BerError("no GetBulk in version 1");
    return type;
}

VarBind DecodeBinding(std::string_view bytes) {
    BerReader reader(bytes);
    VarBind binding;
    binding.oid = DecodeOid(reader.Read(SnmpTag::ObjectId));
    const BerReader::Element value = reader.Read();
    binding.value = {value.tag, std::string(value.content)};
    return binding;
}

}  // namespace

const char* NameOf(PduType type) {
    for (const RequestName& known : kRequests) {
        if (known.type == type) return known.name;
    }
    return "";
}

SnmpMessage DecodeRequest(std::string_view datagram) {
    BerReader outer(datagram);
    BerReader reader(outer.Read(SnmpTag::Sequence));
    SnmpMessage message;
    message.version = CheckedVersion(reader.ReadInteger(SnmpTag::Integer));
    message.community = reader.Read(SnmpTag::OctetString);
    const BerReader::Element pdu = reader.Read();
    message.type = CheckedType(pdu.tag, message.version);
    BerReader fields(pdu.content);
    message.requestId = fields.ReadInteger(SnmpTag::Integer);
    message.errorStatus = fields.ReadInteger(SnmpTag::Integer);
    message.errorIndex = fields.ReadInteger(SnmpTag::Integer);
    BerReader bindings(fields.Read(SnmpTag::Sequence));
    while (!bindings.AtEnd())
        message.bindings.push_back(DecodeBinding(bindings.Read(SnmpTag::Sequence)));
    return message;
}

std::string EncodeBinding(const VarBind& binding) {
    return EncodeElement(SnmpTag::Sequence, EncodeElement(SnmpTag::ObjectId, EncodeOid(binding.oid)) +
                                                EncodeElement(binding.value.tag, binding.value.content));
}

std::string EncodeMessage(const SnmpMessage& message) {
    std::string bindings;
    for (const VarBind& binding : message.bindings)
        bindings += EncodeBinding(binding);
    const std::string pdu = EncodeElement(SnmpTag::Integer, EncodeInteger(message.requestId)) +
                            EncodeElement(SnmpTag::Integer, EncodeInteger(message.errorStatus)) +
                            EncodeElement(SnmpTag::Integer, EncodeInteger(message.errorIndex)) +
                            EncodeElement(SnmpTag::Sequence, bindings);
    return EncodeElement(
        SnmpTag::Sequence,
        EncodeElement(SnmpTag::Integer, EncodeInteger(static_cast<int64_t>(message.version))) +
            EncodeElement(SnmpTag::OctetString, message.community) +
            EncodeElement(static_cast<uint8_t>(message.type), pdu));
}

}  // namespace CorvixSim
