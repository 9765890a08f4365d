#include "datamodel/xml/xmldatamapper.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "datamodel/xml/plsxmlproviderimpl.h"
#include "support/faketransport.h"

namespace Corvix {
namespace {

using CorvixTest::FakeAddress;
using CorvixTest::FakeDevice;
using KyUtils::Variant;

/// A provider of some kind that is never asked.
class SilentProvider final : public XMLProvider {
public:
    explicit SilentProvider(unsigned kind) : XMLProvider(nullptr, kind), kind_(kind) {}
    unsigned GetKind() const override { return kind_; }

private:
    unsigned kind_;
};

class XmlDataMapperTest : public testing::Test {
protected:
    ~XmlDataMapperTest() override {
        mapper.Reset();
        address.Reset();
        EXPECT_EQ(CorvixTest::liveFakes, 0);
    }

    void AddItem(const wchar_t* name, const wchar_t* xpath, bool transient = false, unsigned lifespan = 0) {
        map->AddDataItemSpec(name, XMLDataItemSpec::CreateXMLDataItem(name, L"/a.xml", xpath, nullptr,
                                                                      transient, lifespan, nullptr));
    }
    std::wstring Read(const wchar_t* name) {
        Variant value;
        const HRESULT result = mapper->GetValue(name, value.Receive());
        if (FAILED(result)) return L"failed";
        EXPECT_EQ(value->vt, VT_BSTR);
        return std::wstring(value.Text());
    }
    ValueSource LastSource() {
        ValueOrigin origin{};
        mapper->GetValueOrigin(&origin);
        Variant::Adopt(origin.raw);
        return origin.source;
    }

    CorvixTest::FakeDevicePtr device = std::make_shared<FakeDevice>();
    DisposablePtr<Address> address{new FakeAddress(device)};
    DisposablePtr<DataMapSpec> map{DataMapSpec::CreateDataMapSpec(DataMapTypeEnum::PLSXML)};
    DisposablePtr<DataCollectionImpl> mapper =
        XMLDataMapper::Create(PLSXMLProviderImpl::Create(address.Get()), map);
};

TEST_F(XmlDataMapperTest, ReadsManyItemsOfOneResourceWithOneRequest) {
    AddItem(L"A", L"//a");
    AddItem(L"B", L"//b");
    device->resources[L"/a.xml"] = {200, "<r><a>one</a><b>two</b></r>"};
    EXPECT_EQ(Read(L"A"), L"one");
    EXPECT_EQ(Read(L"B"), L"two");
    EXPECT_EQ(device->exchanges.size(), 1u);
}

TEST_F(XmlDataMapperTest, ReadsTextsOfAnyLengthWithOneRequest) {
    AddItem(L"Long", L"//b");
    for (const size_t length : {1, 254, 255, 256, 257, 5000, 100000}) {
        device->exchanges.clear();
        device->resources[L"/a.xml"] = {200, "<a><b>" + std::string(length, 'x') + "</b></a>"};
        mapper = XMLDataMapper::Create(PLSXMLProviderImpl::Create(address.Get()), map);
        EXPECT_EQ(Read(L"Long"), std::wstring(length, L'x'));
        EXPECT_EQ(device->exchanges.size(), 1u) << length;
    }
}

TEST_F(XmlDataMapperTest, AsksAgainForTransientItemsOnly) {
    AddItem(L"Model", L"//b");
    AddItem(L"Status", L"//b", true);
    AddItem(L"LongStatus", L"//long", true);
    device->resources[L"/a.xml"] = {200, "<a><b>one</b><long>" + std::string(300, 'x') + "</long></a>"};
    EXPECT_EQ(Read(L"Model"), L"one");
    EXPECT_EQ(LastSource(), ValueSource::Device);
    EXPECT_EQ(Read(L"Status"), L"one");
    device->resources[L"/a.xml"].body = "<a><b>two</b><long>" + std::string(300, 'y') + "</long></a>";
    EXPECT_EQ(Read(L"Model"), L"one");
    EXPECT_EQ(LastSource(), ValueSource::Store);
    EXPECT_EQ(Read(L"Status"), L"two");
    EXPECT_EQ(LastSource(), ValueSource::Device);
    EXPECT_EQ(device->exchanges.size(), 3u);
    EXPECT_EQ(Read(L"LongStatus"), std::wstring(300, L'y'));
    EXPECT_EQ(device->exchanges.size(), 4u) << "a long text does not cost a second request";
}

TEST_F(XmlDataMapperTest, TellsNothingForItemsItCannotRead) {
    AddItem(L"Model", L"//b");
    AddItem(L"Missing", L"//missing");
    map->AddDataItemSpec(L"NoXPath", XMLDataItemSpec::CreateXMLDataItem(L"NoXPath", L"/a.xml", nullptr,
                                                                        nullptr, false, 0, nullptr));
    map->AddDataItemSpec(
        L"NoUri", XMLDataItemSpec::CreateXMLDataItem(L"NoUri", nullptr, L"//b", nullptr, false, 0, nullptr));
    map->AddDataItemSpec(L"OtherKind", OIDDataItemSpec::CreateOIDDataItemSpec());
    device->resources[L"/a.xml"] = {200, "<a><b>one</b></a>"};
    for (const wchar_t* name : {L"Unknown", L"model", L"NoXPath", L"NoUri", L"OtherKind", L""}) {
        VARIANT value = Variant::FromI4(42).Get();
        EXPECT_EQ(mapper->GetValue(name, &value), E_FAIL) << name;
        EXPECT_EQ(value.lVal, 42);
    }
    EXPECT_EQ(mapper->GetValue(L"Model", nullptr), E_FAIL);
    EXPECT_EQ(Read(L"Missing"), L"") << "what the XPath does not select is an empty text";
    EXPECT_EQ(Read(L"Any:Model"), L"one") << "the item is looked up without its prefix";
}

TEST_F(XmlDataMapperTest, NamesItsMapByItsProvider) {
    const std::pair<unsigned, const wchar_t*> cases[] = {{80, L"XMLDataMap[@Protocol='PLSXML']"},
                                                         {3910, L"XMLDataMap[@Protocol='WS']"},
                                                         {8080, L"XMLDataMap[@Protocol='Pavo']"},
                                                         {81, L"XMLDataMap[@Protocol='']"}};
    for (const auto& [kind, name] : cases) {
        const auto named =
            XMLDataMapper::Create(DisposablePtr<IXMLProvider>::Share(new SilentProvider(kind)), map);
        EXPECT_EQ(named->GetDataMapName(), name);
    }
    EXPECT_EQ(XMLDataMapper::Create({}, map)->GetDataMapName(), L"XMLDataMap");
}

}  // namespace
}  // namespace Corvix
