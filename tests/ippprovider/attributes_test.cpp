// Whole answers: read from bytes, and fetched from a printer.
#include "corvixdm/ippattributes.h"

#include <limits>

#include "corvixdm/ippjobs.h"
#include "corvixdm/ippnames.h"
#include "corvixdm/ippprovider.h"
#include "support/fakeprinter.h"
#include "utilslib/com.h"

namespace Corvix {
namespace {

using namespace Testing;
using CorvixTest::HttpAnswer;
using Answer = DisposablePtr<IPPAttributes>;

Answer Read(const std::string& body) {
    return Answer(CreateIPPAttributes(reinterpret_cast<const unsigned char*>(body.data()),
                                      static_cast<unsigned long>(body.size())));
}

std::vector<std::string> NamesOf(const IPPAttributes& answer) {
    std::vector<std::string> names;
    for (unsigned i = 0; i < answer.GetCount(); ++i)
        names.emplace_back(answer.GetName(i));
    return names;
}

std::wstring ValueOf(const IPPAttributes& answer, const char* name) {
    KyUtils::Variant value;
    const HRESULT result = answer.GetValue(name, value.Receive());
    EXPECT_EQ(result == S_OK, value->vt == VT_BSTR) << name;
    return result == S_OK ? std::wstring(value.Text()) : L"(absent)";
}

class AnswerTest : public PrinterTest {
protected:
    Answer Query(const wchar_t* uri, const char* requested = nullptr, unsigned flags = 0) {
        SetLastError(ERROR_SUCCESS);
        return Answer(QueryIPPAttributes(Printer().address.Get(), uri, requested, flags));
    }
    DWORD ErrorOf(const wchar_t* uri) {
        const Answer answer = Query(uri);
        const DWORD error = GetLastError();
        EXPECT_FALSE(answer) << testing::PrintToString(std::wstring(uri));
        return error;
    }
};

TEST_F(AnswerTest, ListsEachNameOnceAndAnswersItsValues) {
    const Answer answer = Read(Bytes::Header(0x0406) + Bytes::Byte(4) + Text("b", "1") + Text("", "2") +
                               Text("a", "B\xc3\xbcro") + Bytes::Begin("media-col") +
                               Bytes::MemberInteger("x", 5) + Bytes::End() + Bytes::Byte(2) + Text("b", "3") +
                               Bytes::Value(0x13, "absent", "") + Text("empty", "") + Bytes::endTag);
    EXPECT_EQ(NamesOf(*answer), (std::vector<std::string>{"b", "a", "media-col", "empty"}));
    EXPECT_EQ(answer->GetName(4), nullptr);
    EXPECT_EQ(answer->GetName(std::numeric_limits<unsigned>::max()), nullptr);
    const struct {
        const char* name;
        const wchar_t* value;
    } cases[] = {
        {"b", L"1,2,3"}, {"a", L"B\u00fcro"},     {"media-col.x", L"5"}, {"media-col.y", L"(absent)"},
        {"empty", L""},  {"absent", L"(absent)"}, {"", L"(absent)"},     {"status-code", L"1030"}};
    for (const auto& [name, value] : cases)
        EXPECT_EQ(ValueOf(*answer, name), value) << name;
    IPPAnswerHeader header = {};
    ASSERT_EQ(answer->GetHeader(&header), S_OK);
    EXPECT_THAT(
        (std::vector<unsigned>{header.majorVersion, header.minorVersion, header.status, header.requestId}),
        testing::ElementsAre(2, 0, 0x0406, 100));
    IPPFault fault = {7, nullptr};
    EXPECT_EQ(answer->GetFault(&fault), S_FALSE);
    EXPECT_EQ(fault.offset, 7u);
}

std::string Show(const IPPAttributes& answer, IPPAttribute place);

std::string ShowValues(const IPPAttributes& answer, IPPAttribute& attribute) {
    std::string text;
    IPPValue value;
    while (answer.NextValue(&attribute, &value) == S_OK) {
        const bool isCollection = value.kind == IPPValueKind::Collection;
        text += isCollection ? "{" + Show(answer, IPPAttribute(value)) + "}" : "'";
        if (!isCollection) text += std::string(value.text) + "'" + std::string(value.language);
    }
    return text;
}

std::string Show(const IPPAttributes& answer, IPPAttribute place) {
    std::string text;
    while (answer.NextAttribute(&place) == S_OK)
        text += std::string(place.name) + "=" + ShowValues(answer, place) + ";";
    return text;
}

// What values mean is told by the codec, which has tests of its own.
TEST_F(AnswerTest, KeepsGroupsAndValues) {
    const Answer answer =
        Read(Bytes::Header() + Bytes::Byte(1) + Text("a", "Black, high yield") + Text("", "") +
             Bytes::Byte(2) + Bytes::Byte(4) + Bytes::Begin("c") + Bytes::Member("m") + Text("", "1") +
             Text("", "2") + Bytes::Member("n") + Bytes::Begin() + Bytes::End() + Bytes::End() +
             Bytes::Value(0x13, "d", "") + Text("a", "again") + Bytes::endTag);
    IPPGroup group;
    std::string text;
    while (answer->NextGroup(&group) == S_OK)
        text += std::to_string(group.tag) + ":" + Show(*answer, IPPAttribute(group));
    EXPECT_EQ(text, "1:a='Black, high yield''';2:4:c={m='1''2';n={};};d='no-value';a='again';");
    EXPECT_EQ(group.tag, 4) << "stays on the last one";
    IPPAttribute attribute;
    IPPValue value;
    EXPECT_EQ(answer->NextAttribute(&attribute), S_FALSE);
    EXPECT_EQ(answer->NextValue(&attribute, &value), S_FALSE);
    EXPECT_EQ(answer->FindAttribute(nullptr, "m", &attribute), S_FALSE);
    ASSERT_EQ(answer->FindAttribute(nullptr, "a", &attribute), S_OK);
    EXPECT_EQ(ShowValues(*answer, attribute), "'Black, high yield'''");
    ASSERT_EQ(answer->FindAttribute(&group, "a", &attribute), S_OK);
    EXPECT_EQ(ShowValues(*answer, attribute), "'again'");
    EXPECT_EQ(answer->NextAttribute(&attribute), S_FALSE);
}

std::string Numbers(const IPPJob& job) {
    std::string text;
    for (const std::optional<int>& number :
         {job.id, job.kilobytes, job.impressions, job.impressionsCompleted, job.sheetsCompleted,
          job.createdAt, job.processingAt, job.completedAt, job.printerUpTime})
        text += (number ? std::to_string(*number) : "-") + "/";
    return text;
}

std::string Texts(const IPPJob& job) {
    std::string text = job.state ? std::to_string(static_cast<int>(*job.state)) : "-";
    for (const std::optional<std::string>& each : {job.uri, job.name, job.user, job.stateMessage})
        text += "/" + each.value_or("-");
    return text + (job.reasons ? testing::PrintToString(*job.reasons) : "-");
}

const std::string jobsBody =
    Bytes::Header() + Bytes::Byte(1) + Bytes::Integer("job-id", 99) + Bytes::Byte(2) +
    Bytes::Integer("job-id", 7) + Bytes::Value(0x45, "job-uri", "ipp://p/7") +
    Bytes::Value(0x36, "job-name", Bytes::Short(2) + "de" + Bytes::Short(3) + "Rot") +
    Bytes::Value(0x42, "job-originating-user-name", "ada") + Bytes::Value(0x23, "job-state", Bytes::Int(7)) +
    Text("job-state-message", "gone") + Bytes::Keyword("job-state-reasons", "a,b") + Bytes::Keyword("", "c") +
    Bytes::Integer("job-k-octets", 1) + Bytes::Integer("job-impressions", 2) +
    Bytes::Integer("job-impressions-completed", 3) + Bytes::Integer("job-media-sheets-completed", 4) +
    Bytes::Integer("time-at-creation", 5) + Bytes::Integer("time-at-processing", 6) +
    Bytes::Integer("time-at-completed", 8) + Bytes::Integer("job-printer-up-time", 9) + Bytes::Byte(5) +
    Bytes::Byte(2) + Bytes::Value(0x13, "time-at-completed", "") + Bytes::Value(0x12, "job-name", "") +
    Bytes::Keyword("job-id", "x") + Bytes::Keyword("job-state", "x") +
    Bytes::Integer("job-state-reasons", 1) + Bytes::endTag;

TEST_F(AnswerTest, ListsJobsAndDefaultsNothing) {
    const Answer answer = Read(jobsBody);
    IPPGroup place;
    IPPJob job;
    ASSERT_EQ(NextIPPJob(answer.Get(), &place, &job), S_OK);
    EXPECT_EQ(Numbers(job), "7/1/2/3/4/5/6/8/9/");
    EXPECT_EQ(Texts(job), "7/ipp://p/7/Rot/ada/gone{ \"a,b\", \"c\" }");
    EXPECT_TRUE(HasEnded(*job.state));
    EXPECT_FALSE(HasEnded(IPPJobState::ProcessingStopped) || HasEnded(static_cast<IPPJobState>(10)));
    ASSERT_EQ(NextIPPJob(answer.Get(), &place, &job), S_OK);
    EXPECT_EQ(Numbers(job) + Texts(job), "-/-/-/-/-/-/-/-/-/-/-/-/-/--");
    EXPECT_EQ(NextIPPJob(answer.Get(), &place, &job), S_FALSE);
}

TEST_F(AnswerTest, AsksForJobs) {
    Printer().AnswerAlways({200, jobsBody, S_OK, true});
    const IPPJobQuery ended = {"ada", true, "job-id,job-state", 0};
    const struct {
        const IPPJobQuery* query;
        const char* which;
        const char* user;
        const char* wanted;
    } cases[] = {{nullptr, "not-completed", "",
                  "job-id,job-uri,job-name,job-originating-user-name,job-state,job-state-message,"
                  "job-state-reasons,job-k-octets,job-impressions,job-impressions-completed,"
                  "job-media-sheets-completed,time-at-creation,time-at-processing,time-at-completed,"
                  "job-printer-up-time"},
                 {&ended, "completed", "ada", "job-id,job-state"}};
    for (const auto& [query, which, user, wanted] : cases) {
        const Answer answer(QueryIPPJobs(Printer().address.Get(), L"ipp://p/ipp/print", query));
        IPPGroup place;
        IPPJob job;
        ASSERT_TRUE(answer);
        EXPECT_EQ(NextIPPJob(answer.Get(), &place, &job), S_OK);
        const IppRequest request = Printer().LastRequest();
        EXPECT_EQ(request.operation, 10u);
        EXPECT_EQ(request["printer-uri"], "ipp://p/ipp/print");
        EXPECT_EQ(request["which-jobs"], which);
        EXPECT_EQ(request["requesting-user-name"], user);
        EXPECT_EQ(request["my-jobs"], "");
        EXPECT_EQ(request["requested-attributes"], wanted);
    }
}

TEST_F(AnswerTest, NamesNumbers) {
    EXPECT_STREQ(GetIPPOperationName(10), "Get-Jobs");
    EXPECT_STREQ(GetIPPStatusName(0x0406), "client-error-not-found");
    EXPECT_STREQ(GetIPPTagName(2), "job-attributes-tag");
    EXPECT_STREQ(GetIPPTagName(0x44), "keyword");
    EXPECT_STREQ(GetIPPEnumName("printer-state", 5), "stopped");
    EXPECT_EQ(GetIPPEnumName("printer-state", 6), nullptr);
}

TEST_F(AnswerTest, KeepsWhatCameBeforeAFault) {
    const std::string whole = Bytes::Header() + Bytes::Byte(4) + Text("first", "1");
    const std::string more = Text("second", "2");
    for (size_t cut = 0; cut < more.size(); ++cut) {
        const Answer answer = Read(whole + more.substr(0, cut));
        EXPECT_EQ(NamesOf(*answer), std::vector<std::string>{"first"}) << cut;
        EXPECT_EQ(ValueOf(*answer, "first"), L"1");
        IPPFault fault = {};
        ASSERT_EQ(answer->GetFault(&fault), S_OK) << cut;
        EXPECT_GE(fault.offset, whole.size() + (cut > 0));
        EXPECT_THAT(fault.reason, testing::HasSubstr(cut > 0 ? "ends within" : "ends before"));
        unsigned long length = 0;
        const auto* body = reinterpret_cast<const char*>(answer->GetBody(&length));
        EXPECT_EQ(std::string(body, length), whole + more.substr(0, cut));
    }
}

TEST_F(AnswerTest, SaysWhenThereIsNoHeaderToTell) {
    for (const std::string& body :
         {std::string(), std::string("\2\0\0", 3), std::string("\1\1\0\0\0\0\0\1\3", 9)}) {
        const Answer answer = Read(body);
        IPPAnswerHeader header = {};
        header.status = 7;
        EXPECT_EQ(answer->GetHeader(&header), S_FALSE);
        EXPECT_EQ(header.status, 7);
        EXPECT_EQ(answer->GetCount(), 0u);
        IPPFault fault = {};
        EXPECT_EQ(answer->GetFault(&fault), S_OK);
    }
    const Answer none(CreateIPPAttributes(nullptr, 5));
    unsigned long length = 9;
    EXPECT_EQ(none->GetBody(&length), nullptr);
    EXPECT_EQ(length, 0u);
    EXPECT_EQ(none->GetBody(nullptr), nullptr);
}

TEST_F(AnswerTest, RefusesMissingArguments) {
    const Answer answer = Read(Bytes::Body(Text("a", "1")));
    KyUtils::Variant value;
    IPPAttribute place;
    IPPGroup group;
    for (const HRESULT result :
         {answer->GetHeader(nullptr), answer->GetFault(nullptr), answer->GetValue(nullptr, value.Receive()),
          answer->GetValue("a", nullptr), answer->NextGroup(nullptr), answer->NextAttribute(nullptr),
          answer->NextValue(nullptr, nullptr), answer->NextValue(&place, nullptr),
          answer->FindAttribute(nullptr, nullptr, &place), answer->FindAttribute(nullptr, "a", nullptr),
          NextIPPJob(answer.Get(), nullptr, nullptr), NextIPPJob(answer.Get(), &group, nullptr)})
        EXPECT_EQ(result, E_FAIL);
    EXPECT_EQ(QueryIPPAttributes(nullptr, L"ipp://p/ipp/print", nullptr, 0), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(AnswerTest, AsksThePrinterOnce) {
    Printer().attributes = {{"a", Text("a", "1")}, {"b", Text("b", "2")}};
    const struct {
        const wchar_t* uri;
        const char* requested;
        const char* wanted;
        unsigned long port;
        std::vector<std::string> names;
    } cases[] = {{L"ipp://p/ipp/print", nullptr, "all", 631, {"a", "b"}},
                 {L"ipp://p:631/q/r?x", "b,c", "b,c", 631, {"b"}},
                 {L"ipps://p/ipp/print", "a", "a", 631, {"a"}},
                 {L"ipps://p:443/ipp/print", "a", "a", 443, {"a"}},
                 {L"ipps://[::1]:631/ipp/print", "none", "none", 631, {}}};
    for (const auto& [uri, requested, wanted, port, names] : cases) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(uri)));
        Printer().device->exchanges.clear();
        const Answer answer = Query(uri, requested, 0x803100);
        ASSERT_TRUE(answer);
        EXPECT_EQ(NamesOf(*answer), names);
        ASSERT_EQ(Printer().Exchanges(), 1u);
        EXPECT_EQ(Printer().LastRequest().operation, 11);
        EXPECT_EQ(Printer().LastRequest().Wanted(), wanted);
        EXPECT_EQ(Printer().device->exchanges.back().port, port);
        const bool secure = std::wstring(uri).rfind(L"ipps", 0) == 0;
        EXPECT_EQ(Printer().address->IsSecure(), secure);
        EXPECT_EQ(Printer().LastRequest()["printer-uri"], std::string(uri, uri + wcslen(uri)));
    }
}

TEST_F(AnswerTest, HandsBackWhateverThePrinterSays) {
    Printer().AnswerAlways({200, Bytes::Header(0x0500) + Bytes::endTag, S_OK, true});
    IPPAnswerHeader header = {};
    ASSERT_EQ(Query(L"ipp://p/ipp/print")->GetHeader(&header), S_OK);
    EXPECT_EQ(header.status, 0x0500);
    Printer().AnswerAlways({200, "this is a web page", S_OK, true});
    const Answer page = Query(L"ipp://p/ipp/print");
    ASSERT_TRUE(page);
    IPPFault fault = {};
    EXPECT_EQ(page->GetFault(&fault), S_OK);
    EXPECT_EQ(fault.offset, 0u);
}

TEST_F(AnswerTest, TellsWhyThereIsNoAnswer) {
    EXPECT_EQ(ErrorOf(L"http://p/ipp/print"), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(ErrorOf(L"ipp"), DWORD{ERROR_INVALID_PARAMETER});
    EXPECT_EQ(ErrorOf(L"ipp://p:8631/ipp/print"), DWORD{ERROR_UNKNOWN_PORT});
    EXPECT_EQ(ErrorOf(L"ipp://p/x"), static_cast<DWORD>(IPPError::PathTooShort));
    EXPECT_EQ(Printer().Exchanges(), 0u);
    for (const unsigned long status : {401ul, 404ul, 503ul}) {
        Printer().AnswerAlways({status, "no", S_OK, true});
        EXPECT_EQ(ErrorOf(L"ipp://p/ipp/print"), status);
    }
}

}  // namespace
}  // namespace Corvix
