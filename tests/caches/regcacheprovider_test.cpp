#include "datamodel/caches/regcacheprovider.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <string>
#include <tuple>
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
    const Variant text = Variant::FromText(L"LaserJet \u00E9");
    const Variant empty = Variant::FromText(L"");
    const Variant number = Variant::FromI4(-7);
    const std::pair<const VARIANT&, const wchar_t*> cases[] = {
        {text.Get(), L"SZ LaserJet \u00E9"}, {empty.Get(), L"SZ "}, {number.Get(), L"type 4 -7"}};
    for (const auto& [value, stored] : cases) {
        EXPECT_EQ(provider->SetDataValue(L"Item", value, 18446744073709551615u), S_OK);
        EXPECT_EQ(Stored(L"Item"), stored);
        EXPECT_EQ(Stored(L"Item.Expires"), L"SZ 18446744073709551615");
    }
    EXPECT_EQ(provider->SetDataValue(L"Flag", flag.Get(), 1), S_OK);
    EXPECT_EQ(Stored(L"Flag"), L"none");
    EXPECT_EQ(Stored(L"Flag.Expires"), L"SZ 1") << "of other types only the stamp";
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

TEST_F(RegCacheProviderTest, LoadsWhatTheMapFetchesWithItsElementsAndPrefixes) {
    const unsigned lifespan = 10;
    AddItem(L"Plain", lifespan);
    AddItem(L"Dotted.Name", lifespan);
    map->AddDataItemSpec(L"Walk", NextOIDDataItemSpec::CreateNextOidDataItemSpec(
                                      L"Walk", L"1.3", nullptr, false, nullptr, lifespan, nullptr, true, 0));
    map->AddDataItemSpec(
        L"Table", OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(L"Table", L"1.3.N", nullptr, false, nullptr,
                                                                 lifespan, nullptr, true, 0, L"1"));
    map->AddDataItemSpec(L"Constant",
                         StaticDataItemSpec::CreateStaticDataItemSpec(L"Constant", L"c", nullptr));
    const std::vector<const wchar_t*> loaded = {L"Plain",     L"Walk",    L"Walk.001",    L"Tray:Walk.1234",
                                                L"Table.000", L"x:Plain", L"Dotted.Name", L"x:Dotted.Name"};
    const std::vector<const wchar_t*> passedOver = {L"plain",    L"Constant",  L"Gone",
                                                    L".Expires", L"Plain.001", L"Dotted.001",
                                                    L"Gone.001", L"Walk:Gone", L".001"};
    for (const auto* names : {&loaded, &passedOver}) {
        for (const wchar_t* name : *names)
            provider->SetDataValue(name, Variant::FromI4(1).Get(), Now());
    }
    EXPECT_EQ(Populate(), S_OK);
    for (const wchar_t* name : loaded)
        EXPECT_TRUE(store.FindFresh(name)) << name;
    EXPECT_EQ(store.Count(), loaded.size());
    TestClock::Advance(lifespan * TestClock::lifespanUnit + 1);
    Populate();
    EXPECT_EQ(store.Count(), 0u) << "elements grow as old as their item says";
}

TEST_F(RegCacheProviderTest, ReadsValuesOfAnyRegistryType) {
    const BYTE bytes[] = {0x2A, 0, 0, 0, 9, 9, 9, 9};
    const std::tuple<DWORD, size_t, std::wstring> cases[] = {{REG_BINARY, 1, L"42"}, {REG_BINARY, 0, L"0"},
                                                             {REG_QWORD, 8, L"42"},  {REG_SZ, 2, L"'*'"},
                                                             {REG_SZ, 3, L"'*'"},    {REG_SZ, 0, L"''"}};
    AddItem(L"Item");
    SetText(L"Item.Expires", L"1");
    for (const auto& [type, size, expected] : cases) {
        SetBytes(L"Item", type, bytes, size);
        ASSERT_TRUE(Loads(L"Item"));
        const Variant& value = store.FindFresh(L"Item")->value;
        EXPECT_EQ(
            value->vt == VT_I4 ? std::to_wstring(value->lVal) : L"'" + std::wstring(value.Text()) + L"'",
            expected)
            << type << " of " << size;
    }
}

