// The simulator's HTTP services, their faults and the control paths, over real sockets.
#include <gtest/gtest.h>

#include <thread>

#include "sim/peer/httpclient.h"
#include "sim/peer/simprocess.h"

namespace {

constexpr char kProduct[] = "/veyra/device/product_information.xml";
constexpr char kSupplies[] = "/veyra/device/consumables.xml";

class SimHttp : public testing::Test {
protected:
    static void SetUpTestSuite() { sim_ = std::make_unique<SimProcess>(); }
    static void TearDownTestSuite() { sim_.reset(); }
    void SetUp() override {
        sim_->Control("POST", "/sim/faults/clear");
        sim_->Control("POST", "/sim/counters/reset");
    }

    static uint16_t Port() { return sim_->Port("80"); }
    static HttpAnswer Get(const std::string& path) { return HttpGet(sim_->Address(), Port(), path); }
    static void Fault(const std::string& rule) { sim_->Control("POST", "/sim/faults", rule); }

    static std::unique_ptr<SimProcess> sim_;
};

std::unique_ptr<SimProcess> SimHttp::sim_;

size_t CountOf(const std::string& text, const std::string& part) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

TEST_F(SimHttp, ServesTheProductInformation) {
    const HttpAnswer answer = Get(kProduct);
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.end, HttpEnd::Complete);
    EXPECT_NE(answer.body.find("<ProductSerialNumber>VYR0C42A0017</ProductSerialNumber>"), std::string::npos);
    EXPECT_EQ(answer.body.find("{{"), std::string::npos) << "a value of the device is missing";
}

TEST_F(SimHttp, EveryStatusDocumentIsFilledIn) {
    for (const char* path : {"/veyra/device/device_status.xml", kSupplies, "/veyra/device/trays.xml",
                             "/veyra/device/usage.xml", "/", "/ipp/strings/en.strings"}) {
        const HttpAnswer answer = Get(path);
        EXPECT_EQ(answer.status, 200) << path;
        EXPECT_EQ(answer.body.find("{{"), std::string::npos) << path;
    }
}

TEST_F(SimHttp, KeepsAConnectionForManyRequests) {
    HttpClient client(sim_->Address(), Port());
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(client.Exchange("GET", kProduct).status, 200);
    const HttpAnswer head = client.Exchange("HEAD", kProduct);
    EXPECT_EQ(head.status, 200);
    EXPECT_TRUE(head.body.empty());
    EXPECT_EQ(client.Exchange("GET", "/nothing").status, 404);
    EXPECT_EQ(client.Exchange("DELETE", kProduct).status, 405);
    EXPECT_NE(sim_->Control("GET", "/sim/counters").find("\"connections\":1,\"requests\":8"),
              std::string::npos);
}

TEST_F(SimHttp, CountsRequestsByPath) {
    Get(kProduct);
    Get(kProduct);
    Get(kSupplies);
    const std::string counters = sim_->Control("GET", "/sim/counters");
    EXPECT_NE(counters.find("\"total\":3"), std::string::npos) << counters;
    EXPECT_NE(counters.find("\"/veyra/device/product_information.xml\":2"), std::string::npos) << counters;
}

TEST_F(SimHttp, ValuesChangeAtRunTimeAndAreEscaped) {
    sim_->Control("POST", "/sim/values", "location = Bay <7> & \"8\"\nblack-level=3\n");
    EXPECT_NE(Get(kProduct).body.find("<DeviceLocation>Bay &lt;7&gt; &amp; &quot;8&quot;</DeviceLocation>"),
              std::string::npos);
    EXPECT_NE(Get(kSupplies).body.find("<Level>3</Level>"), std::string::npos);
}

TEST_F(SimHttp, DocumentsCanBePut) {
    sim_->Control("PUT", "/sim/documents/80/extra/page.xml", "<Page>{{serial-number}}</Page>");
    EXPECT_EQ(Get("/extra/page.xml").body, "<Page>VYR0C42A0017</Page>");
}

struct BrokenRequest {
    const char* name;
    std::string bytes;
    int status;
};

