#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "datamodel/xml/pavoproviderimpl.h"
#include "support/faketransport.h"
#include "support/testclock.h"

namespace Corvix {
namespace {

using CorvixTest::FakeAddress;
using CorvixTest::FakeDevice;
using CorvixTest::HttpAnswer;
using CorvixTest::TestClock;

constexpr const wchar_t* treeUri = L"/DevMgmt/DiscoveryTree.xml";
constexpr const char* configuration = "pavo:veyraPavoProductConfigDyn";

std::string Entry(const std::string& type, const std::string& resourceUri) {
    return "<ledm:SupportedIfc><dd:ResourceType>" + type + "</dd:ResourceType><dd:ResourceURI>" +
           resourceUri + "</dd:ResourceURI></ledm:SupportedIfc>";
}

std::string Tree(const std::string& entries) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><ledm:DiscoveryTree xmlns:ledm=\"urn:test:ledm\" "
           "xmlns:dd=\"urn:test:dd\">" +
           entries + "</ledm:DiscoveryTree>";
}

class PavoProviderTest : public testing::Test {
protected:
    PavoProviderTest() {
        SetTree(Entry("pavo:other", "/other.xml") + Entry(configuration, "/config.xml"));
        device->resources[L"/config.xml"] = Resource("configuration");
        device->resources[L"/other.xml"] = Resource("other");
    }
    ~PavoProviderTest() override {
        address.Reset();
        EXPECT_EQ(CorvixTest::liveFakes, 0);
    }

    static HttpAnswer Resource(const std::string& text) {
        return {200, "<c xmlns:dd=\"urn:test:dd\"><dd:SerialNumber>" + text + "</dd:SerialNumber></c>"};
    }
    void SetTree(const std::string& entries) { device->resources[treeUri] = {200, Tree(entries)}; }
    static std::wstring Read(IXMLProvider& provider, const wchar_t* uri, bool useCache = true) {
        wchar_t text[64] = {};
        return provider.GetValue(uri, L"//dd:SerialNumber", text, 64, nullptr, useCache, 0) == S_OK
                   ? text
                   : L"failed";
    }

    CorvixTest::FakeDevicePtr device = std::make_shared<FakeDevice>();
    DisposablePtr<Address> address{new FakeAddress(device)};
};

TEST_F(PavoProviderTest, ServesDevicesThatListTheProductConfiguration) {
    const std::string type = configuration;
    const std::string listed = Entry(type, "/config.xml");
    const std::string withoutUri = "<ledm:S><dd:ResourceType>" + type + "</dd:ResourceType></ledm:S>";
    for (const std::string& entries : {listed, Entry("pavo:a", "/a") + listed}) {
        SetTree(entries);
        EXPECT_TRUE(PavoProviderImpl::Create(address.Get())) << entries;
    }
    for (const std::string& entries : {std::string(), Entry("pavo:a", "/a"), Entry(type + "2", "/config.xml"),
                                       Entry(type, ""), withoutUri + Entry("pavo:a", "/a")}) {
        SetTree(entries);
        EXPECT_FALSE(PavoProviderImpl::Create(address.Get())) << entries;
    }
    const HttpAnswer unusable[] = {{200, "<t><ResourceType>" + type + "</ResourceType></t>"},
                                   {200, "nothing"},
                                   {404, ""},
                                   {200, "", E_OUTOFMEMORY}};
    for (const HttpAnswer& tree : unusable) {
        device->resources[treeUri] = tree;
        EXPECT_FALSE(PavoProviderImpl::Create(address.Get())) << tree.body;
    }
    EXPECT_FALSE(PavoProviderImpl::Create(nullptr));
}

TEST_F(PavoProviderTest, FindsResourcesByUriAndByType) {
    const auto provider = PavoProviderImpl::Create(address.Get());
    ASSERT_TRUE(provider);
    EXPECT_EQ(provider->GetKind(), 8080u);
    EXPECT_EQ(Read(*provider, L"/other.xml"), L"other");
    EXPECT_EQ(Read(*provider, L"pavo:other"), L"other");
    EXPECT_EQ(Read(*provider, L"pavo:veyraPavoProductConfigDyn"), L"configuration");
    EXPECT_EQ(device->RequestsFor(L"/other.xml"), 1u) << "one resource under both names";
    for (const auto& exchange : device->exchanges)
        EXPECT_EQ(exchange.port, 8080u);
}

TEST_F(PavoProviderTest, FetchesTheTreeOnce) {
    const TestClock clock;
    const auto provider = PavoProviderImpl::Create(address.Get());
    for (int i = 0; i < 3; ++i) {
        TestClock::Advance(static_cast<std::int64_t>(TestClock::lifespanUnit) * 1'000'000);
        EXPECT_EQ(Read(*provider, L"pavo:other", false), L"other");
    }
    EXPECT_EQ(device->RequestsFor(treeUri), 1u);
    EXPECT_EQ(device->RequestsFor(L"/other.xml"), 3u);
}

TEST_F(PavoProviderTest, FollowsUrisOfAnyLength) {
    for (const size_t length : {255, 256, 300, 5000}) {
        const std::wstring uri = L"/" + std::wstring(length - 1, L'u');
        device->resources[uri] = Resource("far");
        SetTree(Entry(configuration, "/config.xml") + Entry("pavo:far", std::string(uri.begin(), uri.end())));
        const auto provider = PavoProviderImpl::Create(address.Get());
        EXPECT_EQ(Read(*provider, L"pavo:far"), L"far") << length;
    }
}

TEST_F(PavoProviderTest, UsesATypeAsItIsWhenTheTreeDoesNotHelp) {
    SetTree(Entry(configuration, "/config.xml") + Entry("pavo:empty", "") +
            Entry("pavo:split", "/x HTTP/1.1&#13;&#10;Host: other"));
    const auto provider = PavoProviderImpl::Create(address.Get());
    for (const wchar_t* type : {L"pavo:unknown", L"pavo:empty", L"pavo:split", L"pavo:\"quoted", L""}) {
        EXPECT_EQ(Read(*provider, type), L"failed");
        EXPECT_EQ(device->exchanges.back().uri, type);
    }
    device->resources[L"relative.xml"] = Resource("relative");
    EXPECT_EQ(Read(*provider, L"relative.xml"), L"relative");
    EXPECT_EQ(provider->GetValue(nullptr, L"//a", nullptr, 0, nullptr, true, 0), E_FAIL);
    EXPECT_EQ(provider->GetValue(L"/a", nullptr, nullptr, 0, nullptr, true, 0), E_FAIL);
}

TEST_F(PavoProviderTest, TellsTheUriOfAType) {
    const auto provider = PavoProviderImpl::Create(address.Get());
    wchar_t text[16] = L"untouched";
    unsigned needed = 0;
    EXPECT_EQ(provider->GetResourceURI(L"pavo:other", text, 4, &needed, 0), E_OUTOFMEMORY);
    EXPECT_EQ(needed, 11u);
    EXPECT_EQ(provider->GetResourceURI(L"pavo:unknown", text, 16, &needed, 0), S_FALSE);
    EXPECT_STREQ(text, L"untouched");
    EXPECT_EQ(provider->GetResourceURI(L"pavo:other", text, 16, &needed, 0), S_OK);
    EXPECT_STREQ(text, L"/other.xml");
    EXPECT_EQ(provider->GetResourceURI(nullptr, text, 16, &needed, 0), E_FAIL);
}

}  // namespace
}  // namespace Corvix
