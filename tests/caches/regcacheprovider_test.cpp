#include "datamodel/caches/regcacheprovider.h"

#include <gmock/gmock.h>

#include <cstring>
#include <string>
#include <vector>

#include "datamodel/caches/cachekeys.h"
#include "datamodel/caches/devicecache.h"
#include "support/registrysandbox.h"
#include "support/testclock.h"

namespace Corvix {
namespace {

using CorvixTest::TestClock;
using KyUtils::Variant;

constexpr const wchar_t* root = L"Software\\Test\\Cache";
constexpr const wchar_t* deviceKey = L"Software\\Test\\Cache\\Device\\OID";

class RegCacheProviderTest : public testing::Test {
protected:
    RegCacheProviderTest() { provider->SetKeys(L"Device", L"OID"); }

    static std::uint64_t Now() { return *TestClock::Now(); }
    static void SetText(const wchar_t* name, const std::wstring& text) {
        SetBytes(name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    }
    static void SetBytes(const wchar_t* name, DWORD type, const void* data, size_t bytes) {
        ASSERT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, deviceKey, name, type, data, static_cast<DWORD>(bytes)),
                  ERROR_SUCCESS);
    }
    /// The type and the text or number of a value, or "none".
    static std::wstring Stored(const wchar_t* name, const wchar_t* key = deviceKey) {
        wchar_t text[512] = {};
        DWORD type = 0;
        DWORD bytes = sizeof text;
        const LSTATUS read = RegGetValueW(HKEY_LOCAL_MACHINE, key, name, RRF_RT_ANY, &type, text, &bytes);
        if (read != ERROR_SUCCESS) return L"none";
        if (type == REG_SZ) return std::wstring(L"SZ ") + text;
        LONG number = 0;
        std::memcpy(&number, text, sizeof number);
        return L"type " + std::to_wstring(type) + L" " + std::to_wstring(number);
    }
    void AddItem(const wchar_t* name, unsigned lifespan = 0) {
        map->AddDataItemSpec(name, OIDDataItemSpec::CreateOIDDataItemSpec(name, L"1.3", nullptr, false,
                                                                          nullptr, lifespan, nullptr));
    }
    /// Loads into a new store.
    HRESULT Populate() {
        for (const auto& loaded : store.View())
            store.Remove(loaded.first);
        return provider->PopulateFromRegistry(map.Get(), store);
    }
    bool Loads(const wchar_t* name) {
        Populate();
        return store.View().count(name) == 1;
    }

    const CorvixTest::RegistrySandbox sandbox{HKEY_LOCAL_MACHINE};
    const TestClock clock;
    DisposablePtr<RegCacheProvider> provider = RegCacheProvider::Create(root);
    DisposablePtr<DataMapSpec> map{DataMapSpec::CreateDataMapSpec(DataMapTypeEnum::OID)};
    ValueStore store;
};

TEST_F(RegCacheProviderTest, WritesAValueAndItsTimeStamp) {
    Variant flag;
    flag.Receive()->vt = VT_BOOL;
    Variant real;
    real.Receive()->vt = VT_R8;
    struct Case {
        const wchar_t* name;
        const VARIANT& value;
        const wchar_t* stored;
    };
    const Variant text = Variant::FromText(L"LaserJet \u00E9");
    const Variant empty = Variant::FromText(L"");
    const Variant number = Variant::FromI4(-7);
    const Case cases[] = {{L"Text", text.Get(), L"SZ LaserJet \u00E9"},
                          {L"Empty", empty.Get(), L"SZ "},
                          {L"Number", number.Get(), L"type 4 -7"},
                          {L"Flag", flag.Get(), L"none"},
                          {L"Real", real.Get(), L"none"}};
    for (const Case& c : cases) {
        EXPECT_EQ(provider->SetDataValue(c.name, c.value, 18446744073709551615u), S_OK);
        EXPECT_EQ(Stored(c.name), c.stored) << c.name;
        EXPECT_EQ(Stored((std::wstring(c.name) + L".Expires").c_str()), L"SZ 18446744073709551615") << c.name;
    }
    EXPECT_EQ(provider->SetDataValue(nullptr, text.Get(), 0), S_FALSE);
    EXPECT_EQ(provider->SetDataValue(L"", text.Get(), 0), S_OK);
    EXPECT_EQ(Stored(L""), L"none");
}

TEST_F(RegCacheProviderTest, LoadsWhatAnotherProviderWrote) {
    AddItem(L"Model", 600);
    AddItem(L"Pages");
    const Variant model = Variant::FromText(std::wstring(100000, L'm'));
    const Variant pages = Variant::FromI4(INT_MIN);
    const CachedValueMap values = {{L"Model", {model.Get(), Now() - 5, 600}},
                                   {L"Pages", {pages.Get(), 0, 0}}};
    const auto writer = RegCacheProvider::Create(L"\\Software\\Test\\Cache\\");
    writer->SetKeys(L"Device", L"OID");
    EXPECT_EQ(writer->SetDataValues(&values), S_OK);

    EXPECT_EQ(Populate(), S_OK);
    const StoredValue* loaded = store.FindFresh(L"Model");
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded->value.Text(), model.Text());
    EXPECT_EQ(loaded->timeStamp, Now() - 5);
    EXPECT_EQ(loaded->lifespan, 600u);
    EXPECT_EQ(loaded->source, ValueSource::Cache);
    loaded = store.FindFresh(L"Pages");
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded->value->vt, VT_I4);
    EXPECT_EQ(loaded->value->lVal, INT_MIN);
    EXPECT_EQ(store.Count(), 2u);

    Variant value;
    EXPECT_EQ(provider->GetDataValue(L"Pages", value.Receive()), S_OK);
    EXPECT_EQ(value->lVal, INT_MIN);
    EXPECT_EQ(provider->GetDataValue(L"pages", value.Receive()), S_FALSE) << "names are exact";
    EXPECT_EQ(provider->GetDataValue(nullptr, value.Receive()), S_FALSE);
    EXPECT_EQ(provider->GetDataValue(L"Pages", nullptr), S_FALSE);
}

