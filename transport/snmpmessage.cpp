#include "transport/snmpmessage.h"

namespace CorvixTransport {
namespace {

std::string EncodeVariable(const VarBind& variable) {
    return Ber::Encode(Ber::Sequence,
                       Ber::EncodeOid(variable.oid) + Ber::Encode(variable.tag, variable.content));
}

std::string EncodePdu(const SnmpMessage& message) {
    std::string variables;
    for (const VarBind& variable : message.variables)
        variables += EncodeVariable(variable);
    std::string fields = Ber::EncodeInteger(message.requestId);
    fields += Ber::EncodeInteger(message.errorStatus);
    fields += Ber::EncodeInteger(message.errorIndex);
    fields += Ber::Encode(Ber::Sequence, variables);
    return Ber::Encode(static_cast<Ber::Tag>(message.type), fields);
}

std::optional<SnmpVersion> DecodeVersion(std::optional<std::int32_t> number) {
    if (number == static_cast<std::int32_t>(SnmpVersion::V1)) return SnmpVersion::V1;
    if (number == static_cast<std::int32_t>(SnmpVersion::V2c)) return SnmpVersion::V2c;
    return std::nullopt;
}

std::optional<PduType> DecodeType(Ber::Tag tag) {
    for (const PduType type : {PduType::Get, PduType::GetNext, PduType::Response, PduType::Set}) {
        if (tag == static_cast<Ber::Tag>(type)) return type;
    }
    return std::nullopt;
}

std::optional<VarBind> DecodeVariable(std::string_view content) {
    Ber::Reader reader(content);
    const std::optional<std::string_view> name = reader.Next(Ber::ObjectIdentifier);
    const std::optional<Ber::Element> value = reader.Next();
    if (!name || name->empty() || !value || !reader.AtEnd()) return std::nullopt;
    std::optional<Oid> oid = Ber::DecodeOid(*name);
    if (!oid) return std::nullopt;
    return VarBind{std::move(*oid), value->tag, std::string(value->content)};
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

bool DecodePdu(const Ber::Element& pdu, SnmpMessage& message) {
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

std::string Encode(const SnmpMessage& message) {
    std::string fields = Ber::EncodeInteger(static_cast<std::int32_t>(message.version));
    fields += Ber::Encode(Ber::OctetString, message.community);
    fields += EncodePdu(message);
    return Ber::Encode(Ber::Sequence, fields);
}

std::optional<SnmpMessage> DecodeSnmpMessage(std::string_view datagram) {
    const std::optional<std::string_view> content = Ber::Reader(datagram).Next(Ber::Sequence);
    if (!content) return std::nullopt;
    Ber::Reader reader(*content);
    const std::optional<SnmpVersion> version = DecodeVersion(reader.NextInteger());
    const std::optional<std::string_view> community = reader.Next(Ber::OctetString);
    const std::optional<Ber::Element> pdu = reader.Next();
    if (!version || !community || !pdu || !reader.AtEnd()) return std::nullopt;
    SnmpMessage message;
    message.version = *version;
    message.community = std::string(*community);
    if (!DecodePdu(*pdu, message)) return std::nullopt;
    return message;
}

}  // namespace CorvixTransport
