#include "datamodel/xml/xmlprovider.h"

#include <gmock/gmock.h>

#include <array>
#include <memory>
#include <string>

#include "datamodel/xml/plsxmlproviderimpl.h"
#include "support/faketransport.h"
#include "support/testclock.h"

namespace Corvix {
namespace {

using CorvixTest::FakeAddress;
using CorvixTest::FakeDevice;
using CorvixTest::HttpAnswer;
using CorvixTest::TestClock;
using testing::ElementsAre;

constexpr const wchar_t* uri = L"/a.xml";

/// A provider with credentials that a test may set.
class CredentialsProvider final : public XMLProvider {
public:
    explicit CredentialsProvider(Address* address) : XMLProvider(address, 81) {}
    unsigned GetKind() const override { return 81; }
};

class XmlProviderTest : public testing::Test {
protected:
    XmlProviderTest() { device->resources[uri] = {200, "<a><b>text</b></a>"}; }
    ~XmlProviderTest() override {
        address.Reset();
        provider.Reset();
        EXPECT_EQ(CorvixTest::liveFakes, 0) << "everything was given up";
    }

    /// The text, or what went wrong.
    std::wstring Read(const wchar_t* xpath = L"//b", bool useCache = true, unsigned lifespan = 0) {
        std::array<wchar_t, 64> text{};
        const HRESULT result = provider->GetValue(uri, xpath, text.data(), 64, nullptr, useCache, lifespan);
        return result == S_OK ? text.data() : L"result " + std::to_wstring(static_cast<unsigned>(result));
    }
    HRESULT Result(bool useCache = true) {
        return provider->GetValue(uri, L"//b", nullptr, 0, nullptr, useCache, 0);
    }

