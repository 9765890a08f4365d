// Bodies that are written piece by piece.
#include <future>

#include "transport/httptest.h"

namespace CorvixTransport {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class HttpStream : public HttpTest {
protected:
    void Record() {
        Serve([this](Peer& peer, int) {
            for (std::string request; !(request = peer.ReadRequest()).empty();) {
                received_.push_back(request);
                peer.Respond("done");
            }
        });
    }

    // Writes pieces until one is not taken. \return the failure.
    static HRESULT WriteUntilRefused(Corvix::KyHTTPRequestEx& request) {
        const std::string piece(65536, 'x');
        for (int i = 0; i < 4096; ++i) {
            const HRESULT result = Write(request, piece);
            if (result != S_OK) return result;
        }
        return S_OK;
    }

    std::vector<std::string> received_;
};

const HRESULT refused = HRESULT_FROM_WIN32(ERROR_REQUEST_ABORTED);

TEST_F(HttpStream, TakesChunksAsTheCallerFramesThem) {
    Record();
    const auto request = MakeStreamedRequest();
    request->SetContentType(L"application/ipp");
    request->AddHeader(L"Transfer-Encoding", L"chunked");
    request->AddHeader(L"Content-Type", L"application/ipp");
    request->SetTotalBodyLength(8);
    EXPECT_EQ(Write(*request, "3\r\nabc\r\n"), S_OK);
    EXPECT_EQ(Write(*request, "5\r\nhello\r\n"), S_OK);
    EXPECT_EQ(request->GetResult(), S_OK);
    EXPECT_EQ(request->GetResponseStatus(), 0u);
    EXPECT_EQ(Write(*request, "0\r\n\r\n", true), S_OK);
    EXPECT_EQ(request->GetBytesWritten(), 23u);
    EXPECT_EQ(Finish(*request).body, "done");
    EXPECT_EQ(request->GetResponseStatus(), 200u);
    EXPECT_THAT(received_, ElementsAre("POST /print HTTP/1.1\r\nHost: 127.0.0.2\r\n"
                                       "User-Agent: CorvixTransport/1.0\r\nAccept: */*\r\n"
                                       "Content-Type: application/ipp\r\nTransfer-Encoding: chunked\r\n\r\n"
                                       "3\r\nabc\r\n5\r\nhello\r\n0\r\n\r\n"));
}

TEST_F(HttpStream, FramesChunksItselfWhenNothingElseIsSaid) {
    Record();
    const auto request = MakeStreamedRequest();
    EXPECT_EQ(Write(*request, "0123456789abcdefghij"), S_OK);
    EXPECT_EQ(Write(*request, ""), S_OK);
    EXPECT_EQ(Write(*request, "xyz"), S_OK);
    EXPECT_EQ(Finish(*request).body, "done") << "which ends the body";
    EXPECT_THAT(received_, ElementsAre(testing::AllOf(HasSubstr("\r\nTransfer-Encoding: chunked\r\n"),
                                                      EndsWith("\r\n\r\n14\r\n0123456789abcdefghij\r\n"
                                                               "3\r\nxyz\r\n0\r\n\r\n"))));
}

TEST_F(HttpStream, AnnouncesALengthThatIsKnown) {
    Record();
    const auto request = MakeStreamedRequest();
    request->SetContentType(L"application/ipp");
    request->SetTotalBodyLength(8);
    EXPECT_EQ(Send(*request, "head"), S_OK) << "the first piece of a longer body";
    EXPECT_EQ(Write(*request, "tail"), S_OK);
    EXPECT_EQ(Write(*request, "", true), S_OK);
    EXPECT_EQ(Finish(*request).body, "done");
    EXPECT_THAT(received_, ElementsAre(testing::AllOf(HasSubstr("Content-Length: 8\r\n"),
                                                      Not(HasSubstr("Transfer-Encoding")),
                                                      EndsWith("\r\n\r\nheadtail"))));
}

TEST_F(HttpStream, SendOfTheWholeBodyNeedsNoMorePieces) {
    Record();
    const auto request = MakeStreamedRequest();
    request->SetContentType(L"application/ipp");
    request->SetTotalBodyLength(4);
    EXPECT_EQ(Send(*request, "body"), S_OK);
    EXPECT_EQ(Write(*request, "", true), S_OK);
    EXPECT_EQ(request->GetResult(), S_OK);
    EXPECT_EQ(Finish(*request).body, "done");
    EXPECT_LT(Write(*request, "more"), 0);
    EXPECT_THAT(received_, ElementsAre(EndsWith("\r\n\r\nbody")));
}

TEST_F(HttpStream, RefusesMoreThanWasAnnouncedAndLess) {
    Record();
    const auto longer = MakeStreamedRequest();
    longer->SetTotalBodyLength(4);
    EXPECT_EQ(Write(*longer, "12345"), E_INVALIDARG);
    EXPECT_EQ(longer->GetResult(), E_INVALIDARG);
    EXPECT_LT(Finish(*longer).result, 0);
    const auto shorter = MakeStreamedRequest();
    shorter->SetTotalBodyLength(4);
    EXPECT_EQ(Write(*shorter, "123"), S_OK);
    EXPECT_EQ(Finish(*shorter).error, static_cast<unsigned long>(ERROR_HANDLE_EOF));
    EXPECT_THAT(received_, ElementsAre());
}

TEST_F(HttpStream, LeavesAConnectionThatIsUsedAgain) {
    Record();
    const auto request = MakeStreamedRequest();
    EXPECT_EQ(Write(*request, "x", true), S_OK);
    EXPECT_EQ(Finish(*request).body, "done");
    EXPECT_EQ(Get().body, "done");
    EXPECT_EQ(server_->Connections(), 1);
}

TEST_F(HttpStream, NeverRisksAKeptConnection) {
    Record();
    EXPECT_EQ(Get().body, "done");
    const auto request = MakeStreamedRequest();
    EXPECT_EQ(Write(*request, "x", true), S_OK);
    EXPECT_EQ(Finish(*request).body, "done");
    EXPECT_EQ(server_->Connections(), 2);
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
    const auto request = MakeStreamedRequest();
    request->SetTotalBodyLength(1u << 30);
    const std::string piece(64u << 20, 'x');
    EXPECT_EQ(Write(*request, piece), refused);
    EXPECT_EQ(Finish(*request).body, "busy");
}

TEST_F(HttpStream, PrefersTheAnswerOfADeviceThatHungUp) {
    Serve([](Peer& peer, int) {
        peer.ReadHead();
        peer.Respond("no", "400 Bad", "Connection: close\r\n");
    });
    const auto request = MakeStreamedRequest();
    EXPECT_LT(WriteUntilRefused(*request), 0);
    EXPECT_TRUE(request->GetResponseStatus() == 400 || request->GetLastErrorCode() != 0);
}

TEST_F(HttpStream, GoesOnAfterAnEarlySuccess) {
    std::promise<std::string> body;
    Serve([&body](Peer& peer, int) {
        peer.ReadHead();
        peer.Respond("accepted");
        body.set_value(peer.ReadThrough("\r\n0\r\n\r\n"));
    });
    const auto request = MakeStreamedRequest();
    EXPECT_EQ(Write(*request, "abc"), S_OK);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(Write(*request, "def"), S_OK);
    EXPECT_EQ(Write(*request, "end", true), S_OK);
    EXPECT_EQ(Finish(*request).body, "accepted");
    EXPECT_THAT(body.get_future().get(), EndsWith("\r\n3\r\nend\r\n0\r\n\r\n"));
    StopServing();
}

TEST_F(HttpStream, PassesOverInterimResponses) {
    Serve([](Peer& peer, int) {
        peer.ReadHead();
        peer.Send("HTTP/1.1 100 Continue\r\n\r\n");
        peer.ReadThrough("0\r\n\r\n");
        peer.Send("HTTP/1.1 102 Processing\r\n\r\n");
        peer.Respond("done");
    });
    const auto request = MakeStreamedRequest();
    EXPECT_EQ(Write(*request, "abc"), S_OK);
    EXPECT_EQ(Finish(*request).body, "done");
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
    const auto request = MakeStreamedRequest();
    EXPECT_EQ(WriteUntilRefused(*request), HRESULT_FROM_WIN32(ERROR_TIMEOUT));
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
    EXPECT_EQ(Finish(*request).error, static_cast<unsigned long>(ERROR_CANCELLED));
}

TEST_F(HttpStream, IsAskedForThePasswordBeforeTheBodyIsSent) {
    options_.userName = L"admin";
    options_.password = L"secret";
    std::vector<std::string> heads;
    Serve([&heads](Peer& peer, int) {
        heads.push_back(peer.ReadHead());
        if (HeaderLine(heads.back(), "Authorization").empty()) {
            peer.Respond("", "401 No", "WWW-Authenticate: Basic realm=a\r\n");
        } else {
            peer.Send("HTTP/1.1 100 Continue\r\n\r\n");
            peer.ReadThrough("0\r\n\r\n");
            peer.Respond("printed");
        }
    });
    const auto request = MakeStreamedRequest();
    EXPECT_EQ(Write(*request, "page", true), S_OK);
    EXPECT_EQ(Finish(*request).body, "printed");
    ASSERT_EQ(heads.size(), 2u);
    EXPECT_EQ(HeaderLine(heads[0], "Expect"), "Expect: 100-continue");
    EXPECT_EQ(HeaderLine(heads[1], "Authorization"), "Authorization: Basic YWRtaW46c2VjcmV0");
    StopServing();
}

TEST_F(HttpStream, FailsWithTheRefusalWhenThePasswordIsWrong) {
    options_.userName = L"admin";
    options_.password = L"wrong";
    Serve([](Peer& peer, int) {
        peer.ReadHead();
        peer.Respond("", "401 No", "WWW-Authenticate: Basic realm=a\r\n");
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
    const auto request = MakeStreamedRequest();
    EXPECT_EQ(Write(*request, "page", true), S_OK);
    EXPECT_EQ(Finish(*request).body, "printed");
}

}  // namespace
}  // namespace CorvixTransport
