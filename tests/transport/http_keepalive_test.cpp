// Connections that are kept alive, and those that die while nobody looks.
#include "transport/httptest.h"

namespace CorvixTransport {
namespace {

class KeepAlive : public HttpTest {
protected:
    // Whether each exchange so far ran on a kept connection.
    std::vector<bool> Reused() const {
        std::vector<bool> reused;
        for (const ExchangeRecord& record : records_)
            reused.push_back(record.reusedConnection);
        return reused;
    }
};

void ServeAll(Peer& peer, int) {
    while (!peer.ReadRequest().empty())
        peer.Respond("ok");
}

TEST_F(KeepAlive, OneConnectionServesManyRequests) {
    Serve(ServeAll);
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(Get().body, "ok");
    EXPECT_EQ(server_->Connections(), 1);
    EXPECT_THAT(Reused(), testing::ElementsAre(false, true, true, true, true));
}

TEST_F(KeepAlive, EndsWhereTheDeviceSaysSo) {
    const struct {
        const char* response;
        const char* body;
    } cases[] = {
        {"HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 2\r\n\r\nok", "ok"},
        {"HTTP/1.0 200 OK\r\nContent-Length: 2\r\n\r\nok", "ok"},
        {"HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nokHTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nevil",
         "ok"},
        {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\nContent-Length: 2\r\n\r\n2\r\nok\r\n0\r\n\r\n",
         "ok"},
    };
    for (const auto& test : cases) {
        Serve([&test](Peer& peer, int) {
            while (!peer.ReadRequest().empty())
                peer.Send(test.response);
        });
        EXPECT_EQ(Get().body, test.body);
        EXPECT_EQ(Get().body, test.body);
        EXPECT_EQ(server_->Connections(), 2) << test.response;
        StopServing();
    }
}

TEST_F(KeepAlive, AConnectionThatWasClosedMeanwhileIsNotUsed) {
    Serve([](Peer& peer, int) {
        peer.ReadRequest();
        peer.Respond("ok");
    });
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Get().body, "ok");
    EXPECT_EQ(server_->Connections(), 3);
}

// The device closes the first connection just when the second request comes.
struct StaleCase {
    const char* name;
    bool reset;
    const char* method;
};

class StaleConnection : public HttpTest, public testing::WithParamInterface<StaleCase> {};

TEST_P(StaleConnection, IsReplacedOnce) {
    Serve([](Peer& peer, int connection) {
        peer.ReadRequest();
        peer.Respond("ok");
        if (connection == 0) {
            peer.ReadRequest();
            if (GetParam().reset) peer.Reset();
            return;
        }
        ServeAll(peer, connection);
    });
    EXPECT_EQ(Get().body, "ok");
    const RequestPtr request = MakeRequest(L"/", GetParam().method == std::string("POST") ? L"POST" : L"GET");
    request->SetContentType(L"application/ipp");
    EXPECT_EQ(Send(*request, GetParam().method == std::string("POST") ? std::string(100000, 'x') : ""), S_OK);
    EXPECT_EQ(Finish(*request).body, "ok");
    EXPECT_EQ(server_->Connections(), 2);
}

INSTANTIATE_TEST_SUITE_P(, StaleConnection,
                         testing::Values(StaleCase{"ClosedGet", false, "GET"},
                                         StaleCase{"ResetGet", true, "GET"},
                                         StaleCase{"ClosedPost", false, "POST"},
                                         StaleCase{"ResetPost", true, "POST"}),
                         [](const auto& test) { return test.param.name; });

TEST_F(KeepAlive, WhatFailsOnAFreshConnectionIsNotTriedAgain) {
    Serve([](Peer& peer, int) { peer.ReadRequest(); });
    EXPECT_EQ(Get().error, static_cast<unsigned long>(ERROR_WINHTTP_CONNECTION_ERROR));
    EXPECT_EQ(server_->Connections(), 1);
}

TEST_F(KeepAlive, WhatFailsTwiceFails) {
    Serve([](Peer& peer, int connection) {
        peer.ReadRequest();
        if (connection > 0) return;
        peer.Respond("ok");
        peer.ReadRequest();
    });
    EXPECT_EQ(Get().body, "ok");
    EXPECT_EQ(Get().error, static_cast<unsigned long>(ERROR_WINHTTP_CONNECTION_ERROR));
    EXPECT_EQ(server_->Connections(), 2);
}

TEST_F(KeepAlive, AResponseThatHasBegunIsNotAskedForAgain) {
    Serve([](Peer& peer, int) {
        peer.ReadRequest();
        peer.Respond("ok");
        peer.ReadRequest();
        peer.Send("HTTP/1.1 ");
    });
    EXPECT_EQ(Get().body, "ok");
    EXPECT_EQ(Get().error, static_cast<unsigned long>(ERROR_WINHTTP_CONNECTION_ERROR));
    EXPECT_EQ(server_->Connections(), 1);
}

TEST_F(KeepAlive, ASlowDeviceIsNotAskedAgain) {
    Serve([](Peer& peer, int) {
        peer.ReadRequest();
        peer.Respond("ok");
        peer.WaitForEnd();
    });
    EXPECT_EQ(Get().body, "ok");
    Address().SetTimeout(50);
    EXPECT_EQ(Get().error, static_cast<unsigned long>(ERROR_TIMEOUT));
    EXPECT_EQ(server_->Connections(), 1);
}

TEST_F(KeepAlive, BelongsToOnePort) {
    Serve(ServeAll);
    options_.portMap.MapTcp(8080, server_->Port());
    ScriptedServer other(ServeAll);
    options_.portMap.MapTcp(631, other.Port());
    for (const unsigned long port : {80ul, 631ul, 8080ul}) {
        RequestPtr request;
        ASSERT_EQ(Address().CreateHTTPRequest(request.Receive(), port), S_OK);
        EXPECT_EQ(Finish(*request).body, "ok");
    }
    EXPECT_EQ(server_->Connections(), 1) << "two of the ports are the same one";
    EXPECT_EQ(other.Connections(), 1);
}

TEST_F(KeepAlive, IsSharedByThreads) {
    Serve(ServeAll);
    options_.observer = nullptr;
    Corvix::KyNetAddress& address = Address();
    constexpr int threadCount = 4;
    std::atomic<int> answered{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&address, &answered] {
            for (int k = 0; k < 25; ++k) {
                RequestPtr request;
                address.SetPort(k % 2 ? L"631" : L"8631");
                if (address.CreateHTTPRequest(request.Receive(), 80) == S_OK && Finish(*request).body == "ok")
                    ++answered;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(answered, threadCount * 25);
    EXPECT_LE(server_->Connections(), threadCount);
}

TEST_F(KeepAlive, ARequestOutlivesItsAddress) {
    Serve(ServeAll);
    const RequestPtr request = MakeRequest();
    address_.Reset();
    EXPECT_EQ(Finish(*request).body, "ok");
}

}  // namespace
}  // namespace CorvixTransport
