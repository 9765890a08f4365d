// Single requests, made as a program makes them.
#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "corvixdm/corvixdm.h"
#include "support/fakemib.h"
#include "support/faketransport.h"

namespace Corvix {
namespace {

using CorvixTest::FakeAddress;
using CorvixTest::FakeDevice;
using CorvixTest::HttpAnswer;
using CorvixTest::HttpExchange;

constexpr const wchar_t* descriptionOid = L"1.3.6.1.2.1.25.3.2.1.3.1";

std::wstring WsMap(const std::wstring& items) {
    return L"<DataMaps><XMLDataMap Protocol='WS'>" + items + L"</XMLDataMap></DataMaps>";
}
std::wstring OidMap(const std::wstring& items) {
    return L"<DataMaps><OIDDataMap>" + items + L"</OIDDataMap></DataMaps>";
}
const std::wstring nameItem = L"<DataItem Name='Name' URI='urn:name' XPath='//Name'/>";
const std::wstring pagesItem = L"<DataItem Name='Pages' OID='1.3.1'/>";

class SingleRequestTest : public testing::Test {
protected:
    SingleRequestTest() {
        device->answer = [this](const HttpExchange& exchange) {
            const bool isProbe = exchange.body.find("DeviceService") != std::string::npos;
            return isProbe ? probe : resource;
        };
        agent->Add(descriptionOid, L"A printer");
        agent->Add(L"1.3.1", 42);
        AttachAgent(*device, agent);
    }
    ~SingleRequestTest() override {
        EXPECT_EQ(address->GetRefCount(), 1);
        address.Reset();
        EXPECT_EQ(CorvixTest::liveFakes, 0);
    }

    /// Asks with an empty value. The text or number, or "status N".
    std::wstring Get(const std::wstring& document) {
        VARIANT value;
        VariantInit(&value);
        const HRESULT result = GetValueFromSingleRequest(address.Get(), document.c_str(), &value);
        const VARTYPE type = value.vt;
        std::wstring text = type == VT_BSTR ? value.bstrVal : std::to_wstring(value.lVal);
        VariantClear(&value);
        if (result == S_OK) return text;
        EXPECT_EQ(type, VT_EMPTY) << "the value is left as it was";
        return L"status " + std::to_wstring(result);
    }
    unsigned Set(const std::wstring& document, VARTYPE type, long number = 7) {
        VARIANT value;
        VariantInit(&value);
        value.vt = type;
        value.lVal = number;
        return static_cast<unsigned>(SetValueFromSingleRequest(address.Get(), document.c_str(), &value));
    }

