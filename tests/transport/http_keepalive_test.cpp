// Connections that are kept alive, and those that die while nobody looks.
#include "transport/httptest.h"

namespace CorvixTransport {
namespace {

class KeepAlive : public HttpTest {};

void ServeAll(Peer& peer, int) { peer.ServeAll(); }

TEST_F(KeepAlive, OneConnectionServesManyRequests) {
    Serve(ServeAll);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(GetResult(), "ok");
    EXPECT_EQ(server_->Connections(), 1);
    std::vector<bool> reused;
    for (const ExchangeRecord& record : records_)
        reused.push_back(record.reusedConnection);
    EXPECT_THAT(reused, testing::ElementsAre(false, true, true, true));
}

TEST_F(KeepAlive, EndsWhereTheDeviceSaysSo) {
    for (const char* response : {
             "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 2\r\n\r\nok",
             "HTTP/1.0 200 OK\r\nContent-Length: 2\r\n\r\nok",
             "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nokHTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nevil",
             "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\nContent-Length: 2\r\n\r\n2\r\nok\r\n0\r\n\r\n",
         }) {
        Serve([response](Peer& peer, int) {
            while (!peer.ReadRequest().IsEmpty())
                peer.Send(response);
        });
        EXPECT_EQ(GetResult(), "ok");
        EXPECT_EQ(GetResult(), "ok");
        EXPECT_EQ(server_->Connections(), 2) << response;
    }
}

TEST_F(KeepAlive, AConnectionThatWasClosedMeanwhileIsNotUsed) {
    Serve([](Peer& peer, int) {
        peer.ReadRequest();
        peer.Respond("ok");
    });
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(GetResult(), "ok");
    EXPECT_EQ(server_->Connections(), 3);
}

// The device closes the first connection just when the second request comes.
TEST_F(KeepAlive, AStaleConnectionIsReplacedOnce) {
    for (const bool resets : {false, true}) {
        for (const size_t length : {0, 100000}) {
            Serve([resets](Peer& peer, int connection) {
                if (connection > 0) return peer.ServeAll();
                peer.ReadRequest();
                peer.Respond("ok");
                peer.ReadRequest();
                if (resets) peer.Reset();
            });
            EXPECT_EQ(GetResult(), "ok");
            const RequestPtr request = length == 0 ? MakeRequest() : MakePost();
            EXPECT_EQ(Send(*request, std::string(length, 'x')), S_OK);
            EXPECT_EQ(Result(Finish(*request)), "ok") << resets << length;
            EXPECT_EQ(server_->Connections(), 2) << resets << length;
        }
    }
}

TEST_F(KeepAlive, WhatFailsIsTriedAgainOnlyOnAStaleConnection) {
    const struct {
        const char* name;
        ScriptedServer::Script script;
        const char* first;
        int connections;
    } cases[] = {
        {"a fresh connection", [](Peer& peer, int) { peer.ReadRequest(); }, nullptr, 1},
        {"twice",
         [](Peer& peer, int connection) {
             peer.ReadRequest();
             if (connection > 0) return;
             peer.Respond("ok");
             peer.ReadRequest();
         },
         "ok", 2},
        {"a response that has begun",
         [](Peer& peer, int) {
             peer.ReadRequest();
             peer.Respond("ok");
             peer.ReadRequest();
             peer.Send("HTTP/1.1 ");
         },
         "ok", 1},
    };
    for (const auto& test : cases) {
        Serve(test.script);
        if (test.first) {
            EXPECT_EQ(GetResult(), test.first);
        }
        EXPECT_EQ(GetResult(), Failure(ERROR_WINHTTP_CONNECTION_ERROR)) << test.name;
        EXPECT_EQ(server_->Connections(), test.connections) << test.name;
    }
    Serve([](Peer& peer, int) {
        peer.ReadRequest();
        peer.Respond("ok");
        peer.WaitForEnd();
    });
    EXPECT_EQ(GetResult(), "ok");
    Address().SetTimeout(50);
    EXPECT_EQ(GetResult(), Failure(ERROR_TIMEOUT)) << "a slow device is not asked again";
    EXPECT_EQ(server_->Connections(), 1);
}

TEST_F(KeepAlive, BelongsToOnePort) {
    Serve(ServeAll);
    options_.portMap.MapTcp(8080, server_->Port());
    ScriptedServer other(ServeAll);
    options_.portMap.MapTcp(631, other.Port());
    for (const unsigned long port : {80ul, 631ul, 8080ul})
        EXPECT_EQ(Result(Finish(*MakeRequest(L"/", nullptr, port))), "ok");
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
    EXPECT_EQ(Result(Finish(*request)), "ok");
}

}  // namespace
}  // namespace CorvixTransport
