#include "wire/ipp/message.h"

#include <algorithm>

#include "wire/ipp/tags.h"

namespace Corvix::Ipp {

Group Message::GetGroup(std::uint32_t index) const {
    const GroupRecord& group = groups_[index];
    const bool isLast = index + 1 == groups_.size();
    const std::size_t end = isLast ? attributes_.size() : groups_[index + 1].first;
    return {group.tag, group.first, static_cast<std::uint32_t>(end)};
}

Attribute Message::GetAttribute(std::uint32_t index) const {
    const AttributeRecord& attribute = attributes_[index];
    return {NameIndex::NameAt(body_, names_[attribute.name].offset), attribute.begin};
}

std::optional<Attribute> Message::Find(const Group& group, std::string_view name) const {
    for (std::uint32_t index = group.first; index < group.end; ++index) {
        const Attribute attribute = GetAttribute(index);
        if (attribute.name == name) return attribute;
    }
    return std::nullopt;
}

/// What stands at this place, as long as it belongs to the attribute whose values begin at `begin`.
std::optional<RawValue> Message::ItemAt(std::uint32_t begin, std::uint32_t position) const {
    if (position >= end_) return std::nullopt;
    const char* item = body_.data() + position;
    const auto tag = static_cast<unsigned char>(*item);
    const std::uint32_t nameSize = tag < Tag::FirstValue ? 0 : LoadShort(item + 1);
    if (tag < Tag::FirstValue || (nameSize > 0 && position != begin)) return std::nullopt;
    const std::uint32_t valueAt = position + 5 + nameSize;
    const std::uint32_t size = LoadShort(body_.data() + valueAt - 2);
    return RawValue{tag, Body().substr(valueAt, size), valueAt + size};
}

/// Where a collection ends whose members begin at `begin`: behind what was read if its end was not.
std::uint32_t Message::EndOfCollection(std::uint32_t begin) const {
    const auto found = std::lower_bound(
        collections_.begin(), collections_.end(), begin,
        [](const CollectionRecord& record, std::uint32_t position) { return record.begin < position; });
    return found->end == 0 ? end_ : found->end;
}

std::optional<RawValue> ValueCursor::Next() {
    const auto value = message_->ItemAt(begin_, position_);
    // Both come behind the values of a member of a collection.
    if (!value || value->tag == Tag::MemberAttrName || value->tag == Tag::EndCollection) return std::nullopt;
    position_ = value->tag == Tag::BegCollection ? message_->EndOfCollection(value->end) : value->end;
    return value;
}

std::optional<Attribute> MemberCursor::Next() {
    // In a collection that was cut off, another attribute's name can't come: reading stopped there.
    const auto item = message_->ItemAt(position_, position_);
    if (!item || item->tag == Tag::EndCollection) return std::nullopt;
    const bool isNamed = item->tag == Tag::MemberAttrName;
    const Attribute member = {isNamed ? item->bytes : std::string_view(), isNamed ? item->end : position_};
    ValueCursor values(*message_, member);
    while (values.Next()) {
    }
    position_ = values.Position();
    return member;
}

}  // namespace Corvix::Ipp
