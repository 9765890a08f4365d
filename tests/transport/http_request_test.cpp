// What goes over the wire for a request.
#include "transport/httptest.h"

namespace CorvixTransport {
namespace {

class HttpRequest : public HttpTest {
protected:
    HttpRequest() { Record(); }
};

TEST_F(HttpRequest, IsSentToTheByte) {
    EXPECT_EQ(GetResult(), "ok") << "a resource is read without being told so";
    const RequestPtr request = MakePost();
    request->AddHeader(L"Cache-Control", L"no-cache");
    request->AddHeader(L"Accept", L"application/ipp");
    const std::string body("\x02\x00\x0b\r\n", 5);
    EXPECT_EQ(Send(*request, body), S_OK);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(Result(Finish(*request)), "ok") << "and the same response is handed out again";
    ASSERT_EQ(received_.size(), 2u);
    EXPECT_EQ(received_[0].bytes,
              "GET /x HTTP/1.1\r\nHost: 127.0.0.2\r\nUser-Agent: CorvixTransport/1.0\r\n"
              "Accept: */*\r\n\r\n");
    EXPECT_EQ(received_[1].bytes,
              "POST /ipp/print HTTP/1.1\r\nHost: 127.0.0.2\r\n"
              "User-Agent: CorvixTransport/1.0\r\nContent-Type: application/ipp\r\n"
              "Content-Length: 5\r\nCache-Control: no-cache\r\n"
              "Accept: application/ipp\r\n\r\n" +
                  body);
}

TEST_F(HttpRequest, SendsALargeBodyWhole) {
    const std::string body(5 * 1024 * 1024, 'x');
    EXPECT_EQ(Send(*MakePost(), body), S_OK);
    ASSERT_EQ(received_.size(), 1u);
    EXPECT_TRUE(received_[0].body == body);
}

TEST_F(HttpRequest, TakesTheContentTypeAfterTheBodyToo) {
    const RequestPtr request = MakeRequest(L"/ws", L"POST");
    {
        const std::string body = "<envelope/>";  // gone before it is sent
        EXPECT_EQ(Send(*request, body), S_OK);
    }
    request->SetContentType(L"application/soap+xml");
    EXPECT_EQ(Result(Finish(*request)), "ok");
    ASSERT_EQ(received_.size(), 1u);
    EXPECT_EQ(received_[0].Header("Content-Type"), "application/soap+xml");
    EXPECT_EQ(received_[0].body, "<envelope/>");
}

TEST_F(HttpRequest, SaysEachHeaderOfTheBodyOnce) {
    const RequestPtr request = MakePost();
    request->AddHeader(L"content-type", L"application/ipp");
    request->AddHeader(L"Content-Length", L"999");
    Send(*request, "hi");
    Finish(*MakeRequest(L"/", L"POST"));
    ASSERT_EQ(received_.size(), 2u);
    EXPECT_THAT(received_[0].head.headers.FindAll("Content-Type"), testing::ElementsAre("application/ipp"));
    EXPECT_THAT(received_[0].head.headers.FindAll("Content-Length"), testing::ElementsAre("2"));
    EXPECT_EQ(received_[1].Header("Content-Length"), "0") << "a body is expected, and empty";
}

TEST_F(HttpRequest, RefusesWhatWouldBreakOutOfItsPlace) {
    const struct {
        std::function<void(Corvix::HTTPRequest&)> prepare;
        unsigned long error;
    } cases[] = {
        {[](auto& request) { request.SetURI(L"/x HTTP/1.1\r\nX: y"); }, ERROR_WINHTTP_INVALID_URL},
        {[](auto& request) { request.AddHeader(L"X", L"a\r\nY: b"); }, ERROR_WINHTTP_INVALID_HEADER},
        {[](auto& request) { request.AddHeader(L"X: y\r\nZ", L"a"); }, ERROR_WINHTTP_INVALID_HEADER},
        {[](auto& request) { request.AddHeader(nullptr, nullptr); }, ERROR_WINHTTP_INVALID_HEADER},
        {[](auto& request) { request.AddHeader(L"Transfer-Encoding", L"gzip"); },
         ERROR_WINHTTP_INVALID_HEADER},
        {[](auto& request) { request.SetContentType(L"a\r\nb: c"); }, ERROR_WINHTTP_INVALID_HEADER},
        {[](auto& request) { request.SetUserName(L"me\r\nX: y"); }, ERROR_INVALID_PARAMETER},
    };
    for (const auto& test : cases) {
        const RequestPtr request = MakeRequest();
        test.prepare(*request);
        const Outcome outcome = Finish(*request);
        EXPECT_EQ(outcome.result, HRESULT_FROM_WIN32(test.error));
        EXPECT_EQ(outcome.error, test.error);
    }
    for (const wchar_t* method : {L"", L"GET\r\n", static_cast<const wchar_t*>(nullptr)}) {
        const RequestPtr request = MakeRequest();
        EXPECT_EQ(request->SetMethod(method), E_INVALIDARG);
        EXPECT_EQ(request->GetLastErrorCode(), static_cast<unsigned long>(ERROR_INVALID_PARAMETER));
    }
    EXPECT_TRUE(received_.empty()) << "nothing of it was sent";
}

TEST_F(HttpRequest, LeavesOutArgumentsAloneWhenItFails) {
    auto* const before = reinterpret_cast<Corvix::HTTPResponse*>(0x1234);
    Corvix::HTTPResponse* response = before;
    const RequestPtr request = MakeRequest(L"\r\n");
    EXPECT_LT(request->GetResponse(&response), 0);
    EXPECT_EQ(response, before);
    EXPECT_LT(request->GetResponse(nullptr), 0);
    auto* const noRequest = reinterpret_cast<Corvix::HTTPRequest*>(0x1234);
    for (const unsigned long port : {0ul, 65536ul}) {
        Corvix::HTTPRequest* made = noRequest;
        EXPECT_EQ(Address().CreateHTTPRequest(&made, port), E_INVALIDARG);
        EXPECT_EQ(made, noRequest);
    }
}

TEST_F(HttpRequest, IsObservedWithItsPortsAndSizes) {
    options_.portMap.MapTcp(8080, server_->Port());
    const RequestPtr request = MakeRequest(L"/a b", L"PUT", 8080);
    request->SetContentType(L"text/plain");
    Send(*request, "12345");
    ASSERT_EQ(records_.size(), 1u);
    EXPECT_EQ(received_[0].Header("Host"), "127.0.0.2:8080") << "the library's port, whatever the map says";
    const ExchangeRecord& record = records_[0];
    EXPECT_EQ(record.port, 8080);
    EXPECT_EQ(record.realPort, server_->Port());
    EXPECT_EQ(record.method, L"PUT");
    EXPECT_EQ(record.path, L"/a%20b");
    EXPECT_EQ(record.status, 200u);
    EXPECT_EQ(record.error, 0u);
    EXPECT_EQ(record.bytesSent, 5u);
    EXPECT_EQ(record.bytesReceived, 2u);
    EXPECT_FALSE(record.reusedConnection);
}

}  // namespace
}  // namespace CorvixTransport
