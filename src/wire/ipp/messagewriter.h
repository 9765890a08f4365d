/// Writes messages.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "wire/ipp/message.h"
#include "wire/ipp/tags.h"

namespace Corvix::Ipp {

/// Appends a message piece by piece to a target that has append(const char*, std::size_t), such as a string.
///
/// A value without a name is a further one of the attribute before it, or of the member of a collection that
/// was named last. Names and values are at most 65535 bytes long.
template <class Target>
class BasicMessageWriter {
public:
    explicit BasicMessageWriter(Target& target) : target_(target) {}

    BasicMessageWriter& Header(const MessageHeader& header) {
        return Byte(header.major).Byte(header.minor).Short(header.code).Int(header.requestId);
    }
    BasicMessageWriter& Group(unsigned char tag) { return Byte(tag); }
    BasicMessageWriter& End() { return Byte(Tag::EndOfAttributes); }

    /// A value as its bytes: a text, an octet string, an out-of-band value, which has none.
    BasicMessageWriter& Octets(unsigned char tag, std::string_view name, std::string_view bytes) {
        return Byte(tag).Sized(name).Sized(bytes);
    }
    /// \param tag that of an integer or of an enum.
    BasicMessageWriter& Integer(unsigned char tag, std::string_view name, std::int32_t number) {
        return Byte(tag).Sized(name).Short(4).Int(static_cast<std::uint32_t>(number));
    }
    BasicMessageWriter& Boolean(std::string_view name, unsigned char value) {
        return Byte(Tag::Boolean).Sized(name).Short(1).Byte(value);
    }
    BasicMessageWriter& Range(std::string_view name, const IPPRange& range) {
        return Byte(Tag::RangeOfInteger).Sized(name).Short(8).Pair(range.lower, range.upper);
    }
    BasicMessageWriter& Resolution(std::string_view name, const IPPResolution& resolution) {
        Byte(Tag::Resolution).Sized(name).Short(9).Pair(resolution.crossFeed, resolution.feed);
        return Byte(resolution.units);
    }
    BasicMessageWriter& DateTime(std::string_view name, const IPPDateTime& date) {
        const int minutes = date.minutesFromUtc < 0 ? -date.minutesFromUtc : date.minutesFromUtc;
        Byte(Tag::DateTime).Sized(name).Short(11).Short(date.year).Byte(date.month).Byte(date.day);
        Byte(date.hour).Byte(date.minute).Byte(date.second).Byte(date.decisecond);
        Byte(date.minutesFromUtc < 0 ? '-' : '+').Byte(static_cast<unsigned char>(minutes / 60));
        return Byte(static_cast<unsigned char>(minutes % 60));
    }
    /// \param tag that of a text or of a name with a language.
    BasicMessageWriter& WithLanguage(unsigned char tag, std::string_view name, std::string_view language,
                                     std::string_view text) {
        return Byte(tag).Sized(name).Short(4 + language.size() + text.size()).Sized(language).Sized(text);
    }

    BasicMessageWriter& BeginCollection(std::string_view name) {
        return Octets(Tag::BegCollection, name, {});
    }
    /// Names the member of the collection whose values follow.
    BasicMessageWriter& Member(std::string_view name) { return Octets(Tag::MemberAttrName, {}, name); }
    BasicMessageWriter& EndCollection() { return Octets(Tag::EndCollection, {}, {}); }

private:
    BasicMessageWriter& Bytes(std::string_view bytes) {
        target_.append(bytes.data(), bytes.size());
        return *this;
    }
    BasicMessageWriter& Byte(unsigned char value) {
        const char byte = static_cast<char>(value);
        return Bytes({&byte, 1});
    }
    BasicMessageWriter& Short(std::size_t value) {
        const char bytes[] = {static_cast<char>(value >> 8 & 0xFF), static_cast<char>(value & 0xFF)};
        return Bytes({bytes, sizeof bytes});
    }
    BasicMessageWriter& Int(std::uint32_t value) { return Short(value >> 16).Short(value & 0xFFFF); }
    BasicMessageWriter& Pair(std::int32_t first, std::int32_t second) {
        return Int(static_cast<std::uint32_t>(first)).Int(static_cast<std::uint32_t>(second));
    }
    BasicMessageWriter& Sized(std::string_view bytes) { return Short(bytes.size()).Bytes(bytes); }

    Target& target_;
};

using MessageWriter = BasicMessageWriter<std::string>;

}  // namespace Corvix::Ipp
