// Arguments that are missing: every export says so and leaves its outputs alone.
#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <string>

#include "corvixdm/corvixdm.h"
#include "support/faketransport.h"

namespace Corvix {
namespace {

using CorvixTest::FakeAddress;
using CorvixTest::FakeDevice;

/// Arguments of which each call below leaves one out, and the outputs that must stay as they are.
struct Arguments {
    CorvixTest::FakeDevicePtr device = std::make_shared<FakeDevice>();
    DisposablePtr<Address> owned{new FakeAddress(device)};
    Address* address = owned.Get();
    DataMapSpecCollection* maps = DataMapSpecCollection::CreateDataMapSpecCollection();
    const wchar_t* text = L"<DataMaps/>";
    DataCollection* collection = reinterpret_cast<DataCollection*>(1);
    wchar_t* wide = reinterpret_cast<wchar_t*>(1);
    char* narrow = reinterpret_cast<char*>(1);
    StringsMap strings;
    MediaTypesList types;
    VARIANT value{};
    unsigned removed = 9;
    DocumentFault fault{S_OK, 9, 9, nullptr};

    ~Arguments() { DataMapSpecCollection::Dispose(maps); }
    bool AreUntouched() const {
        return collection == reinterpret_cast<DataCollection*>(1) && wide == reinterpret_cast<wchar_t*>(1) &&
               narrow == reinterpret_cast<char*>(1) && strings.empty() && types.empty() &&
               value.vt == VT_EMPTY && removed == 9 && fault.line == 9;
    }
};

/// A call with an argument missing, its result, and the last error; 0 for one that is not set.
struct Call {
    const char* what;
    HRESULT (*call)(Arguments& a);
    HRESULT result = E_FAIL;
    DWORD lastError = 0;
};

void Ignore(const RegCacheEntry*, void*) {}

template <class Made>
HRESULT FailureOf(Made* made) {
    return made ? S_OK : E_FAIL;
}

#define CALL(expression) #expression, []([[maybe_unused]] Arguments & a) -> HRESULT { return expression; }

constexpr DWORD missing = ERROR_INVALID_PARAMETER;
constexpr HRESULT missingStatus = static_cast<HRESULT>(RequestStatus::MissingArgument);

const Call calls[] = {
    {CALL(CreateDataCollectionFromXML(nullptr, a.text, &a.collection, nullptr))},
    {CALL(CreateDataCollectionFromXML(a.address, nullptr, &a.collection, nullptr))},
    {CALL(CreateDataCollectionFromXML(a.address, a.text, nullptr, nullptr))},
    {CALL(CreateDataCollectionFromFile(nullptr, a.text, &a.collection, nullptr))},
    {CALL(CreateDataCollectionFromFile(a.address, nullptr, &a.collection, nullptr))},
    {CALL(CreateDataCollectionFromFile(a.address, a.text, nullptr, nullptr))},
    {CALL(CreateDataCollectionFromDOM(a.address, nullptr, &a.collection, nullptr))},
    {CALL(CreateDataCollectionFromDataMapSpecsCollection(nullptr, a.maps, &a.collection, nullptr))},
    {CALL(CreateDataCollectionFromDataMapSpecsCollection(a.address, nullptr, &a.collection, nullptr))},
    {CALL(CreateDataCollectionFromDataMapSpecsCollection(a.address, a.maps, nullptr, nullptr))},
    {CALL(CreateDataCollectionFromDataMapSpecsCollection(a.address, a.maps, &a.collection, nullptr))},
    {CALL(CreateDataCollectionFromIPPProvider(nullptr, a.maps, &a.collection, nullptr))},
    {CALL(GetValueFromSingleRequest(nullptr, a.text, &a.value)), missingStatus},
    {CALL(GetValueFromSingleRequest(a.address, nullptr, &a.value)), missingStatus},
    {CALL(GetValueFromSingleRequest(a.address, a.text, nullptr)), missingStatus},
    {CALL(SetValueFromSingleRequest(nullptr, a.text, &a.value)), missingStatus},
    {CALL(SetValueFromSingleRequest(a.address, nullptr, &a.value)), missingStatus},
    {CALL(SetValueFromSingleRequest(a.address, a.text, nullptr)), missingStatus},
    {CALL(SetValueFromSingleRequest(a.address, a.text, &a.value)), missingStatus},
    {CALL(FailureOf(CreateOIDProvider(nullptr)))},
    {CALL(FailureOf(CreatePavoProvider(nullptr)))},
    {CALL(FailureOf(CreateWSProvider(nullptr)))},
    {CALL(FailureOf(CreateIPPProvider(nullptr, "/ipp/print"))), E_FAIL, missing},
    {CALL(FailureOf(CreateIPPProvider(a.address, nullptr))), E_FAIL, missing},
    {CALL(FailureOf(CreateIPPProvider2(nullptr, "/ipp/print", "de"))), E_FAIL, missing},
    {CALL(FailureOf(CreateIPPProvider2(a.address, nullptr, "de"))), E_FAIL, missing},
    {CALL(FailureOf(CreateIPPPrintProvider(a.address, nullptr))), E_FAIL, missing},
    {CALL(FailureOf(CreateIPPPrintProvider(a.address, L"ipps://p/ipp/print"))), E_FAIL, missing},
    {CALL(FailureOf(CreateSecureIPPPrintProvider(a.address, nullptr, 0))), E_FAIL, missing},
    {CALL(FailureOf(CreateSecureIPPPrintProvider(a.address, L"ipp://p/ipp/print", 0))), E_FAIL, missing},
    {CALL(FailureOf(QueryIPPAttributes(a.address, nullptr, "all", 0))), E_FAIL, missing},
    {CALL(FailureOf(QueryIPPJobs(a.address, nullptr, nullptr))), E_FAIL, missing},
    {CALL(FailureOf(QueryIPPJobs(nullptr, L"ipp://p/ipp/print", nullptr))), E_FAIL, missing},
    {CALL(FailureOf(GetIPPEnumName(nullptr, 5)))},
    {CALL(NextIPPJob(nullptr, nullptr, nullptr))},
    {CALL(GetDeviceLocaleStrings(nullptr, L"de", &a.wide, &a.narrow)), E_FAIL, missing},
    {CALL(GetDeviceLocaleStrings(a.address, nullptr, &a.wide, &a.narrow)), E_FAIL, missing},
    {CALL(GetDeviceLocaleStrings(a.address, L"de", nullptr, &a.narrow)), E_FAIL, missing},
    {CALL(GetDeviceLocaleStrings(a.address, L"de", &a.wide, nullptr)), E_FAIL, missing},
    {CALL(GetDeviceLocaleStringsCollection(nullptr, L"de", &a.strings, &a.narrow)), E_FAIL, missing},
    {CALL(GetDeviceLocaleStringsCollection(a.address, nullptr, &a.strings, &a.narrow)), E_FAIL, missing},
    {CALL(GetDeviceLocaleStringsCollection(a.address, L"de", nullptr, &a.narrow)), E_FAIL, missing},
    {CALL(GetDeviceLocaleStringsCollection(a.address, L"de", &a.strings, nullptr)), E_FAIL, missing},
    {CALL(ParseStringsToMap(nullptr, L"=", L";", &a.strings, 0, 0))},
    {CALL(ParseStringsToMap(L"", L"=", L";", &a.strings, 0, 0))},
    {CALL(ParseStringsToMap(L"a=b;", L"=", L";", nullptr, 0, 0))},
    {CALL(ParseStringsToMap(L"a=b;", nullptr, L";", &a.strings, 0, 0)), E_FAIL, missing},
    {CALL(ParseStringsToMap(L"a=b;", L"", L";", &a.strings, 0, 0)), E_FAIL, missing},
    {CALL(ParseStringsToMap(L"a=b;", L"=", nullptr, &a.strings, 0, 0)), E_FAIL, missing},
    {CALL(ParseStringsToMap(L"a=b;", L"=", L"", &a.strings, 0, 0)), E_FAIL, missing},
    {CALL(ParseStringsToMap(L"a=b;", L"=", L";", &a.strings, -1, 0)), E_FAIL, missing},
    {CALL(ParseStringsToMap(L"a=b;", L"=", L";", &a.strings, 0, -1)), E_FAIL, missing},
    {CALL(GetMediaTypesList(nullptr, &a.types)), E_FAIL, missing},
    {CALL(GetMediaTypesList(a.address, nullptr)), E_FAIL, missing},
    {CALL(GetMediaTypesString(nullptr, &a.wide)), E_FAIL, missing},
    {CALL(GetMediaTypesString(a.address, nullptr)), E_FAIL, missing},
    {CALL(GetPrinterStringsUri(nullptr, L"de", &a.wide)), E_FAIL, missing},
    {CALL(GetPrinterStringsUri(a.address, nullptr, &a.wide)), E_FAIL, missing},
    {CALL(GetPrinterStringsUri(a.address, L"de", nullptr)), E_FAIL, missing},
    {CALL(GetDeviceIDStringItem(nullptr, L"MDL", &a.wide)), E_FAIL, missing},
    {CALL(GetDeviceIDStringItem(a.address, nullptr, &a.wide)), E_FAIL, missing},
    {CALL(GetDeviceIDStringItem(a.address, L"MDL", nullptr)), E_FAIL, missing},
    {CALL(FailureOf(FindString(nullptr, L"a")))},
    {CALL(FailureOf(FindString(&a.strings, nullptr)))},
    {CALL(FailureOf(GetMediaType(nullptr, 0)))},
    {CALL(static_cast<HRESULT>(GetStringCount(nullptr) + GetMediaTypeCount(nullptr))), S_OK},
    {CALL(ListRegCache(nullptr, Ignore, nullptr))},
    {CALL(ListRegCache(L"", Ignore, nullptr))},
    {CALL(ListRegCache(L"Software", nullptr, nullptr))},
    {CALL(ClearRegCache(nullptr, &a.removed))},
    {CALL(ClearRegCache(L"\\\\", &a.removed))},
    {CALL(CheckRegCacheAccess(nullptr))},
    {CALL(CheckRegCacheAccess(L"\\"))},
    {CALL(FindDocumentFault(nullptr, 0, &a.fault))},
    {CALL(FindDocumentFault("<", 1, nullptr))},
};
#undef CALL

TEST(Arguments, ThatAreMissingAreRefused) {
    Arguments arguments;
    for (const Call& each : calls) {
        SetLastError(0);
        EXPECT_EQ(each.call(arguments), each.result) << each.what;
        if (each.lastError) {
            EXPECT_EQ(GetLastError(), each.lastError) << each.what;
        }
        EXPECT_TRUE(arguments.AreUntouched()) << each.what;
    }
    EXPECT_EQ(arguments.device->calls, 0) << "the device was asked";
    EXPECT_EQ(arguments.address->GetRefCount(), 1);
}

TEST(Arguments, OfNothingAreDisposedOf) {
    DisposeStringBuffer(nullptr, nullptr);
    DisposeStringCollection(nullptr, nullptr);
    DisposeMediaTypesList(nullptr);
    DisposeMediaTypesString(nullptr);
    DisposePrinterStringsUri(nullptr);
    DisposeDeviceIDStringItem(nullptr);
    DataMapSpecCollection::Dispose(nullptr);
}

}  // namespace
}  // namespace Corvix
