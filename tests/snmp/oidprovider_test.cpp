#include <gmock/gmock.h>

#include "datamodel/snmp/oididentity.h"
#include "datamodel/snmp/oidproviderimpl.h"
#include "support/fakemib.h"

namespace Corvix {
namespace {

using CorvixTest::FakeAddress;
using CorvixTest::FakeAgent;
using CorvixTest::FakeDevice;
using CorvixTest::MibValue;
using KyUtils::Variant;
using testing::ElementsAre;

const wchar_t* const probe = L"1.3.6.1.2.1.25.3.2.1.3.1";

class OidProviderTest : public testing::Test {
protected:
    OidProviderTest() {
        CorvixTest::AttachAgent(*device, agent);
        agent->Add(probe, L"Corvix printer");
    }
    ~OidProviderTest() override {
        address.Reset();
        EXPECT_EQ(CorvixTest::liveFakes, 0);
    }
    DisposablePtr<OIDProvider> Create() { return OIDProviderImpl::Create(address.Get()); }

    CorvixTest::FakeDevicePtr device = std::make_shared<FakeDevice>();
    CorvixTest::FakeAgentPtr agent = std::make_shared<FakeAgent>();
    DisposablePtr<Address> address{new FakeAddress(device)};
};

TEST_F(OidProviderTest, IsMadeForADeviceThatDescribesItself) {
    EXPECT_TRUE(Create());
    EXPECT_THAT(agent->calls, ElementsAre(std::wstring(L"get ") + probe));
    agent->Add(probe, 5l);
    EXPECT_TRUE(Create()) << "a number has a text";
}

TEST_F(OidProviderTest, IsNotMadeForOtherDevices) {
    EXPECT_FALSE(OIDProviderImpl::Create(nullptr));
    agent->Add(probe, L"");
    EXPECT_FALSE(Create()) << "an empty description";
    agent->failingCall = 2;
    EXPECT_FALSE(Create()) << "no answer";
    agent->objects.clear();
    EXPECT_FALSE(Create()) << "no description";
    device->failingCall = device->calls + 1;
    EXPECT_FALSE(Create()) << "no connection";
    device->connectMib = []() -> MIBConnection* { return nullptr; };
    EXPECT_FALSE(Create()) << "a connection promised, but not made";
    device->connectMib = nullptr;
    EXPECT_FALSE(Create()) << "no SNMP at all";
}

struct ReadCase {
    const wchar_t* oid;
    std::vector<std::wstring> calls;
    HRESULT result;
};

TEST_F(OidProviderTest, WritesTheTriggerAfterTheRead) {
    agent->Add(L"1.3.1", 7l);
    agent->setResult = E_ACCESSDENIED;
    const DisposablePtr<OIDProvider> provider = Create();
    const ReadCase cases[] = {
        {L"1.3.1", {L"get 1.3.1"}, S_OK},
        {L"1.3.2", {L"get 1.3.2"}, agent->absent},
        {L"1.3.1;", {L"get 1.3.1"}, S_OK},
        {L"1.3.2;", {L"get 1.3.2"}, agent->absent},
        {L"1.3.1;1.3.9", {L"get 1.3.1", L"set 1.3.9 22 1"}, E_ACCESSDENIED},
        {L"1.3.2;1.3.9", {L"get 1.3.2", L"set 1.3.9 22 1"}, E_ACCESSDENIED},
        {L"1.3.1;1.3.8;1.3.9", {L"get 1.3.1", L"set 1.3.8;1.3.9 22 1"}, E_ACCESSDENIED},
        {L";1.3.9", {L"get ", L"set 1.3.9 22 1"}, E_ACCESSDENIED},
    };
    for (const ReadCase& each : cases) {
        agent->calls.clear();
        Variant value;
        EXPECT_EQ(provider->GetValue(each.oid, value.Receive()), each.result) << each.oid;
        EXPECT_EQ(agent->calls, each.calls) << each.oid;
    }
    agent->setResult = S_OK;
    Variant value;
    EXPECT_EQ(provider->GetValue(L"1.3.2;1.3.9", value.Receive()), S_OK) << "the write's result counts";
}

TEST_F(OidProviderTest, HandsOnTheOtherReads) {
    agent->Add(L"1.3.1", 7l);
    agent->Add(L"1.3.2", L"text");
    const DisposablePtr<OIDProvider> provider = Create();
    Variant value;
    wchar_t next[8] = L"before";
    EXPECT_EQ(provider->GetNextOidAndValue(L"1.3", next, 5, value.Receive()), E_OUTOFMEMORY);
    EXPECT_STREQ(next, L"before");
    EXPECT_EQ(provider->GetNextOidAndValue(L"1.3", next, 6, value.Receive()), S_OK);
    EXPECT_STREQ(next, L"1.3.1");
    EXPECT_EQ(value->lVal, 7);
    const wchar_t* oids[] = {L"1.3.2", L"1.3.1"};
    VARIANT values[2] = {};
    EXPECT_EQ(provider->GetMultipleValues(oids, values, 2), S_OK);
    EXPECT_STREQ(values[0].bstrVal, L"text");
    EXPECT_EQ(values[1].lVal, 7);
    VariantClear(&values[0]);
    EXPECT_EQ(agent->calls.back(), L"many 1.3.2 1.3.1");
}

TEST_F(OidProviderTest, RefusesMissingArgumentsWithoutAskingTheDevice) {
    const DisposablePtr<OIDProvider> provider = Create();
    agent->calls.clear();
    VARIANT value{};
    wchar_t next[8];
    const wchar_t* oid = L"1.3";
    const HRESULT results[] = {provider->GetValue(nullptr, &value),
                               provider->GetValue(oid, nullptr),
                               provider->GetNextOidAndValue(nullptr, next, 8, &value),
                               provider->GetNextOidAndValue(oid, nullptr, 8, &value),
                               provider->GetNextOidAndValue(oid, next, 0, &value),
                               provider->GetNextOidAndValue(oid, next, 8, nullptr),
                               provider->GetMultipleValues(nullptr, &value, 1),
                               provider->GetMultipleValues(&oid, nullptr, 1),
                               provider->GetMultipleValues(&oid, &value, 0)};
    EXPECT_THAT(results, testing::Each(E_FAIL));
    EXPECT_TRUE(agent->calls.empty());
}

struct IdentityCase {
    std::optional<MibValue> ours;
    std::optional<MibValue> standard;
    const wchar_t* identity;
};

TEST_F(OidProviderTest, TellsTheSerialNumber) {
    const std::vector<unsigned char> octets = {0, 1};
    const IdentityCase cases[] = {
        {L"VN123", L"XX", L"VN123"}, {L"  VN123 \n", {}, L"VN123"},
        {4711l, {}, L"4711"},        {{}, L"XX 9", L"XX 9"},
        {L"", L"XX", L"XX"},         {L"   ", L"XX", L"XX"},
        {octets, L"XX", L"XX"},      {{}, {}, L""},
        {{}, octets, L""},
    };
    const DisposablePtr<OIDProvider> provider = Create();
    for (const IdentityCase& each : cases) {
        agent->objects.clear();
        if (each.ours) agent->Add(serialNumberOid, *each.ours);
        if (each.standard) agent->Add(standardSerialNumberOid, *each.standard);
        EXPECT_EQ(ReadSerialNumber(*provider), each.identity);
    }
}

}  // namespace
}  // namespace Corvix