    CorvixTest::FakeDevicePtr device = std::make_shared<FakeDevice>();
    DisposablePtr<Address> address{new FakeAddress(device)};
    DisposablePtr<IXMLProvider> provider = PLSXMLProviderImpl::Create(address.Get());
};

TEST_F(XmlProviderTest, ReadsTheResourceOnItsPort) {
    EXPECT_EQ(Read(), L"text");
    ASSERT_EQ(device->exchanges.size(), 1u);
    EXPECT_EQ(device->exchanges[0].port, 80u);
    EXPECT_THAT(device->exchanges[0].calls, ElementsAre("SetURI", "GetResponse"))
        << "neither a method nor credentials";
    EXPECT_FALSE(PLSXMLProviderImpl::Create(nullptr));
}

TEST_F(XmlProviderTest, TellsTheRoomThatATextNeeds) {
    std::array<wchar_t, 5> text{L'x'};
    unsigned needed = 99;
    EXPECT_EQ(provider->GetValue(uri, L"//b", text.data(), 4, &needed, true, 0), E_OUTOFMEMORY);
    EXPECT_EQ(needed, 5u);
    EXPECT_EQ(text[0], L'x');
    EXPECT_EQ(provider->GetValue(uri, L"//b", nullptr, 100, &needed, true, 0), E_OUTOFMEMORY);
    EXPECT_EQ(provider->GetValue(uri, L"//b", text.data(), 5, &needed, true, 0), S_OK);
    EXPECT_STREQ(text.data(), L"text");
    EXPECT_EQ(provider->GetValue(uri, L"//missing", text.data(), 5, &needed, true, 0), S_FALSE);
    EXPECT_EQ(needed, 0u);
    EXPECT_STREQ(text.data(), L"text");
    EXPECT_EQ(provider->GetValue(nullptr, L"//b", text.data(), 5, &needed, true, 0), E_FAIL);
    EXPECT_EQ(provider->GetValue(uri, nullptr, text.data(), 5, &needed, true, 0), E_FAIL);
}

TEST_F(XmlProviderTest, KeepsADocumentForALifespan) {
    const TestClock clock;
    const auto requestsAfter = [&](std::int64_t advance, bool useCache, unsigned lifespan) {
        TestClock::Advance(advance);
        EXPECT_EQ(Read(L"//b", useCache, lifespan), L"text");
        return device->exchanges.size();
    };
    EXPECT_EQ(requestsAfter(0, true, 10), 1u);
    EXPECT_EQ(requestsAfter(10 * TestClock::lifespanUnit, true, 10), 1u);
    EXPECT_EQ(requestsAfter(1, true, 10), 2u) << "older than the lifespan";
    EXPECT_EQ(requestsAfter(0, false, 10), 3u) << "the cache is not to be used";
    EXPECT_EQ(requestsAfter(1'000'000 * TestClock::lifespanUnit, true, 0), 3u) << "any age will do";
}

TEST_F(XmlProviderTest, AnswersWithoutAClockButKeepsNothing) {
    const TestClock clock;
    TestClock::Set(std::nullopt);
    EXPECT_EQ(Read(), L"text");
    EXPECT_EQ(Read(), L"text");
    EXPECT_EQ(device->exchanges.size(), 2u);
}

TEST_F(XmlProviderTest, RefusesWhatIsNoDocumentAndKeepsTheEarlierOne) {
    const HttpAnswer refused[] = {{204, ""},
                                  {401, "<a><b>other</b></a>"},
                                  {500, "<a><b>other</b></a>"},
                                  {200, ""},
                                  {200, "<a><b>other</b>"},
                                  {200, std::string("<a><b>\0</b></a>", 15)},
                                  {200, "<!DOCTYPE a><a><b>other</b></a>"},
                                  {200, "<a><b>other</b></a>", E_ABORT},
                                  {200, "<a><b>other</b></a>", S_OK, false}};
    for (const HttpAnswer& answer : refused) {
        const std::string what = std::to_string(answer.status) + " " + answer.body.substr(0, 60);
        provider = PLSXMLProviderImpl::Create(address.Get());
        device->resources[uri] = answer;
        EXPECT_TRUE(FAILED(Result())) << what;
        EXPECT_TRUE(FAILED(Result())) << "nothing was kept: " << what;
        device->resources[uri] = {200, "<a><b>text</b></a>"};
        EXPECT_EQ(Read(), L"text");
        device->resources[uri] = answer;
        EXPECT_TRUE(FAILED(Result(false))) << what;
        EXPECT_EQ(Read(), L"text") << "the earlier document still answers: " << what;
    }
}

TEST_F(XmlProviderTest, SendsCredentialsOnlyWithAPassword) {
    const auto owned = DisposablePtr<CredentialsProvider>::Share(new CredentialsProvider(address.Get()));
    const auto sent = [&](const wchar_t* userName, const wchar_t* password) {
        owned->SetCredentials(userName, password);
        std::string body;
        EXPECT_EQ(owned->GetContent(uri, body), S_OK);
        const auto& exchange = device->exchanges.back();
        EXPECT_EQ(exchange.calls.size(), *password ? 4u : 2u);
        return exchange.userName + L"/" + exchange.password;
    };
    EXPECT_EQ(sent(L"", L""), L"/");
    EXPECT_EQ(sent(L"me", L""), L"/");
    EXPECT_EQ(sent(L"", L"secret"), L"admin/secret");
    EXPECT_EQ(sent(L"me", L"secret"), L"me/secret");
    EXPECT_THAT(device->exchanges.back().calls,
                ElementsAre("SetURI", "SetPassword", "SetUserName", "GetResponse"));
}

TEST_F(XmlProviderTest, FailsWithEveryFailingCall) {
    for (int k = 1; k <= 2; ++k) {
        device->calls = 0;
        device->failingCall = k;
        std::string body = "untouched";
        EXPECT_EQ(provider->GetContent(uri, body), HRESULT_FROM_WIN32(ERROR_NETNAME_DELETED)) << k;
        EXPECT_EQ(body, "untouched");
        IXMLDOMDocument* document = nullptr;
        device->calls = 0;
        EXPECT_TRUE(FAILED(provider->GetDOM(uri, &document, true, 0)));
        EXPECT_EQ(document, nullptr);
    }
    device->failingCall = 0;
    EXPECT_EQ(Read(), L"text");
}

}  // namespace
}  // namespace Corvix
