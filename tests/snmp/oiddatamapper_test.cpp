#include "datamodel/snmp/oiddatamapper.h"

#include <gmock/gmock.h>

#include "datamodel/snmp/oidproviderimpl.h"
#include "support/dom.h"
#include "support/fakecache.h"
#include "support/fakemib.h"
#include "support/logsandbox.h"
#include "support/testclock.h"

namespace Corvix {
namespace {

using CorvixTest::FakeAgent;
using CorvixTest::MibValue;
using CorvixTest::TestClock;
using KyUtils::Variant;
using testing::ElementsAre;

class OidDataMapperTest : public testing::Test {
protected:
    OidDataMapperTest() { Renew(); }
    ~OidDataMapperTest() override {
        mapper.Reset();
        EXPECT_EQ(CorvixTest::liveFakes, 0);
    }

    /// A collection that knows nothing yet.
    void Renew() {
        agent->failingCall = 0;
        const auto device = std::make_shared<CorvixTest::FakeDevice>();
        CorvixTest::AttachAgent(*device, agent);
        const DisposablePtr<Address> address(new CorvixTest::FakeAddress(device));
        agent->Add(L"1.3.6.1.2.1.25.3.2.1.3.1", L"Corvix printer");
        mapper = OIDDataMapper::Create(OIDProviderImpl::Create(address.Get()), map);
        agent->objects.erase(CorvixTest::ArcsOf(L"1.3.6.1.2.1.25.3.2.1.3.1"));
        agent->calls.clear();
    }
    void AddItem(const wchar_t* name, const wchar_t* oid, const wchar_t* group = nullptr,
                 bool transient = false, const wchar_t* prefix = nullptr, unsigned lifespan = 0) {
        map->AddDataItemSpec(name, OIDDataItemSpec::CreateOIDDataItemSpec(name, oid, group, transient, prefix,
                                                                          lifespan, nullptr));
    }
    void AddWalk(const wchar_t* name, const wchar_t* oid, bool untilEnd, int count, bool transient = false,
                 unsigned lifespan = 0) {
        map->AddDataItemSpec(
            name, NextOIDDataItemSpec::CreateNextOidDataItemSpec(name, oid, nullptr, transient, nullptr,
                                                                 lifespan, nullptr, untilEnd, count));
    }
    void AddTable(const wchar_t* name, const wchar_t* oid, bool untilEnd, int count, bool transient = false,
                  const wchar_t* n = L"0") {
        map->AddDataItemSpec(
            name, OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(name, oid, nullptr, transient, nullptr, 0,
                                                                 nullptr, untilEnd, count, n));
    }
    /// Objects root.1 to root.count with the values "v1" and so on.
    void AddColumn(const std::wstring& root, int count) {
        for (int i = 1; i <= count; ++i)
            agent->Add(root + L"." + std::to_wstring(i), L"v" + std::to_wstring(i));
    }
    std::wstring Read(const wchar_t* name) {
        Variant value;
        const HRESULT result = mapper->GetValue(name, value.Receive());
        if (FAILED(result)) {
            EXPECT_EQ(value->vt, VT_EMPTY) << "an output that a failure touched";
            return L"failed";
        }
        return value->vt == VT_I4 ? L"#" + std::to_wstring(value->lVal) : std::wstring(value.Text());
    }
    /// What the store knows, without asking the device.
    std::wstring Stored(const wchar_t* name) {
        Variant value;
        if (FAILED(mapper->DataCollectionImpl::GetValue(name, value.Receive()))) return L"none";
        return value->vt == VT_I4 ? L"#" + std::to_wstring(value->lVal) : std::wstring(value.Text());
    }

