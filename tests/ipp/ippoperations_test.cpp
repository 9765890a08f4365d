#include "datamodel/ipp/ippoperations.h"

#include <gmock/gmock.h>

#include "corvixdm/ipprequest.h"
#include "datamodel/ipp/ippattributecache.h"
#include "datamodel/ipp/ipprequestattributes.h"
#include "datamodel/ipp/ippresponseattribute.h"
#include "support/faketransport.h"
#include "support/ippbytes.h"
#include "utilslib/com.h"
#include "utilslib/stringutils.h"
#include "wire/ipp/messagereader.h"
#include "wire/ipp/tags.h"

namespace Corvix {
namespace {

namespace Bytes = Ipp::Testing;
namespace Operation = Ipp::Operation;
using CorvixTest::HttpAnswer;
using testing::Contains;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::Not;

using Calls = std::vector<std::string>;

Calls operator+(Calls left, const Calls& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

const Calls noCacheHeaders = {"AddHeader Cache-Control: no-cache", "AddHeader Connection: Keep-Alive",
                              "AddHeader Pragma: no-cache"};
const Calls answered = {"GetResponse", "~request"};

Calls Opened(const std::string& port = "631", const std::string& secure = "0") {
    return {"SetSecure " + secure, "CreateHTTPRequest " + port,      "SetMethod POST",
            "SetURI /ipp/print",   "SetContentType application/ipp", "SetRequestParameter 8401152"};
}

const unsigned char* Data(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

class IPPOperationsTest : public testing::Test {
protected:
    IPPOperationsTest() {
        Answer({200, Bytes::Body(Bytes::Keyword("a", "1"))});
        operations.SetPrinterURI(L"ipp://10.0.0.5:631/ipp/print");
        operations.SetResourceURI(L"/ipp/print");
        operations.SetAttributeName("printer-state");
        operations.SetSecurityFlags(0x803100);
        SetLastError(0);
    }
    void TearDown() override {
        response.Reset(), record.Reset(), address.Reset();
        operations.Stream().Abandon();
        EXPECT_EQ(CorvixTest::liveFakes, 0);
    }

    void Answer(const HttpAnswer& answer) {
        device->answer = [answer](const CorvixTest::HttpExchange&) { return answer; };
    }
    Calls TakeLog() { return std::exchange(device->log, {}); }
    const std::string& Sent() { return device->exchanges.back().body; }
    HRESULT Send(int operation, IPPRequestBase* withRecord = nullptr, bool secure = false) {
        return operations.SendIPPRequest(operation, response.Receive(), withRecord, secure);
    }
    HRESULT Stream(std::string_view piece, bool last, bool chunked = true) {
        return operations.SendPrintJobRequest(record.Get(), false, Data(piece),
                                              static_cast<unsigned long>(piece.size()), last, chunked);
    }
    std::string Form(int operation) {
        std::string buffer(4096, '\0');
        int length = 0;
        EXPECT_EQ(operations.FormIPPRequestBasedOnOperation(reinterpret_cast<unsigned char*>(buffer.data()),
                                                            operation, length, record.Get()),
                  S_OK);
        return buffer.substr(0, static_cast<std::size_t>(length));
    }
    std::string Text(std::string_view name) {
        KyUtils::Variant value;
        return operations.GetValueFromIPPMap(name, value.Receive()) == S_OK ? KyUtils::ToUtf8(value.Text())
                                                                            : "(absent)";
    }
    HRESULT Parse(const std::string& body, VARIANT* value = nullptr) {
        return operations.ParseIPPContent(Data(body), static_cast<unsigned long>(body.size()), value);
    }

    CorvixTest::FakeDevicePtr device = std::make_shared<CorvixTest::FakeDevice>();
    DisposablePtr<CorvixTest::FakeAddress> address{new CorvixTest::FakeAddress(device)};
    DisposablePtr<IPPRequestAttributes> record{IPPRequestAttributes::Create()};
    DisposablePtr<HTTPResponse> response;
    IPPOperations operations{address.Get()};
};

TEST_F(IPPOperationsTest, CallsTheTransportInItsOrder) {
    EXPECT_EQ(Send(Operation::GetPrinterAttributes), S_OK);
    EXPECT_EQ(device->log, Opened() + noCacheHeaders + Calls({"Send"}) + answered);
    EXPECT_EQ(Sent(), Form(Operation::GetPrinterAttributes));
    EXPECT_TRUE(response);
}

TEST_F(IPPOperationsTest, ChoosesThePort) {
    const struct {
        bool secure;
        const wchar_t* port;
        const char* chosen;
    } cases[] = {
        {false, L"8631", "631"}, {true, L"631", "631"}, {true, L"443", "443"},
        {true, L"0631", "443"},  {true, L"", "443"},
    };
    for (const auto& [secure, port, chosen] : cases) {
        address->SetPort(port);
        EXPECT_EQ(Send(Operation::GetJobs, nullptr, secure), S_OK);
        EXPECT_EQ(TakeLog(),
                  Opened(chosen, secure ? "1" : "0") + noCacheHeaders + Calls({"Send"}) + answered);
    }
}

TEST_F(IPPOperationsTest, SendsTheRecordsHeadersAndCredentials) {
    record->AddExtraHTTPHeader(L"X-Own", L"1");
    record->AddExtraHTTPHeader(L"cache-CONTROL", L"max-age=1");
    record->AddExtraHTTPHeader(nullptr, L"ignored");
    record->SetAuthorization(L"Bearer t");
    record->SetUsername(L"ada");
    record->SetPassword(L"");
    EXPECT_EQ(Send(Operation::CreateJob, record.Get()), S_OK);
    EXPECT_EQ(device->log,
              Opened() +
                  Calls({"AddHeader X-Own: 1", "AddHeader cache-CONTROL: max-age=1",
                         "AddHeader Authorization: Bearer t", "AddHeader Connection: Keep-Alive",
                         "AddHeader Pragma: no-cache", "SetUserName ada", "SetPassword", "Send"}) +
                  answered);
}

// Every call of an exchange that can fail does so once.
TEST_F(IPPOperationsTest, PassesEveryFailureOn) {
    EXPECT_EQ(Send(Operation::CreateJob, record.Get()), S_OK);
    const int calls = device->calls;
    EXPECT_EQ(calls, 4) << "create, set the method, send, get the response";
    for (int failing = 1; failing <= calls; ++failing) {
        SCOPED_TRACE(failing);
        device->calls = 0;
        device->failingCall = failing;
        TakeLog();
        SetLastError(1);
        HTTPResponse* const untouched = reinterpret_cast<HTTPResponse*>(this);
        HTTPResponse* out = untouched;
        EXPECT_EQ(operations.SendIPPRequest(Operation::CreateJob, &out, record.Get(), false), E_FAIL);
        EXPECT_EQ(GetLastError(), failing == 1 ? 1u : DWORD{ERROR_NETNAME_DELETED});
        EXPECT_EQ(out, untouched);
        EXPECT_EQ(device->log.back(), failing == 1 ? "CreateHTTPRequest 631" : "~request");
    }
}

TEST_F(IPPOperationsTest, TellsTheStatusOfARefusal) {
    for (const unsigned long status : {401ul, 404ul, 500ul, 204ul, 200ul}) {
        Answer({status, status == 200 ? "" : "no"});  // an empty body refuses as well
        EXPECT_EQ(Send(Operation::GetJobs), E_FAIL);
        EXPECT_EQ(GetLastError(), status);
        EXPECT_FALSE(response);
    }
}

TEST_F(IPPOperationsTest, SendsNothingThatMakesNoSense) {
    for (const int operation : {-1, 0, 1, 16385})
        EXPECT_EQ(Send(operation), E_FAIL) << operation;
    IPPOperations homeless(nullptr);
    const std::function<HRESULT()> calls[] = {
        [&] { return operations.SendIPPRequest(Operation::GetJobs, nullptr, nullptr, false); },
        [&] { return homeless.SendIPPRequest(Operation::GetJobs, response.Receive(), nullptr, false); },
        [&] { return homeless.SendPrintJobRequest(nullptr, false, nullptr, 0, false, true); },
        [&] { return operations.SendPrintJobRequest(nullptr, false, nullptr, 1, false, true); },
        [&] { return operations.SendDocumentRequest(nullptr, false, nullptr, 1, false, true); },
        [&] { return operations.SendIPPRequest(nullptr, record.Get(), false, 0); },
        [&] { return operations.Stream().GetResponse(response); },
        [&] { return operations.ParseIPPResponse(nullptr, nullptr); },
        [&] { return operations.GetValueFromIPPMap("a", nullptr); },
        [&] { return operations.FormResponseStructure(Operation::PrintJob, nullptr); },
    };
    for (const auto& call : calls) {
        SetLastError(0);
        EXPECT_EQ(call(), E_FAIL) << &call - calls;
        EXPECT_EQ(GetLastError(), 87u) << &call - calls;
    }
    EXPECT_TRUE(device->log.empty());
}

TEST_F(IPPOperationsTest, SendsNothingThatCannotBeFormed) {
    operations.SetAttributeName("");
    EXPECT_EQ(Send(Operation::GetPrinterAttributes), E_FAIL);
    EXPECT_EQ(GetLastError(), 4306u);
    record->SetJobName(std::string(3000, 'x').c_str());
    EXPECT_EQ(Send(Operation::CreateJob, record.Get()), E_FAIL);
    EXPECT_EQ(Stream("x", false), E_FAIL);
    EXPECT_FALSE(operations.Stream().IsOpen());
    EXPECT_THAT(device->log, Not(Contains("Send")));
    EXPECT_EQ(device->written, "");
}

TEST_F(IPPOperationsTest, SendsADocumentBehindItsAttributes) {
    const std::string document("%PDF\0\x03 bytes", 12);
    operations.SetPrinterFileBufferContent(Data(document), static_cast<unsigned long>(document.size()));
    EXPECT_EQ(Send(Operation::PrintJob, record.Get()), S_OK);
    EXPECT_EQ(Sent(), Form(Operation::PrintJob) + document);
    EXPECT_EQ(Send(Operation::CreateJob, record.Get()), S_OK);
    EXPECT_EQ(Sent(), Form(Operation::CreateJob)) << "no document with any other operation";
}

const Calls streamHead = Opened() + noCacheHeaders +
                         Calls{"AddHeader Transfer-Encoding: chunked",
                               "AddHeader Content-Type: application/ipp", "SetTotalBodyLength 0"};

std::string Chunk(const std::string& bytes, const char* head) {
    return head + std::string("\r\n") + bytes + "\r\n";
}

TEST_F(IPPOperationsTest, StreamsADocumentPieceByPiece) {
    record->SetCopy(0);
    const std::string attributes = Form(Operation::PrintJob);
    const std::string big(171, 'x');
    EXPECT_EQ(Stream("hello", false), S_OK);
    EXPECT_EQ(operations.Stream().Write(Data(big), 171), S_OK);
    EXPECT_EQ(Stream("", false), S_OK) << "nothing to send, and not the end";
    EXPECT_TRUE(operations.Stream().IsOpen());
    EXPECT_EQ(Stream("", true), S_OK);
    EXPECT_EQ(device->written,
              Chunk(attributes, "75") + Chunk("hello", "5") + Chunk(big, "AB") + "0\r\n\r\n");
    EXPECT_EQ(operations.Stream().GetResponse(response), S_OK);
    EXPECT_FALSE(operations.Stream().IsOpen());
    const std::string head = "Write " + std::to_string(attributes.size() + 6);
    EXPECT_EQ(device->log,
              streamHead + Calls({head, "Write 10", "Write 177", "Write last 5", "GetResult"}) + answered);
}

TEST_F(IPPOperationsTest, StreamsALastPieceAndItsEndTogether) {
    record->SetUsername(L"ada");
    EXPECT_EQ(operations.SendDocumentRequest(record.Get(), false, Data("hello"), 5, true, false), S_OK);
    EXPECT_THAT(device->written, testing::EndsWith("5\r\nhello\r\n0\r\n\r\n"));
    EXPECT_THAT(device->written, HasSubstr(std::string("\2\0\0\6", 4))) << "Send-Document";
    EXPECT_THAT(device->log, Not(Contains("AddHeader Transfer-Encoding: chunked")))
        << "the caller announces the chunks itself";
    EXPECT_THAT(device->log, Contains("SetUserName ada"));
}

TEST_F(IPPOperationsTest, BeginsAgainAfterAFailedPiece) {
    EXPECT_EQ(Stream("hello", true), S_OK);
    const int calls = device->calls;
    EXPECT_EQ(calls, 6) << "create, set the method, write three chunks, get the result";
    for (int failing = 1; failing <= calls; ++failing) {
        SCOPED_TRACE(failing);
        operations.Stream().Abandon();
        device->calls = 0;
        device->failingCall = failing;
        EXPECT_EQ(Stream("hello", true), E_FAIL);
        EXPECT_FALSE(operations.Stream().IsOpen());
        EXPECT_EQ(operations.Stream().Write(Data("lost"), 4), E_FAIL);
        EXPECT_EQ(operations.Stream().End(), E_FAIL);
        EXPECT_EQ(Stream("again", false), S_OK);
        EXPECT_EQ(device->written, Chunk(Form(Operation::PrintJob), "84") + Chunk("again", "5"));
    }
}

TEST_F(IPPOperationsTest, FailsToStreamOverAPlainRequest) {
    device->isExtended = false;
    EXPECT_EQ(Stream("hello", false), E_FAIL);
    EXPECT_EQ(device->log.back(), "~request");
    EXPECT_FALSE(operations.Stream().IsOpen());
}

TEST_F(IPPOperationsTest, TellsTheStatusOfARefusedStream) {
    Answer({413, "no"});
    EXPECT_EQ(Stream("hello", true), S_OK);
    EXPECT_EQ(operations.Stream().GetResponse(response), E_FAIL);
    EXPECT_EQ(GetLastError(), 413u);
    EXPECT_FALSE(operations.Stream().IsOpen());
    // Of a body that is cut short the status says more than the broken connection.
    for (const auto& [status, error] : {std::pair{413ul, 413ul}, std::pair{200ul, 64ul}}) {
        EXPECT_EQ(Stream("hello", false), S_OK);
        device->earlyStatus = status;
        device->failingCall = device->calls + 1;
        EXPECT_EQ(Stream("more", false), E_FAIL);
        EXPECT_EQ(GetLastError(), error);
    }
}

TEST_F(IPPOperationsTest, UsesARequestMadeByTheCaller) {
    record->SetUsername(L"ada");
    record->SetPassword(L"secret");
    const DisposablePtr<KyHTTPRequestEx> request(new CorvixTest::FakeStreamRequest(device, 631));
    const Calls common = {"SetMethod POST",
                          "SetURI /ipp/print",
                          "AddHeader Content-Type: application/ipp",
                          "SetRequestParameter 30583",
                          "SetUserName ada",
                          "SetPassword secret",
                          "SetTotalBodyLength " + std::to_string(Form(Operation::StreamedPrintJob).size()),
                          "Send"};
    EXPECT_EQ(operations.SendIPPRequest(request.Get(), record.Get(), false, 0), S_OK);
    EXPECT_EQ(TakeLog(), common + Calls({"Write last 0", "GetResult"}));
    EXPECT_EQ(operations.SendIPPRequest(request.Get(), record.Get(), true, 700), S_OK);
    EXPECT_EQ(TakeLog(), common + Calls({"SetTimeout 700", "Write last 0"}));
    for (const char* failed : {"SetMethod POST", "Send", "Write last 0", "GetResult"}) {
        device->failingCall = ++device->failingCall;
        device->calls = 0;
        EXPECT_EQ(operations.SendIPPRequest(request.Get(), record.Get(), false, 0), E_FAIL);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_NETNAME_DELETED});
        EXPECT_EQ(TakeLog().back(), failed) << "nothing after the failure";
    }
    SetLastError(0);
    record->SetJobName(std::string(3000, 'x').c_str());
    EXPECT_EQ(operations.SendIPPRequest(request.Get(), record.Get(), false, 0), E_FAIL);
    EXPECT_TRUE(device->log.empty());
}

TEST_F(IPPOperationsTest, QualifiesThePrinterUri) {
    const struct {
        const wchar_t* uri;
        const wchar_t* resource;
        const wchar_t* full;
    } cases[] = {
        {L"ipp://h:631/ipp/print", L"/ipp/print", L"ipp://h:631/ipp/print"},
        {L"ipp://h:631/other", L"/ipp/print", L"ipp://h:631/other"},
        {L"ipp://h:631", L"/ipp/print", L"ipp://h:631/ipp/print"},
        {L"ipp://h:631/", L"/ipp/print", L"ipp://h:631/ipp/print"},
        {L"ipps://h", L"ipp", L"ipps://h/ipp"},
        {L"ipp://h/", L"", L"ipp://h/"},
        {L"", L"", L""},
    };
    for (const auto& test : cases) {
        operations.SetPrinterURI(test.uri);
        operations.SetResourceURI(test.resource);
        EXPECT_EQ(operations.GetFullyQualifiedURI(), test.full);
    }
}

TEST_F(IPPOperationsTest, PrefersWhatTheRecordSays) {
    operations.SetRequestedUserName("from object");
    operations.SetJobURI("ipp://object/1");
    operations.SetAttributeLanguage("de");
    operations.SetAttributeLanguage("");
    EXPECT_THAT(Form(Operation::CancelJob), HasSubstr("from object"));
    EXPECT_THAT(Form(Operation::CancelJob),
                HasSubstr(Bytes::Value(0x48, "attributes-natural-language", "de")));
    record->SetRequestingUserName("from record");
    record->SetJobURI("ipp://record/1");
    const std::string request = Form(Operation::CancelJob);
    EXPECT_THAT(request, HasSubstr("from record"));
    EXPECT_THAT(request, HasSubstr("ipp://record/1"));
    EXPECT_THAT(request, Not(HasSubstr("object")));
    operations.SetJobOperations("completed");
    EXPECT_THAT(Form(Operation::GetJobs), HasSubstr(Bytes::Keyword("which-jobs", "completed")));
}

TEST_F(IPPOperationsTest, AnswersTheAttributeInQuestion) {
    const std::string good = Bytes::Body(Bytes::Keyword("a", "B\xC3\xBCro") + Bytes::Keyword("b", "2"));
    const struct {
        const char* what;
        const char* requested;
        const char* key;
        std::string body;
        HRESULT result;
        const wchar_t* value;  // null: left alone
    } cases[] = {
        {"the one requested", "a", " ", good, S_OK, L"B\u00FCro"},
        {"of several, the key", "a,b", "b", good, S_OK, L"2"},
        {"of several, none", "a,b", " ", good, S_OK, nullptr},
        {"all", "all", "", good, S_OK, nullptr},
        {"one that is not there", "c", "", good, S_OK, nullptr},
        {"without an end tag", "a", "", good.substr(0, good.size() - 1), S_OK, nullptr},
        {"malformed", "a", "", good.substr(0, good.size() - 2), E_FAIL, nullptr},
        {"malformed after the end", "a", "", good + "\x44", E_FAIL, nullptr},
        {"not UTF-8", "a", "", Bytes::Body(Bytes::Keyword("a", "\xFFx")), S_OK, L"\uFFFDx"},
        {"not a response", "a", "", std::string("\1\1\0\0\0\0\0\0", 8), E_FAIL, nullptr},
        {"empty", "a", "", "", E_FAIL, nullptr},
    };
    for (const auto& test : cases) {
        operations.SetAttributeName(test.requested);
        operations.SetAttributeKey(test.key);
        KyUtils::Variant value = KyUtils::Variant::FromText(L"before");
        VARIANT raw = value.Release();
        EXPECT_EQ(Parse(test.body, &raw), test.result) << test.what;
        EXPECT_EQ(KyUtils::Variant::Adopt(raw).Text(), test.value ? test.value : L"before") << test.what;
    }
}

TEST_F(IPPOperationsTest, KeepsWhatWasReadOfAMalformedAnswer) {
    EXPECT_EQ(Parse(Bytes::Header() + Bytes::Keyword("a", "1") + "\x44"), E_FAIL);
    EXPECT_EQ(Text("a"), "1");
    EXPECT_EQ(Text("b"), "(absent)");
}

TEST_F(IPPOperationsTest, FailsOnAnErrorStatusWhereToldTo) {
    const std::string body = Bytes::Header(0x0400) + Bytes::Keyword("a", "1") + Bytes::endTag;
    EXPECT_EQ(Parse(body), S_OK);
    EXPECT_EQ(Text("status-code") + Text("a"), "10241");
    operations.SetFailOnErrorStatus(true);
    EXPECT_EQ(Parse(body), E_FAIL);
    EXPECT_EQ(Text("status-code"), "1024");
    EXPECT_EQ(Parse(Bytes::Header(0x0404) + Bytes::Keyword("a", "1")), S_OK);
    EXPECT_EQ(Text("a"), "1");
}

TEST_F(IPPOperationsTest, FillsTheResponseRecord) {
    const DisposablePtr<IPPResponseAttributes> outcome(IPPResponseAttributes::Create());
    EXPECT_EQ(operations.FormResponseStructure(Operation::PrintJob, outcome.Get()), E_FAIL)
        << "nothing was read";
    const std::string job = Bytes::Value(0x45, "job-uri", "ipp://p/jobs/7") + Bytes::Integer("job-id", 7) +
                            Bytes::Keyword("job-state-reasons", "none") + Bytes::Keyword("", "") +
                            Bytes::Value(0x41, "document-access-error", "404 no such file");
    const char* const states[] = {"2",        "Pending", "Pending_held", "Processing", "Processing_stopped",
                                  "Canceled", "Aborted", "Completed",    "10"};
    unsigned state = 1;
    for (const char* text : states) {
        Parse(Bytes::Header(0x0101) + job + Bytes::Value(0x23, "job-state", Bytes::Int(++state)));
        EXPECT_EQ(operations.FormResponseStructure(Operation::PrintJob, outcome.Get()), S_OK);
        EXPECT_STREQ(outcome->GetJobState(), text);
    }
    EXPECT_STREQ(outcome->GetSuccessStatus(), "257");
    EXPECT_STREQ(outcome->GetRequestID(), "100");
    EXPECT_STREQ(outcome->GetJobURI(), "ipp://p/jobs/7");
    EXPECT_STREQ(outcome->GetJobID(), "7");
    EXPECT_STREQ(outcome->GetJobStateReasons(), "none");
    EXPECT_STREQ(outcome->GetDocumentAccessError(), "404 no such file");
}

TEST_F(IPPOperationsTest, FillsOnlyTheStatusAfterCancelJob) {
    const DisposablePtr<IPPResponseAttributes> outcome(IPPResponseAttributes::Create());
    Parse(Bytes::Body(Bytes::Integer("job-id", 7)));
    EXPECT_EQ(operations.FormResponseStructure(Operation::CancelJob, outcome.Get()), S_OK);
    EXPECT_STREQ(outcome->GetSuccessStatus(), "0");
    EXPECT_EQ(outcome->GetJobID(), nullptr);
    Parse("");
    EXPECT_EQ(operations.FormResponseStructure(Operation::PrintJob, outcome.Get()), S_OK);
    EXPECT_STREQ(outcome->GetSuccessStatus(), "NOT_SET_ERROR");
}

TEST(IPPAttributeCache, GrowsByWhatItDoesNotHold) {
    const auto read = [](const std::string& attributes) {
        return std::make_shared<const Ipp::Message>(Ipp::ReadResponseData(Bytes::Body(attributes)));
    };
    IPPAttributeCache cache;
    KyUtils::Variant value;
    EXPECT_EQ(cache.GetValue("a", value.Receive()), S_FALSE);
    EXPECT_EQ(value->vt, VT_EMPTY);
    cache.Merge(nullptr);
    cache.Merge(read(Bytes::Keyword("a", "1")));
    const auto nothingNew = read(Bytes::Keyword("a", "2"));
    cache.Merge(nothingNew);
    EXPECT_EQ(nothingNew.use_count(), 1) << "it is not kept";
    cache.Merge(
        read(Bytes::Keyword("a", "3") + Bytes::Begin("c") + Bytes::MemberInteger("m", 4) + Bytes::End()));
    EXPECT_EQ(cache.GetValue("a", value.Receive()), S_OK);
    EXPECT_EQ(value.Text(), L"1");
    EXPECT_EQ(cache.GetValue("c.m", value.Receive()), S_OK);
    EXPECT_EQ(value.Text(), L"4");
}

}  // namespace
}  // namespace Corvix
