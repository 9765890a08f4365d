#include "wire/http/responsereader.h"

#include <gmock/gmock.h>

namespace Corvix::Http {
namespace {

constexpr size_t atOnce = std::string::npos;

// Feeds the text in pieces of the given size, then ends the connection if asked.
ResponseReader Read(const std::string& text, size_t pieceSize, bool end, const Limits& limits = {},
                    bool toHead = false) {
    ResponseReader reader(limits, toHead);
    std::string_view rest = text;
    while (!rest.empty()) {
        const size_t offered = std::min(pieceSize, rest.size());
        const size_t taken = reader.Feed(rest.substr(0, offered));
        rest.remove_prefix(taken);
        if (taken < offered || reader.IsFaulty()) break;
    }
    if (end) reader.End();
    return reader;
}

struct GoodCase {
    const char* name;
    std::string text;
    unsigned status;
    std::string body;
    bool keepsConnection;
    bool endsConnection = false;
};

class GoodResponse : public testing::TestWithParam<GoodCase> {};

TEST_P(GoodResponse, IsReadHoweverItIsCut) {
    const GoodCase& test = GetParam();
    for (const size_t pieceSize : {atOnce, size_t{1}, size_t{3}, size_t{7}}) {
        const ResponseReader reader = Read(test.text, pieceSize, test.endsConnection);
        ASSERT_EQ(reader.Fault(), MessageFault::None) << pieceSize;
        ASSERT_TRUE(reader.IsComplete()) << pieceSize;
        EXPECT_EQ(reader.Head().status, test.status);
        EXPECT_EQ(reader.Body(), test.body);
        EXPECT_EQ(reader.KeepsConnection(), test.keepsConnection);
    }
}

INSTANTIATE_TEST_SUITE_P(
    , GoodResponse,
    testing::Values(
        GoodCase{"Length", "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello", 200, "hello", true},
        GoodCase{"EmptyLength", "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n", 200, "", true},
        GoodCase{"RepeatedEqualLengths",
                 "HTTP/1.1 200 OK\r\nContent-Length: 2, 2\r\ncontent-length: 2\r\n\r\nhi", 200, "hi", true},
        GoodCase{"BareLineFeeds", "HTTP/1.1 200 OK\nContent-Length: 2\n\nhi", 200, "hi", true},
        GoodCase{"EmptyLineBefore", "\r\nHTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nhi", 200, "hi", true},
        GoodCase{"NoReason", "HTTP/1.1 404\r\nContent-Length: 0\r\n\r\n", 404, "", true},
        GoodCase{"AskedToClose", "HTTP/1.1 200 OK\r\nConnection: Close\r\nContent-Length: 2\r\n\r\nhi", 200,
                 "hi", false},
        GoodCase{"OldVersionCloses", "HTTP/1.0 200 OK\r\nContent-Length: 2\r\n\r\nhi", 200, "hi", false},
        GoodCase{"OldVersionKeepsWhenItSaysSo",
                 "HTTP/1.0 200 OK\r\nConnection: keep-alive\r\nContent-Length: 2\r\n\r\nhi", 200, "hi", true},
        GoodCase{"UntilTheConnectionEnds", "HTTP/1.1 200 OK\r\n\r\nall of it", 200, "all of it", false, true},
        GoodCase{"NoContentHasNoBody", "HTTP/1.1 204 No Content\r\n\r\n", 204, "", true},
        GoodCase{"NotModifiedHasNoBody", "HTTP/1.1 304 Not Modified\r\nContent-Length: 9\r\n\r\n", 304, "",
                 true},
        GoodCase{
            "Chunks",
            "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nhello\r\nA\r\n, printer!\r\n0\r\n\r\n",
            200, "hello, printer!", true},
        GoodCase{"ChunksInOddSpelling",
                 "HTTP/1.1 200 OK\r\ntransfer-encoding: Chunked\r\n\r\n0005 ;x=\"y\"\r\nhello\r\n00\r\n\r\n",
                 200, "hello", true},
        GoodCase{"ChunksWithTrailers",
                 "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nhi\r\n0\r\nExpires: never\r\nX: "
                 "y\r\n\r\n",
                 200, "hi", true},
        GoodCase{
            "ChunksWinOverLengthOnce",
            "HTTP/1.1 200 OK\r\nContent-Length: 99\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nhi\r\n0\r\n\r\n",
            200, "hi", false},
        GoodCase{
            "InterimResponsesArePassedOver",
            "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 102 Processing\r\nX: y\r\n\r\nHTTP/1.1 201 Created\r\n"
            "Content-Length: 2\r\n\r\nhi",
            201, "hi", true}),
    [](const auto& test) { return test.param.name; });

struct BadCase {
    const char* name;
    std::string text;
    MessageFault fault;
};

class BadResponse : public testing::TestWithParam<BadCase> {};

TEST_P(BadResponse, IsRefusedHoweverItIsCut) {
    Limits limits;
    limits.headBytes = 200;
    limits.bodyBytes = 20;
    for (const size_t pieceSize : {atOnce, size_t{1}, size_t{5}}) {
        const ResponseReader reader = Read(GetParam().text, pieceSize, true, limits);
        EXPECT_EQ(reader.Fault(), GetParam().fault) << pieceSize;
        EXPECT_FALSE(reader.IsComplete());
        EXPECT_FALSE(reader.KeepsConnection());
        EXPECT_LE(reader.Body().size(), limits.bodyBytes);
    }
}

const std::string chunkedHead = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

INSTANTIATE_TEST_SUITE_P(
    , BadResponse,
    testing::Values(
        BadCase{"Nothing", "", MessageFault::Truncated},
        BadCase{"OtherProtocol", "SSH-2.0-device\r\n", MessageFault::BadStartLine},
        BadCase{"NextVersion", "HTTP/2.0 200 OK\r\n\r\n", MessageFault::BadStartLine},
        BadCase{"ShortStatus", "HTTP/1.1 20\r\n\r\n", MessageFault::BadStartLine},
        BadCase{"LongStatus", "HTTP/1.1 2000 OK\r\n\r\n", MessageFault::BadStartLine},
        BadCase{"ZeroStatus", "HTTP/1.1 000 OK\r\n\r\n", MessageFault::BadStartLine},
        BadCase{"SwitchingProtocols", "HTTP/1.1 101 Switching\r\n\r\n", MessageFault::BadStartLine},
        BadCase{"HeaderWithoutColon", "HTTP/1.1 200 OK\r\nContent-Length 5\r\n\r\n", MessageFault::BadHeader},
        BadCase{"HeaderWithoutName", "HTTP/1.1 200 OK\r\n: 5\r\n\r\n", MessageFault::BadHeader},
        BadCase{"FoldBeforeAnyHeader", "HTTP/1.1 200 OK\r\n more\r\n\r\n", MessageFault::BadHeader},
        BadCase{"CarriageReturnInValue", "HTTP/1.1 200 OK\r\nX: a\rb\r\n\r\n", MessageFault::BadHeader},
        BadCase{"ZeroByteInValue", std::string("HTTP/1.1 200 OK\r\nX: a\0b\r\n\r\n", 28),
                MessageFault::BadHeader},
        BadCase{"EndlessStatusLine", "HTTP/1.1 200 " + std::string(500, 'x'), MessageFault::HeadTooLong},
        BadCase{"EndlessHeaders", "HTTP/1.1 200 OK\r\n" + std::string(500, 'x'), MessageFault::HeadTooLong},
        BadCase{"EndlessInterimResponses",
                [] {
                    std::string text;
                    for (int i = 0; i < 20; ++i)
                        text += "HTTP/1.1 100 Continue\r\n\r\n";
                    return text;
                }(),
                MessageFault::HeadTooLong},
        BadCase{"EndlessTrailers", chunkedHead + "0\r\n" + std::string(500, 'x'), MessageFault::HeadTooLong},
        BadCase{"NegativeLength", "HTTP/1.1 200 OK\r\nContent-Length: -1\r\n\r\n", MessageFault::BadLength},
        BadCase{"EmptyLength", "HTTP/1.1 200 OK\r\nContent-Length:\r\n\r\n", MessageFault::BadLength},
        BadCase{"DifferentLengths", "HTTP/1.1 200 OK\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n",
                MessageFault::BadLength},
        BadCase{"HugeLength", "HTTP/1.1 200 OK\r\nContent-Length: 99999999999999999999999\r\n\r\n",
                MessageFault::BadLength},
        BadCase{"LengthAboveLimit", "HTTP/1.1 200 OK\r\nContent-Length: 21\r\n\r\n",
                MessageFault::BodyTooLong},
        BadCase{"UndelimitedBodyAboveLimit", "HTTP/1.1 200 OK\r\n\r\n" + std::string(21, 'x'),
                MessageFault::BodyTooLong},
        BadCase{"CompressedTransfer", "HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip, chunked\r\n\r\n",
                MessageFault::UnknownTransferCoding},
        BadCase{"TruncatedHead", "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n", MessageFault::Truncated},
        BadCase{"TruncatedBody", "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhell", MessageFault::Truncated},
        BadCase{"TruncatedChunk", chunkedHead + "5\r\nhell", MessageFault::Truncated},
        BadCase{"MissingLastChunk", chunkedHead + "5\r\nhello\r\n", MessageFault::Truncated},
        BadCase{"NoChunkSize", chunkedHead + "\r\nhello", MessageFault::BadChunk},
        BadCase{"ChunkSizeIsNoNumber", chunkedHead + "5x\r\nhello", MessageFault::BadChunk},
        BadCase{"NegativeChunkSize", chunkedHead + "-5\r\nhello", MessageFault::BadChunk},
        BadCase{"HugeChunkSize", chunkedHead + "FFFFFFFFFFFFFFFFFF\r\n", MessageFault::BadChunk},
        BadCase{"ChunkAboveLimit", chunkedHead + "15\r\n", MessageFault::BodyTooLong},
        BadCase{"ChunksAboveLimitTogether", chunkedHead + "14\r\n" + std::string(20, 'x') + "\r\n1\r\n",
                MessageFault::BodyTooLong},
        BadCase{"ChunkLongerThanItsSize", chunkedHead + "2\r\nhello\r\n", MessageFault::BadChunk}),
    [](const auto& test) { return test.param.name; });

TEST(ResponseReader, HasNoBodyAfterHead) {
    const ResponseReader reader =
        Read("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n", atOnce, false, {}, true);
    EXPECT_TRUE(reader.IsComplete());
    EXPECT_EQ(reader.Body(), "");
}

TEST(ResponseReader, LeavesWhatFollowsTheResponse) {
    ResponseReader reader({}, false);
    const std::string response = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nhi";
    EXPECT_EQ(reader.Feed(response + "HTTP/1.1 200 OK"), response.size());
    EXPECT_EQ(reader.Feed("more"), 0u);
}

TEST(ResponseReader, ReadsHeaders) {
    const ResponseReader reader = Read(
        "HTTP/1.1 200 All  right\r\nX-One:  two words \r\n  and more\r\nEmpty:\r\nx-one: "
        "second\r\nContent-Length: 0\r\n\r\n",
        atOnce, false);
    const Headers& headers = reader.Head().headers;
    EXPECT_EQ(reader.Head().reason, "All  right");
    ASSERT_TRUE(headers.Find("x-ONE"));
    EXPECT_EQ(*headers.Find("x-ONE"), "two words and more");
    EXPECT_THAT(headers.FindAll("X-One"), testing::ElementsAre("two words and more", "second"));
    EXPECT_EQ(*headers.Find("Empty"), "");
    EXPECT_EQ(headers.Find("Missing"), nullptr);
}

TEST(ResponseReader, CountsManySmallChunksAsBody) {
    std::string text = chunkedHead;
    for (int i = 0; i < 1000; ++i)
        text += "1\r\nx\r\n";
    Limits limits;
    limits.headBytes = 200;
    const ResponseReader reader = Read(text + "0\r\n\r\n", atOnce, false, limits);
    EXPECT_EQ(reader.Fault(), MessageFault::None);
    EXPECT_EQ(reader.Body().size(), 1000u);
}

TEST(ResponseReader, TellsContinueFromTheFinalResponse) {
    ResponseReader reader({}, false);
    reader.Feed("HTTP/1.1 100 Continue\r\n\r\n");
    EXPECT_TRUE(reader.WasContinued());
    EXPECT_FALSE(reader.HasHead());
    reader.Feed("HTTP/1.1 401 No\r\nContent-Length: 3\r\n\r\n");
    EXPECT_TRUE(reader.HasHead());
    EXPECT_FALSE(reader.IsComplete());
}

}  // namespace
}  // namespace Corvix::Http