    HttpAnswer probe{200, "<e xmlns:wprt='w'><wprt:DeviceId>MFG:Test;</wprt:DeviceId></e>"};
    HttpAnswer resource{200, "<e><Name>Front desk</Name><Empty/></e>"};
    CorvixTest::FakeDevicePtr device = std::make_shared<FakeDevice>();
    CorvixTest::FakeAgentPtr agent = std::make_shared<CorvixTest::FakeAgent>();
    DisposablePtr<Address> address{new FakeAddress(device)};
};

TEST_F(SingleRequestTest, ReadsFromAWebService) {
    EXPECT_EQ(Get(WsMap(nameItem)), L"Front desk");
    EXPECT_EQ(Get(WsMap(L"<DataItem Name='z' URI='urn:z' XPath='//z'/>" + nameItem)), L"Front desk")
        << "the first item in name order";
    EXPECT_EQ(Get(WsMap(L"<StaticDataItem Name='A'>constant</StaticDataItem>" + nameItem)), L"Front desk")
        << "constants do not count";
    EXPECT_EQ(Get(WsMap(L"<DataItem Name='Empty' URI='urn:e' XPath='//Empty'/>")), L"");
    resource.body = "<e><Name>" + std::string(255, 'x') + "</Name></e>";
    EXPECT_EQ(Get(WsMap(nameItem)), std::wstring(255, L'x'));
}

TEST_F(SingleRequestTest, TellsWhyAWebServiceCannotBeRead) {
    const std::pair<const wchar_t*, const wchar_t*> items[] = {
        {L"", L"status 112"},
        {L"<StaticDataItem Name='A'>a</StaticDataItem>", L"status 112"},
        {L"<DataItem Name='Name' XPath='//Name'/>", L"status 111"},
        {L"<DataItem Name='Name' URI='' XPath='//Name'/>", L"status 111"},
        {L"<DataItem Name='Name' URI='urn:name'/>", L"status 111"}};
    for (const auto& [item, status] : items)
        EXPECT_EQ(Get(WsMap(item)), status) << item;
    const HttpAnswer unreadable[] = {
        {404, ""}, {200, "<e/>"}, {200, "<e><Name>" + std::string(256, 'x') + "</Name></e>"}};
    for (const HttpAnswer& answer : unreadable) {
        resource = answer;
        EXPECT_EQ(Get(WsMap(nameItem)), L"status 113") << answer.body;
    }
    probe = {404, ""};
    EXPECT_EQ(Get(WsMap(nameItem)), L"status 116") << "no device service";
    EXPECT_EQ(Set(WsMap(nameItem), VT_INT), 110u);
}

TEST_F(SingleRequestTest, ReadsFromSnmp) {
    EXPECT_EQ(Get(OidMap(pagesItem)), L"42");
    EXPECT_EQ(Get(OidMap(L"<NextDataItem Name='Walk' OID='1.3.1' Count='3'/>")), L"42");
    EXPECT_EQ(
        Get(OidMap(L"<DataItem Name='Pages' OID='1.3.1'><Conversion Equals='42' Value='x'/></DataItem>")),
        L"42")
        << "as the device gave it";
}

TEST_F(SingleRequestTest, TellsWhySnmpCannotBeRead) {
    EXPECT_EQ(Get(OidMap(L"")), L"status 112");
    EXPECT_EQ(Get(OidMap(L"<DataItem Name='Pages'/>")), L"status 114");
    EXPECT_EQ(Get(OidMap(L"<DataItem Name='Pages' OID=''/>")), L"status 114");
    EXPECT_EQ(Get(OidMap(L"<DataItem Name='Pages' OID='1.3.2'/>")), L"status 115");
    agent->objects.erase(CorvixTest::ArcsOf(descriptionOid));
    EXPECT_EQ(Get(OidMap(pagesItem)), L"status 117");
    EXPECT_EQ(Get(OidMap(L"")), L"status 117") << "the provider comes first";
}

TEST_F(SingleRequestTest, WritesNumbersOverSnmp) {
    EXPECT_EQ(Set(OidMap(pagesItem), VT_INT, -7), 0u);
    EXPECT_THAT(agent->calls, testing::ElementsAre(L"set 1.3.1 22 -7"));
    struct Case {
        std::wstring document;
        VARTYPE type;
        unsigned status;
    };
    const Case cases[] = {{OidMap(pagesItem), VT_I4, 119},
                          {OidMap(pagesItem), VT_UI4, 119},
                          {OidMap(pagesItem), VT_NULL, 119},
                          {OidMap(L""), VT_INT, 112},
                          {OidMap(L"<DataItem Name='Pages'/>"), VT_INT, 114}};
    for (const Case& c : cases)
        EXPECT_EQ(Set(c.document, c.type), c.status) << c.status;
    EXPECT_EQ(agent->calls.size(), 1u) << "nothing else was sent";
    agent->setResult = E_ABORT;
    EXPECT_EQ(Set(OidMap(pagesItem), VT_INT), 118u);
    device->connectMib = nullptr;
    EXPECT_EQ(Set(OidMap(pagesItem), VT_INT), 118u) << "no connection";
}

TEST_F(SingleRequestTest, LooksAtTheFirstMapOnly) {
    const std::wstring snmp = L"<OIDDataMap>" + pagesItem + L"</OIDDataMap>";
    EXPECT_EQ(Get(L"<DataMaps>" + snmp + L"<IPPDataMap/></DataMaps>"), L"42");
    EXPECT_EQ(Get(L"<DataMaps><IPPDataMap/>" + snmp + L"</DataMaps>"), L"status 102");
    EXPECT_EQ(Get(L"<DataMaps><XMLDataMap Protocol='PLSXML'/>" + snmp + L"</DataMaps>"), L"status 102");
    EXPECT_EQ(Get(L"<DataMaps><!-- note -->" + snmp + L"</DataMaps>"), L"status 102");
    EXPECT_EQ(Get(L"<DataMaps/>"), L"status 112");
    EXPECT_EQ(Get(L"<Maps/>"), L"status 103");
    EXPECT_EQ(Get(L"<DataMaps>"), L"status 109");
    EXPECT_EQ(Get(L""), L"status 109");
}

}  // namespace
}  // namespace Corvix