TEST_F(RegCacheProviderTest, LoadsWhatIsFreshByTheMapsLifespan) {
    AddItem(L"Item", 50);
    const Variant value = Variant::FromI4(1);
    provider->SetDataValue(L"Item", value.Get(), Now() - 50 * TestClock::lifespanUnit);
    EXPECT_TRUE(Loads(L"Item"));
    provider->SetDataValue(L"Item", value.Get(), Now() - 50 * TestClock::lifespanUnit - 1);
    EXPECT_FALSE(Loads(L"Item"));
}

TEST_F(RegCacheProviderTest, IgnoresValuesWithoutAGoodTimeStamp) {
    AddItem(L"Item");
    SetText(L"Item", L"value");
    EXPECT_FALSE(Loads(L"Item")) << "no companion";
    for (const wchar_t* stamp : {L"", L"x", L"12x", L" 12", L"-1", L"+1", L"18446744073709551616", L"0x10",
                                 L"999999999999999999999999"}) {
        SetText(L"Item.Expires", stamp);
        EXPECT_FALSE(Loads(L"Item")) << stamp;
    }
    const DWORD number = 12;
    SetBytes(L"Item.Expires", REG_DWORD, &number, sizeof number);
    EXPECT_FALSE(Loads(L"Item")) << "not a text";
    SetText(L"Item.Expires", L"0012");
    EXPECT_TRUE(Loads(L"Item"));
}

TEST_F(RegCacheProviderTest, LoadsOnlyItemsThatTheMapFetches) {
    AddItem(L"Known");
    map->AddDataItemSpec(L"Constant",
                         StaticDataItemSpec::CreateStaticDataItemSpec(L"Constant", L"c", nullptr));
    const Variant value = Variant::FromI4(1);
    for (const wchar_t* name : {L"Known", L"known2", L"Constant", L"Gone", L".Expires"}) {
        provider->SetDataValue(name, value.Get(), 0);
    }
    EXPECT_EQ(Populate(), S_OK);
    EXPECT_EQ(store.Count(), 1u);
    EXPECT_TRUE(store.FindFresh(L"Known"));
}

TEST_F(RegCacheProviderTest, LoadsElementsAndWhatWasAskedForUnderAPrefix) {
    const unsigned lifespan = 10;
    AddItem(L"Plain", lifespan);
    AddItem(L"Dotted.Name", lifespan);
    map->AddDataItemSpec(L"Walk", NextOIDDataItemSpec::CreateNextOidDataItemSpec(
                                      L"Walk", L"1.3", nullptr, false, nullptr, lifespan, nullptr, true, 0));
    map->AddDataItemSpec(
        L"Table", OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(L"Table", L"1.3.N", nullptr, false, nullptr,
                                                                 lifespan, nullptr, true, 0, L"1"));
    struct Case {
        const wchar_t* name;
        bool loaded;
    };
    const Case cases[] = {
        {L"Walk", true},        {L"Walk.001", true},    {L"Tray:Walk.1234", true}, {L"Table.000", true},
        {L"x:Plain", true},     {L"Dotted.Name", true}, {L"x:Dotted.Name", true},  {L"Plain.001", false},
        {L"Dotted.001", false}, {L"Gone.001", false},   {L"Walk:Gone", false},     {L".001", false},
    };
    const Variant value = Variant::FromI4(1);
    for (const Case& c : cases)
        provider->SetDataValue(c.name, value.Get(), Now());
    Populate();
    for (const Case& c : cases)
        EXPECT_EQ(store.FindFresh(c.name) != nullptr, c.loaded) << c.name;
    TestClock::Advance(lifespan * TestClock::lifespanUnit + 1);
    Populate();
    EXPECT_EQ(store.Count(), 0u) << "elements grow as old as their item says";
}

