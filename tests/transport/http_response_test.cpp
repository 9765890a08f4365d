// What is made of a device's answers, honest and otherwise.
#include "transport/httptest.h"
#include "transport/sockets/waiting.h"

namespace CorvixTransport {
namespace {

class HttpResponse : public HttpTest {};

TEST_F(HttpResponse, IsHandedOutWhateverItsStatus) {
    for (const char* status : {"200 OK", "302 Found", "404 Not Found", "500 Oops"}) {
        Serve([status](Peer& peer, int) {
            peer.ReadRequest();
            peer.Respond("body", status, "Location: http://127.0.0.3/elsewhere\r\n");
        });
        const Outcome outcome = Get();
        EXPECT_EQ(outcome.result, S_OK);
        EXPECT_EQ(outcome.status, std::stoul(status));
        EXPECT_EQ(outcome.body, "body");
        EXPECT_EQ(server_->Connections(), 1) << "nobody is followed elsewhere";
    }
}

TEST_F(HttpResponse, TellsHeadersAndReason) {
    Serve([](Peer& peer, int) {
        peer.ReadRequest();
        peer.Send(
            "HTTP/1.1 200 Gr\xC3\xBC\xC3\x9F Gott\r\nContent-Type: text/xml\r\nX: \xFC\r\nx: second\r\n"
            "Content-Length: 0\r\n\r\n");
    });
    const RequestPtr request = MakeRequest();
    ResponsePtr response;
    ASSERT_EQ(request->GetResponse(response.Receive()), S_OK);
    EXPECT_STREQ(response->GetReasonPhrase(), L"Gr\u00FC\u00DF Gott");
    EXPECT_STREQ(response->GetContentType(), L"text/xml");
    EXPECT_STREQ(response->GetHeader(L"x"), L"\u00FC");
    EXPECT_EQ(response->GetHeader(L"missing"), nullptr);
    EXPECT_EQ(response->GetHeader(nullptr), nullptr);
    EXPECT_EQ(response->GetBody(), nullptr);
    EXPECT_EQ(response->GetBodyLength(), 0u);
}

TEST_F(HttpResponse, EndsItsBodyWithAZeroByte) {
    Serve([](Peer& peer, int) {
        peer.ReadRequest();
        peer.Respond("<xml/>");
    });
    ResponsePtr response;
    ASSERT_EQ(MakeRequest()->GetResponse(response.Receive()), S_OK) << "and outlives its request";
    EXPECT_EQ(response->GetBodyLength(), 6u);
    EXPECT_STREQ(reinterpret_cast<const char*>(response->GetBody()), "<xml/>");
}

struct FaultCase {
    const char* name;
    std::string answer;
    unsigned long error;
};

class FaultyResponse : public HttpTest, public testing::WithParamInterface<FaultCase> {};

TEST_P(FaultyResponse, IsAClearError) {
    options_.maximumBodyLength = 1000;
    Serve([](Peer& peer, int) {
        peer.ReadRequest();
        peer.Send(GetParam().answer);
    });
    const Outcome outcome = Get();
    EXPECT_EQ(outcome.result, HRESULT_FROM_WIN32(GetParam().error));
    EXPECT_EQ(outcome.error, GetParam().error);
    EXPECT_EQ(server_->Connections(), 1) << "what has begun to answer is not asked again";
    ASSERT_EQ(records_.size(), 1u);
    EXPECT_EQ(records_[0].error, GetParam().error);
}

const std::string chunkedHead = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";

INSTANTIATE_TEST_SUITE_P(
    , FaultyResponse,
    testing::Values(
        FaultCase{"Nothing", "", ERROR_WINHTTP_CONNECTION_ERROR},
        FaultCase{"Junk", std::string(100, '\xff') + "\r\n", ERROR_WINHTTP_INVALID_SERVER_RESPONSE},
        FaultCase{"StopsInHead", "HTTP/1.1 200 OK\r\nCon", ERROR_WINHTTP_CONNECTION_ERROR},
        FaultCase{"StopsInBody", "HTTP/1.1 200 OK\r\nContent-Length: 50\r\n\r\nhalf",
                  ERROR_WINHTTP_CONNECTION_ERROR},
        FaultCase{"StopsInChunk", chunkedHead + "50\r\nhalf", ERROR_WINHTTP_CONNECTION_ERROR},
        FaultCase{"BadChunk", chunkedHead + "zz\r\n", ERROR_WINHTTP_INVALID_SERVER_RESPONSE},
        FaultCase{"GiantHead", "HTTP/1.1 200 OK\r\nX: " + std::string(200000, 'x'),
                  ERROR_WINHTTP_HEADER_SIZE_OVERFLOW},
        FaultCase{"AnnouncesTooMuch", "HTTP/1.1 200 OK\r\nContent-Length: 1001\r\n\r\n",
                  ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW},
        FaultCase{"SendsTooMuch", "HTTP/1.1 200 OK\r\n\r\n" + std::string(500000, 'x'),
                  ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW},
        FaultCase{"ChunksTooMuch", chunkedHead + "FFFFFFFF\r\n", ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW}),
    [](const auto& test) { return test.param.name; });

TEST_F(HttpResponse, MayBeAsLongAsTheLimit) {
    options_.maximumBodyLength = 1000;
    Serve([](Peer& peer, int) {
        peer.ReadRequest();
        peer.Respond(std::string(1000, 'x'));
    });
    EXPECT_EQ(Get().body.size(), 1000u);
    Address().SetMaximumBodyLength(999);
    EXPECT_EQ(Get().error, static_cast<unsigned long>(ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW));
}

TEST_F(HttpResponse, OfAResetConnectionIsAnError) {
    Serve([](Peer& peer, int) {
        peer.ReadRequest();
        peer.Reset();
    });
    const Outcome outcome = Get();
    EXPECT_LT(outcome.result, 0);
    EXPECT_NE(outcome.error, 0u);
}

TEST_F(HttpResponse, OfAClosedPortIsRefused) {
    Serve([](Peer&, int) {});
    StopServing();
    EXPECT_EQ(Get().error, static_cast<unsigned long>(WSAECONNREFUSED));
    ASSERT_EQ(records_.size(), 1u);
    EXPECT_EQ(records_[0].status, 0u);
}

TEST_F(HttpResponse, OfAHostThatIsNoneIsNotFound) {
    for (const wchar_t* host : {L"", L"1.2.3.4.5", L"999.1.1.1", L"::1::2", L"a\r\nb.invalid"}) {
        address_.Reset();
        options_.host = host;
        const Outcome outcome = Get();
        EXPECT_LT(outcome.result, 0);
        EXPECT_NE(outcome.error, 0u);
    }
}

TEST_F(HttpResponse, ComesFromNamesAndFromIPv6) {
    const struct {
        std::wstring host;
        std::string bound;
        std::string header;
    } cases[] = {{L"localhost", "127.0.0.1", "localhost"}, {L"::1", "::1", "[::1]"}};
    for (const auto& test : cases) {
        std::string head;
        server_.emplace(
            [&head](Peer& peer, int) {
                head = peer.ReadRequest();
                peer.Respond("hello");
            },
            test.bound);
        options_.host = test.host;
        options_.portMap.MapTcp(80, server_->Port());
        address_.Reset();
        EXPECT_EQ(Get().body, "hello");
        EXPECT_EQ(HeaderLine(head, "Host"), "Host: " + test.header);
        StopServing();
    }
}

TEST_F(HttpResponse, ThatNeverComesEndsWithTheTimeOut) {
    options_.timeoutMilliseconds = 50;
    Serve([](Peer& peer, int) {
        peer.ReadRequest();
        peer.WaitForEnd();
    });
    EXPECT_EQ(Get().error, static_cast<unsigned long>(ERROR_TIMEOUT));
    Address().SetTimeout(60000);
    const RequestPtr request = MakeRequest();
    request->SetTimeout(50);
    EXPECT_EQ(Finish(*request).error, static_cast<unsigned long>(ERROR_TIMEOUT));
}

// Every piece comes well within the time-out; only the limit of the whole response ends it.
TEST_F(HttpResponse, ThatTricklesEndsWithTheLimit) {
    options_.responseLimitMilliseconds = 100;
    std::atomic<bool> go{true};
    Serve([&go](Peer& peer, int) {
        peer.ReadRequest();
        peer.Send("HTTP/1.1 200 OK\r\n\r\n");
        for (int i = 0; i < 10000 && go; ++i) {
            peer.Send("x");
            Sleep(1);
        }
    });
    EXPECT_EQ(Get().error, static_cast<unsigned long>(ERROR_TIMEOUT));
    go = false;
    StopServing();
}

TEST_F(HttpResponse, IsNotWaitedForAfterCancel) {
    std::atomic<bool> asked{false};
    Serve([&asked](Peer& peer, int) {
        peer.ReadRequest();
        asked = true;
        peer.WaitForEnd();
    });
    const RequestPtr request = MakeRequest();
    std::thread canceller([&] {
        while (!asked)
            Sleep(1);
        request->Cancel();
    });
    EXPECT_EQ(Finish(*request).error, static_cast<unsigned long>(ERROR_CANCELLED));
    canceller.join();
    const RequestPtr other = MakeRequest();
    other->Cancel();
    EXPECT_EQ(Finish(*other).error, static_cast<unsigned long>(ERROR_CANCELLED));
    StopServing();
}

TEST_F(HttpResponse, IsNotWaitedForAfterTheStopOfItsAddress) {
    const NetEvent stop;
    options_.stopEvent = stop.Get();
    Serve([&stop](Peer& peer, int) {
        peer.ReadRequest();
        stop.Set();
        peer.WaitForEnd();
    });
    EXPECT_EQ(Get().error, static_cast<unsigned long>(ERROR_CANCELLED));
    EXPECT_EQ(Get().error, static_cast<unsigned long>(ERROR_CANCELLED)) << "and none is begun any more";
    StopServing();
}

}  // namespace
}  // namespace CorvixTransport