TEST_F(RegCacheProviderTest, WritesBackOnlyWhatIsNotExpired) {
    const Variant value = Variant::FromI4(1);
    const std::wstring tooLong(20000, L'n');
    const std::uint64_t limit = Now() - 50 * TestClock::lifespanUnit;
    const CachedValueMap values = {{L"", {value.Get(), 0, 0}},
                                   {L"ForEver", {value.Get(), 0, 0}},
                                   {L"Fresh", {value.Get(), limit, 50}},
                                   {L"Future", {value.Get(), Now() + 1, 50}},
                                   {L"Old", {value.Get(), limit - 1, 50}},
                                   {tooLong, {value.Get(), 0, 0}},
                                   {L"z", {value.Get(), 0, 0}}};
    EXPECT_EQ(provider->SetDataValues(&values), S_OK);
    for (const wchar_t* name : {L"ForEver", L"Fresh", L"z"})
        EXPECT_EQ(Stored(name), L"type 4 1") << name;
    for (const wchar_t* name : {L"", L"Future", L"Future.Expires", L"Old", L"Old.Expires"})
        EXPECT_EQ(Stored(name), L"none") << name;
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

TEST_F(RegCacheProviderTest, TellsWhetherThereIsAnythingAtAll) {
    EXPECT_EQ(Populate(), S_FALSE) << "neither items nor values";
    EXPECT_EQ(provider->PopulateFromRegistry(nullptr, store), S_FALSE);
    provider->SetDataValue(L"Item", Variant::FromI4(1).Get(), 0);
    EXPECT_EQ(Populate(), S_OK) << "a value but no items";
    EXPECT_EQ(store.Count(), 0u);
}

TEST_F(RegCacheProviderTest, LeavesEmptyKeyPartsOut) {
    AddItem(L"Item");
    const std::array<const wchar_t*, 3> cases[] = {
        {L"", L"", L"Software\\Test\\Cache"},
        {L"D", L"", L"Software\\Test\\Cache\\D"},
        {L"", L"M", L"Software\\Test\\Cache\\M"},
        {L"D\\..\\E", L"M", L"Software\\Test\\Cache\\D%5C..%5CE\\M"}};
    Variant value;
    for (const auto& [collectionKey, dataMapKey, path] : cases) {
        provider->SetKeys(collectionKey, dataMapKey);
        EXPECT_EQ(provider->GetDataValue(L"Item", value.Receive()), S_FALSE) << "loaded under another key";
        EXPECT_EQ(provider->SetDataValue(L"Item", Variant::FromI4(1).Get(), 0), S_OK);
        EXPECT_EQ(Stored(L"Item", path), L"type 4 1") << path;
        EXPECT_TRUE(Loads(L"Item"));
        provider->SetKeys(collectionKey, dataMapKey);
        EXPECT_EQ(provider->GetDataValue(L"Item", value.Receive()), S_OK) << "the same key";
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
    const CachedValueMap ofOne = {{L"Item", {one.Get(), 0, 0}}};
    const auto first = DeviceCache::Create(*provider, L"One", L"OID");
    const auto second = DeviceCache::Create(*provider, L"Two", L"OID");
    EXPECT_EQ(first->SetDataValues(&ofOne), S_OK);
    EXPECT_EQ(second->SetDataValue(L"Item", Variant::FromI4(2).Get(), 0), S_OK);
    EXPECT_EQ(Stored(L"Item", L"Software\\Test\\Cache\\One\\OID"), L"type 4 1");
    EXPECT_EQ(Stored(L"Item", L"Software\\Test\\Cache\\Two\\OID"), L"type 4 2");
    first->PopulateFromRegistry(map.Get(), store);
    Variant value;
    EXPECT_EQ(second->GetDataValue(L"Item", value.Receive()), S_FALSE) << "loaded for the first device";
}

}  // namespace
}  // namespace Corvix
