// Attribute queries of a provider: its cache, alternatives, every parameter, authorisation.
#include "corvixdm/ipprequest.h"
#include "corvixdm/ippresponse.h"
#include "support/fakeprinter.h"
#include "utilslib/com.h"

namespace Corvix {
namespace {

using namespace Testing;
using CorvixTest::HttpAnswer;

class ValuesTest : public PrinterTest {
protected:
    void SetUp() override {
        Printer().attributes = {
            {"printer-name", Text("printer-name", "attic")},
            {"printer-info", Text("printer-info", "")},
            {"media-ready", Bytes::Keyword("media-ready", "a4") + Bytes::Keyword("", "a5")}};
        Printer().slowAttributes = {{"media-col-database", Text("media-col-database", "big")},
                                    {"rare", Text("rare", "found")}};
        Printer().jobAttributes = {{"job-state", Bytes::Value(0x23, "job-state", Bytes::Int(5))},
                                   {"job-name", Bytes::Value(0x42, "job-name", "letter")}};
        Connect();
    }
    void TearDown() override {
        provider_.Reset();
        PrinterTest::TearDown();
    }
    void Connect() {
        provider_ = Printer().Provider();
        ASSERT_TRUE(provider_);
        Printer().device->exchanges.clear();
    }
    IPPProvider& Provider() { return *provider_; }

    /// Reads by name; a failure must leave the output as it was.
    std::wstring Get(const char* name) {
        return TextOf([&](VARIANT* value) { return Provider().GetValue(name, value); });
    }
    template <class Read>
    std::wstring TextOf(Read read) {
        VARIANT value;
        value.vt = VT_I4;
        value.lVal = 4711;
        const HRESULT result = read(&value);
        if (result != S_OK) {
            EXPECT_EQ(result, E_FAIL);
            EXPECT_EQ(value.vt, VT_I4);
            EXPECT_EQ(value.lVal, 4711);
            return L"(failed)";
        }
        std::wstring text = value.vt == VT_BSTR ? value.bstrVal : L"(no text)";
        VariantClear(&value);
        return text;
    }

