// What goes over the wire for a request.
#include "transport/httptest.h"

namespace CorvixTransport {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class HttpRequest : public HttpTest {
protected:
    // Serves any number of requests and keeps them.
    void Record() {
        Serve([this](Peer& peer, int) {
            for (std::string request; !(request = peer.ReadRequest()).empty();) {
                const std::lock_guard<std::mutex> lock(mutex_);
                received_.push_back(request);
                peer.Respond("ok");
            }
        });
    }

    std::mutex mutex_;
    std::vector<std::string> received_;
};

TEST_F(HttpRequest, ReadsAResourceWithoutBeingTold) {
    Record();
    const Outcome outcome = Get(L"/status.xml");
    EXPECT_EQ(outcome.result, S_OK);
    EXPECT_EQ(outcome.error, 0u);
    EXPECT_EQ(outcome.status, 200u);
    EXPECT_EQ(outcome.body, "ok");
    EXPECT_THAT(received_, ElementsAre("GET /status.xml HTTP/1.1\r\nHost: 127.0.0.2\r\n"
                                       "User-Agent: CorvixTransport/1.0\r\nAccept: */*\r\n\r\n"));
}

TEST_F(HttpRequest, SendsABodyToTheByte) {
    Record();
    const RequestPtr request = MakeRequest(L"/ipp/print", L"POST");
    request->SetContentType(L"application/ipp");
    request->AddHeader(L"Cache-Control", L"no-cache");
    request->AddHeader(L"Accept", L"application/ipp");
    const std::string body("\x02\x00\x0b\r\n", 5);
    EXPECT_EQ(Send(*request, body), S_OK);
    EXPECT_EQ(Finish(*request).body, "ok");
    EXPECT_THAT(received_, ElementsAre("POST /ipp/print HTTP/1.1\r\nHost: 127.0.0.2\r\n"
                                       "User-Agent: CorvixTransport/1.0\r\nContent-Type: application/ipp\r\n"
                                       "Content-Length: 5\r\nCache-Control: no-cache\r\n"
                                       "Accept: application/ipp\r\n\r\n" +
                                       body));
}

TEST_F(HttpRequest, SendsALargeBodyWhole) {
    Record();
    const std::string body(5 * 1024 * 1024, 'x');
    const RequestPtr request = MakeRequest(L"/", L"POST");
    request->SetContentType(L"application/ipp");
    EXPECT_EQ(Send(*request, body), S_OK);
    ASSERT_EQ(received_.size(), 1u);
    EXPECT_EQ(received_[0].size() - received_[0].find("\r\n\r\n") - 4, body.size());
}

TEST_F(HttpRequest, TakesTheContentTypeAfterTheBodyToo) {
    Record();
    const RequestPtr request = MakeRequest(L"/ws", L"POST");
    {
        const std::string body = "<envelope/>";  // gone before it is sent
        EXPECT_EQ(Send(*request, body), S_OK);
    }
    request->SetContentType(L"application/soap+xml");
    EXPECT_EQ(Finish(*request).status, 200u);
    EXPECT_THAT(received_, ElementsAre(HasSubstr("Content-Type: application/soap+xml\r\n")));
    EXPECT_THAT(received_[0], testing::EndsWith("\r\n\r\n<envelope/>"));
}

TEST_F(HttpRequest, SaysEachHeaderOfTheBodyOnce) {
    Record();
    const RequestPtr request = MakeRequest(L"/", L"POST");
    request->SetContentType(L"application/ipp");
    request->AddHeader(L"content-type", L"application/ipp");
    request->AddHeader(L"Content-Length", L"999");
    Send(*request, "hi");
    EXPECT_THAT(received_,
                ElementsAre(testing::AllOf(HasSubstr("Content-Type: application/ipp\r\n"),
                                           HasSubstr("Content-Length: 2\r\n"), Not(HasSubstr("999")),
                                           Not(HasSubstr("content-type")))));
}

TEST_F(HttpRequest, TellsThatABodyIsEmptyWhereOneIsExpected) {
    Record();
    EXPECT_EQ(Finish(*MakeRequest(L"/", L"POST")).status, 200u);
    EXPECT_THAT(received_, ElementsAre(HasSubstr("Content-Length: 0\r\n")));
}

TEST_F(HttpRequest, AnswersTheSameResponseAgain) {
    Record();
    const RequestPtr request = MakeRequest();
    EXPECT_EQ(Finish(*request).body, "ok");
    EXPECT_EQ(Finish(*request).body, "ok");
    EXPECT_EQ(received_.size(), 1u) << "a request is sent once";
}

TEST_F(HttpRequest, RefusesWhatWouldBreakOutOfItsPlace) {
    Record();
    const struct {
        std::function<void(Corvix::HTTPRequest&)> prepare;
        unsigned long error;
    } cases[] = {
        {[](auto& request) { request.SetURI(L"/x HTTP/1.1\r\nX: y"); }, ERROR_WINHTTP_INVALID_URL},
        {[](auto& request) { request.AddHeader(L"X", L"a\r\nY: b"); }, ERROR_WINHTTP_INVALID_HEADER},
        {[](auto& request) { request.AddHeader(L"X", L"a\nb"); }, ERROR_WINHTTP_INVALID_HEADER},
        {[](auto& request) { request.AddHeader(L"X: y\r\nZ", L"a"); }, ERROR_WINHTTP_INVALID_HEADER},
        {[](auto& request) { request.AddHeader(L"", L"a"); }, ERROR_WINHTTP_INVALID_HEADER},
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
    EXPECT_THAT(received_, ElementsAre()) << "nothing of it was sent";
}

TEST_F(HttpRequest, RefusesAMethodThatIsNone) {
    Record();
    for (const wchar_t* method : {L"", L"GET /", L"GET\r\n", static_cast<const wchar_t*>(nullptr)}) {
        const RequestPtr request = MakeRequest();
        EXPECT_EQ(request->SetMethod(method), E_INVALIDARG);
        EXPECT_EQ(request->GetLastErrorCode(), static_cast<unsigned long>(ERROR_INVALID_PARAMETER));
    }
}

TEST_F(HttpRequest, LeavesOutArgumentsAloneWhenItFails) {
    Record();
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

TEST_F(HttpRequest, NamesTheLibrarysPortWhateverTheMapSays) {
    Record();
    options_.portMap.MapTcp(8080, server_->Port());
    RequestPtr request;
    ASSERT_EQ(Address().CreateHTTPRequest(request.Receive(), 8080), S_OK);
    EXPECT_EQ(Finish(*request).status, 200u);
    EXPECT_THAT(received_, ElementsAre(HasSubstr("Host: 127.0.0.2:8080\r\n")));
    ASSERT_EQ(records_.size(), 1u);
    EXPECT_EQ(records_[0].port, 8080);
    EXPECT_EQ(records_[0].realPort, server_->Port());
}

TEST_F(HttpRequest, IsObservedWithItsSizes) {
    Record();
    const RequestPtr request = MakeRequest(L"/a b", L"PUT");
    request->SetContentType(L"text/plain");
    Send(*request, "12345");
    ASSERT_EQ(records_.size(), 1u);
    EXPECT_EQ(records_[0].method, L"PUT");
    EXPECT_EQ(records_[0].path, L"/a%20b");
    EXPECT_EQ(records_[0].status, 200u);
    EXPECT_EQ(records_[0].error, 0u);
    EXPECT_EQ(records_[0].bytesSent, 5u);
    EXPECT_EQ(records_[0].bytesReceived, 2u);
    EXPECT_FALSE(records_[0].reusedConnection);
}

}  // namespace
}  // namespace CorvixTransport
