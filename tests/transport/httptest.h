// What the tests of the HTTP transport share.
#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "transport/nettransport.h"
#include "transport/scriptedserver.h"
#include "transport/sockets/failure.h"

#include <winhttp.h>

namespace CorvixTransport {

using RequestPtr = Corvix::DisposablePtr<Corvix::HTTPRequest>;
using ResponsePtr = Corvix::DisposablePtr<Corvix::HTTPResponse>;

// What came of one request.
struct Outcome {
    HRESULT result = E_FAIL;
    unsigned long error = 0;
    unsigned long status = 0;
    std::string body;
};

class HttpTest : public testing::Test {
protected:
    HttpTest() {
        options_.host = L"127.0.0.2";
        options_.timeoutMilliseconds = 10000;
    }

    // Scripts use what the test has on its stack and in its fixture.
    void TearDown() override { StopServing(); }

    void StopServing() {
        address_.Reset();
        server_.reset();
    }

    // A server whose port is that of the library's port 80, and an address that leads there.
    void Serve(ScriptedServer::Script script, const wchar_t* host = L"127.0.0.2") {
        StopServing();
        server_.emplace(std::move(script), host);
        options_.portMap.MapTcp(80, server_->Port());
        options_.observer = [this](const ExchangeRecord& record) { records_.push_back(record); };
    }

    // The same, keeping every request that it answers.
    void Record(const std::string& answer = "ok") {
        Serve([this, answer](Peer& peer, int) {
            for (Received request; !(request = peer.ReadRequest()).IsEmpty();) {
                received_.push_back(request);
                peer.Respond(answer);
            }
        });
    }

    // Made of the options at its first use.
    Corvix::KyNetAddress& Address() {
        if (!address_) address_ = Corvix::DisposablePtr<Corvix::KyNetAddress>(CreateNetAddress(options_));
        return *address_;
    }

    RequestPtr MakeRequest(const wchar_t* uri = L"/x", const wchar_t* method = nullptr,
                           unsigned long port = 80) {
        RequestPtr request;
        EXPECT_EQ(Address().CreateHTTPRequest(request.Receive(), port), S_OK);
        request->SetURI(uri);
        EXPECT_TRUE(!method || request->SetMethod(method) == S_OK);
        return request;
    }

    RequestPtr MakePost() {
        RequestPtr request = MakeRequest(L"/ipp/print", L"POST");
        request->SetContentType(L"application/ipp");
        return request;
    }

    // A request whose body is written piece by piece; of a length that is known, or none.
    Corvix::DisposablePtr<Corvix::KyHTTPRequestEx> MakeStreamedRequest(unsigned long length = 0,
                                                                       unsigned long port = 80) {
        auto* extended =
            dynamic_cast<Corvix::KyHTTPRequestEx*>(MakeRequest(L"/print", L"POST", port).Release());
        extended->SetTotalBodyLength(length);
        return Corvix::DisposablePtr<Corvix::KyHTTPRequestEx>(extended);
    }

    static Outcome Finish(Corvix::HTTPRequest& request) {
        ResponsePtr response;
        Outcome outcome;
        outcome.result = request.GetResponse(response.Receive());
        outcome.error = request.GetLastErrorCode();
        if (!response) return outcome;
        outcome.status = response->GetStatusCode();
        if (!response->GetBody()) return outcome;
        outcome.body.assign(reinterpret_cast<const char*>(response->GetBody()), response->GetBodyLength());
        EXPECT_EQ(response->GetBody()[response->GetBodyLength()], 0) << "the library reads it as a text";
        return outcome;
    }

    Outcome Get(const wchar_t* uri = L"/x") { return Finish(*MakeRequest(uri)); }
    // The body that is answered, or the error.
    static std::string Result(const Outcome& outcome) {
        return outcome.result == S_OK ? outcome.body : "error " + std::to_string(outcome.error);
    }
    static std::string Failure(unsigned long error) { return "error " + std::to_string(error); }
    std::string GetResult() { return Result(Get()); }

    static HRESULT Send(Corvix::HTTPRequest& request, const std::string& body) {
        return request.Send(Bytes(body), static_cast<unsigned long>(body.size()));
    }
    static HRESULT Write(Corvix::KyHTTPRequestEx& request, const std::string& piece, bool last = false) {
        return request.Write(Bytes(piece), static_cast<unsigned long>(piece.size()), last);
    }

    NetAddressOptions options_;
    // The exchanges that came to an end, as the observer was told.
    std::vector<ExchangeRecord> records_;
    std::vector<Received> received_;
    std::optional<ScriptedServer> server_;
    Corvix::DisposablePtr<Corvix::KyNetAddress> address_;

private:
    static const unsigned char* Bytes(const std::string& text) {
        return reinterpret_cast<const unsigned char*>(text.data());
    }
};

}  // namespace CorvixTransport
