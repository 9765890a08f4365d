#include <gmock/gmock.h>

#include "support/ippbytes.h"
#include "wire/ipp/messagereader.h"

namespace Corvix::Ipp {
namespace {

using namespace Testing;
using testing::Optional;

std::string FaultOf(const Message& response) {
    const auto& fault = response.GetFault();
    return fault ? std::to_string(fault->offset) + ": " + fault->reason : "none";
}

struct TextCase {
    const char* what;
    std::string attributes;
    std::optional<std::string> text;  // of "a"
};

const std::string text1023(1023, 'x');

TEST(Message, TurnsValuesIntoText) {
    const TextCase cases[] = {
        {"integer", Integer("a", 7), "7"},
        {"negative integer", Integer("a", 0xFFFFFFFF), "-1"},
        {"smallest integer", Integer("a", 0x80000000), "-2147483648"},
        {"enum", Value(0x23, "a", Int(5)), "5"},
        {"boolean", Value(0x22, "a", Byte(0)) + Value(0x22, "", Byte(1)), "0,1"},
        {"octetString", Value(0x30, "a", "a=b;c=d"), "a,b,c,d"},
        {"octetString that ends a pair", Value(0x30, "a", "type=x;"), "type,x"},
        {"resolution", Value(0x32, "a", Int(600) + Int(600) + Byte(3)), "600dpi"},
        {"uneven resolution in dots per cm", Value(0x32, "a", Int(600) + Int(300) + Byte(4)), "600x300dpcm"},
        {"resolution of unknown units", Value(0x32, "a", Int(1) + Int(1) + Byte(9)), "1"},
        {"range", Value(0x33, "a", Int(1) + Int(99)), "1-99"},
        {"text", Value(0x41, "a", "Büro"), "Büro"},
        {"name", Value(0x42, "a", "n"), "n"},
        {"keyword", Keyword("a", "k"), "k"},
        {"uri", Value(0x45, "a", "ipp://p"), "ipp://p"},
        {"uriScheme", Value(0x46, "a", "ipp"), "ipp"},
        {"charset", Value(0x47, "a", "utf-8"), "utf-8"},
        {"naturalLanguage", Value(0x48, "a", "en"), "en"},
        {"mimeMediaType", Value(0x49, "a", "image/urf"), "image/urf"},
        {"longest text", Value(0x41, "a", text1023), text1023},
        {"not UTF-8", Value(0x41, "a", "\xC3(\xFF"), "\xC3(\xFF"},
        {"empty text", Keyword("a", ""), ""},
        {"set", Keyword("a", "a") + Keyword("", "b") + Keyword("", "c"), "a,b,c"},
        {"set with empty values", Keyword("a", "") + Keyword("", "b") + Keyword("", ""), ",b"},
        {"set of mixed types", Keyword("a", "auto") + Integer("", 3), "auto,3"},
        {"value that spells a set mark", Keyword("a", "IPP_Set_Start,x"), "IPP_Set_Start,x"},
        {"several groups", Keyword("a", "1") + Byte(2) + Keyword("a", "2") + Byte(2) + Keyword("a", "3"),
         "1,2,3"},
        {"further value in a new group", Keyword("a", "1") + Byte(2) + Keyword("", "2"), "1,2"},
        {"others in between", Keyword("a", "1") + Keyword("b", "9") + Keyword("a", "2"), "1,2"},
        {"after the end tag", endTag + Keyword("a", "late"), "late"},
        {"collection", Begin("a") + MemberInteger("x", 1) + MemberInteger("y", 2) + End(), "1,2"},
        {"empty collection", Begin("a") + End(), ""},
        {"dateTime is dropped", Value(0x31, "a", std::string(11, '\1')), std::nullopt},
        {"textWithLanguage is dropped", Value(0x35, "a", Short(0) + Short(0)), std::nullopt},
        {"longest nameWithLanguage", Value(0x36, "a", std::string(1024, 'x')), std::nullopt},
        {"no-value", Value(0x13, "a", ""), std::nullopt},
        {"out-of-band tag with bytes", Value(0x10, "a", "abc"), std::nullopt},
        {"unassigned tags", Value(0x21 + 3, "a", "xyz") + Value(0x43, "", "x") + Value(0x40, "", ""),
         std::nullopt},
        {"extension tag", Value(0x7F, "a", Int(0x40000000) + "x"), std::nullopt},
        {"longest skipped value", Value(0xFF, "a", std::string(65535, 'x')), std::nullopt},
        {"dropped among kept",
         Value(0x13, "a", "") + Keyword("", "k") + Value(0x7F, "", "x") + Keyword("", "l"), "k,l"},
        {"longest name beside it", Keyword(text1023, "k") + Keyword("a", "k"), "k"},
    };
    for (const TextCase& test : cases) {
        const Message response = ReadResponseData(Body(test.attributes));
        EXPECT_EQ(FaultOf(response), "none") << test.what;
        EXPECT_EQ(response.ValueText("a"), test.text) << test.what;
        EXPECT_EQ(response.Contains("a"), test.text.has_value()) << test.what;
        EXPECT_TRUE(response.HasEndTag()) << test.what;
    }
}

std::string MediaCol(unsigned width, unsigned height, std::string_view type) {
    return Member("media-size") + Begin() + MemberInteger("x-dimension", width) +
           MemberInteger("y-dimension", height) + End() + Member("media-type") + Keyword("", type);
}

struct PathCase {
    const char* path;
    std::optional<std::string> text;
};

TEST(Message, FollowsPathsIntoCollections) {
    const std::string attributes =
        Begin("media-col") + MediaCol(21000, 29700, "plain") + End() + Begin() +
        MediaCol(10000, 15000, "photo") + End() + Integer("x-dimension", 5) + Begin("deep") + Member("l") +
        Begin() + Member("l") + Begin() + MemberInteger("l", 1) + MemberInteger("m", 2) + End() +
        Member("m") + Integer("", 3) + Integer("", 4) + End() + Begin() + MemberInteger("m", 5) + End() +
        MemberInteger("m", 6) + End() + Keyword("plain", "p") + Keyword("with.dot", "whole");
    const Message response = ReadResponseData(Body(attributes));
    ASSERT_EQ(FaultOf(response), "none");
    const PathCase cases[] = {
        {"media-col", "21000,29700,plain,10000,15000,photo"},
        {"media-col.media-size", "21000,29700,10000,15000"},
        {"media-col.media-size.x-dimension", "21000,10000"},
        {"media-col.media-size.y-dimension", "29700,15000"},
        {"media-col.media-type", "plain,photo"},
        {"x-dimension", "5"},
        {"deep.l", "1,2,3,4,5"},
        {"deep.l.l", "1,2"},
        {"deep.l.l.l", "1"},
        {"deep.l.m", "3,4,5"},
        {"deep.m", "6"},
        {"with.dot", "whole"},
        {"media-col.x-dimension", std::nullopt},
        {"media-col.media-size.z", std::nullopt},
        {"media-col.media-type.more", std::nullopt},
        {"media-col.", std::nullopt},
        {"media-col..x", std::nullopt},
        {".media-size", std::nullopt},
        {"plain.p", std::nullopt},
        {"none.x", std::nullopt},
        {"", std::nullopt},
    };
    for (const PathCase& test : cases)
        EXPECT_EQ(response.ValueText(test.path), test.text) << test.path;
    EXPECT_FALSE(response.Contains("media-size"));
}

TEST(Message, AnswersNestedEmptyCollectionsAsPresent) {
    const Message response = ReadResponseData(Body(Begin("a") + Member("b") + Begin() + End() + End()));
    EXPECT_EQ(response.ValueText("a.b"), "");
    EXPECT_EQ(response.ValueText("a.c"), std::nullopt);
}

TEST(Message, ListsNamesOnceInTheirOrder) {
    const Message response =
        ReadResponseData(Body(Keyword("b", "1") + Keyword("a", "2") + Value(0x13, "none", "") + Byte(2) +
                              Keyword("b", "3") + Keyword("c", "4")));
    std::vector<std::string_view> names;
    for (std::size_t i = 0; i < response.Names().size(); ++i)
        names.push_back(response.Names()[i]);
    EXPECT_THAT(names, testing::ElementsAre("b", "a", "c"));
}

struct StatusCase {
    unsigned status;
    bool failOnError;
    bool readsOn;
};

TEST(Message, HeedsTheStatusAsTold) {
    const StatusCase cases[] = {
        {0, true, true},       {0x0400, false, true}, {0x0400, true, false}, {0x0404, true, true},
        {0x0507, true, false}, {0xFFFF, false, true}, {1, true, false},
    };
    for (const StatusCase& test : cases) {
        const Message response =
            ReadResponseData(Header(test.status) + Keyword("a", "k") + endTag, ReadOptions{test.failOnError});
        EXPECT_EQ(response.ValueText("status-code"), std::to_string(test.status)) << test.status;
        EXPECT_EQ(response.Code(), test.status);
        EXPECT_EQ(response.ValueText("a").has_value(), test.readsOn) << test.status;
        EXPECT_EQ(FaultOf(response), test.readsOn ? "none" : "2: the status is an error");
    }
}

TEST(Message, ReadsTheHeader) {
    const Message response = ReadResponseData(Byte(2) + Byte(1) + Short(1) + Int(0xFFFFFFFE));
    EXPECT_EQ(FaultOf(response), "none");
    EXPECT_EQ(response.Header().minor, 1);
    EXPECT_EQ(response.Header().requestId, 0xFFFFFFFEu);
    EXPECT_FALSE(response.HasEndTag());
    EXPECT_EQ(response.Names().size(), 0u);
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
    {"integer empty", Value(0x21, "a", ""), "4: an integer is not 4 bytes long"},
    {"enum short", Value(0x23, "a", "123"), "4: an enum is not 4 bytes long"},
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
    {"keyword 65535", Value(0x44, "a", std::string(65535, 'k')), "4: a text is longer than 1023 bytes"},
    {"octetString 1024", Value(0x30, "a", longName), "4: a text is longer than 1023 bytes"},
    {"textWithLanguage 3", Value(0x35, "a", "abc"), "4: a text with a language is not 4 to 1024 bytes long"},
    {"nameWithLanguage 1025", Value(0x36, "a", longName + "n"),
     "4: a text with a language is not 4 to 1024 bytes long"},
    {"name 1024", Keyword(longName, "k"), "1: a name is longer than 1023 bytes"},
    {"name 65535", Keyword(std::string(65535, 'n'), "k"), "1: a name is longer than 1023 bytes"},
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
    {"value length missing", Byte(0x21) + Short(1) + "a", "4: the body ends within the length of a value"},
    {"value length cut", Byte(0x21) + Short(1) + "a" + Byte(0),
     "4: the body ends within the length of a value"},
    {"value cut", Byte(0x21) + Short(1) + "a" + Short(4) + "123", "6: the body ends within a value"},
    {"skipped value cut", Byte(0x13) + Short(1) + "a" + Short(65535) + "123",
     "6: the body ends within a value"},
};

TEST(Message, KeepsWhatStandsBeforeAFault) {
    const std::string before =
        Header() + Byte(4) + Keyword("before", "k") + Begin("col") + MemberInteger("m", 1) + End();
    for (const FaultCase& test : faultCases) {
        const Message response = ReadResponseData(before + test.attributes);
        ASSERT_TRUE(response.GetFault()) << test.what;
        EXPECT_EQ(
            std::to_string(response.GetFault()->offset - before.size()) + ": " + response.GetFault()->reason,
            test.fault)
            << test.what;
        EXPECT_EQ(response.ValueText("before"), "k") << test.what;
        EXPECT_EQ(response.ValueText("col.m"), "1") << test.what;
        EXPECT_EQ(response.ValueText("status-code"), "0") << test.what;
    }
}

TEST(Message, KeepsTheMembersBeforeAFault) {
    const Message response = ReadResponseData(Header() + Begin("a") + MemberInteger("x", 1) + Member("y") +
                                              Value(0x21, "", "123"));
    EXPECT_TRUE(response.GetFault());
    EXPECT_EQ(response.ValueText("a.x"), "1");
    EXPECT_EQ(response.ValueText("a"), "1");
    EXPECT_EQ(response.ValueText("a.y"), std::nullopt) << "named, but without a value that could be read";
}

TEST(Message, RefusesWhatIsNoResponse) {
    EXPECT_EQ(FaultOf(ReadResponseData({})), "0: the body ends within the header");
    EXPECT_EQ(FaultOf(ReadResponseData(Header().substr(0, 7))), "7: the body ends within the header");
    EXPECT_EQ(FaultOf(ReadResponseData(Byte(1) + Byte(1) + Int(0) + Short(0))), "0: the version is not 2.x");
    EXPECT_EQ(FaultOf(ReadResponseData("HTTP/1.1 200 OK")), "0: the version is not 2.x");
    EXPECT_EQ(ReadResponseData({}).ValueText("status-code"), std::nullopt);
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
        for (std::size_t i = 0; i < cut.Names().size(); ++i) {
            const std::string all = whole.ValueText(cut.Names()[i]).value();
            EXPECT_EQ(all.compare(0, cut.ValueText(cut.Names()[i])->size(), *cut.ValueText(cut.Names()[i])),
                      0);
        }
    }
}

TEST(Message, ReadsCollectionsTenThousandDeep) {
    constexpr int depth = 10000;
    std::string attributes = Begin("a");
    std::string path = "a";
    for (int i = 0; i < depth; ++i) {
        attributes += Member("m") + Begin();
        path += ".m";
    }
    attributes += MemberInteger("x", 7);
    const Message open = ReadResponseData(Header() + attributes);
    EXPECT_TRUE(open.GetFault());
    EXPECT_EQ(open.ValueText(path + ".x"), "7");
    for (int i = 0; i <= depth; ++i)
        attributes += End();
    const Message closed = ReadResponseData(Body(attributes));
    EXPECT_EQ(FaultOf(closed), "none");
    EXPECT_EQ(closed.ValueText(path + ".x"), "7");
    EXPECT_EQ(closed.ValueText(path + ".m.x"), std::nullopt);
}

TEST(Message, FindsEachOfAHundredThousandAttributes) {
    constexpr unsigned count = 100000;
    std::string attributes;
    for (unsigned i = 0; i < count; ++i)
        attributes += Integer("n" + std::to_string(i), i);
    const Message response = ReadResponseData(Body(attributes));
    EXPECT_EQ(FaultOf(response), "none");
    ASSERT_EQ(response.Names().size(), count);
    for (unsigned i = 0; i < count; i += 997)
        EXPECT_EQ(response.ValueText("n" + std::to_string(i)), std::to_string(i));
}

TEST(Message, OutlivesTheBytesThatItWasReadFrom) {
    std::string body = Body(Keyword("a", "k"));
    Message first = ReadResponseData(body);
    body.assign(body.size(), '\0');
    const Message moved = std::move(first);
    const Message copied = moved;
    EXPECT_EQ(moved.ValueText("a"), "k");
    EXPECT_EQ(copied.ValueText("a"), "k");
}

}  // namespace
}  // namespace Corvix::Ipp