    CorvixTest::FakeAgentPtr agent = std::make_shared<FakeAgent>();
    DisposablePtr<DataMapSpec> map{DataMapSpec::CreateDataMapSpec(DataMapTypeEnum::OID)};
    DisposablePtr<DataCollectionImpl> mapper;
};

TEST_F(OidDataMapperTest, BuildsKeys) {
    std::wstring key = L"before";
    EXPECT_EQ(OIDDataMapper::ConstructKey(L"Tray", L"", L"001", key), E_FAIL);
    EXPECT_EQ(key, L"before");
    EXPECT_EQ(OIDDataMapper::ConstructKey(L"Tray", L"InputTray", L"003", key), S_OK);
    EXPECT_EQ(key, L"Tray:InputTray.003");
    EXPECT_EQ(OIDDataMapper::ConstructKey(L"", L"InputTray", L"", key), S_OK);
    EXPECT_EQ(key, L"InputTray");
    EXPECT_EQ(OIDDataMapper::GetSequenceString(0), L"000");
    EXPECT_EQ(OIDDataMapper::GetSequenceString(7), L"007");
    EXPECT_EQ(OIDDataMapper::GetSequenceString(42), L"042");
    EXPECT_EQ(OIDDataMapper::GetSequenceString(1234), L"1234");
    EXPECT_EQ(mapper->GetDataMapName(), L"OIDDataMap");
}

TEST_F(OidDataMapperTest, ReadsAnItemOnceForItsLifespan) {
    const TestClock clock;
    AddItem(L"Model", L"1.3.1", nullptr, false, nullptr, 10);
    AddItem(L"Status", L"1.3.2", nullptr, true);
    agent->Add(L"1.3.1", L"CX-1");
    agent->Add(L"1.3.2", 3l);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Read(L"Model"), L"CX-1");
        EXPECT_EQ(Read(L"Status"), L"#3");
    }
    EXPECT_THAT(agent->calls, ElementsAre(L"get 1.3.1", L"get 1.3.2", L"get 1.3.2"));
    TestClock::Advance(11 * TestClock::lifespanUnit);
    agent->Add(L"1.3.1", L"CX-2");
    EXPECT_EQ(Read(L"Model"), L"CX-2");
    EXPECT_EQ(Read(L"Tray:Model"), L"CX-2") << "another key of the same item";
    EXPECT_EQ(Stored(L"Tray:Model"), L"CX-2");
    EXPECT_EQ(Stored(L"Status"), L"none");
}

TEST_F(OidDataMapperTest, FailsForWhatIsNoItem) {
    map->AddDataItemSpec(L"Static", StaticDataItemSpec::CreateStaticDataItemSpec(L"Static", L"x", nullptr));
    AddItem(L"NoOid", nullptr);
    AddItem(L"NoOidInGroup", nullptr, L"group");
    AddItem(L"Absent", L"1.3.9");
    AddWalk(L"NoWalk", nullptr, true, 0);
    AddWalk(L"Walk", L"1.3.8", true, 0);
    for (const wchar_t* name : {L"", L":", L".", L"Unknown", L"absent", L"Static", L"NoOid", L"NoOidInGroup",
                                L"NoWalk", L"NoWalk.1", L"Absent", L"Walk.x", L"Walk.-1", L"Walk.1.2",
                                L"Walk.99999999999", L"Absent:", L"a:b:Absent"}) {
        EXPECT_EQ(Read(name), L"failed") << name;
    }
    Variant value;
    EXPECT_EQ(mapper->GetValue(nullptr, value.Receive()), E_FAIL);
    EXPECT_EQ(mapper->GetValue(L"Absent", nullptr), E_FAIL);
    EXPECT_EQ(mapper->GetValue(L"Absent", value.Receive()), agent->absent) << "the device's own result";
    const auto orphan = OIDDataMapper::Create(nullptr, map);
    EXPECT_EQ(orphan->GetValue(L"Absent", value.Receive()), E_FAIL);
}

TEST_F(OidDataMapperTest, ConvertsAndTellsTheRawValue) {
    const CorvixTest::Document document(
        L"<OIDDataMap><DataItem Name='Status' OID='1.3.1' LifeSpan='5'>"
        L"<Conversion Equals='3' Value='idle'/></DataItem></OIDDataMap>");
    map = DisposablePtr<DataMapSpec>(DataMapSpec::CreateDataMapSpec(document.Root().Get()));
    Renew();
    agent->Add(L"1.3.1", 3l);
    EXPECT_EQ(Read(L"Status"), L"idle");
    ValueOrigin origin{};
    ASSERT_EQ(mapper->GetValueOrigin(&origin), S_OK);
    EXPECT_EQ(origin.source, ValueSource::Device);
    EXPECT_EQ(origin.raw.vt, VT_I4);
    EXPECT_EQ(origin.raw.lVal, 3);
    EXPECT_EQ(origin.lifespan, 5u);
}

