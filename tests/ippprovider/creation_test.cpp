// How a provider comes to be, and each way in which it does not.
#include "corvixdm/ippprovider.h"
#include "datamodel/ipp/ippproviderimpl.h"
#include "support/fakeprinter.h"
#include "support/logsandbox.h"
#include "utilslib/com.h"

namespace Corvix {
namespace {

using namespace Testing;
using CorvixTest::HttpAnswer;

constexpr unsigned flags = 0x803100;
constexpr DWORD leftAlone = 0x2ABCDEF0;
constexpr DWORD unreadable = 1280;
constexpr DWORD httpOk = 200;

DWORD Code(IPPError error) { return static_cast<DWORD>(error); }

class CreationTest : public PrinterTest {
protected:
    using Make = std::function<IPPProvider*()>;
    /// Makes a provider that must fail. \return the last error it left.
    static DWORD ErrorOf(const Make& make) {
        SetLastError(leftAlone);
        const DisposablePtr<IPPProvider> provider(make());
        const DWORD error = GetLastError();
        EXPECT_FALSE(provider);
        return error;
    }
    /// Of the factory that takes URIs of this scheme.
    IPPProvider* MakeForUri(const std::wstring& uri) {
        Address* address = Printer().address.Get();
        return uri.rfind(L"ipps", 0) == 0 ? CreateSecureIPPPrintProvider(address, uri.c_str(), flags)
                                          : CreateIPPPrintProvider(address, uri.c_str());
    }
    DWORD ErrorOfUri(const wchar_t* uri) {
        return ErrorOf([&] { return MakeForUri(uri); });
    }
    DWORD ErrorOfResource(const char* resource) {
        return ErrorOf([&] { return CreateIPPProvider(Printer().address.Get(), resource); });
    }
    DisposablePtr<IPPProvider> ForUri(const wchar_t* uri) {
        return DisposablePtr<IPPProvider>(MakeForUri(uri));
    }
    void Advertise(const std::vector<std::string>& uris) {
        std::string encoded;
        for (const std::string& uri : uris)
            encoded += Bytes::Value(0x45, encoded.empty() ? "printer-uri-supported" : "", uri);
        Printer().attributes["printer-uri-supported"] = encoded;
    }
    /// What a provider calls its printer, seen in a request.
    std::string UriOf(IPPProvider& provider) {
        KyUtils::Variant value;
        provider.GetIPPValue("printer-info", 0, value.Receive(), nullptr, nullptr, 0, 0, " ");
        return Printer().LastRequest()["printer-uri"];
    }
};

TEST_F(CreationTest, RefusesUrisThatCannotBeAPrinters) {
    const struct {
        const wchar_t* uri;
        DWORD error;
    } cases[] = {{L"ipp://printer:8631/ipp/print", ERROR_UNKNOWN_PORT},
                 {L"ipps://printer:8631/ipp/print", ERROR_UNKNOWN_PORT},
                 {L"ipp://[fe80::1]:8631/ipp/print", ERROR_UNKNOWN_PORT},
                 {L"ipps://printer", Code(IPPError::PathMissing)},
                 {L"ipps://[fe80::1]:443/a", Code(IPPError::PathTooShort)},
                 {L"ipp://printer:80/ipp/print", ERROR_UNKNOWN_PORT},
                 {L"ipp://printer:631", Code(IPPError::PathMissing)},
                 {L"ipp://printer:631/", Code(IPPError::PathTooShort)},
                 {L"ipp://printer:631/ab", Code(IPPError::PathTooShort)},
                 {L"ipp", ERROR_INVALID_PARAMETER},
                 {L"https://printer/ipp/print", ERROR_INVALID_PARAMETER}};
    for (const auto& [uri, error] : cases)
        EXPECT_EQ(ErrorOfUri(uri), error) << testing::PrintToString(std::wstring(uri));
    EXPECT_EQ(Printer().Exchanges(), 0u);
    const auto create2 = [&](const wchar_t* uri) {
        return ErrorOf([&] { return IPPProviderImpl::Create2(Printer().address.Get(), uri, 0).Release(); });
    };
    EXPECT_EQ(create2(L""), Code(IPPError::PathTooShort));
    EXPECT_EQ(ErrorOfResource(""), Code(IPPError::PathMissing));
    EXPECT_EQ(create2(nullptr), DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(CreationTest, TakesThePortAndThePathFromThePrinterUri) {
    const struct {
        const wchar_t* uri;
        const wchar_t* port;
        const wchar_t* path;
    } cases[] = {{L"ipp://printer/ipp/print", L"631", L"/ipp/print"},
                 {L"ipp://printer:631/abc", L"631", L"/abc"},
                 {L"ipp://printer:443/ipp/print", L"443", L"/ipp/print"},
                 {L"ipps://printer:443/ipp/print", L"443", L"/ipp/print"},
                 {L"ipps://printer/ipp/print/tray 2?x=%20", L"631", L"/ipp/print/tray 2?x=%20"},
                 {L"ipps://[fe80::1]/ipp/print", L"631", L"/ipp/print"},
                 {L"ipps://kay:secret@[fe80::1]:443/ipp/print", L"443", L"/ipp/print"},
                 {L"ipp://[fe80::1]:443/ipp/print", L"443", L"/ipp/print"}};
    for (const auto& [uri, port, path] : cases) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(uri)));
        Printer().address->SetPort(L"9");
        ASSERT_TRUE(ForUri(uri));
        EXPECT_STREQ(Printer().address->GetPort(), port);
        EXPECT_EQ(Printer().device->exchanges.back().uri, path);
    }
}

TEST_F(CreationTest, AsksAtThePathOfAResource) {
    const struct {
        const char* resource;
        const wchar_t* path;
        const char* uri;
    } cases[] = {{"/ipp/print", L"/ipp/print", "ipp://localhost:80/ipp/print"},
                 {"ipp://other:99/q/1", L"/q/1", "ipp://other:99/q/1"},
                 {"ipps://other/q", L"/q", "ipps://other/q"},
                 {"ipp/print", L"ipp/print", "ipp/print"}};  // begins as a URI does, and is none
    for (const auto& [resource, path, uri] : cases) {
        ASSERT_TRUE(DisposablePtr<IPPProvider>(CreateIPPProvider(Printer().address.Get(), resource)));
        EXPECT_EQ(Printer().device->exchanges.back().uri, path) << resource;
        EXPECT_EQ(Printer().LastRequest()["printer-uri"], uri);
    }
}

TEST_F(CreationTest, TellsTheStatusOfARefusal) {
    const struct {
        unsigned long status;
        DWORD forUri;
    } cases[] = {{400, Code(IPPError::PrinterNotFound)},
                 {404, Code(IPPError::PrinterNotFound)},
                 {405, Code(IPPError::PrinterNotFound)},
                 {401, 401},
                 {426, 426},
                 {503, 503}};
    for (const auto& [status, forUri] : cases) {
        Printer().AnswerAlways(HttpAnswer{status, "no", S_OK, true});
        for (const wchar_t* uri : {L"ipp://printer/ipp/print", L"ipps://printer:443/ipp/print"})
            EXPECT_EQ(ErrorOfUri(uri), forUri);
        EXPECT_EQ(ErrorOfResource("/ipp/print"), status);
        EXPECT_EQ(ErrorOf([&] { return CreateIPPProvider2(Printer().address.Get(), "/ipp/print", "de"); }),
                  status);
    }
}

TEST_F(CreationTest, NeedsAnAnswerThatCanBeRead) {
    const std::string old = Bytes::Byte(1) + Bytes::Byte(1) + Bytes::Body("").substr(2);
    const std::string bodies[] = {{}, "x", old, Bytes::Body(Text("a", "b")).substr(0, 12)};
    for (const std::string& body : bodies) {
        Printer().AnswerAlways(HttpAnswer{200, body, S_OK, true});
        EXPECT_EQ(ErrorOfResource("/ipp/print"), body.empty() ? DWORD{httpOk} : unreadable);
    }
}

TEST_F(CreationTest, TakesAnAnswerOfEightMegabytes) {
    std::string attributes;
    const std::string filling(1'000, 'x');
    for (int i = 0; attributes.size() < 8u * 1024 * 1024; ++i)
        attributes += Text("filling-" + std::to_string(i), filling);
    Printer().AnswerAlways(HttpAnswer{200, Bytes::Body(attributes + Text("last", "here")), S_OK, true});
    const DisposablePtr<IPPProvider> provider = Printer().Provider();
    ASSERT_TRUE(provider);
    KyUtils::Variant value;
    EXPECT_EQ(provider->GetValue("last", value.Receive()), S_OK);
    EXPECT_EQ(value.Text(), L"here");
}

TEST_F(CreationTest, AsksAsItsFactorySays) {
    Address* address = Printer().address.Get();
    const struct {
        Make make;
        const char* requested;
        const char* language;
        const char* uri;
    } cases[] = {
        {[&] { return CreateIPPProvider(address, "/ipp/print"); }, "all", "en",
         "ipp://localhost:80/ipp/print"},
        {[&] { return CreateIPPProvider2(address, "/ipp/print", "de"); }, "all", "de",
         "ipp://localhost:80/ipp/print"},
        {[&] { return CreateIPPProvider2(address, "/ipp/print", ""); }, "all", "en",
         "ipp://localhost:80/ipp/print"},
        {[&] { return CreateIPPPrintProvider(address, L"ipp://a/ipp/print"); }, "printer-info", "en",
         "ipp://localhost:80/ipp/print"},
        {[&] { return CreateSecureIPPPrintProvider(address, L"ipps://a/ipp/print", flags); }, "printer-info",
         "en", "ipps://localhost:80/ipp/print"},
    };
    for (const auto& expected : cases) {
        SCOPED_TRACE(&expected - cases);
        ASSERT_TRUE(DisposablePtr<IPPProvider>(expected.make()));
        const IppRequest request = Printer().LastRequest();
        EXPECT_EQ(request.operation, 11);
        EXPECT_EQ(request.Wanted(), expected.requested);
        EXPECT_EQ(request["attributes-natural-language"], expected.language);
        EXPECT_EQ(request["printer-uri"], expected.uri);
    }
}

TEST_F(CreationTest, ChoosesAmongTheAdvertisedUris) {
    const std::string built = "localhost:80/ipp/print";
    const struct {
        const wchar_t* uri;
        std::vector<std::string> advertised;
        std::string chosen;
        const wchar_t* port;
    } cases[] = {
        {L"ipp://p:631/ipp/print", {}, "ipp://" + built, L"631"},
        {L"ipp://p:631/ipp/print", {"ipp://a/x"}, "ipp://a/x", L"631"},
        {L"ipp://p:631/ipp/print", {"ipp://a/x", "ipps://a:443/x"}, "ipp://a/x", L"631"},
        {L"ipp://p:631/ipp/print", {"ipps://a:443/x", "http://a/x", "ipp://a/x"}, "ipp://a/x", L"631"},
        {L"ipp://p:631/ipp/print", {"ipps://a:443/x", "ipps://b/x"}, "ipp://" + built, L"631"},
        {L"ipps://p:631/ipp/print", {}, "ipps://" + built, L"631"},
        {L"ipps://p:631/ipp/print", {"ipp://a/x"}, "ipp://a/x", L"631"},
        {L"ipps://p:443/ipp/print",
         {"ipps://[fe80::1]:631/x", "ipps://[fe80::1]:443/x"},
         "ipps://[fe80::1]:443/x",
         L"443"},
        {L"ipps://p:631/ipp/print", {"ipps://a/x", "ipps://b/x"}, "ipps://a/x", L""},
        {L"ipps://p:631/ipp/print", {"ipp://a/x", "ipps://a:443/x"}, "ipps://a:443/x", L"443"},
        {L"ipps://p:631/ipp/print", {"ipps://a:443/x", "ipps://a:631/x"}, "ipps://a:631/x", L"631"},
        {L"ipps://p:631/ipp/print", {"ipps://a:443/x", "ipps://b:444/x"}, "ipps://a:443/x", L"443"},
        {L"ipps://p:631/ipp/print", {"ipp://a/x", "http://a/x"}, "ipps://" + built, L"631"},
    };
    for (const auto& [uri, advertised, chosen, port] : cases) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(uri)) + testing::PrintToString(advertised));
        Renew();
        if (!advertised.empty()) Advertise(advertised);
        const DisposablePtr<IPPProvider> provider = ForUri(uri);
        ASSERT_TRUE(provider);
        EXPECT_EQ(UriOf(*provider), chosen);
        EXPECT_STREQ(Printer().address->GetPort(), port);
    }
}

