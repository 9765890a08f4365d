// Whole answers: read from bytes, and fetched from a printer.
#include "corvixdm/ippattributes.h"

#include <limits>

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
    EXPECT_EQ(header.majorVersion, 2);
    EXPECT_EQ(header.minorVersion, 0);
    EXPECT_EQ(header.status, 0x0406);
    EXPECT_EQ(header.requestId, 100u);
    IPPFault fault = {7, nullptr};
    EXPECT_EQ(answer->GetFault(&fault), S_FALSE);
    EXPECT_EQ(fault.offset, 7u);
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
    EXPECT_EQ(answer->GetHeader(nullptr), E_FAIL);
    EXPECT_EQ(answer->GetFault(nullptr), E_FAIL);
    EXPECT_EQ(answer->GetValue(nullptr, value.Receive()), E_FAIL);
    EXPECT_EQ(answer->GetValue("a", nullptr), E_FAIL);
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
