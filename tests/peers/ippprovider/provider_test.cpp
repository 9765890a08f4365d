// Providers of a real printer, made by every factory, in the clear and over TLS.
#include "realprinter.h"

#include <winhttp.h>

namespace CorvixTest {
namespace {

using Corvix::IPPProvider;
using CorvixTransport::ExchangeRecord;

constexpr unsigned ignoreName = 0x1000;
constexpr unsigned ignoreDate = 0x2000;
constexpr unsigned libraryDefault = 0x803100;

class RealProviderTest : public RealPrinterTest {
protected:
    DisposablePtr<IPPProvider> Secure(const wchar_t* uri, unsigned flags) {
        return DisposablePtr<IPPProvider>(CreateSecureIPPPrintProvider(Address(), uri, flags));
    }
    static std::wstring Ask(IPPProvider& provider, const std::string& attribute, unsigned flags) {
        return TextOf([&](VARIANT* value) {
            return provider.GetIPPValue(attribute.c_str(), 0, value, nullptr, nullptr, flags, 0, " ");
        });
    }
    static void ExpectReported(IPPProvider& provider, const Attributes& reported) {
        for (const auto& [name, text] : reported) {
            const std::wstring answer = TextOf([&, &attribute = name](VARIANT* value) {
                return provider.GetValue(attribute.c_str(), value);
            });
            if (Ticks(name)) {
                EXPECT_GE(_wtoi(answer.c_str()), _wtoi(text.c_str())) << name;
            } else {
                EXPECT_EQ(answer, text.empty() ? L"(failed)" : text) << name;
            }
        }
        EXPECT_GT(reported.size(), 80u);
    }
};

TEST_F(RealProviderTest, AnswersWhatThePrinterReports) {
    const struct {
        const char* factory;
        std::function<IPPProvider*()> make;
        bool secure;
        std::string authority;
        const wchar_t* language;
    } cases[] = {
        {"CreateIPPProvider", [&] { return CreateIPPProvider(Address(), "/ipp/print"); }, false,
         "127.0.0.1:631", L"en"},
        {"CreateIPPProvider2", [&] { return CreateIPPProvider2(Address(), "/ipp/print", "de"); }, false,
         "127.0.0.1:631", L"de"},
        {"CreateIPPPrintProvider",
         [&] { return CreateIPPPrintProvider(Address(), L"ipp://127.0.0.1/ipp/print"); }, false,
         "127.0.0.1:631", L"en"},
        {"CreateSecureIPPPrintProvider",
         [&] {
             return CreateSecureIPPPrintProvider(Address(), L"ipps://127.0.0.1/ipp/print", libraryDefault);
         },
         true, "127.0.0.1:631", L"en"},
        {"CreateSecureIPPPrintProvider at 443",
         [&] {
             return CreateSecureIPPPrintProvider(Address(), L"ipps://127.0.0.1:443/ipp/print",
                                                 libraryDefault);
         },
         true, "127.0.0.1:" + std::to_string(Port()), L"en"},
    };
    for (const auto& [factory, make, secure, authority, language] : cases) {
        SCOPED_TRACE(factory);
        const DisposablePtr<IPPProvider> provider(make());
        ASSERT_TRUE(provider) << GetLastError();
        Attributes reported = Reported(authority);
        reported["attributes-natural-language"] = language;
        ExpectReported(*provider, reported);
        EXPECT_EQ(Ask(*provider, "printer-state", 0), L"3");
        for (const ExchangeRecord& exchange : TakeExchanges()) {
            EXPECT_EQ(exchange.secure, secure);
            EXPECT_EQ(exchange.status, 200u);
        }
    }
}

TEST_F(RealProviderTest, AcceptsASelfSignedCertificateOnlyWhenToldTo) {
    const struct {
        unsigned flags;
        bool accepted;
    } cases[] = {{0, false},
                 {ignoreName, false},
                 {ignoreDate, false},
                 {libraryDefault & ~ignoreName, false},
                 {ignoreName | ignoreDate, true},
                 {libraryDefault, true}};
    for (const auto& [flags, accepted] : cases) {
        SCOPED_TRACE(flags);
        for (const wchar_t* uri : {L"ipps://127.0.0.1/ipp/print", L"ipps://127.0.0.1:443/ipp/print"}) {
            SetLastError(0);
            const DisposablePtr<IPPProvider> provider = Secure(uri, flags);
            EXPECT_EQ(GetLastError(), accepted ? 0 : DWORD{ERROR_WINHTTP_SECURE_INVALID_CA});
            ASSERT_EQ(static_cast<bool>(provider), accepted);
            const std::vector<ExchangeRecord> exchanges = TakeExchanges();
            ASSERT_EQ(exchanges.size(), 1u);
            EXPECT_TRUE(exchanges[0].secure);
            EXPECT_EQ(exchanges[0].bytesSent == 0, !accepted) << "nothing goes to a stranger";
        }
    }
}

TEST_F(RealProviderTest, EachQueryMayBeStricterThanItsProvider) {
    const DisposablePtr<IPPProvider> provider = Secure(L"ipps://127.0.0.1/ipp/print", libraryDefault);
    ASSERT_TRUE(provider);
    EXPECT_EQ(Ask(*provider, "printer-state", 0), L"3");
    EXPECT_EQ(Ask(*provider, "printer-state", ignoreName | ignoreDate), L"3");
    SetLastError(0);
    EXPECT_EQ(Ask(*provider, "printer-state", ignoreName), L"(failed)");
    EXPECT_EQ(GetLastError(), DWORD{ERROR_WINHTTP_SECURE_INVALID_CA});
}

}  // namespace
}  // namespace CorvixTest
