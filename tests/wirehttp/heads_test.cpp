#include "wire/http/heads.h"

#include <gmock/gmock.h>

#include "wire/http/chunks.h"

namespace Corvix::Http {
namespace {

TEST(RequestHead, IsWrittenToTheByte) {
    RequestHead head;
    head.method = "POST";
    head.target = "/ipp/print";
    head.headers.Add("Host", "printer:631");
    head.headers.Add("Content-Length", "0");
    EXPECT_EQ(WriteHead(head), "POST /ipp/print HTTP/1.1\r\nHost: printer:631\r\nContent-Length: 0\r\n\r\n");
}

TEST(RequestHead, TargetsArePathsInAscii) {
    const struct {
        std::string path;
        std::string target;
    } cases[] = {
        {"", "/"},
        {"/a/b.xml?x=1&y=%20", "/a/b.xml?x=1&y=%20"},
        {"relative", "/relative"},
        {"http://elsewhere/x", "/http://elsewhere/x"},
        {"/with blank#fragment", "/with%20blank"},
        {"/gr\xC3\xBC\xC3\x9F", "/gr%C3%BC%C3%9F"},
        {"/<\"a\">", "/%3C%22a%22%3E"},
    };
    for (const auto& test : cases) {
        std::string target;
        EXPECT_TRUE(MakeTarget(test.path, target)) << test.path;
        EXPECT_EQ(target, test.target);
    }
}

TEST(RequestHead, TargetsNeverBreakOutOfTheLine) {
    for (const std::string path : {"/a\r\nX: y", "/a\nb", "/a\tb", "/a\x7f"}) {
        std::string target = "unchanged";
        EXPECT_FALSE(MakeTarget(path, target));
        EXPECT_EQ(target, "unchanged");
    }
}

TEST(RequestHead, HostsNameThePortThatIsNotTheUsualOne) {
    EXPECT_EQ(MakeHostValue("printer", 80, 80), "printer");
    EXPECT_EQ(MakeHostValue("Printer.EXAMPLE", 80, 80), "printer.example");
    EXPECT_EQ(MakeHostValue("192.0.2.7", 631, 80), "192.0.2.7:631");
    EXPECT_EQ(MakeHostValue("fe80::1%3", 443, 443), "[fe80::1]");
    EXPECT_EQ(MakeHostValue("2001:db8::1", 631, 443), "[2001:db8::1]:631");
}

TEST(ResponseHead, IsWrittenToTheByte) {
    ResponseHead head;
    head.status = 404;
    head.headers.Add("Content-Length", "0");
    EXPECT_EQ(WriteHead(head), "HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
    head.reason = "Gone fishing";
    EXPECT_EQ(WriteHead(head), "HTTP/1.1 404 Gone fishing\r\nContent-Length: 0\r\n\r\n");
    EXPECT_STREQ(ReasonOf(299), "Status");
}

TEST(Chunks, AreFramedInHexadecimal) {
    EXPECT_EQ(MakeChunkHead(65536 + 10), "1000A\r\n");
    std::string chunk;
    FormChunk("hello, print", chunk);
    EXPECT_EQ(chunk, "C\r\nhello, print\r\n");
    FormChunk("", chunk);
    EXPECT_EQ(chunk, lastChunk);
}

TEST(Headers, KnowsTokensAndFieldValues) {
    EXPECT_TRUE(IsToken("X-Header_1"));
    for (const std::string text : {"", "a b", "a:b", "a\r\n", "\xC3\xBC"})
        EXPECT_FALSE(IsToken(text)) << text;
    EXPECT_TRUE(IsFieldValue("any \t text, \xC3\xBC"));
    for (const std::string& text : {std::string("a\rb"), std::string("a\nb"), std::string("\0", 1)})
        EXPECT_FALSE(IsFieldValue(text)) << text;
}

TEST(Headers, FindsTokensInLists) {
    Headers headers;
    headers.Add("Connection", "Upgrade, ,keep-alive ");
    headers.Add("connection", "x-close");
    EXPECT_TRUE(headers.HasToken("Connection", "Keep-Alive"));
    EXPECT_TRUE(headers.HasToken("Connection", "upgrade"));
    EXPECT_FALSE(headers.HasToken("Connection", "close"));
}

}  // namespace
}  // namespace Corvix::Http
