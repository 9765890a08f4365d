/// An IPP message as it was read: groups of attributes with their values, in the order of the wire.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wire/ipp/nameindex.h"
#include "wire/ipp/value.h"

namespace Corvix::Ipp {

/// What stopped the reading: the byte of the body where, and why.
struct Fault {
    std::size_t offset;
    const char* reason;
};

/// The first eight bytes. The code is the operation of a request, the status of an answer.
struct MessageHeader {
    std::uint8_t major = 2;
    std::uint8_t minor = 0;
    std::uint16_t code = 0;
    std::uint32_t requestId = 0;
};

/// A group: its delimiter, and its attributes as indices of the message. Attributes that stand outside any
/// group are in one whose tag is 0.
struct Group {
    unsigned char tag = 0;
    std::uint32_t first = 0;
    std::uint32_t end = 0;
};

/// An attribute of a group or a member of a collection. A ValueCursor tells its values.
struct Attribute {
    std::string_view name;
    std::uint32_t begin = 0;  ///< the byte of the body where its values begin
};

/// A read message. It keeps one copy of the body and small records of where groups, attributes and collections
/// are in it; values stay where they are. It never changes, and any number of threads may ask it.
class Message {
public:
    const MessageHeader& Header() const { return header_; }
    unsigned Code() const { return header_.code; }
    /// Whether the header was read, so that there is a code.
    bool HasHeader() const { return hasHeader_; }
    /// Whether the tag that ends the attributes was met.
    bool HasEndTag() const { return hasEndTag_; }
    /// What stopped the reading; everything before it can be asked for.
    const std::optional<Fault>& GetFault() const { return fault_; }
    /// The bytes that were read.
    std::string_view Body() const { return body_; }

    std::uint32_t GroupCount() const { return static_cast<std::uint32_t>(groups_.size()); }
    Group GetGroup(std::uint32_t index) const;
    Attribute GetAttribute(std::uint32_t index) const;
    /// The first attribute of this name in the group.
    std::optional<Attribute> Find(const Group& group, std::string_view name) const;

    /// \name The values as text
    /// Joined by ",", without commas at the end, in the order of arrival; of what HasText (tagrules.h) alone.
    /// A name without any such value is not there.
    /// @{
    /// The values of this name in all groups. A name with dots leads into collections:
    /// "media-col.media-size.x-dimension" is the member, of each collection of the set. "status-code" is the code
    /// of the header as a number.
    std::optional<std::string> ValueText(std::string_view name) const;
    /// The values of the first attribute of this name in the group.
    std::optional<std::string> ValueText(const Group& group, std::string_view name) const;
    /// Whether there are values of this name; members of collections have no names of their own.
    bool Contains(std::string_view name) const;
    /// The different names, in the order of their first appearance.
    std::vector<std::string_view> Names() const;
    /// @}

private:
    friend class MessageReader;
    friend class MemberCursor;
    friend class ValueCursor;

    struct GroupRecord {
        std::uint32_t first;  ///< attribute
        unsigned char tag;
    };
    /// One appearance of a name. Its values stand in the body one after the other.
    struct AttributeRecord {
        std::uint32_t name;  ///< index in names_
        std::uint32_t begin;
        std::uint32_t next;  ///< the next attribute of the same name
    };
    struct CollectionRecord {
        std::uint32_t begin;  ///< the byte behind the value that begins it
        std::uint32_t end;    ///< the byte behind the value that ends it
    };
    using Path = std::vector<std::string_view>;

    std::optional<RawValue> ItemAt(std::uint32_t begin, std::uint32_t position) const;
    std::uint32_t EndOfCollection(std::uint32_t begin) const;
    bool AppendTexts(std::uint32_t begin, const Path& path, std::string& text) const;
    std::optional<std::string> JoinTexts(const NameIndex::Entry& entry, const Path& path) const;
    bool HasText(const NameIndex::Entry& entry) const;

    std::string body_;
    std::vector<GroupRecord> groups_;
    std::vector<AttributeRecord> attributes_;
    std::vector<CollectionRecord> collections_;  ///< in the order in which they begin
    NameIndex names_;
    std::optional<Fault> fault_;
    std::uint32_t end_ = 0;  ///< the byte behind what was read
    MessageHeader header_;
    bool hasHeader_ = false;
    bool hasEndTag_ = false;
};

/// Steps through the values of an attribute, each collection being one.
class ValueCursor {
public:
    /// \param position where an earlier cursor over the same attribute stopped, to go on from there.
    ValueCursor(const Message& message, std::uint32_t begin, std::uint32_t position)
        : message_(&message), begin_(begin), position_(position) {}
    ValueCursor(const Message& message, const Attribute& attribute)
        : ValueCursor(message, attribute.begin, attribute.begin) {}
    std::optional<RawValue> Next();
    std::uint32_t Position() const { return position_; }

private:
    const Message* message_;
    std::uint32_t begin_;
    std::uint32_t position_;
};

/// Steps through the members of a collection.
class MemberCursor {
public:
    MemberCursor(const Message& message, std::uint32_t position) : message_(&message), position_(position) {}
    MemberCursor(const Message& message, const RawValue& collection)
        : MemberCursor(message, collection.end) {}
    std::optional<Attribute> Next();
    std::uint32_t Position() const { return position_; }

private:
    const Message* message_;
    std::uint32_t position_;
};

}  // namespace Corvix::Ipp
