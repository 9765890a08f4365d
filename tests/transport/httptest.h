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
    ScriptedServer& Serve(ScriptedServer::Script script) {
        StopServing();
        server_.emplace(std::move(script));
        options_.portMap.MapTcp(80, server_->Port());
        options_.observer = [this](const ExchangeRecord& record) { records_.push_back(record); };
        return *server_;
    }

    // Made of the options at its first use.
    Corvix::KyNetAddress& Address() {
        if (!address_) address_ = Corvix::DisposablePtr<Corvix::KyNetAddress>(CreateNetAddress(options_));
        return *address_;
    }

    RequestPtr MakeRequest(const wchar_t* uri = L"/x", const wchar_t* method = nullptr) {
        RequestPtr request;
        EXPECT_EQ(Address().CreateHTTPRequest(request.Receive(), 80), S_OK);
        request->SetURI(uri);
        if (method) {
            EXPECT_EQ(request->SetMethod(method), S_OK);
        }
        return request;
    }

    // A request whose body is written piece by piece.
    Corvix::DisposablePtr<Corvix::KyHTTPRequestEx> MakeStreamedRequest() {
        RequestPtr request = MakeRequest(L"/print", L"POST");
        auto* extended = dynamic_cast<Corvix::KyHTTPRequestEx*>(request.Get());
        EXPECT_TRUE(extended);
        return Corvix::DisposablePtr<Corvix::KyHTTPRequestEx>::Share(extended);
    }

    static Outcome Finish(Corvix::HTTPRequest& request) {
        ResponsePtr response;
        Outcome outcome;
        outcome.result = request.GetResponse(response.Receive());
        outcome.error = request.GetLastErrorCode();
        if (!response) return outcome;
        outcome.status = response->GetStatusCode();
        if (response->GetBody())
            outcome.body.assign(reinterpret_cast<const char*>(response->GetBody()),
                                response->GetBodyLength());
        return outcome;
    }

    Outcome Get(const wchar_t* uri = L"/x") { return Finish(*MakeRequest(uri)); }

    static const unsigned char* Bytes(const std::string& text) {
        return reinterpret_cast<const unsigned char*>(text.data());
    }
    static HRESULT Send(Corvix::HTTPRequest& request, const std::string& body) {
        return request.Send(Bytes(body), static_cast<unsigned long>(body.size()));
    }
    static HRESULT Write(Corvix::KyHTTPRequestEx& request, const std::string& piece, bool last = false) {
        return request.Write(Bytes(piece), static_cast<unsigned long>(piece.size()), last);
    }

    NetAddressOptions options_;
    // The exchanges that came to an end, as the observer was told.
    std::vector<ExchangeRecord> records_;
    std::optional<ScriptedServer> server_;
    Corvix::DisposablePtr<Corvix::KyNetAddress> address_;
};

// The header line of this name, without its end; empty when there is none.
inline std::string HeaderLine(const std::string& request, const std::string& name) {
    const size_t begin = request.find("\r\n" + name + ": ");
    if (begin == std::string::npos) return {};
    return request.substr(begin + 2, request.find("\r\n", begin + 2) - begin - 2);
}

}  // namespace CorvixTransport
