#include "ipp/message.h"

#include <algorithm>
#include <cstring>

#include "wire/ipp/messagereader.h"
#include "wire/ipp/messagewriter.h"

namespace CorvixSim {
namespace {

// Far more than any client sends, and little enough for many of them at once.
constexpr size_t kMaxAttributeBytes = 4 << 20;
// Copies of collections are made by recursion, which the wire must not be able to deepen at will.
constexpr int kMaxDepth = 16;

IppAttribute CopyOf(const Ipp::Message& message, const Ipp::Attribute& attribute, int depth);

IppValue CopyOf(const Ipp::Message& message, const Ipp::RawValue& value, int depth) {
    IppValue copy{value.tag, std::string(value.bytes), {}};
    if (value.tag != Ipp::Tag::BegCollection) return copy;
    if (depth == kMaxDepth) throw IppError(IppStatus::BadRequest, "collections are nested too deep");
    Ipp::MemberCursor members(message, value);
    while (const std::optional<Ipp::Attribute> member = members.Next())
        copy.members.push_back(CopyOf(message, *member, depth + 1));
    return copy;
}

IppAttribute CopyOf(const Ipp::Message& message, const Ipp::Attribute& attribute, int depth) {
    IppAttribute copy{std::string(attribute.name), {}};
    Ipp::ValueCursor values(message, attribute);
    while (const std::optional<Ipp::RawValue> value = values.Next())
        copy.values.push_back(CopyOf(message, *value, depth));
    return copy;
}

IppGroup CopyOf(const Ipp::Message& message, const Ipp::Group& group) {
    IppGroup copy{group.tag, {}};
    for (uint32_t index = group.first; index < group.end; ++index)
        copy.attributes.push_back(CopyOf(message, message.GetAttribute(index), 0));
    return copy;
}

void Write(Ipp::MessageWriter& writer, std::string_view name, const IppValue& value) {
    if (value.tag != Ipp::Tag::BegCollection) {
        writer.Octets(value.tag, name, value.bytes);
        return;
    }
    writer.BeginCollection(name);
    for (const IppAttribute& member : value.members) {
        writer.Member(member.name);
        for (const IppValue& memberValue : member.values)
            Write(writer, {}, memberValue);
    }
    writer.EndCollection();
}

void Write(Ipp::MessageWriter& writer, const IppAttribute& attribute) {
    std::string_view name = attribute.name;
    for (const IppValue& value : attribute.values) {
        Write(writer, name, value);
        name = {};  // the name stands before the first value only
    }
}

}  // namespace

const IppGroup* IppMessage::Group(uint8_t tag) const {
    for (const IppGroup& group : groups) {
        if (group.tag == tag) return &group;
    }
    return nullptr;
}

const IppAttribute* IppMessage::FindOperand(std::string_view name) const {
    const IppGroup* operands = Group(Ipp::Tag::OperationAttributes);
    return operands ? operands->Find(name) : nullptr;
}

const IppValue* IppMessage::Operand(std::string_view name) const {
    const IppAttribute* attribute = FindOperand(name);
    return attribute ? &attribute->values.front() : nullptr;
}

std::string IppMessage::OperandText(std::string_view name) const {
    const IppValue* value = Operand(name);
    return value ? value->bytes : std::string();
}

int32_t IppMessage::OperandNumber(std::string_view name) const {
    const IppValue* value = Operand(name);
    return value ? value->Number() : 0;
}

std::string NumberBytes(int32_t number) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(static_cast<uint32_t>(number) >> shift);
    return bytes;
}

IppAttribute NumberAttribute(uint8_t tag, std::string name, int32_t number) {
    return {std::move(name), {{tag, NumberBytes(number), {}}}};
}

IppAttribute TextAttribute(uint8_t tag, std::string name, std::string text) {
    return {std::move(name), {{tag, std::move(text), {}}}};
}

IppMessage AnswerTo(const IppMessage& request, IppStatus status, const std::string& message) {
    IppMessage answer;
    const uint8_t major = request.header.major;
    // A version that is not spoken here is answered in the highest that is.
    if (major == 1 || major == 2) answer.header = request.header;
    answer.header.code = static_cast<uint16_t>(status);
    answer.header.requestId = request.header.requestId;
    answer.groups.push_back(
        {Ipp::Tag::OperationAttributes,
         {TextAttribute(Ipp::Tag::Charset, "attributes-charset", "utf-8"),
          TextAttribute(Ipp::Tag::NaturalLanguage, "attributes-natural-language", "en")}});
    if (message.empty()) return answer;
    answer.groups.front().attributes.push_back(
        TextAttribute(Ipp::Tag::TextWithoutLanguage, "status-message", message));
    return answer;
}

void IppSource::ReadRequest(IppMessage& request) {
    Ipp::MessageReader reader(Ipp::MessageKind::Request);
    char piece[16384];
    size_t total = 0;
    bool wantsMore = true;
    // In pieces, as the document behind the attributes may be long and must not be read here.
    while (wantsMore && total <= kMaxAttributeBytes) {
        const size_t length = body_.Read(piece, sizeof piece);
        if (length == 0) break;
        total += length;
        wantsMore = reader.Append({piece, length});
    }
    rest_ = reader.Rest();
    const Ipp::Message message = reader.Finish();
    // Before any complaint: a refusal carries the version and the id of its request.
    request.header = message.Header();
    if (wantsMore && total > kMaxAttributeBytes)
        throw IppError(IppStatus::RequestEntityTooLarge, "too many attributes");
    if (message.GetFault()) throw IppError(IppStatus::BadRequest, message.GetFault()->reason);
    // The reader tolerates a missing end in answers of devices; a request without one has broken off.
    if (!message.HasEndTag()) throw IppError(IppStatus::BadRequest, "the request breaks off");
    for (uint32_t index = 0; index < message.GroupCount(); ++index)
        request.groups.push_back(CopyOf(message, message.GetGroup(index)));
}

size_t IppSource::ReadDocument(char* buffer, size_t size) {
    // First what arrived in one piece with the attributes.
    if (next_ == rest_.size()) return body_.Read(buffer, size);
    const size_t piece = std::min(size, rest_.size() - next_);
    std::memcpy(buffer, rest_.data() + next_, piece);
    next_ += piece;
    return piece;
}

std::string EncodeIppMessage(const IppMessage& message) {
    std::string bytes;
    Ipp::MessageWriter writer(bytes);
    writer.Header(message.header);
    for (const IppGroup& group : message.groups) {
        writer.Group(group.tag);
        for (const IppAttribute& attribute : group.attributes)
            Write(writer, attribute);
    }
    writer.End();
    return bytes;
}

}  // namespace CorvixSim
