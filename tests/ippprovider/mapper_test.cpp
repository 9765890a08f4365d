// An `IPPDataMap` answered by a printer.
#include "datamodel/ipp/ippdatamapper.h"

#include "corvixdm/datamapspec.h"
#include "support/dom.h"
#include "support/fakeprinter.h"
#include "utilslib/com.h"

namespace Corvix {
namespace {

using namespace Testing;

constexpr const wchar_t* mapText =
    LR"(<IPPDataMap>
  <IPPParams ResourceURI="/q/params" JobURI="ipp://q/jobs/1"/>
  <StaticDataItem Name="fixed">constant</StaticDataItem>
  <DataItem Name="name" AttributeID="printer-name" LifeSpan="10"/>
  <DataItem AttributeID="rare" LifeSpan="10"/>
  <DataItem Name="either" AttributeID="missing_OR_rare"/>
  <DataItem Name="missing" AttributeID="missing"/>
  <DataItem Name="idle" AttributeID="printer-state" LifeSpan="10"><Conversion Equals="3" Value="idle"/></DataItem>
  <DataItem Name="state" AttributeID="printer-state" Transient="true" Command="Get-Printer-Attributes">
    <Conversion Equals="3" Value="idle"/></DataItem>
  <DataItem Name="state-elsewhere" AttributeID="printer-state" Transient="true" Command="any"
            ResourceURI="/q/own"/>
  <DataItem Name="no-command" AttributeID="printer-state" Transient="true"/>
  <DataItem Name="no-attribute" LifeSpan="10"/>
  <DataItem Name="job" AttributeID="job-state" Transient="true" Command="Get-Job-Attributes"/>
  <DataItem Name="own-job" AttributeID="job-state" Transient="true" Command="Get-Job-Attributes"
            JobURI="ipp://q/jobs/2"/>
  <DataItem Name="lower-case" AttributeID="printer-state" Transient="true" Command="get-job-attributes"/>
</IPPDataMap>)";

class IPPDataMapperTest : public PrinterTest {
protected:
    void SetUp() override {
        Printer().attributes = {{"printer-name", Text("printer-name", "attic")},
                                {"printer-state", Bytes::Value(0x23, "printer-state", Bytes::Int(3))}};
        Printer().slowAttributes = {{"rare", Text("rare", "found")}};
        Printer().jobAttributes = {{"job-state", Bytes::Value(0x23, "job-state", Bytes::Int(9))}};
        DisposablePtr<IPPProvider> provider = Printer().Provider();
        ASSERT_TRUE(provider);
        Printer().device->exchanges.clear();
        const CorvixTest::Document document(mapText);
        mapper = IPPDataMapper::Create(
            std::move(provider),
            DisposablePtr<DataMapSpec>(DataMapSpec::CreateDataMapSpec(document.Root().Get())));
    }
    void TearDown() override {
        mapper.Reset();
        PrinterTest::TearDown();
    }
    std::wstring Get(const wchar_t* name) {
        KyUtils::Variant value;
        const HRESULT result = mapper->GetValue(name, value.Receive());
        if (result == S_OK) return std::wstring(value.Text());
        EXPECT_EQ(result, E_FAIL);
        EXPECT_EQ(value->vt, VT_EMPTY);
        return L"(failed)";
    }

    const KyUtils::ComApartment apartment;
    DisposablePtr<DataCollectionImpl> mapper;
};

TEST_F(IPPDataMapperTest, AnswersEachItemWithTheExchangesItNeeds) {
    const struct {
        const wchar_t* name;
        const wchar_t* value;
        size_t exchanges;
    } cases[] = {
        {L"fixed", L"(failed)", 0},
        {L"name", L"attic", 0},
        {L"status:name", L"attic", 0},
        {L"idle", L"idle", 0},
        {L"rare", L"found", 1},
        {L"rare", L"found", 0},
        {L"status:rare", L"found", 1},
        {L"status:rare", L"found", 0},
        {L"either", L"found", 2},
        {L"missing", L"(failed)", 1},
        {L"state", L"idle", 1},
        {L"state", L"idle", 1},
        {L"lower-case", L"3", 1},
        {L"job", L"9", 1},
        {L"job", L"9", 1},
        {L"no-command", L"(failed)", 0},
        {L"no-attribute", L"(failed)", 0},
        {L"unknown", L"(failed)", 0},
        {L"a:b:rare", L"(failed)", 0},
    };
    for (const auto& [name, value, exchanges] : cases) {
        const size_t before = Printer().Exchanges();
        EXPECT_EQ(Get(name), value) << testing::PrintToString(std::wstring(name));
        EXPECT_EQ(Printer().Exchanges() - before, exchanges) << testing::PrintToString(std::wstring(name));
    }
    EXPECT_EQ(mapper->GetValue(nullptr, nullptr), E_FAIL);
}

TEST_F(IPPDataMapperTest, AsksAfreshWhereItemAndParametersSay) {
    const struct {
        const wchar_t* name;
        int operation;
        const char* jobUri;
        const wchar_t* path;
    } cases[] = {{L"state", 11, "", L"/q/params"},
                 {L"state-elsewhere", 11, "", L"/q/own"},
                 {L"lower-case", 11, "", L"/q/params"},
                 {L"job", 9, "ipp://q/jobs/1", L"/q/params"},
                 {L"own-job", 9, "ipp://q/jobs/2", L"/q/params"}};
    for (const auto& [name, operation, jobUri, path] : cases) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(name)));
        EXPECT_NE(Get(name), L"(failed)");
        EXPECT_EQ(Printer().LastRequest().operation, operation);
        EXPECT_EQ(Printer().LastRequest()["job-uri"], jobUri);
        EXPECT_EQ(Printer().device->exchanges.back().uri, path);
    }
}

TEST_F(IPPDataMapperTest, ChangesOfTransientItemsShowAtOnce) {
    EXPECT_EQ(Get(L"state"), L"idle");
    Printer().attributes["printer-state"] = Bytes::Value(0x23, "printer-state", Bytes::Int(5));
    EXPECT_EQ(Get(L"state"), L"5");
    EXPECT_EQ(Get(L"idle"), L"idle") << "the provider keeps what it read when it was made";
    Printer().AnswerAlways({503, "busy", S_OK, true});
    EXPECT_EQ(Get(L"state"), L"(failed)");
}

}  // namespace
}  // namespace Corvix