TEST_F(RegCacheProviderTest, ReadsValuesOfAnyRegistryType) {
    const BYTE bytes[] = {0x2A, 0, 0, 0, 9, 9, 9, 9};
    struct Case {
        DWORD type;
        size_t bytes;
        VARTYPE vt;
        LONG number;
        const wchar_t* text;
    };
    const Case cases[] = {{REG_BINARY, 1, VT_I4, 42, L""}, {REG_BINARY, 0, VT_I4, 0, L""},
                          {REG_QWORD, 8, VT_I4, 42, L""},  {REG_SZ, 2, VT_BSTR, 0, L"*"},
                          {REG_SZ, 3, VT_BSTR, 0, L"*"},   {REG_SZ, 0, VT_BSTR, 0, L""}};
    AddItem(L"Item");
    SetText(L"Item.Expires", L"1");
    for (const Case& c : cases) {
        SetBytes(L"Item", c.type, bytes, c.bytes);
        ASSERT_TRUE(Loads(L"Item"));
        const Variant& value = store.FindFresh(L"Item")->value;
        EXPECT_EQ(value->vt, c.vt);
        EXPECT_EQ(value.Text(), c.text) << c.type << " of " << c.bytes;
        EXPECT_EQ(value->vt == VT_I4 ? value->lVal : 0, c.number);
    }
}

TEST_F(RegCacheProviderTest, WritesBackOnlyWhatIsNotExpired) {
    const Variant value = Variant::FromI4(1);
    const CachedValueMap values = {{L"", {value.Get(), 0, 0}},
                                   {L"ForEver", {value.Get(), 0, 0}},
                                   {L"Fresh", {value.Get(), Now() - 50 * TestClock::lifespanUnit, 50}},
                                   {L"Future", {value.Get(), Now() + 1, 50}},
                                   {L"Old", {value.Get(), Now() - 50 * TestClock::lifespanUnit - 1, 50}}};
    EXPECT_EQ(provider->SetDataValues(&values), S_OK);
    EXPECT_EQ(Stored(L"ForEver"), L"type 4 1");
    EXPECT_EQ(Stored(L"Fresh"), L"type 4 1");
    for (const wchar_t* name : {L"", L"Future", L"Future.Expires", L"Old", L"Old.Expires"}) {
        EXPECT_EQ(Stored(name), L"none") << name;
    }
    EXPECT_EQ(provider->SetDataValues(nullptr), S_FALSE);
}

TEST_F(RegCacheProviderTest, KeepsNothingWithoutAKeyToWriteTo) {
    AddItem(L"Item");
    const Variant value = Variant::FromI4(1);
    const CachedValueMap values = {{L"Item", {value.Get(), 0, 0}}};
    const std::wstring tooLong(300, L'k');
    for (const wchar_t* path : {static_cast<const wchar_t*>(nullptr), L"", L"\\", tooLong.c_str()}) {
        const auto unusable = RegCacheProvider::Create(path);
        unusable->SetKeys(L"Device", L"OID");
        EXPECT_EQ(unusable->SetDataValue(L"Item", value.Get(), 0), S_FALSE);
        EXPECT_EQ(unusable->SetDataValues(&values), S_FALSE);
        EXPECT_EQ(unusable->PopulateFromRegistry(map.Get(), store), S_OK);
        EXPECT_EQ(store.Count(), 0u);
        EXPECT_EQ(Stored(L"Item", L""), L"none") << "nothing lands in the root";
        EXPECT_EQ(Stored(L"Item", L"Device\\OID"), L"none");
    }
}

TEST_F(RegCacheProviderTest, GoesOnWithTheNextValueWhenOneCannotBeWritten) {
    const Variant value = Variant::FromI4(1);
    const std::wstring tooLong(20000, L'n');
    const CachedValueMap values = {{tooLong, {value.Get(), 0, 0}}, {L"z", {value.Get(), 0, 0}}};
    EXPECT_EQ(provider->SetDataValues(&values), S_OK);
    EXPECT_EQ(Stored(L"z"), L"type 4 1");
}

