#include "wire/ipp/tagrules.h"

#include <array>
#include <cstddef>

namespace Corvix::Ipp {
namespace {

using Kind = IPPValueKind;

// Texts are held to what IPP allows a text to be.
constexpr std::uint16_t longestText = 1023;
constexpr std::uint16_t longestTextWithLanguage = 1024;
constexpr std::uint16_t anyLength = 0xFFFF;

constexpr TagRule unknown = {Handling::NoText, Kind::Other, 0, anyLength, ""};
constexpr TagRule outOfBand = {Handling::NoText, Kind::OutOfBand, 0, anyLength, ""};
constexpr TagRule textWithLanguage = {Handling::NoText, Kind::Text, 4, longestTextWithLanguage,
                                      "a text with a language is not 4 to 1024 bytes long"};

constexpr TagRule Exactly(std::uint16_t length, Kind kind, const char* reason) {
    return {Handling::HasText, kind, length, length, reason};
}

constexpr TagRule TextOf(Kind kind) {
    return {Handling::HasText, kind, 0, longestText, "a text is longer than 1023 bytes"};
}

constexpr std::size_t firstRule = Tag::Integer;
constexpr std::size_t ruleCount = Tag::MemberAttrName - Tag::Integer + 1;

constexpr std::array<TagRule, ruleCount> MakeRules() {
    std::array<TagRule, ruleCount> rules{};
    for (TagRule& rule : rules)
        rule = unknown;
    const auto set = [&rules](unsigned char tag, const TagRule& rule) { rules[tag - firstRule] = rule; };
    set(Tag::Integer, Exactly(4, Kind::Integer, "an integer is not 4 bytes long"));
    set(Tag::Enum, Exactly(4, Kind::Enum, "an enum is not 4 bytes long"));
    set(Tag::Boolean, Exactly(1, Kind::Boolean, "a boolean is not 1 byte long"));
    set(Tag::DateTime, {Handling::NoText, Kind::DateTime, 11, 11, "a dateTime is not 11 bytes long"});
    set(Tag::Resolution, Exactly(9, Kind::Resolution, "a resolution is not 9 bytes long"));
    set(Tag::RangeOfInteger, Exactly(8, Kind::Range, "a rangeOfInteger is not 8 bytes long"));
    set(Tag::BegCollection, {Handling::OpenCollection, Kind::Collection, 0, anyLength, ""});
    set(Tag::EndCollection, {Handling::CloseCollection, Kind::Other, 0, anyLength, ""});
    set(Tag::MemberAttrName,
        {Handling::NameMember, Kind::Other, 0, longestText, "a member's name is longer than 1023 bytes"});
    set(Tag::TextWithLanguage, textWithLanguage);
    set(Tag::NameWithLanguage, textWithLanguage);
    set(Tag::OctetString, TextOf(Kind::Octets));
    for (const unsigned char tag :
         {Tag::TextWithoutLanguage, Tag::NameWithoutLanguage, Tag::Keyword, Tag::Uri, Tag::UriScheme,
          Tag::Charset, Tag::NaturalLanguage, Tag::MimeMediaType})
        set(tag, TextOf(Kind::Text));
    return rules;
}

constexpr std::array<TagRule, ruleCount> rules = MakeRules();

}  // namespace

const TagRule& RuleOf(unsigned char tag) {
    if (tag < Tag::FirstTyped) return outOfBand;
    const std::size_t index = tag - firstRule;
    return index < rules.size() ? rules[index] : unknown;
}

}  // namespace Corvix::Ipp