TEST_F(OidDataMapperTest, ReadsAGroupInOneRequest) {
    AddItem(L"B", L"1.3.2", L"g");
    AddItem(L"A", L"1.3.1", L"g");
    AddItem(L"C", L"1.3.3", L"g");
    AddItem(L"D", L"1.3.4", L"G");
    AddItem(L"E", nullptr, L"g");
    AddItem(L"F", L"1.3.5");
    agent->Add(L"1.3.1", 5l);
    agent->Add(L"1.3.2", L"abc");
    agent->Add(L"1.3.3", 7l);
    EXPECT_EQ(Read(L"B"), L"5,abc,7");
    EXPECT_THAT(agent->calls, ElementsAre(L"many 1.3.1 1.3.2 1.3.3"));
    EXPECT_EQ(Stored(L"B"), L"5,abc,7");
    EXPECT_EQ(Stored(L"A"), L"none");
    EXPECT_EQ(Read(L"D"), L"failed") << "a group of its own, and the device has no such object";
    agent->objects.erase(CorvixTest::ArcsOf(L"1.3.3"));
    EXPECT_EQ(Read(L"A"), L"failed") << "all of a group or nothing";
}

struct WalkCase {
    const char* what;
    const wchar_t* name;
    bool untilEnd;
    int count;
    bool transient;
    const wchar_t* value;
    size_t nextCalls;
    std::vector<const wchar_t*> stored;  ///< keys of elements that the store then has
};

TEST_F(OidDataMapperTest, WalksAsFarAsItMust) {
    AddColumn(L"1.3.1", 5);
    agent->Add(L"1.3.2.1", L"beyond");
    const WalkCase cases[] = {
        {"the whole", L"W", false, 3, false, L"W.###", 3, {L"W.001", L"W.002", L"W.003"}},
        {"the whole under its own name", L"W.###", false, 3, false, L"W.###", 3, {L"W.001", L"W.003"}},
        {"an element", L"W.2", false, 3, false, L"v2", 3, {L"W.001", L"W.002", L"W.003"}},
        {"an element by its key", L"W.002", false, 3, false, L"v2", 3, {L"W.001", L"W.002", L"W.003"}},
        {"an element with a prefix", L"P:W.2", false, 3, false, L"v2", 3, {L"P:W.001", L"P:W.003", L"P:W"}},
        {"transient, an element", L"W.2", false, 3, true, L"v2", 2, {}},
        {"transient, the last element", L"W.3", false, 3, true, L"v3", 3, {}},
        {"transient, the whole", L"W", false, 3, true, L"W.###", 0, {}},
        {"transient, beyond the count", L"W.4", false, 3, true, L"failed", 3, {}},
        {"an element beyond the count", L"W.4", false, 3, false, L"failed", 3, {L"W.003"}},
        {"no count", L"W", false, 0, false, L"W.###", 0, {L"W"}},
        {"a negative count", L"W.1", false, -1, false, L"failed", 0, {L"W"}},
        {"a count goes on beyond the column", L"W.6", false, 6, false, L"beyond", 6, {L"W.005", L"W.006"}},
        {"a count beyond what there is", L"W.2", false, 9, false, L"v2", 7, {L"W.006"}},
        {"until the end", L"W", true, 0, false, L"W.###", 6, {L"W.001", L"W.005"}},
        {"until the end, an element", L"W.5", true, 0, false, L"v5", 6, {L"W.001", L"W.005"}},
        {"until the end, one that is not there", L"W.6", true, 0, false, L"failed", 6, {L"W.005"}},
        {"until the end, transient", L"W.5", true, 0, true, L"v5", 5, {}},
        {"until the end, whatever the count", L"W.5", true, 2, false, L"v5", 6, {L"W.005"}},
    };
    for (const WalkCase& each : cases) {
        AddWalk(L"W", L"1.3.1", each.untilEnd, each.count, each.transient);
        Renew();
        EXPECT_EQ(Read(each.name), each.value) << each.what;
        EXPECT_EQ(agent->CallsOf(L"next"), each.nextCalls) << each.what;
        for (const wchar_t* key : each.stored)
            EXPECT_NE(Stored(key), L"none") << each.what << L" " << key;
        EXPECT_EQ(mapper->Store().Count() == 0, each.transient) << each.what;
    }
}

