#include "ipp/message.h"

#include <algorithm>
#include <cstring>

namespace CorvixSim {
namespace {

constexpr size_t kMaxAttributeBytes = 4 << 20;
constexpr size_t kPiece = 16384;
constexpr int kMaxDepth = 16;

uint32_t NumberFrom(std::string_view bytes) {
    uint32_t number = 0;
    for (const char c : bytes)
        number = number << 8 | static_cast<uint8_t>(c);
    return number;
}

std::string BytesOf(uint32_t number, int count) {
    std::string bytes;
    for (int shift = (count - 1) * 8; shift >= 0; shift -= 8)
        bytes += static_cast<char>(number >> shift);
    return bytes;
}

/// A tag with the name and value that follow it.
struct Field {
    uint8_t tag;
    std::string name;
    std::string value;
};

std::string TakeSized(IppSource& source) { return source.Take(NumberFrom(source.Take(2))); }

Field TakeField(IppSource& source, uint8_t tag) {
    Field field{tag, {}, {}};
    field.name = TakeSized(source);
    field.value = TakeSized(source);
    return field;
}

uint8_t TakeTag(IppSource& source) { return static_cast<uint8_t>(source.Take(1)[0]); }

IppValue TakeValue(IppSource& source, Field field, int depth);

IppValue TakeCollection(IppSource& source, int depth) {
    if (depth == kMaxDepth) throw IppError(IppStatus::BadRequest, "collections are nested too deep");
    IppValue collection;
    collection.tag = IppTag::BeginCollection;
    for (;;) {
        Field field = TakeField(source, TakeTag(source));
        if (field.tag == IppTag::EndCollection) return collection;
        if (!field.name.empty())
            throw IppError(IppStatus::BadRequest, "a collection member has a name field");
        if (field.tag == IppTag::MemberName) {
            collection.members.push_back({std::move(field.value), {}});
        } else if (collection.members.empty()) {
            throw IppError(IppStatus::BadRequest, "a collection begins with a value");
        } else {
            collection.members.back().values.push_back(TakeValue(source, std::move(field), depth));
        }
    }
}

IppValue TakeValue(IppSource& source, Field field, int depth) {
    if (field.tag < IppTag::FirstValueTag) throw IppError(IppStatus::BadRequest, "a collection does not end");
    if (field.tag == IppTag::BeginCollection) return TakeCollection(source, depth + 1);
    return {field.tag, std::move(field.value), {}};
}

void AddValue(IppSource& source, Field field, IppMessage& request) {
    if (request.groups.empty()) throw IppError(IppStatus::BadRequest, "an attribute outside of any group");
    std::vector<IppAttribute>& attributes = request.groups.back().attributes;
    if (!field.name.empty()) {
        attributes.push_back({field.name, {}});
    } else if (attributes.empty()) {
        throw IppError(IppStatus::BadRequest, "a further value without a first");
    }
    attributes.back().values.push_back(TakeValue(source, std::move(field), 0));
}

void AppendValue(std::string& out, std::string_view name, const IppValue& value);

void AppendField(std::string& out, uint8_t tag, std::string_view name, std::string_view value) {
    out += static_cast<char>(tag);
    out += BytesOf(static_cast<uint32_t>(name.size()), 2);
    out += name;
    out += BytesOf(static_cast<uint32_t>(value.size()), 2);
    out += value;
}

void AppendMembers(std::string& out, const std::vector<IppAttribute>& members) {
    for (const IppAttribute& member : members) {
        AppendField(out, IppTag::MemberName, {}, member.name);
        for (const IppValue& value : member.values)
            AppendValue(out, {}, value);
    }
}

void AppendValue(std::string& out, std::string_view name, const IppValue& value) {
    AppendField(out, value.tag, name, value.bytes);
    if (value.tag != IppTag::BeginCollection) return;
    AppendMembers(out, value.members);
    AppendField(out, IppTag::EndCollection, {}, {});
}

void AppendAttribute(std::string& out, const IppAttribute& attribute) {
    std::string_view name = attribute.name;
    for (const IppValue& value : attribute.values) {
        AppendValue(out, name, value);
        name = {};  // the name stands before the first value only
    }
}

}  // namespace

int32_t IppValue::Number() const {
    const bool isNumber = tag == IppTag::Integer || tag == IppTag::Enum || tag == IppTag::Boolean;
    return isNumber && bytes.size() <= 4 ? static_cast<int32_t>(NumberFrom(bytes)) : 0;
}

const IppAttribute* IppGroup::Find(std::string_view name) const {
    for (const IppAttribute& attribute : attributes) {
        if (attribute.name == name) return &attribute;
    }
    return nullptr;
}

const IppGroup* IppMessage::Group(uint8_t tag) const {
    for (const IppGroup& group : groups) {
        if (group.tag == tag) return &group;
    }
    return nullptr;
}

const IppValue* IppMessage::Operand(std::string_view name) const {
    const IppGroup* operands = Group(IppTag::OperationAttributes);
    const IppAttribute* attribute = operands ? operands->Find(name) : nullptr;
    return attribute ? &attribute->values.front() : nullptr;
}

std::string IppMessage::OperandText(std::string_view name) const {
    const IppValue* value = Operand(name);
    return value ? value->bytes : std::string();
}

IppValue MakeNumber(uint8_t tag, int32_t number) {
    return {tag, BytesOf(static_cast<uint32_t>(number), 4), {}};
}

IppValue MakeBoolean(bool value) { return {IppTag::Boolean, std::string(1, value ? '\1' : '\0'), {}}; }

IppAttribute NumberAttribute(uint8_t tag, std::string name, int32_t number) {
    return {std::move(name), {MakeNumber(tag, number)}};
}

IppAttribute TextAttribute(uint8_t tag, std::string name, std::string text) {
    return {std::move(name), {{tag, std::move(text), {}}}};
}

std::string IppSource::Take(size_t count) {
    taken_ += count;
    if (taken_ > kMaxAttributeBytes) throw IppError(IppStatus::RequestEntityTooLarge, "too many attributes");
    while (buffer_.size() - next_ < count) {
        char piece[kPiece];
        const size_t length = body_.Read(piece, sizeof piece);
        if (length == 0) throw IppError(IppStatus::BadRequest, "the request breaks off");
        buffer_.erase(0, next_);
        next_ = 0;
        buffer_.append(piece, length);
    }
    std::string bytes = buffer_.substr(next_, count);
    next_ += count;
    return bytes;
}

size_t IppSource::ReadDocument(char* buffer, size_t size) {
    if (next_ == buffer_.size()) return body_.Read(buffer, size);
    const size_t piece = std::min(size, buffer_.size() - next_);
    std::memcpy(buffer, buffer_.data() + next_, piece);
    next_ += piece;
    return piece;
}

void ReadIppRequest(IppSource& source, IppMessage& request) {
    const std::string head = source.Take(8);
    request.major = static_cast<uint8_t>(head[0]);
    request.minor = static_cast<uint8_t>(head[1]);
    request.code = static_cast<uint16_t>(NumberFrom(head.substr(2, 2)));
    request.requestId = NumberFrom(head.substr(4));
    for (uint8_t tag = TakeTag(source); tag != IppTag::EndOfAttributes; tag = TakeTag(source)) {
        if (tag < IppTag::FirstValueTag) {
            request.groups.push_back({tag, {}});
        } else {
            AddValue(source, TakeField(source, tag), request);
        }
    }
}

std::string EncodeIppMessage(const IppMessage& message) {
    std::string out = {static_cast<char>(message.major), static_cast<char>(message.minor)};
    out += BytesOf(message.code, 2) + BytesOf(message.requestId, 4);
    for (const IppGroup& group : message.groups) {
        out += static_cast<char>(group.tag);
        for (const IppAttribute& attribute : group.attributes)
            AppendAttribute(out, attribute);
    }
    return out += static_cast<char>(IppTag::EndOfAttributes);
}

}  // namespace CorvixSim
