#include "datamodel/collection/datacollectionimpl.h"

#include <gmock/gmock.h>

#include <new>
#include <string>
#include <vector>

#include "support/bytesvalue.h"
#include "support/fakecache.h"
#include "support/testclock.h"

namespace Corvix {
namespace {

using CorvixTest::FakeCache;
using CorvixTest::TestClock;
using KyUtils::Variant;

/// A collection without a device.
class StoreOnlyCollection final : public DataCollectionImpl {
public:
    explicit StoreOnlyCollection(DisposablePtr<DataMapSpec> map) : DataCollectionImpl(std::move(map)) {}
    std::wstring GetDataMapName() const override { return {}; }
    using DataCollectionImpl::Answer;
};

class DataCollectionTest : public testing::Test {
protected:
    ~DataCollectionTest() override {
        collection.Reset();
        EXPECT_EQ(CorvixTest::liveFakes, 0);
    }
    void AddConstant(const wchar_t* name, const wchar_t* value, const wchar_t* prefix = nullptr) {
        map->AddDataItemSpec(name ? name : L"?",
                             StaticDataItemSpec::CreateStaticDataItemSpec(name, value, prefix));
    }
    std::wstring Read(const wchar_t* name) {
        Variant value;
        return collection->GetValue(name, value.Receive()) == S_OK ? std::wstring(value.Text()) : L"none";
    }
    void Store(const wchar_t* name, const wchar_t* text, unsigned lifespan) {
        EXPECT_EQ(collection->StoreValue(name, Variant::FromText(text).Get(), lifespan), S_OK);
    }
    ValueSource Source() {
        ValueOrigin origin{};
        if (collection->GetValueOrigin(&origin) != S_OK) return ValueSource::None;
        Variant::Adopt(origin.raw);
        return origin.source;
    }

