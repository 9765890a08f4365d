#include "wire/http/requestreader.h"

#include <gmock/gmock.h>

namespace Corvix::Http {
namespace {

RequestReader Read(std::string_view text, size_t pieceSize, const Limits& limits = {}) {
    RequestReader reader(limits);
    while (!text.empty() && !reader.IsComplete() && !reader.IsFaulty())
        text.remove_prefix(reader.Feed(text.substr(0, pieceSize)));
    reader.End();
    return reader;
}

TEST(RequestReader, ReadsRequestsHoweverTheyAreCut) {
    const struct {
        std::string text;
        const char* head;  ///< method, target, c for a client that waits for leave, k for one that stays
        const char* body;
    } cases[] = {
        {"GET /a?b=%20 HTTP/1.1\r\nHost: x\r\n\r\n", "GET /a?b=%20 k", ""},
        {"\r\nGET / HTTP/1.1\r\n\r\n", "GET / k", ""},
        {"GET / HTTP/1.0\r\n\r\n", "GET / ", ""},
        {"GET / HTTP/1.0\r\nConnection: Keep-Alive\r\n\r\n", "GET / k", ""},
        {"GET / HTTP/1.1\r\nConnection: x, Close\r\n\r\n", "GET / ", ""},
        {"POST /x HTTP/1.1\r\nExpect: 100-Continue\r\nContent-Length: 2\r\n\r\nhi", "POST /x ck", "hi"},
        {"POST /x HTTP/1.1\nContent-Length: 0\n\n", "POST /x k", ""},
        {"POST /x HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nhi\r\n0A;x\r\n, printer!\r\n0\r\nX: "
         "y\r\n\r\n",
         "POST /x k", "hi, printer!"},
        {"POST /x HTTP/1.1\r\nContent-Length: 0\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nh\r\n0\r\n\r\n",
         "POST /x k", "h"},
    };
    for (const auto& test : cases) {
        for (const size_t pieceSize : {test.text.size(), size_t{1}, size_t{3}}) {
            const RequestReader reader = Read(test.text, pieceSize);
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
        unsigned status;
    } cases[] = {
        {"", MessageFault::Truncated, 400},
        {"what\r\n", MessageFault::BadStartLine, 400},
        {"GET /\r\n", MessageFault::BadStartLine, 400},
        {"GET  HTTP/1.1\r\n", MessageFault::BadStartLine, 400},
        {"GET /a b HTTP/1.1\r\n", MessageFault::BadStartLine, 400},
        {" / HTTP/1.1\r\n", MessageFault::BadStartLine, 400},
        {"G:T / HTTP/1.1\r\n", MessageFault::BadStartLine, 400},
        {"GET / HTTP/2.0\r\n", MessageFault::UnknownVersion, 505},
        {"GET / HTTP/1.10\r\n", MessageFault::UnknownVersion, 505},
        {"GET / HTTP/1.1\r\nnonsense\r\n", MessageFault::BadHeader, 400},
        {"GET /" + std::string(300, 'a'), MessageFault::HeadTooLong, 431},
        {"POST / HTTP/1.1\r\nContent-Length: 12abc\r\n\r\n", MessageFault::BadLength, 400},
        {"POST / HTTP/1.1\r\nContent-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n",
         MessageFault::BadLength, 400},
        {"POST / HTTP/1.1\r\nTransfer-Encoding: gzip\r\n\r\n", MessageFault::UnknownTransferCoding, 501},
        {"POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n1\r\nhi\r\n", MessageFault::BadChunk, 400},
        {"POST / HTTP/1.1\r\nContent-Length: 21\r\n\r\n", MessageFault::BodyTooLong, 413},
        {"POST / HTTP/1.1\r\nContent-Length: 2\r\n\r\nh", MessageFault::Truncated, 400},
    };
    for (const auto& test : cases) {
        for (const size_t pieceSize : {size_t{1}, size_t{400}}) {
            const RequestReader reader = Read(test.text, pieceSize, {200, 20});
            EXPECT_EQ(reader.Fault(), test.fault) << test.text;
            EXPECT_EQ(StatusOf(reader.Fault()), test.status) << test.text;
        }
    }
}

TEST(RequestReader, HandsOutTheBodyInPiecesAndLimitsTheirSum) {
    RequestReader reader({200, 20});
    reader.Feed("PUT / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nF\r\n0123456");
    EXPECT_EQ(reader.TakeBody(), "0123456");
    EXPECT_EQ(reader.TakeBody(), "");
    reader.Feed("789abcde\r\n");
    EXPECT_EQ(reader.TakeBody(), "789abcde");
    reader.Feed("6\r\n");
    EXPECT_EQ(reader.Fault(), MessageFault::BodyTooLong);
}

}  // namespace
}  // namespace Corvix::Http