TEST_F(OidDataMapperTest, NamesTheWalkAndItsElementsInTheStore) {
    AddColumn(L"1.3.1", 3);
    agent->Add(L"1.3.1", L"v0");
    AddWalk(L"InputTray", L"1.3.1", false, 3);
    EXPECT_EQ(Read(L"Tray:InputTray.3"), L"v3");
    EXPECT_EQ(Stored(L"Tray:InputTray"), L"Tray:InputTray.###");
    EXPECT_EQ(Stored(L"Tray:InputTray.000"), L"v0");
    EXPECT_EQ(mapper->Store().Count(), 5u);
    agent->calls.clear();
    EXPECT_EQ(Read(L"Tray:InputTray.0"), L"v0");
    EXPECT_EQ(Read(L"Tray:InputTray.0003"), L"v3");
    EXPECT_EQ(Read(L"Tray:InputTray"), L"Tray:InputTray.###");
    EXPECT_TRUE(agent->calls.empty()) << "one request filled the store";
}

TEST_F(OidDataMapperTest, WalksTheFellowsOfAnInstance) {
    AddColumn(L"1.3.1", 4);
    agent->Add(L"1.3.2.1", L"beyond");
    AddWalk(L"W", L"1.3.1.1", true, 0);
    EXPECT_EQ(Read(L"W.0"), L"v1");
    EXPECT_EQ(Stored(L"W.001"), L"v2");
    EXPECT_EQ(Stored(L"W.003"), L"v4");
    EXPECT_EQ(Stored(L"W.004"), L"none");
}

TEST_F(OidDataMapperTest, CutsAWalkThatHasNoEnd) {
    agent->next = [](const std::wstring& oid) {
        return FakeAgent::Object{
            oid == L"1.3.1" ? L"1.3.1.1" : L"1.3.1." + std::to_wstring(std::stoul(oid.substr(6)) + 1), 1l};
    };
    AddWalk(L"W", L"1.3.1", true, 0);
    const CorvixTest::LogSandbox log;
    EXPECT_EQ(Read(L"W"), L"W.###");
    EXPECT_EQ(agent->CallsOf(L"next"), size_t{OIDDataMapper::maxElements});
    EXPECT_THAT(log.Lines(), testing::Contains(testing::HasSubstr(L"The walk of 1.3.1 has no end")));
    EXPECT_EQ(Stored(OIDDataMapper::GetSequenceString(OIDDataMapper::maxElements).insert(0, L"W.").c_str()),
              L"#1");
}

TEST_F(OidDataMapperTest, EndsTheWalkWhereNoRoomIsEnough) {
    agent->next = [](const std::wstring&) { return FakeAgent::Object{std::wstring(1000, L'1'), 1l}; };
    AddWalk(L"W", L"1.3.1", false, 3);
    Variant value;
    EXPECT_EQ(mapper->GetValue(L"W.1", value.Receive()), E_FAIL);
    EXPECT_EQ(agent->CallsOf(L"next"), 6u);
    EXPECT_EQ(Read(L"W"), L"W.###");
}

struct TableCase {
    const char* what;
    const wchar_t* name;
    bool untilEnd;
    int count;
    bool transient;
    const wchar_t* value;
    size_t gets;
};

