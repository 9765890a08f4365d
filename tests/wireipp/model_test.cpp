// The model of a message: groups, attributes, values by type, members of collections; written, and read as it comes.
#include <gmock/gmock.h>

#include "support/ippbytes.h"
#include "wire/ipp/messagereader.h"
#include "wire/ipp/messagewriter.h"

namespace Corvix::Ipp {
namespace {

using namespace Testing;

std::string Show(const IPPDateTime& date) {
    std::string text;
    for (const int field : {int{date.year}, int{date.month}, int{date.day}, int{date.hour}, int{date.minute},
                            int{date.second}, int{date.decisecond}, int{date.minutesFromUtc}})
        text += (text.empty() ? "" : "/") + std::to_string(field);
    return text;
}

std::string Show(const Message& message, const RawValue& raw);

std::string Show(const Message& message, const Attribute& attribute) {
    std::string text(attribute.name);
    ValueCursor values(message, attribute);
    while (const auto value = values.Next())
        text += " " + Show(message, *value);
    return text;
}

std::string ShowMembers(const Message& message, const RawValue& collection) {
    std::string text = "{";
    MemberCursor members(message, collection);
    while (const auto member = members.Next())
        text += (text.size() > 1 ? "; " : "") + Show(message, *member);
    return text + "}";
}

std::string Show(const Message& message, const RawValue& raw) {
    const IPPValue value = Decode(raw);
    EXPECT_EQ(value.tag, raw.tag);
    EXPECT_EQ(value.bytes, raw.bytes);
    switch (value.kind) {
        case IPPValueKind::OutOfBand:
            return "<" + std::string(value.text) + ">";
        case IPPValueKind::Integer:
            return "i" + std::to_string(value.number);
        case IPPValueKind::Boolean:
            return value.number ? "true" : "false";
        case IPPValueKind::Enum:
            return "e" + std::to_string(value.number);
        case IPPValueKind::Octets:
            return "o'" + std::string(value.bytes) + "'";
        case IPPValueKind::DateTime:
            return Show(value.date);
        case IPPValueKind::Resolution:
            return std::to_string(value.resolution.crossFeed) + "x" + std::to_string(value.resolution.feed) +
                   "u" + std::to_string(value.resolution.units);
        case IPPValueKind::Range:
            return std::to_string(value.range.lower) + ".." + std::to_string(value.range.upper);
        case IPPValueKind::Collection:
            return ShowMembers(message, raw);
        case IPPValueKind::Text:
            return "'" + std::string(value.text) + "'" + std::string(value.language);
        case IPPValueKind::Other:
            return "?" + std::string(value.bytes);
    }
    return {};
}

/// The whole message: each group with its tag, each attribute with its values.
std::string Show(const Message& message) {
    std::string text;
    for (std::uint32_t i = 0; i < message.GroupCount(); ++i) {
        const Group group = message.GetGroup(i);
        text += (i > 0 ? " | " : "") + std::to_string(group.tag) + ":";
        for (std::uint32_t at = group.first; at < group.end; ++at)
            text += (at > group.first ? ", " : " ") + Show(message, message.GetAttribute(at));
    }
    return text;
}

struct ModelCase {
    const char* what;
    std::string attributes;  // behind the header
    std::string model;
};

const std::string date = {7, '\xEA', 11, 22, 8, 5, 60, 9, '-', 3, 30};

const std::vector<ModelCase> modelCases = {
    {"numbers", Byte(4) + Integer("a", 0xFFFFFFFF) + Value(0x23, "b", Int(5)) + Value(0x22, "c", Byte(1)),
     "4: a i-1, b e5, c true"},
    {"a value keeps its comma", Byte(4) + Keyword("a", "Black, high yield") + Keyword("", ""),
     "4: a 'Black, high yield' ''"},
    {"pairs", Byte(4) + Value(0x33, "a", Int(1) + Int(9)) + Value(0x32, "b", Int(600) + Int(300) + Byte(3)),
     "4: a 1..9, b 600x300u3"},
    {"octets and a date", Byte(4) + Value(0x30, "a", "x=1;") + Value(0x31, "b", date),
     "4: a o'x=1;', b 2026/11/22/8/5/60/9/-210"},
    {"texts with a language",
     Byte(4) + Value(0x35, "a", Short(2) + "de" + Short(3) + "Rot") + Value(0x36, "b", Short(0) + Short(0)),
     "4: a 'Rot'de, b ''"},
    {"badly formed texts with a language",
     Byte(4) + Value(0x35, "a", Short(9) + "de") + Value(0x36, "", Short(0) + Short(0) + "x"),
     "4: a ?" + Short(9) + "de ?" + Short(0) + Short(0) + "x"},
    {"out of band",
     Byte(4) + Value(0x10, "a", "") + Value(0x12, "b", "") + Value(0x13, "c", "") + Value(0x1F, "d", ""),
     "4: a <unsupported>, b <unknown>, c <no-value>, d <>"},
    {"tags that nobody knows", Byte(4) + Value(0x20, "a", "p") + Value(0x43, "", "q") + Value(0x7F, "", "r"),
     "4: a ?p ?q ?r"},
    {"groups alike and empty",
     Byte(1) + Byte(2) + Integer("a", 1) + Keyword("b", "x") + Byte(2) + Integer("a", 2) + Byte(2),
     "1: | 2: a i1, b 'x' | 2: a i2 | 2:"},
    {"outside groups", Integer("a", 1) + Byte(2) + Byte(3) + Integer("b", 2), "0: a i1 | 2: | 0: b i2"},
    {"a further value in a new group", Byte(2) + Integer("a", 1) + Byte(2) + Integer("", 2),
     "2: a i1 | 2: a i2"},
    {"one name twice", Byte(4) + Integer("a", 1) + Integer("b", 2) + Integer("a", 3), "4: a i1, b i2, a i3"},
    {"collections",
     Byte(4) + Begin("c") + Member("m") + Integer("", 1) + Integer("", 2) + Member("n") + Begin() +
         MemberInteger("o", 3) + End() + Begin() + End() + Member("p") + Keyword("", "x") + End() + Begin() +
         End() + Integer("d", 4),
     "4: c {m i1 i2; n {o i3} {}; p 'x'} {}, d i4"},
    {"a collection that begins with a value", Byte(4) + Begin("c") + Integer("", 1) + Member("m") + End(),
     "4: c { i1; m}"},
    {"a collection that is cut off", Byte(4) + Begin("c") + Member("m") + Begin() + Member("n") + Byte(2),
     "4: c {m {n}}"},
};

TEST(MessageModel, KeepsGroupsAndValues) {
    for (const ModelCase& test : modelCases)
        EXPECT_EQ(Show(ReadResponseData(Header() + test.attributes)), test.model) << test.what;
}

std::string WrittenRequest() {
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

TEST(MessageWriter, WritesTheseBytes) {
    EXPECT_EQ(WrittenRequest(), Byte(1) + Byte(1) + Short(2) + Int(7) + Byte(1) + Keyword("a", "x") +
                                    Keyword("", "y,z") + Value(0x13, "b", "") +
                                    Value(0x23, "c", Int(0xFFFFFFFE)) + Value(0x22, "d", Byte(1)) +
                                    Value(0x33, "e", Int(1) + Int(0xFFFFFFF7)) +
                                    Value(0x32, "f", Int(600) + Int(300) + Byte(4)) + Value(0x31, "g", date) +
                                    Value(0x36, "h", Short(2) + "de" + Short(3) + "Rot") + Byte(2) +
                                    Begin("i") + MemberInteger("j", 3) + End() + endTag);
}

TEST(MessageReader, ReadsARequestWhileItArrives) {
    const std::string request = WrittenRequest();
    const std::string document = "\3%PDF-1.4";
    for (std::size_t piece = 1; piece <= request.size() + document.size(); piece += 4) {
        MessageReader reader(MessageKind::Request);
        const std::string bytes = request + document;
        std::size_t at = 0;
        while (reader.Append(std::string_view(bytes).substr(at, piece)))
            at += piece;
        const std::string rest(reader.Rest());
        EXPECT_EQ(rest, document.substr(0, rest.size()));
        EXPECT_LT(rest.size(), piece) << "asks for no more than it needs";
        const Message message = reader.Finish();
        EXPECT_EQ(message.Code(), 2u);
        EXPECT_EQ(message.Header().major, 1);
        EXPECT_EQ(message.Body(), request);
        EXPECT_EQ(Show(message), Show(ReadResponseData(Header() + request.substr(8))));
    }
}

TEST(MessageReader, TellsWhatARequestLacks) {
    const std::string request = WrittenRequest();
    for (std::size_t size = 0; size < request.size(); ++size) {
        MessageReader reader(MessageKind::Request);
        EXPECT_TRUE(reader.Append(request.substr(0, size))) << size;
        const Message message = reader.Finish();
        EXPECT_FALSE(message.HasEndTag());
        EXPECT_LE(message.Body().size(), size);
    }
    MessageReader broken(MessageKind::Request);
    EXPECT_FALSE(broken.Append(Header() + End()));
    EXPECT_TRUE(broken.Finish().GetFault());
}

TEST(MessageModel, FindsAnAttributeInItsGroup) {
    const Message message =
        ReadResponseData(Header() + Byte(2) + Integer("id", 1) + Byte(2) + Integer("id", 2) +
                         Keyword("r", "x") + Keyword("", "y") + endTag);
    const Group first = message.GetGroup(0);
    const Group second = message.GetGroup(1);
    EXPECT_EQ(message.ValueText(first, "id"), "1");
    EXPECT_EQ(message.ValueText(second, "id"), "2");
    EXPECT_EQ(message.ValueText(second, "r"), "x,y");
    EXPECT_EQ(message.ValueText(first, "r"), std::nullopt);
    EXPECT_FALSE(message.Find(first, "r"));
}

// A cursor knows where a collection ends without passing through it again.
TEST(MessageModel, WalksDeepCollections) {
    constexpr int depth = 100000;
    std::string attributes = Begin("a");
    for (int i = 1; i < depth; ++i)
        attributes += Member("m") + Begin();
    for (int i = 0; i < depth; ++i)
        attributes += End();
    const Message message = ReadResponseData(Body(attributes));
    Attribute attribute = message.GetAttribute(0);
    int levels = 0;
    for (auto value = ValueCursor(message, attribute).Next(); value; ++levels) {
        const auto member = MemberCursor(message, *value).Next();
        value = member ? ValueCursor(message, *member).Next() : std::nullopt;
    }
    EXPECT_EQ(levels, depth);
}

}  // namespace
}  // namespace Corvix::Ipp