TEST_F(SimHttp, AnswersBrokenRequestsWithAReason) {
    const BrokenRequest table[] = {
        {"no request line", "what\r\n\r\n", 400},
        {"another protocol", "GET / HTTP/2.0\r\n\r\n", 505},
        {"a header without colon", "GET / HTTP/1.1\r\nnonsense\r\n\r\n", 400},
        {"an endless line", "GET /" + std::string(20000, 'a') + " HTTP/1.1\r\n\r\n", 431},
        {"a length that is no number", "POST / HTTP/1.1\r\nContent-Length: 12abc\r\n\r\n", 400},
        {"a negative length", "POST / HTTP/1.1\r\nContent-Length: -1\r\n\r\n", 400},
        {"a length and chunks", "POST / HTTP/1.1\r\nContent-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n",
         400},
        {"an unknown encoding", "POST / HTTP/1.1\r\nTransfer-Encoding: gzip\r\n\r\n", 501},
        {"a chunk size that is none", "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n", 400},
        {"a chunk that is longer than it says",
         "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nabcd\r\n0\r\n\r\n", 400},
    };
    for (const BrokenRequest& broken : table) {
        HttpClient client(sim_->Address(), Port());
        EXPECT_EQ(client.ExchangeRaw(broken.bytes).status, broken.status) << broken.name;
    }
    EXPECT_EQ(Get(kProduct).status, 200);
}

TEST_F(SimHttp, TakesChunkedBodiesAndKeepsTheConnection) {
    HttpClient client(sim_->Address(), sim_->ControlPort());
    EXPECT_EQ(client.PostChunked("/sim/values", {"chunky=1", "2", "3\n"}, "text/plain").status, 200);
    EXPECT_NE(client.Exchange("GET", "/sim/values").body.find("\"chunky\":\"123\""), std::string::npos);
}

struct FaultCase {
    const char* fault;
    HttpEnd end;
    int status;
};

TEST_F(SimHttp, FaultsEndTheExchangeAsTheySay) {
    const FaultCase table[] = {
        {"status=503", HttpEnd::Complete, 503},
        {"status=204", HttpEnd::Complete, 204},
        {"truncate=100", HttpEnd::Truncated, 200},
        {"truncate=0", HttpEnd::Truncated, 200},
        {"endless", HttpEnd::TooMuch, 200},
        {"close", HttpEnd::NoAnswer, 0},
        {"reset", HttpEnd::Reset, 0},
        {"garbage", HttpEnd::Complete, 0},
        {"refuse", HttpEnd::Refused, 0},
        {"delay=30 drip=1", HttpEnd::Complete, 200},
    };
    for (const FaultCase& expected : table) {
        Fault(std::string("service=plsxml ") + expected.fault);
        const HttpAnswer answer = Get("/veyra/device/usage.xml");
        EXPECT_EQ(answer.end, expected.end) << expected.fault;
        EXPECT_EQ(answer.status, expected.status) << expected.fault;
        sim_->Control("POST", "/sim/faults/clear");
        EXPECT_EQ(Get(kProduct).status, 200) << "after " << expected.fault;
    }
}

TEST_F(SimHttp, FaultsBendTheDocument) {
    Fault("path=*/consumables.xml doctype");
    Fault("path=*/trays.xml malformed");
    Fault("path=*/usage.xml deep=300");
    Fault("path=*/device_status.xml megabytes=3");
    const std::string doctype = Get(kSupplies).body;
    EXPECT_LT(doctype.find("<!DOCTYPE"), doctype.find("<Consumables>&c;"));
    EXPECT_EQ(Get("/veyra/device/trays.xml").body.find("</MediaTrays>"), std::string::npos);
    EXPECT_EQ(CountOf(Get("/veyra/device/usage.xml").body, "<d>"), 300u);
    const std::string large = Get("/veyra/device/device_status.xml").body;
    EXPECT_GT(large.size(), size_t{3} << 20);
    EXPECT_NE(large.find("</DeviceStatus>"), std::string::npos);
}

TEST_F(SimHttp, RulesStrikeWhenTheySay) {
    Fault("path=/veyra/* status=503 skip=1 every=2 times=2");
    std::string statuses;
    for (int i = 0; i < 7; ++i)
        statuses += std::to_string(Get(kProduct).status) + " ";
    EXPECT_EQ(statuses, "200 200 503 200 503 200 200 ");
}

