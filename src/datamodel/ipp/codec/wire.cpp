#include "datamodel/ipp/codec/wire.h"

#include <array>
#include <cstddef>

namespace Corvix::Ipp {
namespace {

// Texts are held to what IPP allows a text to be.
constexpr std::uint16_t longestText = 1023;
constexpr std::uint16_t longestTextWithLanguage = 1024;
constexpr std::uint16_t anyLength = 0xFFFF;

constexpr TagRule skipped = {Handling::Skip, 0, anyLength, ""};
constexpr TagRule text = {Handling::Keep, 0, longestText, "a text is longer than 1023 bytes"};
constexpr TagRule textWithLanguage = {Handling::Skip, 4, longestTextWithLanguage,
                                      "a text with a language is not 4 to 1024 bytes long"};

constexpr TagRule Exactly(std::uint16_t length, Handling handling, const char* reason) {
    return {handling, length, length, reason};
}

constexpr std::size_t firstRule = Tag::Integer;
constexpr std::size_t ruleCount = Tag::MemberAttrName - Tag::Integer + 1;

constexpr std::array<TagRule, ruleCount> MakeRules() {
    std::array<TagRule, ruleCount> rules{};
    for (TagRule& rule : rules)
        rule = skipped;
    const auto set = [&rules](unsigned char tag, const TagRule& rule) { rules[tag - firstRule] = rule; };
    set(Tag::Integer, Exactly(4, Handling::Keep, "an integer is not 4 bytes long"));
    set(Tag::Enum, Exactly(4, Handling::Keep, "an enum is not 4 bytes long"));
    set(Tag::Boolean, Exactly(1, Handling::Keep, "a boolean is not 1 byte long"));
    set(Tag::DateTime, Exactly(11, Handling::Skip, "a dateTime is not 11 bytes long"));
    set(Tag::Resolution, Exactly(9, Handling::Keep, "a resolution is not 9 bytes long"));
    set(Tag::RangeOfInteger, Exactly(8, Handling::Keep, "a rangeOfInteger is not 8 bytes long"));
    set(Tag::BegCollection, {Handling::OpenCollection, 0, anyLength, ""});
    set(Tag::EndCollection, {Handling::CloseCollection, 0, anyLength, ""});
    set(Tag::MemberAttrName,
        {Handling::NameMember, 0, longestText, "a member's name is longer than 1023 bytes"});
    set(Tag::TextWithLanguage, textWithLanguage);
    set(Tag::NameWithLanguage, textWithLanguage);
    for (const unsigned char tag :
         {Tag::OctetString, Tag::TextWithoutLanguage, Tag::NameWithoutLanguage, Tag::Keyword, Tag::Uri,
          Tag::UriScheme, Tag::Charset, Tag::NaturalLanguage, Tag::MimeMediaType})
        set(tag, text);
    return rules;
}

constexpr std::array<TagRule, ruleCount> rules = MakeRules();

}  // namespace

const TagRule& RuleOf(unsigned char tag) {
    const std::size_t index = tag - firstRule;
    return index < rules.size() ? rules[index] : skipped;
}

}  // namespace Corvix::Ipp
