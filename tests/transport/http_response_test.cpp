// What is made of a device's answers, honest and otherwise.
#include "transport/httptest.h"
#include "transport/sockets/waiting.h"

namespace CorvixTransport {
namespace {

class HttpResponse : public HttpTest {
protected:
    // Answers each connection's request with these bytes.
    void Answer(const std::string& bytes) {
        Serve([bytes](Peer& peer, int) {
            peer.ReadRequest();
            peer.Send(bytes);
        });
    }
};

TEST_F(HttpResponse, IsHandedOutWhateverItsStatus) {
    for (const char* status : {"200 OK", "302 Found", "404 Not Found", "500 Oops"}) {
        Serve([status](Peer& peer, int) {
            peer.ReadRequest();
            peer.Respond("body", status, "Location: http://127.0.0.3/elsewhere\r\n");
        });
        const Outcome outcome = Get();
        EXPECT_EQ(outcome.status, std::stoul(status));
        EXPECT_EQ(Result(outcome), "body");
        EXPECT_EQ(server_->Connections(), 1) << "nobody is followed elsewhere";
    }
}

TEST_F(HttpResponse, TellsHeadersAndReason) {
    Answer(
        "HTTP/1.1 200 Gr\xC3\xBC\xC3\x9F Gott\r\nContent-Type: text/xml\r\nX: \xFC\r\nx: second\r\n"
        "Content-Length: 0\r\n\r\n");
    ResponsePtr response;
    ASSERT_EQ(MakeRequest()->GetResponse(response.Receive()), S_OK) << "and outlives its request";
    EXPECT_STREQ(response->GetReasonPhrase(), L"Gr\u00FC\u00DF Gott");
    EXPECT_STREQ(response->GetContentType(), L"text/xml");
    EXPECT_STREQ(response->GetHeader(L"x"), L"\u00FC");
    EXPECT_EQ(response->GetHeader(L"missing"), nullptr);
    EXPECT_EQ(response->GetHeader(nullptr), nullptr);
    EXPECT_EQ(response->GetBody(), nullptr);
    EXPECT_EQ(response->GetBodyLength(), 0u);
}

TEST_F(HttpResponse, ThatIsFaultyIsAClearError) {
    const std::pair<std::string, unsigned long> cases[] = {
        {"", ERROR_WINHTTP_CONNECTION_ERROR},
        {std::string(100, '\xff') + "\r\n", ERROR_WINHTTP_INVALID_SERVER_RESPONSE},
        {"HTTP/1.1 200 OK\r\nContent-Length: 50\r\n\r\nhalf", ERROR_WINHTTP_CONNECTION_ERROR},
        {"HTTP/1.1 200 OK\r\nX: " + std::string(200000, 'x'), ERROR_WINHTTP_HEADER_SIZE_OVERFLOW},
        {"HTTP/1.1 200 OK\r\nContent-Length: 1001\r\n\r\n", ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW},
        {"HTTP/1.1 200 OK\r\n\r\n" + std::string(500000, 'x'), ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW},
    };
    options_.maximumBodyLength = 1000;
    for (const auto& [answer, error] : cases) {
        records_.clear();
        Answer(answer);
        const Outcome outcome = Get();
        EXPECT_EQ(outcome.result, HRESULT_FROM_WIN32(error)) << answer.substr(0, 80);
        EXPECT_EQ(outcome.error, error);
        EXPECT_EQ(server_->Connections(), 1) << "what has begun to answer is not asked again";
        ASSERT_EQ(records_.size(), 1u);
        EXPECT_EQ(records_[0].error, error);
    }
}

TEST_F(HttpResponse, MayBeAsLongAsTheLimit) {
    options_.maximumBodyLength = 1000;
    Record(std::string(1000, 'x'));
    EXPECT_EQ(Get().body.size(), 1000u);
    Address().SetMaximumBodyLength(999);
    EXPECT_EQ(GetResult(), Failure(ERROR_WINHTTP_RESPONSE_DRAIN_OVERFLOW));
}

TEST_F(HttpResponse, OfADeviceThatIsNotThereIsAnError) {
    Serve([](Peer& peer, int) {
        peer.ReadRequest();
        peer.Reset();
    });
    EXPECT_NE(Get().error, 0u);
    StopServing();
    records_.clear();
    EXPECT_EQ(GetResult(), Failure(WSAECONNREFUSED));
    ASSERT_EQ(records_.size(), 1u);
    EXPECT_EQ(records_[0].status, 0u);
    for (const wchar_t* host : {L"", L"1.2.3.4.5", L"999.1.1.1", L"::1::2", L"a\r\nb.invalid"}) {
        address_.Reset();
        options_.host = host;
        const Outcome outcome = Get();
        EXPECT_LT(outcome.result, 0) << host;
        EXPECT_NE(outcome.error, 0u) << host;
    }
}

TEST_F(HttpResponse, ComesFromNamesAndFromIPv6) {
    const struct {
        const wchar_t* host;
        const wchar_t* bound;
        const char* header;
    } cases[] = {{L"localhost", L"127.0.0.1", "localhost"}, {L"::1", L"::1", "[::1]"}};
    for (const auto& test : cases) {
        std::string host;
        Serve(
            [&host](Peer& peer, int) {
                host = peer.ReadRequest().Header("Host");
                peer.Respond("hello");
            },
            test.bound);
        options_.host = test.host;
        EXPECT_EQ(GetResult(), "hello");
        EXPECT_EQ(host, test.header);
        StopServing();
    }
}

TEST_F(HttpResponse, ThatNeverComesEndsWithTheTimeOut) {
    options_.timeoutMilliseconds = 50;
    Serve([](Peer& peer, int) { peer.WaitForEnd(); });
    EXPECT_EQ(GetResult(), Failure(ERROR_TIMEOUT));
    Address().SetTimeout(60000);
    const RequestPtr request = MakeRequest();
    request->SetTimeout(50);
    EXPECT_EQ(Result(Finish(*request)), Failure(ERROR_TIMEOUT));
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
    EXPECT_EQ(GetResult(), Failure(ERROR_TIMEOUT));
    go = false;
    StopServing();
}

TEST_F(HttpResponse, IsNotWaitedForAfterCancel) {
    std::promise<void> asked;
    Serve([&asked](Peer& peer, int) {
        peer.ReadRequest();
        asked.set_value();
        peer.WaitForEnd();
    });
    const RequestPtr request = MakeRequest();
    std::thread canceller([&] {
        asked.get_future().wait();
        request->Cancel();
    });
    EXPECT_EQ(Result(Finish(*request)), Failure(ERROR_CANCELLED));
    canceller.join();
    const RequestPtr other = MakeRequest();
    other->Cancel();
    EXPECT_EQ(Result(Finish(*other)), Failure(ERROR_CANCELLED));
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
    EXPECT_EQ(GetResult(), Failure(ERROR_CANCELLED));
    EXPECT_EQ(GetResult(), Failure(ERROR_CANCELLED)) << "and none is begun any more";
    StopServing();
}

}  // namespace
}  // namespace CorvixTransport
