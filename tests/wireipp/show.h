// A message as a line of text, taken apart with the cursors: "1: a i1 k'x', b {m 1..9} | 2: c <no-value>".
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "wire/ipp/messagewriter.h"

namespace Corvix::Ipp::Testing {

std::string Show(const Message& message, const RawValue& raw);

inline std::string Show(const Message& message, const Attribute& attribute) {
    std::string text(attribute.name);
    ValueCursor values(message, attribute);
    while (const auto value = values.Next())
        text += " " + Show(message, *value);
    return text;
}

inline std::string ShowMembers(const Message& message, const RawValue& collection) {
    std::string text;
    MemberCursor members(message, collection);
    while (const auto member = members.Next())
        text += (text.empty() ? "" : "; ") + Show(message, *member);
    return "{" + text + "}";
}

/// Numbers with a letter before or a sign between.
inline std::string ShowNumbers(const IPPValue& value) {
    const auto join = [](std::initializer_list<int> numbers) {
        std::string text;
        for (const int number : numbers)
            text += (text.empty() ? "" : "/") + std::to_string(number);
        return text;
    };
    const IPPDateTime& d = value.date;
    const IPPResolution& r = value.resolution;
    switch (value.kind) {
        case IPPValueKind::Integer:
            return "i" + std::to_string(value.number);
        case IPPValueKind::Enum:
            return "e" + std::to_string(value.number);
        case IPPValueKind::Boolean:
            return "b" + std::to_string(value.number);
        case IPPValueKind::Range:
            return std::to_string(value.range.lower) + ".." + std::to_string(value.range.upper);
        case IPPValueKind::Resolution:
            return join({r.crossFeed, r.feed, r.units});
        case IPPValueKind::DateTime:
            return join({d.year, d.month, d.day, d.hour, d.minute, d.second, d.decisecond, d.minutesFromUtc});
        default:
            return "?";
    }
}

/// Texts with the letter of their type: "w" and "a" with, "t" and "n" without a language, "k" keyword ...
inline std::string Show(const Message& message, const RawValue& raw) {
    constexpr std::string_view letters = "tn kusclm";
    const IPPValue value = Decode(raw);
    EXPECT_EQ(value.tag, raw.tag);
    EXPECT_EQ(value.bytes, raw.bytes);
    switch (value.kind) {
        case IPPValueKind::OutOfBand:
            return "<" + std::string(value.text) + ">";
        case IPPValueKind::Octets:
            return "o'" + std::string(value.bytes) + "'";
        case IPPValueKind::Collection:
            return ShowMembers(message, raw);
        case IPPValueKind::Text:
            return (raw.tag < Tag::TextWithoutLanguage
                        ? std::string(value.language) + (raw.tag == Tag::TextWithLanguage ? "w" : "a")
                        : std::string(1, letters.at(raw.tag - Tag::TextWithoutLanguage))) +
                   "'" + std::string(value.text) + "'";
        case IPPValueKind::Other:
            return "?" + std::string(value.bytes);
        default:
            return ShowNumbers(value);
    }
}

/// The whole message: each group with its tag, each attribute with its values.
inline std::string Show(const Message& message) {
    std::string text;
    for (std::uint32_t i = 0; i < message.GroupCount(); ++i) {
        const Group group = message.GetGroup(i);
        text += (i > 0 ? " | " : "") + std::to_string(group.tag) + ":";
        for (std::uint32_t at = group.first; at < group.end; ++at)
            text += (at > group.first ? ", " : " ") + Show(message, message.GetAttribute(at));
    }
    return text;
}

/// A message of many types as the writer writes it.
inline std::string WrittenRequest() {
    std::string bytes = "before";
    MessageWriter(bytes)
        .Header({1, 1, Operation::PrintJob, 7})
        .Group(Tag::OperationAttributes)
        .Octets(Tag::Keyword, "a", "x")
        .Octets(Tag::Keyword, {}, "y,z")
        .Octets(Tag::NoValue, "b", {})
        .Integer(Tag::Enum, "c", -2)
        .Boolean("d", true)
        .Range("e", {1, -9})
        .Resolution("f", {600, 300, DotsPerCentimeter})
        .DateTime("g", {2026, 11, 22, 8, 5, 60, 9, -210})
        .WithLanguage(Tag::NameWithLanguage, "h", "de", "Rot")
        .Group(Tag::JobAttributes)
        .BeginCollection("i")
        .Member("j")
        .Integer(Tag::Integer, {}, 3)
        .EndCollection()
        .End();
    return bytes.substr(6);
}

}  // namespace Corvix::Ipp::Testing
