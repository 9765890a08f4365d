#include <gmock/gmock.h>

#include "wire/http/requestreader.h"
#include "wire/http/responsereader.h"

namespace Corvix::Http {
namespace {

constexpr size_t atOnce = 100000;
constexpr size_t pieceSizes[] = {atOnce, 1, 3, 7};
const std::string ok = "HTTP/1.1 200 OK\r\n";
const std::string chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";
const std::string post = "POST / HTTP/1.1\r\n";

// Feeds the text in pieces of the given size, then ends the connection if asked.
template <class Reader>
Reader Read(Reader reader, std::string_view rest, size_t pieceSize, bool end) {
    while (!rest.empty() && !reader.IsFaulty()) {
        const size_t offered = std::min(pieceSize, rest.size());
        const size_t taken = reader.Feed(rest.substr(0, offered));
        rest.remove_prefix(taken);
        if (taken < offered) break;
    }
    if (end) reader.End();
    return reader;
}

ResponseReader Read(std::string_view text, size_t pieceSize, const Limits& limits = {}, bool toHead = false) {
    return Read(ResponseReader(limits, toHead), text, pieceSize, false);
}

TEST(ResponseReader, ReadsResponsesHoweverTheyAreCut) {
    const struct {
        std::string text;
        unsigned status;
        std::string body;
        bool keepsConnection;
        bool endsConnection = false;
    } cases[] = {
        {ok + "Content-Length: 5\r\n\r\nhello", 200, "hello", true},
        {ok + "Content-Length: 0\r\n\r\n", 200, "", true},
        {ok + "Content-Length: 2, 2\r\ncontent-length: 2\r\n\r\nhi", 200, "hi", true},
        {"HTTP/1.1 200 OK\nContent-Length: 2\n\nhi", 200, "hi", true},
        {"\r\n" + ok + "Content-Length: 2\r\n\r\nhi", 200, "hi", true},
        {"HTTP/1.1 404\r\nContent-Length: 0\r\n\r\n", 404, "", true},
        {ok + "Connection: Close\r\nContent-Length: 2\r\n\r\nhi", 200, "hi", false},
        {"HTTP/1.0 200 OK\r\nContent-Length: 2\r\n\r\nhi", 200, "hi", false},
        {"HTTP/1.0 200 OK\r\nConnection: keep-alive\r\nContent-Length: 2\r\n\r\nhi", 200, "hi", true},
        {ok + "\r\nall of it", 200, "all of it", false, true},
        {"HTTP/1.1 204 No Content\r\n\r\n", 204, "", true},
        {"HTTP/1.1 304 Not Modified\r\nContent-Length: 9\r\n\r\n", 304, "", true},
        {chunked + "5\r\nhello\r\nA\r\n, printer!\r\n0\r\n\r\n", 200, "hello, printer!", true},
        {ok + "transfer-encoding: Chunked\r\n\r\n0005 ;x=\"y\"\r\nhello\r\n00\r\n\r\n", 200, "hello", true},
        {chunked + "2\r\nhi\r\n0\r\nExpires: never\r\nX: y\r\n\r\n", 200, "hi", true},
        // Chunks win over a length, once.
        {ok + "Content-Length: 99\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nhi\r\n0\r\n\r\n", 200, "hi",
         false},
        {"HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 102 Processing\r\nX: y\r\n\r\nHTTP/1.1 201 Created\r\n"
         "Content-Length: 2\r\n\r\nhi",
         201, "hi", true},
    };
    for (const auto& test : cases) {
        for (const size_t pieceSize : pieceSizes) {
            const auto reader = Read(ResponseReader({}, false), test.text, pieceSize, test.endsConnection);
            EXPECT_TRUE(reader.IsComplete()) << test.text << pieceSize;
            EXPECT_EQ(reader.Fault(), MessageFault::None);
            EXPECT_EQ(reader.Head().status, test.status);
            EXPECT_EQ(reader.Body(), test.body);
            EXPECT_EQ(reader.KeepsConnection(), test.keepsConnection) << test.text;
        }
    }
}

TEST(ResponseReader, RefusesWhatHasNoOneMeaningHoweverItIsCut) {
    std::string interim;
    for (int i = 0; i < 20; ++i)
        interim += "HTTP/1.1 100 Continue\r\n\r\n";
    const std::string endless(500, 'x');
    const std::pair<std::string, MessageFault> cases[] = {
        {"", MessageFault::Truncated},
        {"SSH-2.0-device\r\n", MessageFault::BadStartLine},
        {"HTTP/2.0 200 OK\r\n\r\n", MessageFault::BadStartLine},
        {"HTTP/1.1 20\r\n\r\n", MessageFault::BadStartLine},
        {"HTTP/1.1 2000 OK\r\n\r\n", MessageFault::BadStartLine},
        {"HTTP/1.1 000 OK\r\n\r\n", MessageFault::BadStartLine},
        {"HTTP/1.1 101 Switching\r\n\r\n", MessageFault::BadStartLine},
        {ok + "Content-Length 5\r\n\r\n", MessageFault::BadHeader},
        {ok + ": 5\r\n\r\n", MessageFault::BadHeader},
        {ok + " more\r\n\r\n", MessageFault::BadHeader},
        {ok + "X: a\rb\r\n\r\n", MessageFault::BadHeader},
        {ok + std::string("X: a\0b\r\n\r\n", 10), MessageFault::BadHeader},
        {"HTTP/1.1 200 " + endless, MessageFault::HeadTooLong},
        {ok + endless, MessageFault::HeadTooLong},
        {interim, MessageFault::HeadTooLong},
        {chunked + "0\r\n" + endless, MessageFault::HeadTooLong},
        {ok + "Content-Length: -1\r\n\r\n", MessageFault::BadLength},
        {ok + "Content-Length:\r\n\r\n", MessageFault::BadLength},
        {ok + "Content-Length: 1\r\nContent-Length: 2\r\n\r\n", MessageFault::BadLength},
        {ok + "Content-Length: 99999999999999999999999\r\n\r\n", MessageFault::BadLength},
        {ok + "Content-Length: 21\r\n\r\n", MessageFault::BodyTooLong},
        {ok + "\r\n" + std::string(21, 'x'), MessageFault::BodyTooLong},
        {ok + "Transfer-Encoding: gzip, chunked\r\n\r\n", MessageFault::UnknownTransferCoding},
        {ok + "Content-Length: 5\r\n", MessageFault::Truncated},
        {ok + "Content-Length: 5\r\n\r\nhell", MessageFault::Truncated},
        {chunked + "5\r\nhell", MessageFault::Truncated},
        {chunked + "5\r\nhello\r\n", MessageFault::Truncated},
        {chunked + "\r\nhello", MessageFault::BadChunk},
        {chunked + "5x\r\nhello", MessageFault::BadChunk},
        {chunked + "-5\r\nhello", MessageFault::BadChunk},
        {chunked + "FFFFFFFFFFFFFFFFFF\r\n", MessageFault::BadChunk},
        {chunked + "2\r\nhello\r\n", MessageFault::BadChunk},
        {chunked + "15\r\n", MessageFault::BodyTooLong},
        {chunked + "14\r\n" + std::string(20, 'x') + "\r\n1\r\n", MessageFault::BodyTooLong},
    };
    for (const auto& [text, fault] : cases) {
        for (const size_t pieceSize : pieceSizes) {
            const auto reader = Read(ResponseReader({200, 20}, false), text, pieceSize, true);
            EXPECT_EQ(reader.Fault(), fault) << text << pieceSize;
            EXPECT_FALSE(reader.IsComplete());
            EXPECT_FALSE(reader.KeepsConnection());
            EXPECT_LE(reader.Body().size(), 20u);
        }
    }
}

TEST(ResponseReader, ToldOfHeadExpectsNoBody) {
    EXPECT_TRUE(Read(ok + "Content-Length: 5\r\n\r\n", atOnce, {}, true).IsComplete());
}

TEST(ResponseReader, LeavesWhatFollowsTheResponse) {
    ResponseReader reader({}, false);
    const std::string response = ok + "Content-Length: 2\r\n\r\nhi";
    EXPECT_EQ(reader.Feed(response + ok), response.size());
    EXPECT_EQ(reader.Feed("more"), 0u);
}

TEST(ResponseReader, ReadsHeaders) {
    const ResponseReader reader =
        Read("HTTP/1.1 200 All  right\r\nX-One:  two words \r\n  and more\r\nEmpty:\r\nx-one: second\r\n\r\n",
             atOnce);
    const Headers& headers = reader.Head().headers;
    EXPECT_EQ(reader.Head().reason, "All  right");
    EXPECT_THAT(headers.FindAll("X-One"), testing::ElementsAre("two words and more", "second"));
    EXPECT_THAT(headers.Find("x-ONE"), testing::Pointee(std::string("two words and more")));
    EXPECT_THAT(headers.Find("Empty"), testing::Pointee(std::string()));
    EXPECT_EQ(headers.Find("Missing"), nullptr);
}

TEST(ResponseReader, CountsManySmallChunksAsBody) {
    std::string text = chunked;
    for (int i = 0; i < 1000; ++i)
        text += "1\r\nx\r\n";
    const ResponseReader reader = Read(text + "0\r\n\r\n", atOnce, {200, 1000});
    EXPECT_TRUE(reader.IsComplete());
    EXPECT_EQ(reader.Body().size(), 1000u);
}

TEST(ResponseReader, TellsContinueFromTheFinalResponse) {
    ResponseReader reader({}, false);
    EXPECT_FALSE(reader.HasBegun());
    reader.Feed("HTTP/1.1 100 Continue\r\n\r\n");
    EXPECT_TRUE(reader.HasBegun());
    EXPECT_TRUE(reader.WasContinued());
    EXPECT_FALSE(reader.HasHead());
    reader.Feed("HTTP/1.1 401 No\r\nContent-Length: 3\r\n\r\n");
    EXPECT_TRUE(reader.HasHead());
    EXPECT_FALSE(reader.IsComplete());
}

// What requests have in common with responses is read by the same code.
TEST(RequestReader, ReadsRequestsHoweverTheyAreCut) {
    const struct {
        std::string text;
        const char* head;  ///< method, target, c for a client that waits for leave, k for one that stays
        const char* body;
    } cases[] = {
        {"GET /a?b=%20 HTTP/1.1\r\nHost: x\r\n\r\n", "GET /a?b=%20 k", ""},
        {"\r\nGET / HTTP/1.0\r\n\r\n", "GET / ", ""},
        {"GET / HTTP/1.0\r\nConnection: Keep-Alive\r\n\r\n", "GET / k", ""},
        {"GET / HTTP/1.1\r\nConnection: x, Close\r\n\r\n", "GET / ", ""},
        {post + "Expect: 100-Continue\r\nContent-Length: 2\r\n\r\nhi", "POST / ck", "hi"},
        {post + "Transfer-Encoding: chunked\r\n\r\n2\r\nhi\r\nA;x\r\n, printer!\r\n0\r\n\r\n", "POST / k",
         "hi, printer!"},
        {post + "Content-Length: 0\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nh\r\n0\r\n\r\n", "POST / k",
         "h"},
    };
    for (const auto& test : cases) {
        for (const size_t pieceSize : pieceSizes) {
            const auto reader = Read(RequestReader({}), test.text, pieceSize, true);
            std::string head = reader.Head().method + " " + reader.Head().target + " ";
            if (reader.ExpectsContinue()) head += 'c';
            if (reader.KeepsConnection()) head += 'k';
            EXPECT_TRUE(reader.IsComplete()) << test.text;
            EXPECT_EQ(head, test.head);
            EXPECT_EQ(reader.Body(), test.body);
        }
    }
}

TEST(RequestReader, RefusesWhatCannotBeServed) {
    const struct {
        std::string text;
        MessageFault fault;
        unsigned status = 400;
    } cases[] = {
        {"what\r\n", MessageFault::BadStartLine},
        {"GET /\r\n", MessageFault::BadStartLine},
        {"GET  HTTP/1.1\r\n", MessageFault::BadStartLine},
        {"GET / \r\n", MessageFault::BadStartLine},
        {"GET /a b HTTP/1.1\r\n", MessageFault::BadStartLine},
        {" / HTTP/1.1\r\n", MessageFault::BadStartLine},
        {"G:T / HTTP/1.1\r\n", MessageFault::BadStartLine},
        {"GET / HTTP/2.0\r\n", MessageFault::UnknownVersion, 505},
        {"GET / HTTP/1.10\r\n", MessageFault::UnknownVersion, 505},
        {"GET /" + std::string(300, 'a'), MessageFault::HeadTooLong, 431},
        {post + "Content-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n", MessageFault::BadLength},
        {post + "Transfer-Encoding: gzip\r\n\r\n", MessageFault::UnknownTransferCoding, 501},
        {post + "Content-Length: 21\r\n\r\n", MessageFault::BodyTooLong, 413},
        {post + "Content-Length: 2\r\n\r\nh", MessageFault::Truncated},
    };
    for (const auto& test : cases) {
        const auto reader = Read(RequestReader({200, 20}), test.text, atOnce, true);
        EXPECT_EQ(reader.Fault(), test.fault) << test.text;
        EXPECT_EQ(StatusOf(reader.Fault()), test.status) << test.text;
    }
}

TEST(RequestReader, HandsOutTheBodyInPiecesAndLimitsTheirSum) {
    RequestReader reader({200, 20});
    reader.Feed(post + "Transfer-Encoding: chunked\r\n\r\nF\r\n0123456");
    EXPECT_EQ(reader.TakeBody(), "0123456");
    EXPECT_EQ(reader.TakeBody(), "");
    reader.Feed("789abcde\r\n");
    EXPECT_EQ(reader.TakeBody(), "789abcde");
    reader.Feed("6\r\n");
    EXPECT_EQ(reader.Fault(), MessageFault::BodyTooLong);
}

}  // namespace
}  // namespace Corvix::Http
