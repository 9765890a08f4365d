// Bodies that are written piece by piece.
#include <future>

#include "transport/httptest.h"

namespace CorvixTransport {
namespace {

class HttpStream : public HttpTest {
protected:
    // Writes pieces until one is not taken. \return the failure.
    static HRESULT WriteUntilRefused(Corvix::KyHTTPRequestEx& request) {
        const std::string piece(65536, 'x');
        HRESULT result = S_OK;
        for (int i = 0; i < 4096 && result == S_OK; ++i)
            result = Write(request, piece);
        return result;
    }

    // Prints a body of one piece.
    std::string PrintResult() {
        const auto request = MakeStreamedRequest();
        EXPECT_EQ(Write(*request, "page", true), S_OK);
        return Result(Finish(*request));
    }
};

const HRESULT refused = HRESULT_FROM_WIN32(ERROR_REQUEST_ABORTED);
const std::string askForPassword = "WWW-Authenticate: Basic realm=a\r\n";

TEST_F(HttpStream, TakesChunksAsTheCallerFramesThem) {
    Record();
    const auto request = MakeStreamedRequest(8);
    request->SetContentType(L"application/ipp");
    request->AddHeader(L"Transfer-Encoding", L"chunked");
    request->AddHeader(L"Content-Type", L"application/ipp");
    EXPECT_EQ(request->GetBytesWritten(), 0u);
    EXPECT_EQ(Write(*request, "3\r\nabc\r\n"), S_OK);
    EXPECT_EQ(Write(*request, "5\r\nhello\r\n"), S_OK);
    EXPECT_EQ(request->GetResult(), S_OK);
    EXPECT_EQ(request->GetResponseStatus(), 0u);
    EXPECT_EQ(Write(*request, "0\r\n\r\n", true), S_OK);
    EXPECT_EQ(request->GetBytesWritten(), 23u);
    EXPECT_EQ(Result(Finish(*request)), "ok");
    EXPECT_EQ(request->GetResponseStatus(), 200u);
    ASSERT_EQ(received_.size(), 1u);
    EXPECT_EQ(received_[0].bytes,
              "POST /print HTTP/1.1\r\nHost: 127.0.0.2\r\n"
              "User-Agent: CorvixTransport/1.0\r\nAccept: */*\r\n"
              "Content-Type: application/ipp\r\nTransfer-Encoding: chunked\r\n\r\n"
              "3\r\nabc\r\n5\r\nhello\r\n0\r\n\r\n");
}

TEST_F(HttpStream, FramesChunksItselfWhenNothingElseIsSaid) {
    Record();
    const auto request = MakeStreamedRequest();
    EXPECT_EQ(Write(*request, "0123456789abcdefghij"), S_OK);
    EXPECT_EQ(Write(*request, ""), S_OK);
    EXPECT_EQ(Write(*request, "xyz"), S_OK);
    EXPECT_EQ(Result(Finish(*request)), "ok") << "which ends the body";
    ASSERT_EQ(received_.size(), 1u);
    EXPECT_EQ(received_[0].Header("Transfer-Encoding"), "chunked");
    EXPECT_THAT(received_[0].bytes,
                testing::EndsWith("\r\n\r\n14\r\n0123456789abcdefghij\r\n3\r\nxyz\r\n0\r\n\r\n"));
}

TEST_F(HttpStream, AnnouncesALengthThatIsKnown) {
    Record();
    const auto longer = MakeStreamedRequest(8);
    longer->SetContentType(L"application/ipp");
    EXPECT_EQ(Send(*longer, "head"), S_OK) << "the first piece of a longer body";
    EXPECT_EQ(Write(*longer, "tail"), S_OK);
    EXPECT_EQ(Write(*longer, "", true), S_OK);
    EXPECT_EQ(Result(Finish(*longer)), "ok");
    const auto whole = MakeStreamedRequest(4);
    whole->SetContentType(L"application/ipp");
    EXPECT_EQ(Send(*whole, "body"), S_OK);
    EXPECT_EQ(Write(*whole, "", true), S_OK) << "and needs no more pieces";
    EXPECT_EQ(whole->GetResult(), S_OK);
    EXPECT_EQ(Result(Finish(*whole)), "ok");
    EXPECT_LT(Write(*whole, "more"), 0);
    ASSERT_EQ(received_.size(), 2u);
    EXPECT_EQ(received_[0].Header("Content-Length") + received_[0].body, "8headtail");
    EXPECT_EQ(received_[0].Header("Transfer-Encoding"), "");
    EXPECT_EQ(received_[1].body, "body");
}

TEST_F(HttpStream, RefusesMoreThanWasAnnouncedAndLess) {
    Record();
    const auto longer = MakeStreamedRequest(4);
    EXPECT_EQ(Write(*longer, "12345"), E_INVALIDARG);
    EXPECT_EQ(longer->GetResult(), E_INVALIDARG);
    EXPECT_LT(Finish(*longer).result, 0);
    const auto shorter = MakeStreamedRequest(4);
    EXPECT_EQ(Write(*shorter, "123"), S_OK);
    EXPECT_EQ(Result(Finish(*shorter)), Failure(ERROR_HANDLE_EOF));
    StopServing();
    for (const Received& request : received_)
        EXPECT_LT(request.body.size(), 4u);
}

TEST_F(HttpStream, LeavesAConnectionThatIsUsedAgainButUsesNoneItself) {
    Record();
    for (const int connections : {1, 2}) {
        EXPECT_EQ(PrintResult(), "ok");
        EXPECT_EQ(GetResult(), "ok");
        EXPECT_EQ(server_->Connections(), connections);
    }
}

TEST_F(HttpStream, NoticesADeviceThatRefusesBeforeItHasReadAll) {
    Serve([](Peer& peer, int) {
        peer.ReadHead();
        peer.Respond("too large", "413 Too Large");
        peer.WaitForEnd();
    });
    const auto request = MakeStreamedRequest();
    EXPECT_EQ(WriteUntilRefused(*request), refused);
    EXPECT_EQ(request->GetLastErrorCode(), static_cast<unsigned long>(ERROR_REQUEST_ABORTED));
    EXPECT_EQ(request->GetResponseStatus(), 413u);
    EXPECT_EQ(Write(*request, "more"), refused);
    const Outcome outcome = Finish(*request);
    EXPECT_EQ(outcome.status, 413u);
    EXPECT_EQ(outcome.body, "too large");
    EXPECT_EQ(request->GetResult(), refused);
    ASSERT_EQ(records_.size(), 1u);
    EXPECT_EQ(records_[0].status, 413u);
}

// It does not read what is sent, so that only the waiting write can notice.
TEST_F(HttpStream, NoticesARefusalWhileItWaitsToSend) {
    Serve([](Peer& peer, int) {
        peer.ReadHead();
        peer.ReadExactly(1);
        peer.Respond("busy", "503 Busy");
        peer.Hold();
    });
    const auto request = MakeStreamedRequest(1u << 30);
    EXPECT_EQ(Write(*request, std::string(64u << 20, 'x')), refused);
    EXPECT_EQ(Finish(*request).body, "busy");
}

TEST_F(HttpStream, GoesOnAfterAnEarlyAnswer) {
    for (const char* early :
         {"HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok", "HTTP/1.1 100 Continue\r\n\r\n"}) {
        std::promise<std::string> body;
        Serve([&body, early](Peer& peer, int) {
            peer.ReadHead();
            peer.Send(early);
            body.set_value(peer.ReadThrough("\r\n0\r\n\r\n"));
            peer.Send("HTTP/1.1 102 Processing\r\n\r\n");
            peer.Respond("ok");
        });
        const auto request = MakeStreamedRequest();
        for (int i = 0; i < 100; ++i)
            EXPECT_EQ(Write(*request, "def"), S_OK);
        EXPECT_EQ(Write(*request, "end", true), S_OK);
        EXPECT_EQ(Result(Finish(*request)), "ok");
        EXPECT_THAT(body.get_future().get(), testing::EndsWith("\r\n3\r\nend\r\n0\r\n\r\n"));
        StopServing();
    }
}

TEST_F(HttpStream, FailsWhenTheDeviceDropsTheConnection) {
    Serve([](Peer& peer, int) {
        peer.ReadHead();
        peer.ReadExactly(100000);
        peer.Reset();
    });
    const auto request = MakeStreamedRequest();
    EXPECT_LT(WriteUntilRefused(*request), 0);
    EXPECT_NE(request->GetLastErrorCode(), 0u);
    EXPECT_EQ(request->GetResponseStatus(), 0u);
    EXPECT_LT(Finish(*request).result, 0);
    ASSERT_EQ(records_.size(), 1u);
    EXPECT_NE(records_[0].error, 0u);
}

TEST_F(HttpStream, TimesOutWhenTheDeviceStopsReading) {
    options_.timeoutMilliseconds = 50;
    Serve([](Peer& peer, int) {
        peer.ReadHead();
        peer.Hold();
    });
    EXPECT_EQ(WriteUntilRefused(*MakeStreamedRequest()), HRESULT_FROM_WIN32(ERROR_TIMEOUT));
}

TEST_F(HttpStream, CanBeCancelledWhileItWaitsToSend) {
    std::promise<void> begun;
    Serve([&begun](Peer& peer, int) {
        peer.ReadHead();
        begun.set_value();
        peer.Hold();
    });
    const auto request = MakeStreamedRequest();
    std::thread canceller([&] {
        begun.get_future().wait();
        request->Cancel();
    });
    EXPECT_EQ(WriteUntilRefused(*request), HRESULT_FROM_WIN32(ERROR_CANCELLED));
    canceller.join();
    EXPECT_EQ(Result(Finish(*request)), Failure(ERROR_CANCELLED));
}

TEST_F(HttpStream, IsAskedForThePasswordBeforeTheBodyIsSent) {
    options_.userName = L"admin";
    options_.password = L"secret";
    std::vector<Received> heads;
    Serve([&heads](Peer& peer, int) {
        heads.push_back(peer.ReadHead());
        if (heads.back().Header("Authorization").empty()) return peer.Respond("", "401 No", askForPassword);
        peer.Send("HTTP/1.1 100 Continue\r\n\r\n");
        peer.ReadThrough("0\r\n\r\n");
        peer.Respond("printed");
    });
    EXPECT_EQ(PrintResult(), "printed");
    ASSERT_EQ(heads.size(), 2u);
    EXPECT_EQ(heads[0].Header("Expect"), "100-continue");
    EXPECT_EQ(heads[1].Header("Authorization"), "Basic YWRtaW46c2VjcmV0");
    StopServing();
}

TEST_F(HttpStream, FailsWithTheRefusalWhenThePasswordIsWrong) {
    options_.userName = L"admin";
    options_.password = L"wrong";
    Serve([](Peer& peer, int) {
        peer.ReadHead();
        peer.Respond("", "401 No", askForPassword);
    });
    const auto request = MakeStreamedRequest();
    EXPECT_EQ(Write(*request, "page"), refused);
    EXPECT_EQ(request->GetResponseStatus(), 401u);
    EXPECT_EQ(Finish(*request).status, 401u);
    EXPECT_EQ(server_->Connections(), 2);
}

TEST_F(HttpStream, DoesWithoutTheWordThatADeviceDoesNotKnow) {
    options_.userName = L"admin";
    Serve([](Peer& peer, int connection) {
        peer.ReadHead();
        if (connection == 0) return peer.Respond("", "417 Expectation Failed");
        peer.ReadThrough("0\r\n\r\n");
        peer.Respond("printed");
    });
    EXPECT_EQ(PrintResult(), "printed");
}

}  // namespace
}  // namespace CorvixTransport
