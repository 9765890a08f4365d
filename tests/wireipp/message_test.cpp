// Messages: read as groups and values, with the joined text of an attribute; written; and read as they arrive.
#include <gmock/gmock.h>

#include "show.h"
#include "support/ippbytes.h"
#include "wire/ipp/messagereader.h"
#include "wire/ipp/messagewriter.h"

namespace Corvix::Ipp {
namespace {

using namespace Testing;
using std::nullopt;

std::string FaultOf(const Message& message) {
    const auto& fault = message.GetFault();
    return fault ? std::to_string(fault->offset) + ": " + fault->reason : "none";
}

struct ValueCase {
    std::string attributes;  // behind the header, with an end tag behind them
    std::string shown;
    std::optional<std::string> text;  // of "a"
};

const std::string text1023(1023, 'x');
const std::string text65535(65535, 'x');
const std::string date = {7, '\xEA', 11, 22, 8, 5, 60, 9, '-', 3, 30};
const std::string german = Short(2) + "de" + Short(3) + "Rot";
const std::string badText = Short(9) + "de";

const std::vector<ValueCase> valueCases = {
    {Byte(4) + Integer("a", 7), "4: a i7", "7"},
    {Byte(4) + Integer("a", 0x80000000), "4: a i-2147483648", "-2147483648"},
    {Byte(4) + Value(0x23, "a", Int(5)), "4: a e5", "5"},
    {Byte(4) + Value(0x22, "a", Byte(0)) + Value(0x22, "", Byte(1)), "4: a b0 b1", "0,1"},
    {Byte(4) + Value(0x30, "a", "a=b;c=d;"), "4: a o'a=b;c=d;'", "a,b,c,d"},
    {Byte(4) + Value(0x32, "a", Int(600) + Int(600) + Byte(3)), "4: a 600/600/3", "600dpi"},
    {Byte(4) + Value(0x32, "a", Int(600) + Int(300) + Byte(4)), "4: a 600/300/4", "600x300dpcm"},
    {Byte(4) + Value(0x32, "a", Int(1) + Int(1) + Byte(9)), "4: a 1/1/9", "1"},
    {Byte(4) + Value(0x33, "a", Int(1) + Int(0xFFFFFFFF)), "4: a 1..-1", "1--1"},
    {Byte(4) + Value(0x31, "a", date), "4: a 2026/11/22/8/5/60/9/-210", nullopt},
    {Byte(4) + Value(0x41, "a", "B\xC3\xBCro") + Value(0x42, "", "n") + Keyword("", "k") +
         Value(0x45, "", "u"),
     "4: a t'B\xC3\xBCro' n'n' k'k' u'u'", "B\xC3\xBCro,n,k,u"},
    {Byte(4) + Value(0x46, "a", "s") + Value(0x47, "", "c") + Value(0x48, "", "l") + Value(0x49, "", "m"),
     "4: a s's' c'c' l'l' m'm'", "s,c,l,m"},
    {Byte(4) + Value(0x41, "a", text1023), "4: a t'" + text1023 + "'", text1023},
    {Byte(4) + Keyword("a", "\xC3(\xFF"), "4: a k'\xC3(\xFF'", "\xC3(\xFF"},
    {Byte(4) + Keyword("a", "IPP_Set_Start,x"), "4: a k'IPP_Set_Start,x'", "IPP_Set_Start,x"},
    {Byte(4) + Keyword("a", "Black, high yield") + Keyword("", ""), "4: a k'Black, high yield' k''",
     "Black, high yield"},
    {Byte(4) + Keyword("a", "") + Keyword("", "b") + Keyword("", ""), "4: a k'' k'b' k''", ",b"},
    {Byte(4) + Keyword("a", "auto") + Integer("", 3), "4: a k'auto' i3", "auto,3"},
    {Byte(4) + Value(0x35, "a", german) + Value(0x36, "", Short(0) + Short(0)), "4: a dew'Rot' a''", nullopt},
    {Byte(4) + Value(0x35, "a", badText) + Value(0x36, "", Short(0) + Short(0) + "x"),
     "4: a ?" + badText + " ?" + Short(0) + Short(0) + "x", nullopt},
    {Byte(4) + Value(0x36, "a", text1023 + "x"), "4: a ?" + text1023 + "x", nullopt},
    {Byte(4) + Value(0x10, "a", "b") + Value(0x12, "", "") + Value(0x13, "", "") + Value(0x1F, "", ""),
     "4: a <unsupported> <unknown> <no-value> <>", nullopt},
    {Byte(4) + Value(0x20, "a", "p") + Value(0x24, "", "q") + Value(0x43, "", "r") + Value(0x4B, "", "s") +
         Value(0xFF, "", text65535),
     "4: a ?p ?q ?r ?s ?" + text65535, nullopt},
    {Byte(4) + Value(0x13, "a", "") + Keyword("", "k") + Value(0x7F, "", "x") + Keyword("", "l"),
     "4: a <no-value> k'k' ?x k'l'", "k,l"},
    {Byte(4) + Keyword(text1023, "k") + Keyword("a", "k"), "4: " + text1023 + " k'k', a k'k'", "k"},
    {Byte(4) + Integer("a", 1) + Integer("b", 2) + Integer("a", 3), "4: a i1, b i2, a i3", "1,3"},
    {Byte(1) + Byte(2) + Integer("a", 1) + Keyword("b", "x") + Byte(2) + Integer("a", 2) + Byte(2),
     "1: | 2: a i1, b k'x' | 2: a i2 | 2:", "1,2"},
    {Byte(2) + Integer("a", 1) + Byte(2) + Integer("", 2), "2: a i1 | 2: a i2", "1,2"},
    {Integer("b", 1) + Byte(2) + Byte(3) + Integer("a", 2), "0: b i1 | 2: | 0: a i2", "2"},
    {Byte(4) + Begin("a") + End(), "4: a {}", ""},
    {Byte(4) + Begin("a") + Member("m") + Integer("", 1) + Integer("", 2) + Member("n") + Begin() +
         MemberInteger("o", 3) + End() + Begin() + End() + Member("p") + Keyword("", "x") + End() + Begin() +
         End() + Integer("d", 4),
     "4: a {m i1 i2; n {o i3} {}; p k'x'} {}, d i4", "1,2,3,x"},
    {Byte(4) + Begin("a") + Integer("", 1) + Member("m") + End(), "4: a { i1; m}", "1"},
};

TEST(Message, KeepsGroupsAndValues) {
    for (const ValueCase& test : valueCases) {
        const Message message = ReadResponseData(Header() + test.attributes + endTag);
        EXPECT_EQ(Show(message), test.shown);
        EXPECT_EQ(message.ValueText("a"), test.text) << test.shown;
        EXPECT_EQ(message.Contains("a"), test.text.has_value()) << test.shown;
        EXPECT_EQ(FaultOf(message), "none") << test.shown;
        EXPECT_TRUE(message.HasEndTag()) << test.shown;
    }
}

std::string MediaCol(unsigned width, unsigned height, std::string_view type) {
    return Member("media-size") + Begin() + MemberInteger("x", width) + MemberInteger("y", height) + End() +
           Member("type") + Keyword("", type);
}

TEST(Message, FollowsPathsIntoCollections) {
    const Message message = ReadResponseData(
        Body(Begin("media") + MediaCol(210, 297, "plain") + End() + Begin() + MediaCol(100, 150, "photo") +
             End() + Integer("x", 5) + Begin("deep") + Member("l") + Begin() + Member("l") + Begin() +
             MemberInteger("l", 1) + MemberInteger("m", 2) + End() + Member("m") + Integer("", 3) +
             Integer("", 4) + End() + Begin() + MemberInteger("m", 5) + End() + MemberInteger("m", 6) +
             End() + Keyword("plain", "p") + Keyword("with.dot", "whole") + Begin("e") + Member("b") +
             Begin() + End() + End()));
    ASSERT_EQ(FaultOf(message), "none");
    const std::pair<const char*, std::optional<std::string>> cases[] = {
        {"media", "210,297,plain,100,150,photo"},
        {"media.media-size", "210,297,100,150"},
        {"media.media-size.x", "210,100"},
        {"media.type", "plain,photo"},
        {"x", "5"},
        {"deep.l", "1,2,3,4,5"},
        {"deep.l.l", "1,2"},
        {"deep.l.l.l", "1"},
        {"deep.l.m", "3,4,5"},
        {"deep.m", "6"},
        {"with.dot", "whole"},
        {"e.b", ""},
        {"e.c", nullopt},
        {"media.x", nullopt},
        {"media.media-size.z", nullopt},
        {"media.type.more", nullopt},
        {"media.", nullopt},
        {"media..x", nullopt},
        {".media-size", nullopt},
        {"plain.p", nullopt},
        {"none.x", nullopt},
        {"", nullopt},
    };
    for (const auto& [path, text] : cases)
        EXPECT_EQ(message.ValueText(path), text) << path;
    EXPECT_FALSE(message.Contains("media-size"));
}

TEST(Message, FindsAttributesByName) {
    const Message message =
        ReadResponseData(Header() + Byte(2) + Integer("b", 1) + Keyword("a", "x") + Keyword("", "y") +
                         Value(0x13, "none", "") + Byte(2) + Integer("b", 2) + Keyword("c", "z") + endTag);
    EXPECT_THAT(message.Names(), testing::ElementsAre("b", "a", "c"));
    const Group first = message.GetGroup(0);
    const Group second = message.GetGroup(1);
    EXPECT_EQ(message.ValueText(first, "b"), "1");
    EXPECT_EQ(message.ValueText(second, "b"), "2");
    EXPECT_EQ(message.ValueText(first, "a"), "x,y");
    EXPECT_EQ(message.ValueText(second, "a"), nullopt);
    EXPECT_EQ(message.ValueText(first, "none"), nullopt);
    EXPECT_TRUE(message.Find(first, "none"));
    EXPECT_FALSE(message.Find(first, "c"));
}

TEST(Message, HeedsTheStatusAsTold) {
    const struct {
        unsigned status;
        bool failOnError;
        bool readsOn;
    } cases[] = {
        {0, true, true},       {0x0400, false, true}, {0x0400, true, false}, {0x0404, true, true},
        {0x0507, true, false}, {0xFFFF, false, true}, {1, true, false},
    };
    for (const auto& [status, failOnError, readsOn] : cases) {
        const Message message =
            ReadResponseData(Byte(2) + Byte(1) + Short(status) + Int(0xFFFFFFFE) + Keyword("a", "k"),
                             ReadOptions{failOnError});
        EXPECT_EQ(message.ValueText("status-code"), std::to_string(status));
        EXPECT_EQ(message.Code(), status);
        EXPECT_EQ(message.Header().minor, 1);
        EXPECT_EQ(message.Header().requestId, 0xFFFFFFFEu);
        EXPECT_EQ(message.ValueText("a").has_value(), readsOn) << status;
        EXPECT_EQ(FaultOf(message), readsOn ? "none" : "2: the status is an error");
        EXPECT_FALSE(message.HasEndTag());
    }
}

struct FaultCase {
    const char* what;
    std::string attributes;
    std::string fault;  // its offset counts from the beginning of the attributes
};

const std::string longName(1024, 'n');

const std::vector<FaultCase> faultCases = {
    {"integer short", Value(0x21, "a", "123"), "4: an integer is not 4 bytes long"},
    {"integer long", Value(0x21, "a", "12345"), "4: an integer is not 4 bytes long"},
    {"enum long", Value(0x23, "a", "12345"), "4: an enum is not 4 bytes long"},
    {"boolean empty", Value(0x22, "a", ""), "4: a boolean is not 1 byte long"},
    {"boolean long", Value(0x22, "a", "12"), "4: a boolean is not 1 byte long"},
    {"dateTime short", Value(0x31, "a", "1234567890"), "4: a dateTime is not 11 bytes long"},
    {"dateTime long", Value(0x31, "a", "123456789012"), "4: a dateTime is not 11 bytes long"},
    {"resolution short", Value(0x32, "a", "12345678"), "4: a resolution is not 9 bytes long"},
    {"resolution long", Value(0x32, "a", "1234567890"), "4: a resolution is not 9 bytes long"},
    {"range short", Value(0x33, "a", "1234567"), "4: a rangeOfInteger is not 8 bytes long"},
    {"range long", Value(0x33, "a", "123456789"), "4: a rangeOfInteger is not 8 bytes long"},
    {"text 1024", Value(0x41, "a", longName), "4: a text is longer than 1023 bytes"},
    {"octetString 1024", Value(0x30, "a", longName), "4: a text is longer than 1023 bytes"},
    {"textWithLanguage 3", Value(0x35, "a", "abc"), "4: a text with a language is not 4 to 1024 bytes long"},
    {"nameWithLanguage 1025", Value(0x36, "a", longName + "n"),
     "4: a text with a language is not 4 to 1024 bytes long"},
    {"name 1024", Keyword(longName, "k"), "1: a name is longer than 1023 bytes"},
    {"name 1024 where none is expected", Byte(0x4A) + Short(1024), "1: a name is longer than 1023 bytes"},
    {"member name 1024", Begin("a") + Member(longName) + End(),
     "9: a member's name is longer than 1023 bytes"},
    {"member name with a name", Begin("a") + Value(0x4A, "x", "y") + End(),
     "7: a member's name comes with an attribute's name"},
    {"member name outside", Integer("a", 1) + Member("x"), "10: a member's name stands outside a collection"},
    {"collection ends unbegun", Integer("a", 1) + End(), "10: a collection ends that was not begun"},
    {"collection open at the end tag", Begin("a") + MemberInteger("x", 1) + endTag,
     "21: a collection is not closed"},
    {"collection open at a group", Begin("a") + Byte(2), "6: a collection is not closed"},
    {"collection open at the end", Begin("a"), "6: a collection is not closed"},
    {"collection open at an attribute", Begin("a") + Integer("b", 1), "7: a collection is not closed"},
    {"name length cut", Byte(0x21) + Byte(0), "1: the body ends within the length of a name"},
    {"name cut", Byte(0x21) + Short(4) + "abc", "3: the body ends within a name"},
    {"value length cut", Byte(0x21) + Short(1) + "a" + Byte(0),
     "4: the body ends within the length of a value"},
    {"value cut", Byte(0x21) + Short(1) + "a" + Short(4) + "123", "6: the body ends within a value"},
};

TEST(Message, KeepsWhatStandsBeforeAFault) {
    const std::string before =
        Header() + Byte(4) + Keyword("before", "k") + Begin("col") + MemberInteger("m", 1) + End();
    for (const FaultCase& test : faultCases) {
        const Message message = ReadResponseData(before + test.attributes);
        ASSERT_TRUE(message.GetFault()) << test.what;
        EXPECT_EQ(
            std::to_string(message.GetFault()->offset - before.size()) + ": " + message.GetFault()->reason,
            test.fault)
            << test.what;
        EXPECT_EQ(message.ValueText("before"), "k") << test.what;
        EXPECT_EQ(message.ValueText("col.m"), "1") << test.what;
        EXPECT_EQ(Show(message).substr(0, 26), "4: before k'k', col {m i1}") << test.what;
    }
}

TEST(Message, KeepsTheMembersBeforeAFault) {
    const Message message = ReadResponseData(Header() + Begin("a") + MemberInteger("x", 1) + Member("z") +
                                             Begin() + Member("y") + Value(0x21, "", "123"));
    EXPECT_TRUE(message.GetFault());
    EXPECT_EQ(Show(message), "0: a {x i1; z {y}}");
    EXPECT_EQ(message.ValueText("a.x"), "1");
    EXPECT_EQ(message.ValueText("a"), "1");
    EXPECT_EQ(message.ValueText("a.z.y"), nullopt) << "named, but without a value that could be read";
}

TEST(Message, RefusesWhatIsNoResponse) {
    EXPECT_EQ(FaultOf(ReadResponseData({})), "0: the body ends within the header");
    EXPECT_EQ(FaultOf(ReadResponseData(Header().substr(0, 7))), "7: the body ends within the header");
    EXPECT_EQ(FaultOf(ReadResponseData(Byte(1) + Byte(1) + Int(0) + Short(0))), "0: the version is not 2.x");
    EXPECT_EQ(ReadResponseData({}).ValueText("status-code"), nullopt);
    EXPECT_EQ(FaultOf(ReadResponseData(Header() + Keyword("", "k"))), "9: a value comes before any name");
}

// Every beginning of a good body either ends between two attributes or has a fault at most where it ends.
TEST(Message, EndsWhereACutBodyEnds) {
    const std::string body = Body(Integer("a", 1) + Begin("b") + MediaCol(1, 2, "plain") + End() +
                                  Value(0x32, "c", Int(600) + Int(600) + Byte(3)) + Keyword("d", "x"));
    const Message whole = ReadResponseData(body);
    for (std::size_t size = 0; size < body.size(); ++size) {
        const Message cut = ReadResponseData(body.substr(0, size));
        EXPECT_LE(cut.GetFault().value_or(Fault{0, ""}).offset, size);
        for (const std::string_view name : cut.Names()) {
            const std::string text = cut.ValueText(name).value();
            EXPECT_EQ(whole.ValueText(name).value().substr(0, text.size()), text);
        }
    }
}

// Neither reading nor a text takes more stack, and a cursor knows where a collection ends.
TEST(Message, ReadsCollectionsTenThousandDeep) {
    constexpr int depth = 10000;
    std::string attributes = Begin("a");
    std::string path = "a";
    for (int i = 1; i < depth; ++i) {
        attributes += Member("m") + Begin();
        path += ".m";
    }
    attributes += MemberInteger("x", 7);
    EXPECT_EQ(ReadResponseData(Header() + attributes).ValueText(path + ".x"), "7");
    for (int i = 0; i < depth; ++i)
        attributes += End();
    const Message message = ReadResponseData(Body(attributes));
    EXPECT_EQ(FaultOf(message), "none");
    EXPECT_EQ(message.ValueText(path + ".x"), "7");
    EXPECT_EQ(message.ValueText(path + ".m.x"), nullopt);
    int levels = 0;
    for (auto value = ValueCursor(message, message.GetAttribute(0)).Next(); value; ++levels) {
        const auto member = MemberCursor(message, *value).Next();
        value = member ? ValueCursor(message, *member).Next() : nullopt;
    }
    EXPECT_EQ(levels, depth + 1);
}

TEST(Message, FindsEachOfAHundredThousandAttributes) {
    constexpr unsigned count = 100000;
    std::string attributes;
    for (unsigned i = 0; i < count; ++i)
        attributes += Integer("n" + std::to_string(i), i);
    Message first = ReadResponseData(Body(attributes));
    const Message moved = std::move(first);
    const Message copied = moved;
    for (unsigned i = 0; i < count; i += 997)
        EXPECT_EQ(copied.ValueText("n" + std::to_string(i)), std::to_string(i));
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
        EXPECT_EQ(FaultOf(message), "none");
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

}  // namespace
}  // namespace Corvix::Ipp