TEST_F(OidDataMapperTest, ReadsTablesWithSingleGets) {
    AddColumn(L"1.3.1", 4);
    agent->Add(L"1.3.1.0", L"v0");
    agent->Add(L"1.3.1.6", L"v6");
    const TableCase cases[] = {
        {"the whole", L"T", false, 3, false, L"T.###", 4},
        {"an element", L"T.2", false, 3, false, L"v2", 4},
        {"the first", L"T.0", false, 3, false, L"v0", 4},
        {"beyond the count", L"T.4", false, 3, false, L"failed", 4},
        {"behind a gap", L"T.6", false, 6, false, L"v6", 7},
        {"in a gap", L"T.5", false, 6, false, L"failed", 7},
        {"transient", L"T.2", false, 3, true, L"v2", 3},
        {"transient, the first", L"T.0", false, 3, true, L"v0", 1},
        {"until the end", L"T.4", true, 0, false, L"v4", 6},
        {"until the end, transient", L"T.4", true, 0, true, L"v4", 5},
        {"until the end, behind a gap", L"T.6", true, 0, false, L"failed", 6},
    };
    for (const TableCase& each : cases) {
        AddTable(L"T", L"1.3.1.N", each.untilEnd, each.count, each.transient);
        Renew();
        for (int i = 0; i < 2; ++i) {
            for (const auto& stored : mapper->Store().View())
                mapper->Store().Remove(stored.first);
            agent->calls.clear();
            EXPECT_EQ(Read(each.name), each.value) << each.what << ", time " << i;
            EXPECT_EQ(agent->CallsOf(L"get"), each.gets) << each.what;
        }
        EXPECT_EQ(agent->CallsOf(L"next"), 0u);
        EXPECT_EQ(Stored(L"T"), each.transient ? L"none" : L"T.###");
        EXPECT_EQ(Stored(L"T.000"), each.transient ? L"none" : L"v0");
    }
}

TEST_F(OidDataMapperTest, CutsATableThatHasNoEnd) {
    AddTable(L"T", L"1.3.1", true, 0);  // no template: the same object again and again
    agent->Add(L"1.3.1", 1l);
    EXPECT_EQ(Read(L"T"), L"T.###");
    EXPECT_EQ(agent->CallsOf(L"get"), size_t{OIDDataMapper::maxElements} + 1);
}

TEST_F(OidDataMapperTest, ReadsNothingOfATableWithoutAFirstIndex) {
    AddColumn(L"1.3.1", 3);
    AddTable(L"T", L"1.3.1.N", true, 0, false, nullptr);
    EXPECT_EQ(Read(L"T.1"), L"failed");
    EXPECT_THAT(agent->calls, ElementsAre(L"get ", L"get "));
}

TEST_F(OidDataMapperTest, DoesNotAskASilentDeviceForEveryElement) {
    AddTable(L"T", L"1.3.1.N", false, 1000);
    for (const int silentFrom : {1, 2}) {
        Renew();
        AddColumn(L"1.3.1", 1000);
        agent->failingCall = silentFrom;
        EXPECT_EQ(Read(L"T.900"), L"failed");
        EXPECT_EQ(agent->calls.size(), static_cast<size_t>(silentFrom));
    }
}

TEST_F(OidDataMapperTest, KnowsWhichElementsThereAreWhileTheSequenceIsFresh) {
    const TestClock clock;
    AddColumn(L"1.3.1", 3);
    AddWalk(L"W", L"1.3.1", true, 0, false, 10);
    AddTable(L"T", L"1.3.1.N", true, 0);
    EXPECT_EQ(Read(L"W"), L"W.###");
    EXPECT_EQ(Read(L"T"), L"T.###");
    agent->calls.clear();
    for (const wchar_t* name : {L"W.000", L"W.4", L"W.004", L"T.4", L"T.0"})
        EXPECT_EQ(Read(name), L"failed") << name;
    EXPECT_TRUE(agent->calls.empty());
    TestClock::Advance(11 * TestClock::lifespanUnit);
    agent->Add(L"1.3.1.4", L"v4");
    EXPECT_EQ(Read(L"W.4"), L"v4") << "the sequence has grown old";
}

TEST_F(OidDataMapperTest, DoesNotTakeAnInterruptedWalkForTheWhole) {
    AddColumn(L"1.3.1", 4);
    AddWalk(L"W", L"1.3.1", true, 0);
    agent->failingCall = 4;  // the third get-next
    EXPECT_EQ(Read(L"W"), L"W.###");
    EXPECT_EQ(Stored(L"W.002"), L"v2");
    EXPECT_EQ(Stored(L"W"), L"none");
    EXPECT_EQ(Read(L"W.4"), L"v4");
    Renew();
    agent->failingCall = 2;  // no element at all
    Variant value;
    EXPECT_EQ(mapper->GetValue(L"W", value.Receive()), agent->failure);
    EXPECT_EQ(Stored(L"W"), L"none");
}