TEST_F(CreationTest, KeepsTheUriItUsedWhereThePrinterAdvertisesNone) {
    constexpr const char* name = "printer-uri-supported";
    const std::string answers[] = {Bytes::Integer(name, 5), Bytes::Keyword(name, "none"),
                                   Bytes::Value(0x45, name, ""), Bytes::Value(0x12, name, ""),
                                   Bytes::Begin(name) + Bytes::End()};
    for (const std::string& answer : answers) {
        SCOPED_TRACE(&answer - answers);
        Printer().attributes[name] = answer;
        const DisposablePtr<IPPProvider> provider = ForUri(L"ipp://p/ipp/print");
        ASSERT_TRUE(provider);
        EXPECT_EQ(UriOf(*provider), "ipp://localhost:80/ipp/print");
    }
}

TEST_F(CreationTest, SaysWhyInTheLog) {
    const std::string old = Bytes::Byte(1) + Bytes::Byte(1) + Bytes::Body("").substr(2);
    const struct {
        const wchar_t* host;
        HttpAnswer answer;
        const wchar_t* line;
    } cases[] = {
        {L"printer.example", {}, L"IPP support is not present in the device"},
        {L"USB001", {401, "no"}, L"The IPP exchange failed with 401"},
        {L"USB001", {200, {}, E_ABORT}, L"The IPP exchange failed with 64"},
        {L"USB001", {200, old}, L"ptrIPPOperations->ParseIPPResponse(httpResponse,&value) cretae failed"},
        {L"USB001", {200, Bytes::Body("").substr(0, 5)}, L"The IPP response is malformed at byte"},
    };
    for (const auto& [host, answer, line] : cases) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(line)));
        const CorvixTest::LogSandbox log;
        Printer().device->host = host;
        Printer().AnswerAlways(answer);
        ErrorOfUri(L"ipps://printer/ipp/print");
        EXPECT_THAT(log.Lines(), testing::Contains(testing::HasSubstr(line)));
    }
}

}  // namespace
}  // namespace Corvix