TEST_F(RegCacheProviderTest, TellsWhetherThereIsAnythingAtAll) {
    EXPECT_EQ(Populate(), S_FALSE) << "neither items nor values";
    EXPECT_EQ(provider->PopulateFromRegistry(nullptr, store), S_FALSE);
    provider->SetDataValue(L"Item", Variant::FromI4(1).Get(), 0);
    EXPECT_EQ(Populate(), S_OK) << "a value but no items";
    EXPECT_EQ(store.Count(), 0u);
}

TEST_F(RegCacheProviderTest, ForgetsWhatItLoadedUnderAnotherKey) {
    AddItem(L"Item");
    provider->SetDataValue(L"Item", Variant::FromI4(1).Get(), 0);
    Populate();
    Variant value;
    provider->SetKeys(L"Device", L"OID");
    EXPECT_EQ(provider->GetDataValue(L"Item", value.Receive()), S_OK) << "the same key";
    provider->SetKeys(L"Other", L"OID");
    EXPECT_EQ(provider->GetDataValue(L"Item", value.Receive()), S_FALSE);
    EXPECT_FALSE(Loads(L"Item"));
}

TEST_F(RegCacheProviderTest, LeavesEmptyKeyPartsOut) {
    struct Case {
        const wchar_t* collectionKey;
        const wchar_t* dataMapKey;
        const wchar_t* path;
    };
    const Case cases[] = {{L"", L"", L"Software\\Test\\Cache"},
                          {L"D", L"", L"Software\\Test\\Cache\\D"},
                          {L"", L"M", L"Software\\Test\\Cache\\M"},
                          {L"D\\..\\E", L"M", L"Software\\Test\\Cache\\D%5C..%5CE\\M"}};
    for (const Case& c : cases) {
        provider->SetKeys(c.collectionKey, c.dataMapKey);
        EXPECT_EQ(provider->SetDataValue(L"Item", Variant::FromI4(1).Get(), 0), S_OK);
        EXPECT_EQ(Stored(L"Item", c.path), L"type 4 1") << c.path;
    }
}

TEST(KeyPart, HoldsAnyTextWithoutMixingTwoUp) {
    const std::wstring longest(255, L'x');
    EXPECT_EQ(KeyPart(L"VNB3-\u00E9 1/2"), L"VNB3-\u00E9 1/2");
    EXPECT_EQ(KeyPart(L"a\\b\x1\t%\x7F"), L"a%5Cb%01%09%25%7F");
    EXPECT_EQ(KeyPart(longest), longest);
    const std::wstring alike[] = {L"a\\b",
                                  L"a%5Cb",
                                  L"a_b",
                                  longest + L"1",
                                  longest + L"2",
                                  longest + std::wstring(2000, L'\\'),
                                  longest + std::wstring(2001, L'\\')};
    std::vector<std::wstring> parts;
    for (const std::wstring& text : alike) {
        const std::wstring part = KeyPart(text);
        EXPECT_LE(part.size(), 255u);
        EXPECT_EQ(part.find(L'\\'), std::wstring::npos);
        EXPECT_THAT(parts, testing::Not(testing::Contains(part)));
        parts.push_back(part);
    }
}

TEST_F(RegCacheProviderTest, ServesTwoDevicesWithoutMixingThemUp) {
    AddItem(L"Item");
    const Variant one = Variant::FromI4(1);
    const Variant two = Variant::FromI4(2);
    const CachedValueMap ofOne = {{L"Item", {one.Get(), 0, 0}}};
    const CachedValueMap ofTwo = {{L"Item", {two.Get(), 0, 0}}};
    const auto first = DeviceCache::Create(*provider, L"One", L"OID");
    const auto second = DeviceCache::Create(*provider, L"Two", L"OID");
    first->PopulateFromRegistry(map.Get(), store);
    second->PopulateFromRegistry(map.Get(), store);
    EXPECT_EQ(first->SetDataValues(&ofOne), S_OK);
    EXPECT_EQ(second->SetDataValue(L"Item", two.Get(), 0), S_OK);
    EXPECT_EQ(Stored(L"Item", L"Software\\Test\\Cache\\One\\OID"), L"type 4 1");
    EXPECT_EQ(Stored(L"Item", L"Software\\Test\\Cache\\Two\\OID"), L"type 4 2");
    first->PopulateFromRegistry(map.Get(), store);
    Variant value;
    EXPECT_EQ(second->GetDataValue(L"Item", value.Receive()), S_FALSE) << "loaded for the first device";
}

}  // namespace
}  // namespace Corvix
