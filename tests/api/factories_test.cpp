// The exported factories of caches and providers, called as a program calls them.
#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "corvixdm/corvixdm.h"
#include "support/fakespooler.h"
#include "support/pavo.h"
#include "support/registrysandbox.h"

namespace Corvix {
namespace {

using CorvixTest::FakeAddress;
using CorvixTest::FakeDevice;
using CorvixTest::FakeDevicePtr;
using CorvixTest::FakeSpooler;

constexpr const wchar_t* document =
    L"<DataMaps><XMLDataMap Protocol=\"Pavo\"><DataItem Name=\"Model\" URI=\"pavo:model\" "
    L"XPath=\"//dd:Model\""
    L" LifeSpan=\"600\"/></XMLDataMap></DataMaps>";

FakeDevicePtr PavoDevice() {
    auto device = std::make_shared<FakeDevice>();
    CorvixTest::ServePavo(*device, CorvixTest::PavoEntry("pavo:model", "/model.xml"));
    device->resources[L"/model.xml"] = {200, "<c xmlns:dd='d'><dd:Model>Printer</dd:Model></c>"};
    return device;
}

/// The model as a collection with this cache answers it, and where it came from.
std::wstring ReadModel(const FakeDevicePtr& device, ICacheProvider* cache) {
    const DisposablePtr<Address> address(new FakeAddress(device));
    DisposablePtr<DataCollection> collection;
    if (CreateDataCollectionFromXML(address.Get(), document, collection.Receive(), cache) != S_OK)
        return L"no collection";
    VARIANT value;
    VariantInit(&value);
    if (collection->GetValue(L"Model", &value) != S_OK) return L"no value";
    ValueOrigin origin{};
    collection->GetValueOrigin(&origin);
    const std::wstring text = value.bstrVal + std::to_wstring(static_cast<int>(origin.source));
    VariantClear(&value);
    VariantClear(&origin.raw);
    return text;
}

TEST(Factories, RegistryCacheOutlivesACollection) {
    const CorvixTest::RegistrySandbox sandbox(HKEY_LOCAL_MACHINE);
    const FakeDevicePtr device = PavoDevice();
    for (const wchar_t* expected : {L"Printer4", L"Printer3"}) {
        const DisposablePtr<ICacheProvider> cache(CreateRegCacheProvider(L"Software\\Test"));
        EXPECT_EQ(ReadModel(device, cache.Get()), expected);
        EXPECT_EQ(cache->GetRefCount(), 1);
    }
    EXPECT_EQ(device->RequestsFor(L"/model.xml"), 1u);
    DWORD bytes = 0;
    EXPECT_EQ(RegGetValueW(HKEY_LOCAL_MACHINE, L"Software\\Test\\SN1\\Pavo", L"Model.Expires", RRF_RT_REG_SZ,
                           nullptr, nullptr, &bytes),
              ERROR_SUCCESS);
    for (const wchar_t* text : {static_cast<const wchar_t*>(nullptr), L"", L"x"})
        EXPECT_TRUE(DisposablePtr<ICacheProvider>(CreateRegCacheProviderForDevice(text, text, 0)));
    const DisposablePtr<ICacheProvider> rootless(CreateRegCacheProvider(nullptr));
    EXPECT_EQ(ReadModel(device, rootless.Get()), L"Printer4");
}

TEST(Factories, PrinterDataCacheOutlivesACollection) {
    FakeSpooler spooler(GetModuleHandleW(L"corvixdm64.dll"));
    const DisposablePtr<ICacheProvider> cache(CreatePrintDataCacheProvider(FakeSpooler::printer));
    EXPECT_EQ(ReadModel(PavoDevice(), cache.Get()), L"Printer4");
    ASSERT_EQ(spooler.writes.size(), 2u);
    for (const FakeSpooler::Write& write : spooler.writes) {
        spooler.values.push_back({write.name, write.type, CorvixTest::BytesOf(write.text.c_str())});
    }
    const DisposablePtr<ICacheProvider> later(CreatePrintDataCacheProvider(FakeSpooler::printer));
    EXPECT_EQ(ReadModel(PavoDevice(), later.Get()), L"Printer3");
    EXPECT_TRUE(DisposablePtr<ICacheProvider>(CreatePrintDataCacheProvider(INVALID_HANDLE_VALUE)));
}

TEST(Factories, ProvidersServeDevicesThatSpeakTheirProtocol) {
    const FakeDevicePtr device = PavoDevice();
    const DisposablePtr<Address> address(new FakeAddress(device));
    const DisposablePtr<PavoProvider> pavo(CreatePavoProvider(address.Get()));
    ASSERT_TRUE(pavo);
    EXPECT_EQ(pavo->GetRefCount(), 1);
    EXPECT_EQ(pavo->GetKind(), 8080u);
    EXPECT_FALSE(DisposablePtr<WSProvider>(CreateWSProvider(address.Get())));
    device->resources[L"/"] = {200, "<e xmlns:wprt='w'><wprt:DeviceId>MFG:Test;</wprt:DeviceId></e>"};
    const DisposablePtr<WSProvider> ws(CreateWSProvider(address.Get()));
    ASSERT_TRUE(ws);
    EXPECT_EQ(ws->GetRefCount(), 1);
    EXPECT_EQ(ws->GetKind(), 3910u);
}

}  // namespace
}  // namespace Corvix