TEST_F(OidDataMapperTest, DoesNotTakeAWalkWithoutMemoryForTheWhole) {
    AddColumn(L"1.3.1", 4);
    AddWalk(L"W", L"1.3.1", true, 0);
    const DisposablePtr<CorvixTest::FakeCache> cache(new CorvixTest::FakeCache);
    mapper->SetCacheProvider(cache.Get());
    agent->next = [](const std::wstring&) -> FakeAgent::Object { throw std::bad_alloc(); };
    Variant value;
    EXPECT_THROW(mapper->GetValue(L"W", value.Receive()), _com_error);
    mapper.Reset();
    EXPECT_EQ(cache->written.count(L"W"), 0u);

    Renew();
    EXPECT_THROW(mapper->GetValue(L"W", value.Receive()), _com_error);
    agent->next = nullptr;
    EXPECT_EQ(Read(L"W.2"), L"v2");
}

/// The name of a sequence in a cache says to later collections that all its elements are there.
TEST_F(OidDataMapperTest, HandsOnlyWholeSequencesToTheCache) {
    struct Case {
        const char* what;
        MibValue second;
        int failingCall;
        HRESULT failure;
        bool whole;
    };
    const Case cases[] = {
        {"texts", L"v2", 0, S_OK, true},
        {"a number", 2L, 0, S_OK, true},
        {"octets, which caches do not keep", std::vector<unsigned char>{1, 2}, 0, S_OK, false},
        {"an error of the agent", L"v2", 4, E_FAIL, false},
        {"silence", L"v2", 4, HRESULT_FROM_WIN32(WSAETIMEDOUT), false},
        {"the end of the view", L"v2", 4, HRESULT_FROM_WIN32(ERROR_NOT_FOUND), true},
    };
    AddWalk(L"W", L"1.3.1", true, 0);
    AddColumn(L"1.3.1", 3);
    for (const Case& c : cases) {
        Renew();
        agent->Add(L"1.3.1.2", c.second);
        agent->failingCall = c.failingCall;
        agent->failure = c.failure;
        const DisposablePtr<CorvixTest::FakeCache> cache(new CorvixTest::FakeCache);
        mapper->SetCacheProvider(cache.Get());
        EXPECT_EQ(Read(L"x:W"), L"x:W.###") << c.what;
        EXPECT_EQ(Read(L"x:W.1"), L"v1") << c.what;
        mapper.Reset();
        EXPECT_EQ(cache->written.count(L"x:W") == 1, c.whole) << c.what;
        EXPECT_EQ(cache->written.count(L"x:W.001"), 1u) << c.what;
    }
}

/// Every request, with the device failing at each call in turn: a value or a failure, never a wrong value.
TEST_F(OidDataMapperTest, SurvivesAFailureAtAnyCall) {
    AddColumn(L"1.3.1", 4);
    agent->Add(L"1.3.1.0", L"v0");
    AddItem(L"Item", L"1.3.1.1");
    AddItem(L"InGroup", L"1.3.1.2", L"g");
    AddItem(L"InGroupToo", L"1.3.1.3", L"g");
    AddWalk(L"Walk", L"1.3.1.0", false, 3);
    AddWalk(L"WalkToEnd", L"1.3.1.0", true, 0);
    AddTable(L"Table", L"1.3.1.N", false, 3);
    AddTable(L"TableToEnd", L"1.3.1.N", true, 0);
    const std::pair<const wchar_t*, const wchar_t*> requests[] = {
        {L"Item", L"v1"},        {L"InGroup", L"v2,v3"}, {L"Walk.2", L"v2"},
        {L"WalkToEnd.2", L"v2"}, {L"Table.2", L"v2"},    {L"TableToEnd.2", L"v2"},
    };
    for (const HRESULT failure : {HRESULT_FROM_WIN32(WSAETIMEDOUT), E_OUTOFMEMORY, E_FAIL}) {
        for (const auto& [name, expected] : requests) {
            for (int call = 1; call <= 9; ++call) {
                Renew();
                agent->failure = failure;
                agent->failingCall = call;
                EXPECT_THAT(Read(name), testing::AnyOf(std::wstring(expected), std::wstring(L"failed")))
                    << call;
                agent->failingCall = 0;
                EXPECT_EQ(Read(name), expected) << name << L" after a failure at call " << call;
            }
        }
    }
}

}  // namespace
}  // namespace Corvix
