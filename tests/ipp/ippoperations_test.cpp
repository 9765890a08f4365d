#include "datamodel/ipp/ippoperations.h"

#include <gmock/gmock.h>

#include <functional>

#include "corvixdm/ipprequest.h"
#include "datamodel/ipp/codec/responsereader.h"
#include "datamodel/ipp/codec/tags.h"
#include "datamodel/ipp/ippattributecache.h"
#include "datamodel/ipp/ipprequestattributes.h"
#include "datamodel/ipp/ippresponseattribute.h"
#include "support/ippbytes.h"
#include "support/recordingtransport.h"
#include "utilslib/com.h"

namespace Corvix {
namespace {

using namespace Testing;
namespace Bytes = Ipp::Testing;
namespace Operation = Ipp::Operation;
using testing::ElementsAreArray;

using Calls = std::vector<std::string>;

Calls operator+(Calls left, const Calls& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

const Calls noCacheHeaders = {"AddHeader Cache-Control: no-cache", "AddHeader Connection: Keep-Alive",
                              "AddHeader Pragma: no-cache"};
const Calls answered = {"GetResponse", "GetStatusCode", "GetBody", "~request"};

Calls Opened(const std::string& port = "631", const char* secure = "0") {
    return {std::string("SetSecure ") + secure,
            "CreateHTTPRequest " + port,
            "SetMethod POST",
            "SetURI /ipp/print",
            "SetContentType application/ipp",
            "SetRequestParameter 8401152"};
}

class IPPOperationsTest : public testing::Test {
protected:
    IPPOperationsTest() {
        wire.answer = Bytes::Body(Bytes::Keyword("a", "1"));
        operations.SetPrinterURI(L"ipp://10.0.0.5:631/ipp/print");
        operations.SetResourceURI(L"/ipp/print");
        operations.SetAttributeName("printer-state");
        operations.SetSecurityFlags(0x803100);
        SetLastError(0);
    }
    ~IPPOperationsTest() override { response.Reset(); }

    HRESULT Send(int operation, IPPRequestBase* withRecord = nullptr, bool secure = false) {
        return operations.SendIPPRequest(operation, response.Receive(), withRecord, secure);
    }
    HRESULT Stream(std::string_view piece, bool last, bool chunked = true) {
        return operations.SendPrintJobRequest(record.Get(), false,
                                              reinterpret_cast<const unsigned char*>(piece.data()),
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
        return operations.ParseIPPContent(reinterpret_cast<const unsigned char*>(body.data()),
                                          static_cast<unsigned long>(body.size()), value);
    }

    Wire wire;
    DisposablePtr<RecordingAddress> address =
        DisposablePtr<RecordingAddress>::Share(new RecordingAddress(wire));
    DisposablePtr<IPPRequestAttributes> record{IPPRequestAttributes::Create()};
    DisposablePtr<HTTPResponse> response;
    IPPOperations operations{address.Get()};
};

TEST_F(IPPOperationsTest, CallsTheTransportInItsOrder) {
    EXPECT_EQ(Send(Operation::GetPrinterAttributes), S_OK);
    EXPECT_THAT(wire.calls, ElementsAreArray(Opened() + noCacheHeaders + Calls{"Send"} + answered));
    EXPECT_EQ(wire.body, Form(Operation::GetPrinterAttributes));
    EXPECT_TRUE(response);
    EXPECT_EQ(operations.HttpStatus(), 200u);
}

struct PortCase {
    bool secure;
    const wchar_t* port;
    Calls calls;
};

TEST_F(IPPOperationsTest, ChoosesThePort) {
    const PortCase cases[] = {
        {false, L"8631", Opened()},
        {true, L"631", Calls{"GetPort"} + Opened("631", "1")},
        {true, L"443", Calls{"GetPort"} + Opened("443", "1")},
        {true, L"0631", Calls{"GetPort"} + Opened("443", "1")},
        {true, L"", Calls{"GetPort"} + Opened("443", "1")},
        {true, nullptr, Calls{"GetPort"} + Opened("443", "1")},
    };
    for (const PortCase& test : cases) {
        wire.calls.clear();
        wire.port = test.port;
        EXPECT_EQ(Send(Operation::GetJobs, nullptr, test.secure), S_OK);
        wire.calls.resize(std::min(wire.calls.size(), test.calls.size()));
        EXPECT_THAT(wire.calls, ElementsAreArray(test.calls));
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
    EXPECT_THAT(
        wire.calls,
        ElementsAreArray(Opened() +
                         Calls{"AddHeader X-Own: 1", "AddHeader cache-CONTROL: max-age=1",
                               "AddHeader Authorization: Bearer t", "AddHeader Connection: Keep-Alive",
                               "AddHeader Pragma: no-cache", "SetUserName ada", "SetPassword ", "Send"} +
                         answered));
}

// Every call of an exchange fails once, in the way that it can.
TEST_F(IPPOperationsTest, PassesEveryFailureOn) {
    EXPECT_EQ(Send(Operation::CreateJob, record.Get()), S_OK);
    const Calls good = wire.calls;
    const std::string body = wire.body;
    response.Reset();
    for (int failing = 0; failing < static_cast<int>(good.size()); ++failing) {
        const std::string& call = good[static_cast<std::size_t>(failing)];
        wire.calls.clear();
        wire.failingCall = failing;
        const bool creates = call.find("CreateHTTPRequest") == 0;
        const bool ofRequest = call.find("SetMethod") == 0 || call == "Send" || call == "GetResponse";
        const bool ofResponse = call == "GetStatusCode" || call == "GetBody";
        SetLastError(1);
        HTTPResponse* const untouched = reinterpret_cast<HTTPResponse*>(&wire);
        HTTPResponse* out = untouched;
        const HRESULT result = operations.SendIPPRequest(Operation::CreateJob, &out, record.Get(), false);
        if (!creates && !ofRequest && !ofResponse) {
            EXPECT_EQ(result, S_OK) << call;
            out->Dispose();
            continue;
        }
        const DWORD expected = creates ? 1 : ofRequest ? wire.errorCode : call == "GetBody" ? 200 : 503;
        EXPECT_EQ(GetLastError(), expected) << call;
        EXPECT_EQ(result, E_FAIL) << call;
        EXPECT_EQ(out, untouched) << call;
        EXPECT_EQ(wire.calls.back(), creates ? call : "~request");
    }
}

TEST_F(IPPOperationsTest, TellsTheStatusOfARefusal) {
    for (const unsigned long status : {401ul, 404ul, 500ul, 204ul}) {
        wire.status = status;
        EXPECT_EQ(Send(Operation::GetJobs), E_FAIL);
        EXPECT_EQ(GetLastError(), status);
        EXPECT_EQ(operations.HttpStatus(), status);
        EXPECT_FALSE(response);
    }
}

TEST_F(IPPOperationsTest, SendsNothingThatMakesNoSense) {
    for (const int operation : {-1, 0, 1, 16385}) {
        EXPECT_EQ(Send(operation), E_FAIL) << operation;
        EXPECT_TRUE(wire.calls.empty());
    }
    EXPECT_EQ(operations.SendIPPRequest(Operation::GetJobs, nullptr, nullptr, false), E_FAIL);
    EXPECT_EQ(GetLastError(), 87u);
    IPPOperations homeless(nullptr);
    SetLastError(0);
    EXPECT_EQ(homeless.SendIPPRequest(Operation::GetJobs, response.Receive(), nullptr, false), E_FAIL);
    EXPECT_EQ(GetLastError(), 87u);
    EXPECT_EQ(homeless.SendPrintJobRequest(nullptr, false, nullptr, 0, false, true), E_FAIL);
    EXPECT_TRUE(wire.calls.empty());
}

TEST_F(IPPOperationsTest, SendsNothingThatCannotBeFormed) {
    operations.SetAttributeName("");
    EXPECT_EQ(Send(Operation::GetPrinterAttributes), E_FAIL);
    EXPECT_EQ(GetLastError(), 4306u);
    record->SetJobName(std::string(3000, 'x').c_str());
    EXPECT_EQ(Send(Operation::CreateJob, record.Get()), E_FAIL);
    EXPECT_EQ(Stream("x", false), E_FAIL);
    EXPECT_TRUE(wire.body.empty());
    EXPECT_EQ(std::count(wire.calls.begin(), wire.calls.end(), "Send"), 0);
}

TEST_F(IPPOperationsTest, SendsADocumentBehindItsAttributes) {
    const std::string document("%PDF\0\x03 bytes", 12);
    operations.SetPrinterFileBufferContent(reinterpret_cast<const unsigned char*>(document.data()),
                                           static_cast<unsigned long>(document.size()));
    EXPECT_EQ(Send(Operation::PrintJob, record.Get()), S_OK);
    EXPECT_EQ(wire.body, Form(Operation::PrintJob) + document);
    wire.body.clear();
    EXPECT_EQ(Send(Operation::CreateJob, record.Get()), S_OK);
    EXPECT_EQ(wire.body, Form(Operation::CreateJob)) << "no document with any other operation";
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
    EXPECT_EQ(Stream(big, false), S_OK);
    EXPECT_TRUE(operations.IsStreaming());
    EXPECT_EQ(Stream("", true), S_OK);
    EXPECT_EQ(wire.body, Chunk(attributes, "75") + Chunk("hello", "5") + Chunk(big, "AB") + "0\r\n\r\n");
    EXPECT_EQ(operations.GetStreamedResponse(response.Receive()), S_OK);
    EXPECT_FALSE(operations.IsStreaming());
    const std::string head = "Write " + std::to_string(attributes.size() + 6);
    EXPECT_THAT(
        wire.calls,
        ElementsAreArray(streamHead + Calls{head, "Write 10", "Write 177", "Write last 5", "GetResult"} +
                         answered));
}

TEST_F(IPPOperationsTest, StreamsALastPieceAndItsEndTogether) {
    record->SetUsername(L"ada");
    EXPECT_EQ(operations.SendDocumentRequest(record.Get(), false,
                                             reinterpret_cast<const unsigned char*>("hello"), 5, true, false),
              S_OK);
    EXPECT_EQ(wire.body.substr(wire.body.size() - 15), "5\r\nhello\r\n0\r\n\r\n");
    EXPECT_NE(wire.body.find(std::string("\2\0\0\6", 4)), std::string::npos) << "Send-Document";
    EXPECT_EQ(std::count(wire.calls.begin(), wire.calls.end(), "AddHeader Transfer-Encoding: chunked"), 0)
        << "the caller announces the chunks itself";
    EXPECT_EQ(std::count(wire.calls.begin(), wire.calls.end(), "SetUserName ada"), 1);
}

TEST_F(IPPOperationsTest, BeginsAgainAfterAFailedPiece) {
    EXPECT_EQ(Stream("hello", false), S_OK);
    const int calls = static_cast<int>(wire.calls.size());
    for (int failing = 0; failing < calls; ++failing) {
        operations.GetStreamedResponse(response.Receive());
        wire.calls.clear();
        wire.failingCall = failing;
        const HRESULT result = Stream("hello", false);
        const std::string failed = wire.calls[static_cast<std::size_t>(failing)];
        const bool canFail = failed.find("Write") == 0 || failed.find("SetMethod") == 0 ||
                             failed.find("CreateHTTPRequest") == 0;
        EXPECT_EQ(result, canFail ? E_FAIL : S_OK) << failed;
        EXPECT_EQ(operations.IsStreaming(), !canFail) << failed;
        wire.failingCall = -1;
        wire.body.clear();
        EXPECT_EQ(Stream("again", false), S_OK);
        EXPECT_EQ(wire.body.find("2\r\n") != 0 && wire.body.find("again") != std::string::npos, true);
    }
}

TEST_F(IPPOperationsTest, FailsToStreamOverAPlainRequest) {
    wire.extended = false;
    EXPECT_EQ(Stream("hello", false), E_FAIL);
    EXPECT_EQ(wire.calls.back(), "~request");
    EXPECT_FALSE(operations.IsStreaming());
    EXPECT_EQ(operations.GetStreamedResponse(response.Receive()), E_FAIL);
    EXPECT_EQ(operations.SendPrintJobRequest(nullptr, false, nullptr, 1, false, true), E_FAIL);
    EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(IPPOperationsTest, TellsTheStatusOfARefusedStream) {
    wire.status = 413;
    EXPECT_EQ(Stream("hello", true), S_OK);
    EXPECT_EQ(operations.GetStreamedResponse(response.Receive()), E_FAIL);
    EXPECT_EQ(GetLastError(), 413u);
    EXPECT_FALSE(operations.IsStreaming());
}

TEST_F(IPPOperationsTest, UsesARequestMadeByTheCaller) {
    record->SetUsername(L"ada");
    record->SetPassword(L"secret");
    const auto request = DisposablePtr<RecordingRequest>::Share(new RecordingRequest(wire));
    const std::string attributes = Form(Operation::StreamedPrintJob);
    const Calls common = {"SetMethod POST",
                          "SetURI /ipp/print",
                          "AddHeader Content-Type: application/ipp",
                          "GetConnectionParameter",
                          "SetRequestParameter 30583",
                          "SetUserName ada",
                          "SetPassword secret",
                          "SetTotalBodyLength " + std::to_string(attributes.size()),
                          "Send"};
    EXPECT_EQ(operations.SendIPPRequest(request.Get(), record.Get(), false, 0), S_OK);
    EXPECT_EQ(wire.body, attributes);
    EXPECT_THAT(wire.calls, ElementsAreArray(common + Calls{"Write last 0", "GetResult"}));
    wire.calls.clear();
    EXPECT_EQ(operations.SendIPPRequest(request.Get(), record.Get(), true, 700), S_OK);
    EXPECT_THAT(wire.calls, ElementsAreArray(common + Calls{"SetTimeout 700", "Write last 0"}));
    for (const int failing : {0, 8, 9, 10}) {
        wire.calls.clear();
        wire.failingCall = failing;
        EXPECT_EQ(operations.SendIPPRequest(request.Get(), record.Get(), false, 0), E_FAIL);
        EXPECT_EQ(GetLastError(), wire.errorCode);
        EXPECT_EQ(wire.calls.size(), static_cast<std::size_t>(failing) + 2) << "nothing after the failure";
    }
    EXPECT_EQ(operations.SendIPPRequest(nullptr, record.Get(), false, 0), E_FAIL);
    EXPECT_EQ(GetLastError(), 87u);
}

struct UriCase {
    const wchar_t* uri;
    const wchar_t* resource;
    const wchar_t* full;
};

TEST_F(IPPOperationsTest, QualifiesThePrinterUri) {
    const UriCase cases[] = {
        {L"ipp://h:631/ipp/print", L"/ipp/print", L"ipp://h:631/ipp/print"},
        {L"ipp://h:631/other", L"/ipp/print", L"ipp://h:631/other"},
        {L"ipp://h:631", L"/ipp/print", L"ipp://h:631/ipp/print"},
        {L"ipp://h:631/", L"/ipp/print", L"ipp://h:631/ipp/print"},
        {L"ipps://h", L"ipp", L"ipps://h/ipp"},
        {L"ipp://h/", L"", L"ipp://h/"},
        {L"", L"", L""},
    };
    for (const UriCase& test : cases) {
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
    EXPECT_THAT(Form(Operation::CancelJob), testing::HasSubstr("from object"));
    EXPECT_THAT(Form(Operation::CancelJob),
                testing::HasSubstr(Bytes::Value(0x48, "attributes-natural-language", "de")));
    record->SetRequestingUserName("from record");
    record->SetJobURI("ipp://record/1");
    const std::string request = Form(Operation::CancelJob);
    EXPECT_THAT(request, testing::HasSubstr("from record"));
    EXPECT_THAT(request, testing::HasSubstr("ipp://record/1"));
    EXPECT_THAT(request, testing::Not(testing::HasSubstr("object")));
    operations.SetJobOperations("completed");
    EXPECT_THAT(Form(Operation::GetJobs), testing::HasSubstr(Bytes::Keyword("which-jobs", "completed")));
}

struct AnswerCase {
    const char* what;
    const char* requested;
    const char* key;
    std::string body;
    HRESULT result;
    const wchar_t* value;  // null: left alone
};

TEST_F(IPPOperationsTest, AnswersTheAttributeInQuestion) {
    const std::string good = Bytes::Body(Bytes::Keyword("a", "B\xC3\xBCro") + Bytes::Keyword("b", "2"));
    const AnswerCase cases[] = {
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
    for (const AnswerCase& test : cases) {
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

TEST_F(IPPOperationsTest, ParsesAnHttpResponse) {
    EXPECT_EQ(Send(Operation::GetPrinterAttributes), S_OK);
    EXPECT_EQ(operations.ParseIPPResponse(response.Get(), nullptr), S_OK);
    EXPECT_EQ(Text("a"), "1");
    EXPECT_EQ(operations.ParseIPPResponse(nullptr, nullptr), E_FAIL);
    EXPECT_EQ(GetLastError(), 87u);
    EXPECT_EQ(operations.GetValueFromIPPMap("a", nullptr), E_FAIL);
}

struct JobCase {
    std::string state;
    const char* text;
};

TEST_F(IPPOperationsTest, FillsTheResponseRecord) {
    const DisposablePtr<IPPResponseAttributes> outcome(IPPResponseAttributes::Create());
    EXPECT_EQ(operations.FormResponseStructure(Operation::PrintJob, outcome.Get()), E_FAIL)
        << "nothing was read";
    const std::string job = Bytes::Value(0x45, "job-uri", "ipp://p/jobs/7") + Bytes::Integer("job-id", 7) +
                            Bytes::Keyword("job-state-reasons", "none") + Bytes::Keyword("", "") +
                            Bytes::Value(0x41, "document-access-error", "404 no such file");
    const JobCase cases[] = {
        {"\3", "Pending"},  {"\4", "Pending_held"}, {"\5", "Processing"}, {"\6", "Processing_stopped"},
        {"\7", "Canceled"}, {"\x8", "Aborted"},     {"\x9", "Completed"}, {"\2", "2"},
        {"\xA", "10"}};
    for (const JobCase& test : cases) {
        Parse(Bytes::Header(0x0101) + job +
              Bytes::Value(0x23, "job-state", std::string(3, '\0') + test.state));
        EXPECT_EQ(operations.FormResponseStructure(Operation::PrintJob, outcome.Get()), S_OK);
        EXPECT_STREQ(outcome->GetJobState(), test.text);
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
    EXPECT_EQ(operations.FormResponseStructure(Operation::PrintJob, nullptr), E_FAIL);
}

TEST(IPPAttributeCache, GrowsByWhatItDoesNotHold) {
    const auto read = [](const std::string& attributes) {
        return std::make_shared<const Ipp::Response>(Ipp::ReadResponse(Bytes::Body(attributes)));
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
