// The ready-made map for any IPP printer, asked of a real one.
#include <msxml2.h>
#include <wrl/client.h>

#include <set>

#include "realprinter.h"

namespace CorvixTest {
namespace {

using Corvix::DataCollection;
using Corvix::DataMapSpecCollection;
using Corvix::IPPDataItemSpec;
using Microsoft::WRL::ComPtr;

constexpr const wchar_t* mapFile = CORVIX_SOURCE_DIR L"/maps/ipp-everywhere.xml";

/// What the map makes of the values of this printer that it converts.
const std::map<std::wstring, std::wstring> converted = {
    {L"status.state", L"idle"},
    {L"status.attention", L"no"},
    {L"status.accepting", L"yes"},
    {L"supply.levels", L"61,-3"},
    {L"print.color", L"yes"},
    {L"print.duplex", L"yes"},
    {L"print.default-quality", L"normal"},
    {L"print.default-orientation", L"portrait"},
};

/// The printer tells these only when it is asked for them by name.
const std::set<std::wstring> reminded = {L"device.strings"};

struct DisposeMaps {
    void operator()(DataMapSpecCollection* maps) const { DataMapSpecCollection::Dispose(maps); }
};
using Maps = std::unique_ptr<DataMapSpecCollection, DisposeMaps>;

Maps LoadMaps() {
    const CLSID domDocument = {0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
    ComPtr<IXMLDOMDocument> document;
    CoCreateInstance(domDocument, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument, &document);
    VARIANT path;
    path.vt = VT_BSTR;
    path.bstrVal = SysAllocString(mapFile);
    VARIANT_BOOL loaded = VARIANT_FALSE;
    document->load(path, &loaded);
    VariantClear(&path);
    ComPtr<IXMLDOMElement> root;
    document->get_documentElement(&root);
    return Maps(DataMapSpecCollection::CreateDataMapSpecCollection(root.Get()));
}

class RealDataMapTest : public RealPrinterTest {
protected:
    RealDataMapTest() { (void)CoInitialize(nullptr); }
    ~RealDataMapTest() override { CoUninitialize(); }

    static std::wstring Read(DataCollection& collection, const std::wstring& name) {
        return TextOf([&](VARIANT* value) { return collection.GetValue(name.c_str(), value); });
    }
    /// What ipptool reports for an item, or "(failed)" for what the printer does not have.
    std::wstring ReportedFor(const IPPDataItemSpec& item) const {
        const std::wstring attribute = item.GetAttributeID();
        const auto found = reported_.find(std::string(attribute.begin(), attribute.end()));
        return found == reported_.end() || found->second.empty() ? L"(failed)" : found->second;
    }
    void ExpectAnswer(DataCollection& collection, const std::wstring& name, const IPPDataItemSpec& item) {
        const std::wstring expected = ReportedFor(item);
        const std::wstring answer = Read(collection, name);
        if (item.GetAttributeID() == std::wstring_view(L"printer-up-time")) {
            EXPECT_GE(_wtoi(answer.c_str()), _wtoi(expected.c_str()));
        } else if (const auto found = converted.find(name); found != converted.end()) {
            EXPECT_EQ(answer, found->second);
        } else {
            EXPECT_EQ(answer, expected);
        }
    }
    using Exchanges = std::vector<CorvixTransport::ExchangeRecord>;
    /// Asks for each item of the map, and lets `check` see what that took.
    template <class Check>
    void ExpectEachItemAnswered(DataCollection& collection, const Corvix::DataMapSpec& map, Check check) {
        std::vector<std::wstring> unsupported;
        size_t items = 0;
        TakeExchanges();
        for (const auto& [name, spec] : map.GetItems()) {
            const auto* item = dynamic_cast<const IPPDataItemSpec*>(spec.get());
            if (!item || !item->GetAttributeID()) continue;
            SCOPED_TRACE(testing::PrintToString(name));
            ++items;
            ExpectAnswer(collection, name, *item);
            if (ReportedFor(*item) == L"(failed)") unsupported.push_back(name);
            check(name, *item, TakeExchanges());
        }
        EXPECT_GT(items, 60u);
        EXPECT_THAT(unsupported,
                    testing::ElementsAre(L"counter.total", L"device.geo-location", L"device.organization",
                                         L"status.alert-descriptions", L"status.alerts"));
    }

private:
    const Attributes reported_ = Reported("127.0.0.1:631");
};

TEST_F(RealDataMapTest, AnswersEachItemThatThePrinterSupports) {
    const Maps maps = LoadMaps();
    ASSERT_EQ(maps->GetCount(), 1u);
    DisposablePtr<DataCollection> collection;
    ASSERT_EQ(CreateDataCollectionFromFile(Address(), mapFile, collection.Receive(), nullptr), S_OK);
    EXPECT_EQ(Read(*collection, L"map.name"), L"IPP Everywhere");
    EXPECT_EQ(TakeExchanges().size(), 1u);
    ExpectEachItemAnswered(
        *collection, *maps->GetDataMapSpec(0),
        [&](const std::wstring& name, const IPPDataItemSpec& item, const Exchanges& exchanges) {
            const bool known =
                !item.IsTransient() && ReportedFor(item) != L"(failed)" && !reminded.count(name);
            EXPECT_EQ(exchanges.size(), known ? 0u : 1u);
        });
}

TEST_F(RealDataMapTest, AnswersTheSameOverTls) {
    const Maps maps = LoadMaps();
    const DisposablePtr<Corvix::IPPProvider> provider(
        CreateSecureIPPPrintProvider(Address(), L"ipps://127.0.0.1/ipp/print", 0x803100));
    ASSERT_TRUE(provider);
    DisposablePtr<DataCollection> collection;
    ASSERT_EQ(CreateDataCollectionFromIPPProvider(provider.Get(), maps.get(), collection.Receive(), nullptr),
              S_OK);
    EXPECT_EQ(Read(*collection, L"map.name"), L"IPP Everywhere");
    ExpectEachItemAnswered(*collection, *maps->GetDataMapSpec(0),
                           [](const std::wstring&, const IPPDataItemSpec&, const Exchanges& exchanges) {
                               for (const auto& exchange : exchanges)
                                   EXPECT_TRUE(exchange.secure);
                           });
}

TEST_F(RealDataMapTest, AsksForTheJobThatItsParametersName) {
    const DisposablePtr<Corvix::IPPProvider> provider(CreateIPPProvider(Address(), "/ipp/print"));
    ASSERT_TRUE(provider);
    const DisposablePtr<Corvix::IPPRequestBase> request(CreateIPPRequest());
    const DisposablePtr<Corvix::IPPResponseBase> job(CreateIPPResponse());
    request->SetRequestingUserName("kay");
    request->SetJobName("Büro");
    ASSERT_EQ(provider->CreateJob(request.Get(), job.Get()), S_OK);
    const std::wstring uri = ToWide(job->GetJobURI());
    const std::wstring document =
        L"<DataMaps><IPPDataMap><IPPParams ResourceURI='/ipp/print' JobURI='" + uri +
        L"'/><DataItem Name='id' AttributeID='job-id' Transient='true' Command='Get-Job-Attributes'/>"
        L"<DataItem Name='name' AttributeID='job-name' Transient='true' Command='Get-Job-Attributes'/>"
        L"<DataItem Name='over' AttributeID='job-state' Transient='true' Command='Get-Job-Attributes'>"
        L"<Conversion Equals='7' Value='yes'/><Conversion Equals='default' Value='no'/></DataItem>"
        L"<DataItem Name='other' AttributeID='job-id' Transient='true' Command='Get-Job-Attributes'"
        L" JobURI='ipp://127.0.0.1/ipp/print/4711'/></IPPDataMap></DataMaps>";
    DisposablePtr<DataCollection> collection;
    ASSERT_EQ(CreateDataCollectionFromXML(Address(), document.c_str(), collection.Receive(), nullptr), S_OK);
    EXPECT_EQ(Read(*collection, L"id"), ToWide(job->GetJobID()));
    EXPECT_EQ(Read(*collection, L"name"), L"B\u00FCro");
    EXPECT_EQ(Read(*collection, L"over"), L"no");
    EXPECT_EQ(Read(*collection, L"other"), L"(failed)");
    request->SetJobURI(job->GetJobURI());
    request->SetJobID(static_cast<unsigned>(std::stoul(job->GetJobID())));
    EXPECT_EQ(provider->CancelJob(request.Get(), job.Get()), S_OK);
    EXPECT_EQ(Read(*collection, L"over"), L"yes");
}

TEST_F(RealDataMapTest, TheSecondTimeOnlyAsksForWhatChanges) {
    const Maps maps = LoadMaps();
    DisposablePtr<DataCollection> collection;
    ASSERT_EQ(
        CreateDataCollectionFromDataMapSpecsCollection(Address(), maps.get(), collection.Receive(), nullptr),
        S_OK);
    for (int pass = 0; pass < 2; ++pass) {
        TakeExchanges();
        EXPECT_EQ(Read(*collection, L"device.strings"), L"https://127.0.0.1:631/en.strings");
        EXPECT_EQ(Read(*collection, L"media.types"), L"stationery,labels,envelope,photographic-glossy");
        EXPECT_EQ(Read(*collection, L"status.state"), L"idle");
        EXPECT_EQ(TakeExchanges().size(), pass == 0 ? 2u : 1u);
    }
}

}  // namespace
}  // namespace CorvixTest
