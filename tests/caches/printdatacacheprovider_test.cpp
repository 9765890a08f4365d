#include "datamodel/caches/printdatacacheprovider.h"

#include <gmock/gmock.h>

#include <string>

#include "support/fakespooler.h"
#include "support/testclock.h"

namespace Corvix {
namespace {

using CorvixTest::BytesOf;
using CorvixTest::FakeSpooler;
using CorvixTest::TestClock;
using KyUtils::Variant;

class PrintDataCacheProviderTest : public testing::Test {
protected:
    void AddItem(const wchar_t* name, unsigned lifespan = 0) {
        map->AddDataItemSpec(name, OIDDataItemSpec::CreateOIDDataItemSpec(name, L"1.3", nullptr, false,
                                                                          nullptr, lifespan, nullptr));
    }
    size_t CountLoaded() {
        ValueStore store;
        PrintDataCacheProvider::Create(printer)->FillDataMapSpec(map.Get(), store);
        return store.Count();
    }

    const TestClock clock;
    FakeSpooler spooler;
    HANDLE const printer = FakeSpooler::printer;
    DisposablePtr<DataMapSpec> map{DataMapSpec::CreateDataMapSpec(DataMapTypeEnum::OID)};
};

TEST_F(PrintDataCacheProviderTest, LoadsTextsAndNumbers) {
    AddItem(L"Text", 50);
    AddItem(L"Number");
    AddItem(L"Binary");
    AddItem(L"Old", 50);
    const std::wstring stamp = std::to_wstring(*TestClock::Now() - 50 * TestClock::lifespanUnit);
    const std::wstring tooOld = std::to_wstring(*TestClock::Now() - 50 * TestClock::lifespanUnit - 1);
    spooler.values = {{L"Text", REG_SZ, BytesOf(L"\u00E9t\u00E9")},
                      {L"Text.Expires", REG_SZ, BytesOf(stamp)},
                      {L"Number", REG_DWORD, std::string("\x2A\0\0\0", 4)},
                      {L"Number.Expires", REG_SZ, BytesOf(L"1")},
                      {L"Binary", REG_BINARY, "abcd"},
                      {L"Binary.Expires", REG_SZ, BytesOf(L"1")},
                      {L"Old", REG_SZ, BytesOf(L"old")},
                      {L"Old.Expires", REG_SZ, BytesOf(tooOld)},
                      {L"NotInMap", REG_SZ, BytesOf(L"x")},
                      {L"NotInMap.Expires", REG_SZ, BytesOf(L"1")}};
    const auto provider = PrintDataCacheProvider::Create(printer);
    ValueStore store;
    EXPECT_EQ(provider->FillDataMapSpec(map.Get(), store), S_OK);
    EXPECT_EQ(store.Count(), 2u);
    ASSERT_TRUE(store.FindFresh(L"Text"));
    EXPECT_EQ(store.FindFresh(L"Text")->value.Text(), L"\u00E9t\u00E9");
    ASSERT_TRUE(store.FindFresh(L"Number"));
    EXPECT_EQ(store.FindFresh(L"Number")->value->lVal, 42);
    Variant value;
    EXPECT_EQ(provider->GetDataValue(L"Old", value.Receive()), S_OK) << "age is not asked here";
    EXPECT_EQ(provider->GetDataValue(L"Binary", value.Receive()), S_FALSE);
}

TEST_F(PrintDataCacheProviderTest, IsEmptyWithoutData) {
    AddItem(L"Text");
    spooler.values = {{L"Text", REG_SZ, BytesOf(L"x")}, {L"Text.Expires", REG_SZ, BytesOf(L"1")}};
    EXPECT_EQ(CountLoaded(), 1u);
    spooler.secondEnumeration = ERROR_INVALID_HANDLE;
    EXPECT_EQ(CountLoaded(), 0u);
    spooler.hasKey = false;
    EXPECT_EQ(CountLoaded(), 0u);
    spooler.hasKey = true;
    spooler.values.clear();
    EXPECT_EQ(CountLoaded(), 0u) << "a key without values";
}

TEST_F(PrintDataCacheProviderTest, WritesTextsAndHandsNumbersOverInPlaceOfTheirAddress) {
    const auto provider = PrintDataCacheProvider::Create(printer);
    const Variant text = Variant::FromText(L"ready");
    const Variant number = Variant::FromI4(42);
    const Variant negative = Variant::FromI4(-1);
    Variant flag;
    flag.Receive()->vt = VT_BOOL;
    const std::uint64_t now = *TestClock::Now();
    const CachedValueMap values = {{L"", {text.Get(), 0, 0}},    {L"a", {text.Get(), now, 50}},
                                   {L"b", {number.Get(), 7, 0}}, {L"c", {negative.Get(), 8, 0}},
                                   {L"d", {flag.Get(), 9, 0}},   {L"e", {text.Get(), now + 1, 50}}};
    EXPECT_EQ(provider->SetDataValues(&values), S_OK);
    ASSERT_EQ(spooler.writes.size(), 7u);
    EXPECT_EQ(spooler.writes[0].name, L"a");
    EXPECT_EQ(spooler.writes[0].type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(spooler.writes[0].bytes, 12u);
    EXPECT_EQ(spooler.writes[0].text, std::wstring(L"ready", 6));
    EXPECT_EQ(spooler.writes[1].name, L"a.Expires");
    EXPECT_EQ(spooler.writes[1].text.c_str(), std::to_wstring(now));
    EXPECT_EQ(spooler.writes[2].name, L"b");
    EXPECT_EQ(spooler.writes[2].type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(spooler.writes[2].bytes, 4u);
    EXPECT_EQ(spooler.writes[2].data, reinterpret_cast<const BYTE*>(42));
    EXPECT_EQ(static_cast<LONG>(reinterpret_cast<LONG_PTR>(spooler.writes[4].data)), -1);
    EXPECT_EQ(spooler.writes[6].name, L"d.Expires") << "of other types only the stamp";
    EXPECT_EQ(provider->SetDataValues(nullptr), S_FALSE);
}

TEST_F(PrintDataCacheProviderTest, SkipsTheStampOfAValueThatWasNotWritten) {
    const auto provider = PrintDataCacheProvider::Create(printer);
    const Variant text = Variant::FromText(L"x");
    const CachedValueMap values = {{L"a", {text.Get(), 0, 0}}, {L"b", {text.Get(), 0, 0}}};
    spooler.failingWrite = 1;
    EXPECT_EQ(provider->SetDataValues(&values), S_OK);
    ASSERT_EQ(spooler.writes.size(), 3u);
    EXPECT_EQ(spooler.writes[1].name, L"b");
}

TEST_F(PrintDataCacheProviderTest, WritesNothingWithoutAPrinter) {
    const Variant text = Variant::FromText(L"x");
    const CachedValueMap values = {{L"a", {text.Get(), 0, 0}}};
    for (HANDLE none : {INVALID_HANDLE_VALUE, static_cast<HANDLE>(nullptr)}) {
        const auto provider = PrintDataCacheProvider::Create(none);
        EXPECT_FALSE(provider->HasPrinter());
        provider->SetDataValues(&values);
        provider->SetDataValue(L"a", text.Get(), 0);
    }
    const auto provider = PrintDataCacheProvider::Create(printer);
    provider->SetDataValue(nullptr, text.Get(), 0);
    provider->SetDataValue(L"", text.Get(), 0);
    EXPECT_TRUE(spooler.writes.empty());
    provider->SetDataValue(L"a", text.Get(), 0);
    EXPECT_EQ(spooler.writes.size(), 2u);
}

}  // namespace
}  // namespace Corvix