TEST_F(SimHttp, RefusesRulesThatItDoesNotUnderstandAndKeepsTheOthersOut) {
    HttpClient client(sim_->Address(), sim_->ControlPort());
    for (const char* rule : {"nonsense", "status", "status=", "status=12abc", "path=/x", "every=0 reset",
                             "endless=3", "reset\nstatus=x"}) {
        EXPECT_EQ(client.Exchange("POST", "/sim/faults", rule).status, 400) << rule;
    }
    EXPECT_EQ(client.Exchange("GET", "/sim/faults").body, "");
    EXPECT_EQ(client.Exchange("POST", "/sim/values", "no equals sign").status, 400);
    EXPECT_EQ(client.Exchange("POST", "/sim/nothing", "").status, 404);
    EXPECT_EQ(client.Exchange("GET", "/sim/quit").status, 405);
}

TEST_F(SimHttp, ServesManyClientsAtOnce) {
    std::vector<std::thread> clients;
    std::vector<int> good(8);
    for (int& count : good) {
        clients.emplace_back([&count] {
            HttpClient client(sim_->Address(), Port());
            for (int i = 0; i < 50; ++i)
                count += client.Exchange("GET", kProduct).status == 200;
        });
    }
    for (std::thread& client : clients)
        client.join();
    for (const int count : good)
        EXPECT_EQ(count, 50);
}

TEST(SimProgram, EndsAtTheEndOfItsInputEvenAmidAnEndlessAnswer) {
    SimProcess sim({L"--fault", L"endless"});
    HttpClient client(sim.Address(), sim.Port("80"));
    ASSERT_TRUE(client.Send("GET / HTTP/1.1\r\n\r\n"));
    sim.CloseInput();
    EXPECT_EQ(sim.WaitForExit(), 0u);
}

TEST(SimProgram, EndsWhenAskedTo) {
    SimProcess sim;
    sim.Control("POST", "/sim/quit");
    EXPECT_EQ(sim.WaitForExit(), 0u);
}

TEST(SimProgram, TwoOfThemFindAddressesOrPortsOfTheirOwn) {
    const SimProcess first;
    const SimProcess second;
    EXPECT_EQ(HttpGet(first.Address(), first.Port("80"), kProduct).status, 200);
    EXPECT_EQ(HttpGet(second.Address(), second.Port("80"), kProduct).status, 200);
}

TEST(SimProgram, RefusesArgumentsThatItDoesNotUnderstand) {
    struct {
        std::vector<std::wstring> arguments;
        DWORD exitCode;
        const char* message;
    } const table[] = {
        {{L"--nonsense"}, 2, "unknown option"},
        {{L"--bind"}, 2, "needs a value"},
        {{L"--port-base", L"70000"}, 2, "not a port"},
        {{L"--port-map", L"81=1"}, 2, "not a port that is served"},
        {{L"--port-map", L"80"}, 2, "PORT=REAL"},
        {{L"--services", L"fax"}, 2, "not a service"},
        {{L"--bind", L"192.0.2.1"}, 1, "not a loopback address"},
        {{L"--bind", L"localhost"}, 1, "not a numeric address"},
        {{L"--device", L"C:\\no\\such\\folder"}, 1, "cannot read"},
        {{L"--fault", L"gremlins"}, 1, "unknown word"},
        {{L"--set", L"novalue"}, 1, "name = value"},
    };
    for (const auto& expected : table) {
        const SimRun run = RunSim(expected.arguments);
        EXPECT_EQ(run.exitCode, expected.exitCode) << run.output;
        EXPECT_NE(run.output.find(expected.message), std::string::npos) << run.output;
    }
}

TEST(SimProgram, ExplainsItself) {
    const SimRun run = RunSim({L"--help"});
    EXPECT_EQ(run.exitCode, 0u);
    for (const char* part : {"--port-map", "/sim/counters", "truncate=N", "Examples:"}) {
        EXPECT_NE(run.output.find(part), std::string::npos) << part;
    }
}

}  // namespace