    /// GetIPPValue() and its arguments.
    struct Query {
        const char* names;
        int job = 0;
        const char* jobUri = nullptr;
        const wchar_t* resource = nullptr;
        unsigned flags = 0;
        int useCache = 0;
        const char* key = " ";
    };
    std::wstring Ask(const Query& q) {
        return TextOf([&](VARIANT* value) {
            return Provider().GetIPPValue(q.names, q.job, value, q.jobUri, q.resource, q.flags, q.useCache,
                                          q.key);
        });
    }
    /// What the requests since the last call asked for.
    std::vector<std::string> TakeWanted() {
        std::vector<std::string> wanted;
        for (const auto& exchange : std::exchange(Printer().device->exchanges, {}))
            wanted.push_back(IppRequest(exchange).Wanted());
        return wanted;
    }

private:
    DisposablePtr<IPPProvider> provider_;
};

TEST_F(ValuesTest, AnswersFromCreationElseAsks) {
    const struct {
        const char* name;
        const wchar_t* value;
        std::vector<std::string> asked;
    } cases[] = {
        {"printer-name", L"attic", {}},
        {"media-ready", L"a4,a5", {}},
        {"rare", L"found", {"rare"}},
        {"rare", L"found", {"rare"}},
        {"missing", L"(failed)", {"missing"}},
        {"printer-info", L"(failed)", {"printer-info"}},
        {"missing_OR_printer-name", L"attic", {"missing"}},
        {"printer-name_OR_missing", L"attic", {}},
        {"printer-info_OR_rare", L"found", {"printer-info", "rare"}},
        {"a_OR_b_OR_rare", L"found", {"a", "b", "rare"}},
        {"a_OR_b", L"(failed)", {"a", "b"}},
        {"_OR", L"(failed)", {"_OR"}},
        {"_OR_", L"(failed)", {}},
        {"", L"(failed)", {}},
    };
    for (const auto& [name, value, asked] : cases) {
        EXPECT_EQ(Get(name), value) << name;
        EXPECT_EQ(TakeWanted(), asked) << name;
    }
}

TEST_F(ValuesTest, MissingArgumentsAreRefused) {
    KyUtils::Variant value;
    EXPECT_EQ(Provider().GetValue(nullptr, value.Receive()), E_FAIL);
    EXPECT_EQ(Provider().GetValue("printer-name", nullptr), E_FAIL);
    EXPECT_EQ(Provider().GetIPPValue(nullptr, 0, value.Receive(), nullptr, nullptr, 0, 0, " "), E_FAIL);
    EXPECT_EQ(Provider().GetIPPValue("rare", 0, nullptr, nullptr, nullptr, 0, 0, " "), E_FAIL);
    EXPECT_EQ(Printer().Exchanges(), 0u);
}

TEST_F(ValuesTest, AsksWithTheCallersParameters) {
    constexpr const char* own = "ipp://localhost:80/ipp/print";
    const struct {
        Query query;
        const wchar_t* value;
        int operation = 11;
        const char* printerUri = own;
        const char* jobUri = "";
        const wchar_t* path = L"/ipp/print";
    } cases[] = {
        {{"rare"}, L"found"},
        {{"rare", 0, "", L"", 0, 0, nullptr}, L"found"},
        {{"rare", 0, "ipp://q/2", L"/q"}, L"found", 11, "ipp://q/2", "", L"/q"},
        {{"rare,printer-name", 0, nullptr, nullptr, 0, 0, "printer-name"}, L"attic"},
        {{"all", 0, nullptr, nullptr, 0, 0, "media-ready"}, L"a4,a5"},
        {{"rare,missing,printer-name"}, L"found,attic"},
        {{"job-state", 1, "ipp://q/jobs/7"}, L"5", 9, "", "ipp://q/jobs/7"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        EXPECT_EQ(Ask(c.query), c.value);
        const IppRequest request = Printer().LastRequest();
        EXPECT_EQ(request.operation, c.operation);
        EXPECT_EQ(request["job-uri"], c.jobUri);
        EXPECT_EQ(request["printer-uri"], c.printerUri);
        EXPECT_EQ(Printer().device->exchanges.back().uri, c.path);
    }
}

TEST_F(ValuesTest, ReadsSeveralAttributesOfAJobFromAPrinterThatTakesTheListForOneName) {
    const struct {
        bool takesListsApart;
        const char* requested;
        const char* key;
        const wchar_t* value;
        std::vector<std::string> asked;
    } cases[] = {
        {false, "job-state,job-name", " ", L"5,letter", {"job-state,job-name", "all"}},
        {false, "job-state,job-name", "job-name", L"letter", {"job-state,job-name", "all"}},
        {false, "missing,job-name", " ", L"letter", {"missing,job-name", "all"}},
        {false, "job-name", " ", L"letter", {"job-name"}},
        {true, "job-state,job-name", " ", L"5,letter", {"job-state,job-name"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        Printer().takesListsApart = c.takesListsApart;
        EXPECT_EQ(Ask({c.requested, 1, "ipp://q/jobs/7", nullptr, 0, 0, c.key}), c.value);
        EXPECT_EQ(TakeWanted(), c.asked);
    }
}

TEST_F(ValuesTest, TheCacheIsReadAndExtendedOnlyWhenAsked) {
    const struct {
        const char* name;
        int useCache;
        size_t exchanges;
    } cases[] = {{"printer-name", 1, 0},
                 {"printer-name", 0, 1},
                 {"rare", 0, 1},
                 {"rare", 1, 1},  // not kept by the query without the cache
                 {"rare", 1, 0}};
    for (const auto& [name, useCache, exchanges] : cases) {
        EXPECT_EQ(Ask({name, 0, nullptr, nullptr, 0, useCache, name}), name[0] == 'r' ? L"found" : L"attic");
        EXPECT_EQ(TakeWanted().size(), exchanges) << name;
    }
    EXPECT_EQ(Get("rare"), L"found");
    EXPECT_EQ(Printer().Exchanges(), 0u);
}

TEST_F(ValuesTest, AFailedQueryLeavesTheOutputAlone) {
    const std::string old = Bytes::Byte(1) + Bytes::Byte(1) + Bytes::Body(Text("rare", "x")).substr(2);
    const HttpAnswer answers[] = {{400, "no"}, {401, "no"},      {404, "no"}, {426, "no"},
                                  {200, old},  {200, "garbage"}, {200, {}},   {200, {}, E_ABORT}};
    for (const HttpAnswer& answer : answers) {
        SCOPED_TRACE(&answer - answers);
        Printer().AnswerAlways(answer);
        SetLastError(0);
        EXPECT_EQ(Get("rare"), L"(failed)");
        EXPECT_TRUE(answer.status == 200 || GetLastError() == answer.status) << GetLastError();
        for (const int job : {0, 1})
            EXPECT_EQ(Ask({"rare", job, "ipp://q/1", nullptr, 0, 1}), L"(failed)");
    }
    EXPECT_EQ(Get("printer-name"), L"attic") << "what is known stays known";
}

class AuthorizationTest : public ValuesTest {
protected:
    HRESULT Authorize(IPPProvider& provider) {
        const DisposablePtr<IPPResponseBase> response(CreateIPPResponse());
        request = DisposablePtr<IPPRequestBase>(CreateIPPRequest());
        request->SetUsername(L"kay");
        SetLastError(0);
        return provider.RequestAuthorization(request.Get(), response.Get());
    }
    void TearDown() override {
        request.Reset();
        ValuesTest::TearDown();
    }
    DisposablePtr<IPPProvider> SecureProvider() {
        return DisposablePtr<IPPProvider>(
            CreateSecureIPPPrintProvider(Printer().address.Get(), L"ipps://p/ipp/print", 0x803100));
    }
    DisposablePtr<IPPRequestBase> request;
};

TEST_F(AuthorizationTest, KeepsTheAnswerOfASecurePrinter) {
    const DisposablePtr<IPPProvider> provider = SecureProvider();
    ASSERT_TRUE(provider);
    Printer().AnswerAlways(
        HttpAnswer{200, Bytes::Body(Text("x", "y")), S_OK, true, {{L"Authorization", L"Bearer 77"}}});
    ASSERT_EQ(Authorize(*provider), S_OK);
    EXPECT_STREQ(request->GetAuthorization(), L"Bearer 77");
    EXPECT_EQ(Printer().LastRequest().operation, 2) << "it goes out as a print job";
    EXPECT_TRUE(Printer().address->IsSecure());
}

TEST_F(AuthorizationTest, EachQueryMayHaveFlagsOfItsOwn) {
    const DisposablePtr<IPPProvider> provider = SecureProvider();
    ASSERT_TRUE(provider);
    for (const auto& [given, sent] :
         {std::pair{0u, "SetRequestParameter 8401152"}, {4096u, "SetRequestParameter 4096"}}) {
        Printer().device->log.clear();
        KyUtils::Variant value;
        provider->GetIPPValue("rare", 0, value.Receive(), nullptr, nullptr, given, 0, " ");
        EXPECT_THAT(Printer().device->log, testing::Contains(sent));
    }
}

TEST_F(AuthorizationTest, TellsWhyItFailed) {
    EXPECT_EQ(Authorize(Provider()), E_FAIL) << "this printer is not secure";
    EXPECT_EQ(Provider().RequestAuthorization(nullptr, nullptr), E_FAIL);
    EXPECT_EQ(Printer().Exchanges(), 0u);
    const DisposablePtr<IPPProvider> provider = SecureProvider();
    ASSERT_TRUE(provider);
    const struct {
        HttpAnswer answer;
        DWORD error;
    } cases[] = {{HttpAnswer{401, "no", S_OK, true}, 401}, {HttpAnswer{200, "garbage", S_OK, true}, 1280}};
    for (const auto& [answer, error] : cases) {
        Printer().AnswerAlways(answer);
        EXPECT_EQ(Authorize(*provider), E_FAIL);
        EXPECT_EQ(GetLastError(), error);
        EXPECT_FALSE(request->GetAuthorization());
    }
}

}  // namespace
}  // namespace Corvix
