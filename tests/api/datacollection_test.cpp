// The exported ways to a data collection, called as a program calls them.
#include <gmock/gmock.h>

#include <msxml2.h>
#include <wrl/client.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <tuple>

#include "corvixdm/corvixdm.h"
#include "support/fakecache.h"
#include "support/faketransport.h"
#include "support/ippbytes.h"
#include "support/pavo.h"
#include "support/tempfile.h"

namespace Corvix {
namespace {

namespace Bytes = Ipp::Testing;
using CorvixTest::FakeAddress;
using CorvixTest::FakeDevice;
using CorvixTest::HttpAnswer;
using Microsoft::WRL::ComPtr;

constexpr const wchar_t* declaration = L"<?xml version=\"1.0\" encoding=\"utf-8\"?>";
constexpr const wchar_t* document =
    L"<DataMaps><!-- of a kind --><XMLDataMap Protocol=\"plsxml\">"
    L"<DataItem Name=\"Model\" URI=\"/a.xml\" XPath=\"//Model\"><Conversion Equals=\"Color Laser 5\" "
    L"Value=\"laser\"/>"
    L"</DataItem><StaticDataItem Name=\"Class\">printer</StaticDataItem></XMLDataMap></DataMaps>";

class ComThread {
public:
    ComThread() { (void)CoInitialize(nullptr); }
    ~ComThread() { CoUninitialize(); }
};

class DataCollectionApiTest : public testing::Test {
protected:
    DataCollectionApiTest() { device->resources[L"/a.xml"] = {200, "<a><Model>Color Laser 5</Model></a>"}; }
    ~DataCollectionApiTest() override {
        EXPECT_EQ(collection, untouched) << "outputs are left alone on failure";
        EXPECT_EQ(address->GetRefCount(), 1);
        address.Reset();
        EXPECT_EQ(CorvixTest::liveFakes, 0);
    }