    const TestClock clock;
    DisposablePtr<DataMapSpec> map{DataMapSpec::CreateDataMapSpec(DataMapTypeEnum::OID)};
    DisposablePtr<StoreOnlyCollection> collection =
        DisposablePtr<StoreOnlyCollection>::Share(new StoreOnlyCollection(map));
};

TEST_F(DataCollectionTest, AnswersWhatWasStored) {
    Store(L"Model", L"one", 0);
    Store(L"Model", L"two", 0);
    EXPECT_EQ(Read(L"Model"), L"two");
    EXPECT_EQ(Read(L"model"), L"none") << "names are exact";
    const Variant array = CorvixTest::BytesValue({1, 2, 3});
    EXPECT_EQ(collection->StoreValue(L"Bytes", array.Get(), 0), S_OK);
    Variant copy;
    EXPECT_EQ(collection->GetValue(L"Bytes", copy.Receive()), S_OK);
    EXPECT_EQ(copy->vt, VT_ARRAY | VT_UI1);
    EXPECT_NE(copy->parray, array->parray) << "values are copied in and out";
}

TEST_F(DataCollectionTest, RefusesBadArgumentsAndLeavesTheOutputAlone) {
    VARIANT value = Variant::FromI4(42).Get();
    EXPECT_EQ(collection->GetValue(nullptr, &value), E_FAIL);
    EXPECT_EQ(collection->GetValue(L"Unknown", &value), E_FAIL);
    EXPECT_EQ(collection->GetValue(L"", &value), E_FAIL);
    EXPECT_EQ(value.lVal, 42);
    EXPECT_EQ(collection->GetValue(L"Unknown", nullptr), E_FAIL);
    EXPECT_EQ(collection->StoreValue(nullptr, value, 0), E_FAIL);
    EXPECT_EQ(collection->GetValueOrigin(nullptr), E_FAIL);
    ValueOrigin origin{};
    EXPECT_EQ(collection->GetValueOrigin(&origin), S_FALSE) << "nothing was answered yet";
    VARIANT broken;
    VariantInit(&broken);
    broken.vt = 0x0FFF;
    EXPECT_TRUE(FAILED(collection->StoreValue(L"Broken", broken, 0)));
    EXPECT_EQ(Read(L"Broken"), L"none");
}

TEST_F(DataCollectionTest, AnswersWithinTheLifespanOnly) {
    Store(L"Level", L"full", 10);
    Store(L"Model", L"one", 0);
    TestClock::Advance(10 * TestClock::lifespanUnit);
    EXPECT_EQ(Read(L"Level"), L"full");
    TestClock::Advance(1);
    EXPECT_EQ(Read(L"Level"), L"none");
    EXPECT_EQ(Read(L"Model"), L"one");
    TestClock::Advance(-1);
    EXPECT_EQ(Read(L"Level"), L"full") << "a stale entry stays";
    TestClock::Set(std::nullopt);
    EXPECT_EQ(collection->StoreValue(L"New", Variant::FromI4(1).Get(), 10), E_FAIL);
    EXPECT_EQ(collection->StoreValue(L"New", Variant::FromI4(1).Get(), 0), S_OK);
}

TEST_F(DataCollectionTest, MovesTheConstantsOfAMap) {
    AddConstant(L"a", L"one");
    AddConstant(L"b", L"two", L"Pre");
    AddConstant(L"c", L"three", L"");
    AddConstant(L"d", L"");
    AddConstant(L"e", nullptr);
    AddConstant(L"", L"nameless", L"Pre");
    map->AddDataItemSpec(L"f", XMLDataItemSpec::CreateXMLDataItem());
    AddConstant(L"g", L"last");
    EXPECT_EQ(collection->LoadStaticItems(nullptr), E_FAIL);
    EXPECT_EQ(collection->LoadStaticItems(DisposablePtr<DataMapSpec>(DataMapSpec::CreateDataMapSpec()).Get()),
              E_FAIL)
        << "no items";
    EXPECT_EQ(collection->LoadStaticItems(map.Get()), S_OK);
    EXPECT_EQ(Read(L"a"), L"one");
    EXPECT_EQ(Source(), ValueSource::Static);
    EXPECT_EQ(Read(L"Pre:b"), L"two");
    EXPECT_EQ(Read(L"b"), L"none");
    EXPECT_EQ(Read(L":c"), L"three") << "a prefix that is there but empty";
    EXPECT_EQ(Read(L"g"), L"last");
    for (const wchar_t* name : {L"d", L"e", L"Pre:", L"", L"f"})
        EXPECT_EQ(Read(name), L"none") << name;
    TestClock::Advance(1'000'000'000'000'000);
    EXPECT_EQ(Read(L"a"), L"one") << "constants do not age";
    EXPECT_EQ(map->SizeOf(), 2u) << "the item that is no constant, and the last in name order";
    EXPECT_TRUE(map->GetDataItemSpec(L"f"));
    EXPECT_TRUE(map->GetDataItemSpec(L"g"));
}

TEST_F(DataCollectionTest, TellsHowAnAnswerCameAbout) {
    const auto spec = std::unique_ptr<OIDDataItemSpec>(
        OIDDataItemSpec::CreateOIDDataItemSpec(L"Level", L"1.3", nullptr, false, nullptr, 10, nullptr));
    Variant value;
    EXPECT_EQ(collection->Answer(*spec, L"Level", Variant::FromI4(3), value.Receive()), S_OK);
    ValueOrigin origin{};
    EXPECT_EQ(collection->GetValueOrigin(&origin), S_OK);
    EXPECT_EQ(origin.source, ValueSource::Device);
    EXPECT_EQ(origin.raw.lVal, 3);
    EXPECT_EQ(origin.timeStamp, *TestClock::Now());
    EXPECT_EQ(origin.lifespan, 10u);
    const std::uint64_t fetched = *TestClock::Now();
    TestClock::Advance(5);
    EXPECT_EQ(collection->GetValue(L"Level", value.Receive()), S_OK);
    EXPECT_EQ(collection->GetValueOrigin(&origin), S_OK);
    EXPECT_EQ(origin.source, ValueSource::Store);
    EXPECT_EQ(origin.timeStamp, fetched);
    EXPECT_EQ(collection->GetValue(L"Unknown", value.Receive()), E_FAIL);
    EXPECT_EQ(Source(), ValueSource::Store) << "the last answer that succeeded";
}

TEST_F(DataCollectionTest, HandsItsValuesToTheCacheInTheEnd) {
    const DisposablePtr<FakeCache> cache(new FakeCache);
    AddConstant(L"a", L"constant");
    collection->LoadStaticItems(map.Get());
    Store(L"Model", L"one", 600);
    collection->SetCacheProvider(cache.Get());
    EXPECT_EQ(cache->GetRefCount(), 2);
    EXPECT_EQ(cache->writeBacks, 0);
    collection.Reset();
    EXPECT_EQ(cache->writeBacks, 1);
    EXPECT_EQ(cache->GetRefCount(), 1);
    ASSERT_EQ(cache->written.size(), 2u);
    EXPECT_EQ(cache->written[L"a"].text, L"constant");
    EXPECT_EQ(cache->written[L"Model"].text, L"one");
    EXPECT_EQ(cache->written[L"Model"].timeStamp, *TestClock::Now());
    EXPECT_EQ(cache->written[L"Model"].lifespan, 600u);
}

TEST_F(DataCollectionTest, EndsInPeaceWhenTheCacheRaises) {
    const DisposablePtr<FakeCache> cache(new FakeCache);
    void (*const raises[])() = {[] { throw std::bad_alloc(); }, [] { throw _com_error(E_ABORT); }};
    for (const auto raise : raises) {
        cache->onWriteBack = raise;
        collection = DisposablePtr<StoreOnlyCollection>::Share(new StoreOnlyCollection(map));
        collection->SetCacheProvider(cache.Get());
        collection.Reset();
    }
    EXPECT_EQ(cache->writeBacks, 2);
    EXPECT_EQ(cache->GetRefCount(), 1);
}

}  // namespace
}  // namespace Corvix
