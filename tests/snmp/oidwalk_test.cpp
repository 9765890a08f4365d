#include "datamodel/snmp/oidwalk.h"

#include <gmock/gmock.h>

#include "corvixdm/disposableptr.h"
#include "datamodel/snmp/oidproviderimpl.h"
#include "datamodel/snmp/oidtext.h"
#include "support/fakemib.h"

namespace Corvix {
namespace {

using CorvixTest::FakeAgent;
using KyUtils::Variant;
using testing::ElementsAre;

TEST(OidText, IsOrderedByItsArcs) {
    const wchar_t* const ascending[] = {L"",
                                        L"0",
                                        L"1",
                                        L"1.3.6.1.2",
                                        L"1.3.6.1.2.0",
                                        L"1.3.6.1.2.1",
                                        L"1.3.6.1.2.9",
                                        L"1.3.6.1.2.10",
                                        L"1.3.6.1.2.10.1",
                                        L"1.3.6.1.2.11",
                                        L"1.3.6.1.10.1",
                                        L"2",
                                        L"2.99999999999999999999999",
                                        L"2.100000000000000000000000"};
    for (const wchar_t* const& left : ascending) {
        for (const wchar_t* const& right : ascending) {
            const int order = CompareOids(left, right);
            EXPECT_EQ(order < 0, &left < &right) << left << L" " << right;
            EXPECT_EQ(order == 0, &left == &right) << left << L" " << right;
        }
    }
    EXPECT_EQ(CompareOids(L".1.3.6", L"1.03.6"), 0) << "written otherwise, but the same";
}

TEST(OidText, TellsWhatLiesBelow) {
    for (const wchar_t* below : {L"1.3.6.1", L"1.3.6.1.2.3", L".1.3.6.1"}) {
        EXPECT_TRUE(IsBelowOid(L"1.3.6", below)) << below;
        EXPECT_TRUE(IsBelowOid(L".1.3.6", below)) << below;
    }
    for (const wchar_t* beside : {L"1.3.6", L"1.3.60", L"1.3.7.1", L"1.3", L""})
        EXPECT_FALSE(IsBelowOid(L"1.3.6", beside)) << beside;
    EXPECT_TRUE(IsBelowOid(L"", L"1"));
    EXPECT_EQ(ParentOid(L"1.3.6.1"), L"1.3.6");
    EXPECT_EQ(ParentOid(L"1"), L"");
}

class OidWalkTest : public testing::Test {
protected:
    OidWalkTest() {
        agent->Add(L"1.3.6.1.2.1.25.3.2.1.3.1", L"Corvix printer");
        const auto device = std::make_shared<CorvixTest::FakeDevice>();
        CorvixTest::AttachAgent(*device, agent);
        const DisposablePtr<Address> address(new CorvixTest::FakeAddress(device));
        provider = OIDProviderImpl::Create(address.Get());
        agent->objects.clear();
    }
    /// Steps until the end; the numbers found, and what the end was.
    std::pair<std::vector<long>, HRESULT> Numbers(OidWalk& walk) {
        std::vector<long> numbers;
        for (;;) {
            Variant value;
            const HRESULT result = walk.Next(value);
            if (result != S_OK) {
                EXPECT_EQ(value->vt, VT_EMPTY);
                return {numbers, result};
            }
            numbers.push_back(value->lVal);
        }
    }

    CorvixTest::FakeAgentPtr agent = std::make_shared<FakeAgent>();
    DisposablePtr<OIDProvider> provider;
};

TEST_F(OidWalkTest, GivesALittleMoreRoomAtEveryObject) {
    for (const wchar_t* oid : {L"1.3.1", L"1.3.2", L"1.3.3"})
        agent->Add(oid, 1l);
    OidWalk walk(*provider, L"1.3");
    EXPECT_EQ(Numbers(walk).first.size(), 3u);
    EXPECT_THAT(agent->rooms, ElementsAre(8, 12, 16, 20));
}

struct RoomCase {
    const wchar_t* next;
    std::vector<unsigned> rooms;
    HRESULT result;
};

TEST_F(OidWalkTest, AsksAgainWithMoreRoomAtMostFiveTimes) {
    const RoomCase cases[] = {
        {L"1.3.678", {8}, S_OK},  // seven characters and the zero
        {L"1.3.6789", {8, 10}, S_OK},
        {L"1.3.678901234567", {8, 10, 12, 14, 16, 18}, S_OK},
        {L"1.3.67890123456789", {8, 10, 12, 14, 16, 18}, E_OUTOFMEMORY},
    };
    for (const RoomCase& each : cases) {
        agent->rooms.clear();
        agent->next = [&each](const std::wstring&) { return FakeAgent::Object{each.next, 1l}; };
        OidWalk walk(*provider, L"1.3");
        Variant value;
        EXPECT_EQ(walk.Next(value), each.result) << each.next;
        EXPECT_EQ(agent->rooms, each.rooms) << each.next;
    }
}

TEST_F(OidWalkTest, KeepsTheRoomThatItHadToMake) {
    agent->Add(L"1.3.678901", 1l);
    agent->Add(L"1.3.678902", 2l);
    OidWalk walk(*provider, L"1.3");
    EXPECT_THAT(Numbers(walk).first, ElementsAre(1, 2));
    EXPECT_THAT(agent->rooms, ElementsAre(8, 10, 12, 16, 20));
}

TEST_F(OidWalkTest, StaysBelowItsRoot) {
    for (const wchar_t* oid : {L"1.3.1.1", L"1.3.1.2", L"1.3.1.10", L"1.3.2.1"})
        agent->Add(oid, static_cast<long>(agent->objects.size()));
    OidWalk free(*provider, L"1.3.1");
    EXPECT_EQ(Numbers(free), std::make_pair((std::vector<long>{0, 1, 2, 3}), agent->absent));
    OidWalk bounded(*provider, L"1.3.1");
    bounded.StayBelow(L"1.3.1");
    EXPECT_EQ(Numbers(bounded), std::make_pair((std::vector<long>{0, 1, 2}), HRESULT{S_FALSE}));
}

TEST_F(OidWalkTest, EndsWhereTheDeviceDoesNotGoForward) {
    for (const wchar_t* back : {L"1.3.1.2", L"1.3.1.1", L"1.3.1", L"1.3.1.02", L""}) {
        agent->next = [back](const std::wstring& oid) {
            if (oid == L"1.3.1.2") return FakeAgent::Object{back, 9l};
            return oid == L"1.3.1" ? FakeAgent::Object{L"1.3.1.1", 1l} : FakeAgent::Object{L"1.3.1.2", 2l};
        };
        OidWalk walk(*provider, L"1.3.1");
        walk.StayBelow(L"1.3.1");
        EXPECT_EQ(Numbers(walk), std::make_pair((std::vector<long>{1, 2}), HRESULT{S_FALSE})) << back;
    }
}

}  // namespace
}  // namespace Corvix