    static ComPtr<IXMLDOMDocument> Load(const wchar_t* text) {
        const CLSID domDocument = {
            0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
        ComPtr<IXMLDOMDocument> dom;
        CoCreateInstance(domDocument, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument, &dom);
        VARIANT_BOOL loaded = VARIANT_FALSE;
        BSTR source = SysAllocString(text);
        EXPECT_EQ(dom->loadXML(source, &loaded), S_OK);
        SysFreeString(source);
        return dom;
    }
    static std::wstring Read(DataCollection& from, const wchar_t* name) {
        VARIANT value;
        VariantInit(&value);
        if (from.GetValue(name, &value) != S_OK) return L"none";
        const std::wstring text = value.vt == VT_BSTR ? value.bstrVal : L"not a text";
        VariantClear(&value);
        return text;
    }
    void ExpectWorking(const DisposablePtr<DataCollection>& made) {
        ASSERT_TRUE(made);
        EXPECT_EQ(Read(*made, L"Model"), L"laser");
        EXPECT_EQ(Read(*made, L"Class"), L"printer");
        EXPECT_EQ(made->GetDataMapName(), L"XMLDataMap[@Protocol='PLSXML']");
        EXPECT_EQ(made->GetRefCount(), 1);
    }

    DataCollection* const untouched = reinterpret_cast<DataCollection*>(1);
    DataCollection* collection = untouched;
    CorvixTest::FakeDevicePtr device = std::make_shared<FakeDevice>();
    DisposablePtr<Address> address{new FakeAddress(device)};
};

TEST_F(DataCollectionApiTest, ComesFromText) {
    DisposablePtr<DataCollection> made;
    EXPECT_EQ(CreateDataCollectionFromXML(address.Get(), document, made.Receive(), nullptr), S_OK);
    ExpectWorking(made);
    const std::wstring declared = std::wstring(declaration) + L"<!-- a map -->" + document;
    EXPECT_EQ(CreateDataCollectionFromXML(address.Get(), declared.c_str(), made.Receive(), nullptr), S_OK);
    ExpectWorking(made);
}

TEST_F(DataCollectionApiTest, ComesFromAFile) {
    const CorvixTest::TempFile file;
    const std::wstring text = std::wstring(declaration) + document;
    std::ofstream(std::string(file.Name().begin(), file.Name().end()))
        << std::string(text.begin(), text.end());
    DisposablePtr<DataCollection> made;
    EXPECT_EQ(CreateDataCollectionFromFile(address.Get(), file.Name().c_str(), made.Receive(), nullptr),
              S_OK);
    ExpectWorking(made);
}

TEST_F(DataCollectionApiTest, ComesFromADom) {
    const ComThread com;
    DisposablePtr<DataCollection> made;
    EXPECT_EQ(CreateDataCollectionFromDOM(address.Get(), Load(document).Get(), made.Receive(), nullptr),
              S_OK);
    ExpectWorking(made);
    const ComPtr<IXMLDOMDocument> nested = Load((L"<Outer>" + std::wstring(document) + L"</Outer>").c_str());
    ComPtr<IXMLDOMElement> outer;
    nested->get_documentElement(&outer);
    EXPECT_EQ(CreateDataCollectionFromDOM(address.Get(), outer.Get(), made.Receive(), nullptr), S_OK)
        << "any node with the element below it";
}

TEST_F(DataCollectionApiTest, ComesFromSpecifications) {
    DataMapSpecCollection* maps = DataMapSpecCollection::CreateDataMapSpecCollection();
    DataMapSpec* map = DataMapSpec::CreateDataMapSpec(DataMapTypeEnum::PLSXML);
    map->AddDataItemSpec(L"Model", XMLDataItemSpec::CreateXMLDataItem(L"Model", L"/a.xml", L"//Model",
                                                                      nullptr, false, 0, nullptr));
    maps->AddDataMapSpec(map);
    DisposablePtr<DataCollection> made;
    EXPECT_EQ(CreateDataCollectionFromDataMapSpecsCollection(address.Get(), maps, made.Receive(), nullptr),
              S_OK);
    DataMapSpecCollection::Dispose(maps);
    ASSERT_TRUE(made);
    EXPECT_EQ(Read(*made, L"Model"), L"Color Laser 5") << "the map lives as long as its collection";
}

TEST_F(DataCollectionApiTest, ComesFromAnIppProvider) {
    device->host = L"USB001";  // which nobody probes
    device->answer = [](const CorvixTest::HttpExchange&) {
        return HttpAnswer{200, Bytes::Body(Bytes::Value(0x42, "printer-name", "attic")), S_OK, true};
    };
    const DisposablePtr<IPPProvider> provider(
        CreateSecureIPPPrintProvider(address.Get(), L"ipps://p/ipp/print", 0));
    ASSERT_TRUE(provider);
    device->exchanges.clear();
    DataMapSpecCollection* maps = DataMapSpecCollection::CreateDataMapSpecCollection();
    maps->AddDataMapSpec(DataMapSpec::CreateDataMapSpec(DataMapTypeEnum::PLSXML));
    const auto create = [&](DataCollection** out) {
        return CreateDataCollectionFromIPPProvider(provider.Get(), maps, out, nullptr);
    };
    EXPECT_EQ(create(&collection), E_FAIL) << "no IPP map";
    DataMapSpec* map = DataMapSpec::CreateDataMapSpec(DataMapTypeEnum::IPP);
    map->AddDataItemSpec(L"printer-name", IPPDataItemSpec::CreateIPPDataItemSpec(
                                              L"printer-name", nullptr, false, nullptr, nullptr, 0, nullptr));
    map->AddDataItemSpec(L"map", StaticDataItemSpec::CreateStaticDataItemSpec(L"map", L"IPP", nullptr));
    maps->AddDataMapSpec(map);
    EXPECT_EQ(create(nullptr), E_FAIL);
    EXPECT_EQ(CreateDataCollectionFromIPPProvider(provider.Get(), nullptr, &collection, nullptr), E_FAIL);
    DisposablePtr<DataCollection> made;
    EXPECT_EQ(create(made.Receive()), S_OK);
    DataMapSpecCollection::Dispose(maps);
    ASSERT_TRUE(made);
    EXPECT_EQ(device->exchanges.size(), 0u) << "binding asks the printer for nothing";
    EXPECT_EQ(made->GetDataMapName(), L"IPPDataMap");
    EXPECT_EQ(Read(*made, L"map"), L"IPP");
    EXPECT_EQ(Read(*made, L"printer-name"), L"attic");
}

TEST_F(DataCollectionApiTest, RefusesTextsThatAreNoDocument) {
    const std::pair<const wchar_t*, HRESULT> cases[] = {
        {L"", S_FALSE},
        {L"DataMaps", S_FALSE},
        {L"<DataMaps><XMLDataMap Protocol='PLSXML'>", S_FALSE},
        {L"<Maps><XMLDataMap Protocol='PLSXML'/></Maps>", E_FAIL},
        {L"<datamaps/>", E_FAIL},
        {L"<DataMaps/>", E_FAIL},
        {L"<DataMaps><!-- a --><!-- b --></DataMaps>", E_FAIL},
        {L"<DataMaps><SomeMap/><XMLDataMap/><XMLDataMap Protocol='FTP'/></DataMaps>", E_FAIL},
        {L"<DataMaps><XMLDataMap Protocol='Pavo'/></DataMaps>", E_FAIL}};
    for (const auto& [text, result] : cases)
        EXPECT_EQ(CreateDataCollectionFromXML(address.Get(), text, &collection, nullptr), result) << text;
}

TEST_F(DataCollectionApiTest, RefusesFilesThatDoNotLoad) {
    const CorvixTest::TempFile file;
    const auto create = [&] {
        return CreateDataCollectionFromFile(address.Get(), file.Name().c_str(), &collection, nullptr);
    };
    EXPECT_NE(create(), S_OK) << "missing";
    std::ofstream empty(std::string(file.Name().begin(), file.Name().end()));
    empty.close();
    EXPECT_NE(create(), S_OK) << "empty";
    EXPECT_NE(CreateDataCollectionFromFile(address.Get(), L"", &collection, nullptr), S_OK);
}

// A device that speaks the print contract answers other maps than the Pavo one, although it has the
// resources.
TEST_F(DataCollectionApiTest, TakesThePavoMapOnlyWithoutAPrintContract) {
    using Ipp::Testing::Integer;
    using Ipp::Testing::Keyword;
    constexpr const wchar_t* pavoFirst =
        L"<DataMaps><XMLDataMap Protocol='Pavo'/><XMLDataMap Protocol='PLSXML'/></DataMaps>";
    constexpr const wchar_t* pavoAlone = L"<DataMaps><XMLDataMap Protocol='Pavo'/></DataMaps>";
    const auto answering = [](const std::string& attributes) {
        return HttpAnswer{200, Ipp::Testing::Body(attributes)};
    };
    constexpr const char* version = "veyra-pc-version-major";
    const std::tuple<const char*, HttpAnswer, bool> cases[] = {
        {"no IPP", {404, {}}, false},
        {"IPP that cannot be read", {200, "x"}, false},
        {"another printer", answering(Keyword("printer-name", "p")), false},
        {"an empty version", answering(Keyword(version, "")), false},
        {"a version", answering(Keyword(version, "2")), true},
        {"a number", answering(Integer(version, 0)), true}};
    device->host = L"USB001";  // which, other than a host, is not probed for an open port
    CorvixTest::ServePavo(*device);
    for (const auto& [what, ipp, hasContract] : cases) {
        SCOPED_TRACE(what);
        device->resources[L"/ipp/printer"] = ipp;
        DisposablePtr<DataCollection> made;
        ASSERT_EQ(CreateDataCollectionFromXML(address.Get(), pavoFirst, made.Receive(), nullptr), S_OK);
        EXPECT_EQ(made->GetDataMapName(),
                  hasContract ? L"XMLDataMap[@Protocol='PLSXML']" : L"XMLDataMap[@Protocol='Pavo']");
        made.Reset();
        if (hasContract) {
            EXPECT_EQ(CreateDataCollectionFromXML(address.Get(), pavoAlone, &collection, nullptr), E_FAIL);
        }
    }
}

TEST_F(DataCollectionApiTest, HandsItsValuesToACacheOfTheCallersOwn) {
    const DisposablePtr<CorvixTest::FakeCache> cache(new CorvixTest::FakeCache);
    DisposablePtr<DataCollection> made;
    ASSERT_EQ(CreateDataCollectionFromXML(address.Get(), document, made.Receive(), cache.Get()), S_OK);
    Read(*made, L"Model");
    made.Reset();
    EXPECT_EQ(cache->writeBacks, 1);
    EXPECT_EQ(cache->written[L"Model"].text, L"laser");
    EXPECT_EQ(cache->GetRefCount(), 1);
}

TEST_F(DataCollectionApiTest, LeavesComAsItWas) {
    for (const wchar_t* text : {document, L"broken"}) {
        DisposablePtr<DataCollection> made;
        CreateDataCollectionFromXML(address.Get(), text, made.Receive(), nullptr);
        made.Reset();
        APTTYPE type;
        APTTYPEQUALIFIER qualifier;
        EXPECT_EQ(CoGetApartmentType(&type, &qualifier), CO_E_NOTINITIALIZED)
            << "this thread never entered COM";
    }
}

}  // namespace
}  // namespace Corvix
