#include "wire/snmp/message.h"

namespace Corvix::Snmp {
namespace {

std::string EncodePdu(const Message& message) {
    std::string variables;
    for (const VarBind& variable : message.variables)
        variables += Encode(variable);
    std::string fields = Ber::EncodeInteger(message.requestId);
    fields += Ber::EncodeInteger(message.errorStatus);
    fields += Ber::EncodeInteger(message.errorIndex);
    fields += Ber::Encode(Ber::Sequence, variables);
    return Ber::Encode(static_cast<Ber::Tag>(message.type), fields);
}

/// Version 3 has other fields after this one, so that nothing of it can be read.
std::optional<Version> DecodeVersion(std::optional<std::int32_t> number) {
    if (number == static_cast<std::int32_t>(Version::V1)) return Version::V1;
    if (number == static_cast<std::int32_t>(Version::V2c)) return Version::V2c;
    return std::nullopt;
}

/// Traps and reports are none of these: neither a manager's requests nor their answers.
std::optional<PduType> DecodeType(Ber::Tag tag) {
    for (const PduType type :
         {PduType::Get, PduType::GetNext, PduType::Response, PduType::Set, PduType::GetBulk}) {
        if (tag == static_cast<Ber::Tag>(type)) return type;
    }
    return std::nullopt;
}

/// The value is kept as it stands: whether its content fits its type is for whoever needs it to say.
std::optional<VarBind> DecodeVariable(std::string_view content) {
    Ber::Reader reader(content);
    const std::optional<std::string_view> name = reader.Next(Ber::ObjectIdentifier);
    const std::optional<Ber::Element> value = reader.Next();
    if (!name || name->empty() || !value || !reader.AtEnd()) return std::nullopt;
    std::optional<Oid> oid = Ber::DecodeOid(*name);
    if (!oid) return std::nullopt;
    return VarBind{std::move(*oid), {value->tag, std::string(value->content)}};
}

bool DecodeVariables(std::string_view content, std::vector<VarBind>& variables) {
    Ber::Reader reader(content);
    while (!reader.AtEnd()) {
        const std::optional<std::string_view> pair = reader.Next(Ber::Sequence);
        std::optional<VarBind> variable = pair ? DecodeVariable(*pair) : std::nullopt;
        if (!variable) return false;
        variables.push_back(std::move(*variable));
    }
    return true;
}

bool DecodePdu(const Ber::Element& pdu, Message& message) {
    Ber::Reader reader(pdu.content);
    const std::optional<PduType> type = DecodeType(pdu.tag);
    const std::optional<std::int32_t> requestId = reader.NextInteger();
    const std::optional<std::int32_t> errorStatus = reader.NextInteger();
    const std::optional<std::int32_t> errorIndex = reader.NextInteger();
    const std::optional<std::string_view> variables = reader.Next(Ber::Sequence);
    if (!type || !requestId || !errorStatus || !errorIndex || !variables || !reader.AtEnd()) return false;
    message.type = *type;
    message.requestId = *requestId;
    message.errorStatus = *errorStatus;
    message.errorIndex = *errorIndex;
    return DecodeVariables(*variables, message.variables);
}

}  // namespace

std::string Encode(const VarBind& variable) {
    const Value& value = variable.value;
    return Ber::Encode(Ber::Sequence, Ber::EncodeOid(variable.oid) + Ber::Encode(value.tag, value.content));
}

std::string Encode(const Message& message) {
    std::string fields = Ber::EncodeInteger(static_cast<std::int32_t>(message.version));
    fields += Ber::Encode(Ber::OctetString, message.community);
    fields += EncodePdu(message);
    return Ber::Encode(Ber::Sequence, fields);
}

std::optional<Message> DecodeMessage(std::string_view datagram) {
    // What follows the sequence is padding; inside it nothing may be left over.
    const std::optional<std::string_view> content = Ber::Reader(datagram).Next(Ber::Sequence);
    if (!content) return std::nullopt;
    Ber::Reader reader(*content);
    const std::optional<Version> version = DecodeVersion(reader.NextInteger());
    const std::optional<std::string_view> community = reader.Next(Ber::OctetString);
    const std::optional<Ber::Element> pdu = reader.Next();
    if (!version || !community || !pdu || !reader.AtEnd()) return std::nullopt;
    Message message;
    message.version = *version;
    message.community = std::string(*community);
    if (!DecodePdu(*pdu, message)) return std::nullopt;
    // Version 1 does not define it.
    if (message.type == PduType::GetBulk && message.version == Version::V1) return std::nullopt;
    return message;
}

}  // namespace Corvix::Snmp
