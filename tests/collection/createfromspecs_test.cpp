#include "datamodel/binding/createfromspecs.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "datamodel/caches/cachekeys.h"
#include "datamodel/caches/regcacheprovider.h"
#include "datamodel/maps/ownedmaps.h"
#include "datamodel/snmp/oididentity.h"
#include "support/fakecache.h"
#include "support/fakemib.h"
#include "support/faketransport.h"
#include "support/ippbytes.h"
#include "support/pavo.h"
#include "support/registrysandbox.h"
#include "support/testclock.h"
#include "utilslib/com.h"

namespace Corvix {
namespace {

using CorvixTest::FakeAddress;
using CorvixTest::FakeCache;
using CorvixTest::FakeDevice;
using CorvixTest::FakeDevicePtr;
using CorvixTest::FakeLocalAddress;
using CorvixTest::ServePavo;
using CorvixTest::TestClock;
using KyUtils::Variant;

constexpr const wchar_t* identityUri = L"/veyra/device/product_information.xml";
constexpr const wchar_t* root = L"Software\\Test\\Cache";

/// Maps of these kinds, each with one item "Model".
OwnedMaps MapsOf(std::initializer_list<DataMapTypeEnum> types) {
    OwnedMaps maps(DataMapSpecCollection::CreateDataMapSpecCollection());
    for (const DataMapTypeEnum type : types) {
        DataMapSpec* map = DataMapSpec::CreateDataMapSpec(type);
        map->AddDataItemSpec(L"Model", XMLDataItemSpec::CreateXMLDataItem(L"Model", L"/model.xml", L"//Model",
                                                                          nullptr, false, 600, nullptr));
        maps->AddDataMapSpec(map);
    }
    return maps;
}

FakeDevicePtr DeviceWith(const std::string& serial, const std::string& model) {
    auto device = std::make_shared<FakeDevice>();
    device->resources[identityUri] = {200,
                                      "<p><ProductSerialNumber>" + serial + "</ProductSerialNumber></p>"};
    device->resources[L"/model.xml"] = {200, "<p><Model>" + model + "</Model></p>"};
    return device;
}

void ServeWs(FakeDevice& device) {
    device.resources[L"/"] = {200, "<e xmlns:wprt='w'><wprt:DeviceId>MFG:Test;</wprt:DeviceId></e>"};
}

void ServeSnmp(FakeDevice& device, const wchar_t* serial) {
    auto agent = std::make_shared<CorvixTest::FakeAgent>();
    agent->Add(L"1.3.6.1.2.1.25.3.2.1.3.1", L"A printer");
    agent->Add(serialNumberOid, serial);
    AttachAgent(device, std::move(agent));
}

void ServeIpp(FakeDevice& device, const std::string& attributes) {
    device.host = L"USB001";  // which, other than a host, is not probed for an open port
    device.resources[L"/ipp/printer"] = {200, Ipp::Testing::Body(attributes)};
}

DisposablePtr<DataCollection> Create(const FakeDevicePtr& device, const OwnedMaps& maps,
                                     ICacheProvider* cache = nullptr) {
    const DisposablePtr<Address> address(new FakeAddress(device));
    DisposablePtr<DataCollection> collection;
    CreateFromSpecs(address.Get(), maps.get(), collection.Receive(), cache);
    return collection;
}

DisposablePtr<DataCollection> CreatePlsxml(const FakeDevicePtr& device, ICacheProvider* cache) {
    return Create(device, MapsOf({DataMapTypeEnum::PLSXML}), cache);
}

/// The model and where it came from, such as "Printer (4)".
std::wstring ModelOf(DataCollection& collection) {
    Variant value;
    if (collection.GetValue(L"Model", value.Receive()) != S_OK) return L"none";
    ValueOrigin origin{};
    collection.GetValueOrigin(&origin);
    Variant::Adopt(origin.raw);
    return std::wstring(value.Text()) + L" (" + std::to_wstring(static_cast<int>(origin.source)) + L")";
}
constexpr const wchar_t* fromCache = L" (3)";
constexpr const wchar_t* fromDevice = L" (4)";

class CreateFromSpecsTest : public testing::Test {
protected:
    ~CreateFromSpecsTest() override { EXPECT_EQ(CorvixTest::liveFakes, 0); }
};

TEST_F(CreateFromSpecsTest, BindsTheFirstMapThatTheDeviceSpeaks) {
    using Type = DataMapTypeEnum;
    const std::initializer_list<Type> all = {Type::Pavo, Type::WS, Type::PLSXML};
    const std::initializer_list<Type> unknownFirst = {Type::Unknown, Type::Unknown, Type::PLSXML};
    const std::initializer_list<Type> plsxmlFirst = {Type::PLSXML, Type::Pavo};
    struct Case {
        const char* speaks;  // P: Pavo, W: web services, p: has a port for those
        const std::initializer_list<Type>& maps;
        const wchar_t* bound;
    };
    const Case cases[] = {{"PWp", all, L"Pavo"},
                          {"Wp", all, L"WS"},
                          {"p", all, L"PLSXML"},
                          {"W", all, L"PLSXML"},
                          {"PWp", unknownFirst, L"PLSXML"},
                          {"PWp", plsxmlFirst, L"PLSXML"}};
    for (const Case& c : cases) {
        const auto device = DeviceWith("1", "Printer");
        if (strchr(c.speaks, 'P')) ServePavo(*device);
        if (strchr(c.speaks, 'W')) ServeWs(*device);
        device->hasWebServicePort = strchr(c.speaks, 'p') != nullptr;
        const auto collection = Create(device, MapsOf(c.maps));
        ASSERT_TRUE(collection) << c.speaks;
        EXPECT_EQ(collection->GetDataMapName(), std::wstring(L"XMLDataMap[@Protocol='") + c.bound + L"']")
            << c.speaks;
    }
}

TEST_F(CreateFromSpecsTest, DoesNotAskADeviceWithoutWebServicePort) {
    const auto device = std::make_shared<FakeDevice>();
    device->hasWebServicePort = false;
    EXPECT_FALSE(Create(device, MapsOf({DataMapTypeEnum::WS})));
    EXPECT_TRUE(device->exchanges.empty());
    const DisposablePtr<Address> local(new FakeLocalAddress(device));
    const OwnedMaps maps = MapsOf({DataMapTypeEnum::WS});
    ServeWs(*device);
    DisposablePtr<DataCollection> collection;
    EXPECT_EQ(CreateFromSpecs(local.Get(), maps.get(), collection.Receive(), nullptr), S_OK)
        << "an address that does not tell is asked";
}

TEST_F(CreateFromSpecsTest, BindsSnmpAndIppMaps) {
    using Type = DataMapTypeEnum;
    const auto device = DeviceWith("1", "Printer");
    EXPECT_EQ(Create(device, MapsOf({Type::OID, Type::IPP, Type::PLSXML}))->GetDataMapName(),
              L"XMLDataMap[@Protocol='PLSXML']");
    ServeIpp(*device, Ipp::Testing::Keyword("printer-name", "p"));
    EXPECT_EQ(Create(device, MapsOf({Type::OID, Type::IPP, Type::PLSXML}))->GetDataMapName(), L"IPPDataMap");
    ServeSnmp(*device, L"SN1");
    EXPECT_EQ(Create(device, MapsOf({Type::OID, Type::IPP, Type::PLSXML}))->GetDataMapName(), L"OIDDataMap");
}

class RegistryCacheTest : public CreateFromSpecsTest {
protected:
    static bool KeyExists(const std::wstring& path) {
        HKEY key = nullptr;
        if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
        RegCloseKey(key);
        return true;
    }
    static std::wstring PathOf(const std::wstring& identity) {
        return std::wstring(root) + L"\\" + KeyPart(identity) + L"\\PLSXML";
    }

    const CorvixTest::RegistrySandbox sandbox{HKEY_LOCAL_MACHINE};
    const TestClock clock;
    DisposablePtr<RegCacheProvider> cache = RegCacheProvider::Create(root);
};

TEST_F(RegistryCacheTest, AnswersInALaterCollection) {
    const auto device = DeviceWith("SN1", "Printer");
    EXPECT_EQ(ModelOf(*CreatePlsxml(device, cache.Get())), std::wstring(L"Printer") + fromDevice);
    EXPECT_TRUE(KeyExists(PathOf(L"SN1")));
    device->resources.erase(L"/model.xml");
    const auto later = RegCacheProvider::Create(root);
    EXPECT_EQ(ModelOf(*CreatePlsxml(device, later.Get())), std::wstring(L"Printer") + fromCache);
    EXPECT_EQ(device->RequestsFor(L"/model.xml"), 1u);
    TestClock::Advance(600 * TestClock::lifespanUnit);
    EXPECT_EQ(ModelOf(*CreatePlsxml(device, later.Get())), std::wstring(L"Printer") + fromCache)
        << "writing a value back does not make it younger, nor older";
    TestClock::Advance(1);
    EXPECT_EQ(ModelOf(*CreatePlsxml(device, later.Get())), L"none");
}

TEST_F(RegistryCacheTest, KeysByTheIdentityWhateverItLooksLike) {
    struct Case {
        std::string serial;
        std::wstring identity;
    };
    const Case cases[] = {
        {"VNB3K12345", L"VNB3K12345"}, {"urn:uuid:1234", L"1234"},
        {"xuuid:uuid:1", L"uuid:1"},   {"a\\b\\..\\c", L"a\\b\\..\\c"},
        {"a&#9;b", L"a\tb"},           {std::string(255, 's'), std::wstring(255, L's')},
        {"\xC3\xA9", L"\u00E9"},
    };
    for (const Case& c : cases) {
        const auto device = DeviceWith(c.serial, c.serial.substr(0, 5));
        ModelOf(*CreatePlsxml(device, cache.Get()));
        EXPECT_TRUE(KeyExists(PathOf(c.identity))) << c.serial;
    }
    EXPECT_FALSE(KeyExists(std::wstring(root) + L"\\a"));
}

TEST_F(RegistryCacheTest, DoesNotServeADeviceThatIsNotKnown) {
    const std::string unusable[] = {"",
                                    "uuid:",
                                    "urn:uuid:",
                                    "&#32;&#9;",
                                    "\xC2\xA0 \xC2\xA0",
                                    "urn:uuid:\xC2\xA0",
                                    std::string(256, 's'),
                                    std::string(3000, 's')};
    for (const std::string& serial : unusable) {
        const auto device = DeviceWith(serial, "Printer");
        const auto collection = CreatePlsxml(device, cache.Get());
        EXPECT_EQ(ModelOf(*collection), std::wstring(L"Printer") + fromDevice) << serial;
    }
    const auto silent = DeviceWith("SN", "Printer");
    silent->resources.erase(identityUri);
    EXPECT_EQ(ModelOf(*CreatePlsxml(silent, cache.Get())), std::wstring(L"Printer") + fromDevice);
    EXPECT_FALSE(KeyExists(root)) << "nothing was written anywhere";
}

TEST_F(RegistryCacheTest, KeepsTwoDevicesApart) {
    const auto one = DeviceWith("ONE", "First");
    const auto two = DeviceWith("TWO", "Second");
    {
        const auto first = CreatePlsxml(one, cache.Get());
        const auto second = CreatePlsxml(two, cache.Get());
        ModelOf(*second);
        ModelOf(*first);
    }
    one->resources.erase(L"/model.xml");
    two->resources.erase(L"/model.xml");
    EXPECT_EQ(ModelOf(*CreatePlsxml(one, cache.Get())), std::wstring(L"First") + fromCache);
    EXPECT_EQ(ModelOf(*CreatePlsxml(two, cache.Get())), std::wstring(L"Second") + fromCache);
    one->resources[identityUri] = two->resources[identityUri];
    EXPECT_EQ(ModelOf(*CreatePlsxml(one, cache.Get())), std::wstring(L"Second") + fromCache)
        << "another device behind the same address";
}

TEST_F(RegistryCacheTest, AsksForTheIdentityOnlyForTheRegistry) {
    const auto device = DeviceWith("SN1", "Printer");
    const DisposablePtr<FakeCache> own(new FakeCache);
    const auto rootless = RegCacheProvider::Create(L"");
    for (ICacheProvider* other :
         {static_cast<ICacheProvider*>(nullptr), static_cast<ICacheProvider*>(own.Get()),
          static_cast<ICacheProvider*>(rootless.Get())}) {
        ModelOf(*CreatePlsxml(device, other));
        EXPECT_EQ(device->RequestsFor(identityUri), 0u);
    }
    EXPECT_EQ(own->writeBacks, 1);
    EXPECT_EQ(own->written.count(L"Model"), 1u);
    CreatePlsxml(device, cache.Get());
    EXPECT_EQ(device->RequestsFor(identityUri), 1u);
}

TEST_F(RegistryCacheTest, KnowsDevicesOfEveryProtocol) {
    const auto device = std::make_shared<FakeDevice>();
    ServePavo(*device);
    ServeWs(*device);
    ServeSnmp(*device, L"SNMP1");
    ServeIpp(*device, Ipp::Testing::Value(0x45, "printer-uuid", "urn:uuid:1234"));
    for (const auto type :
         {DataMapTypeEnum::Pavo, DataMapTypeEnum::WS, DataMapTypeEnum::OID, DataMapTypeEnum::IPP}) {
        EXPECT_TRUE(Create(device, MapsOf({type}), cache.Get()));
    }
    EXPECT_TRUE(KeyExists(std::wstring(root) + L"\\SNMP1\\OID"));
    EXPECT_TRUE(KeyExists(std::wstring(root) + L"\\1234\\IPP"));
    EXPECT_TRUE(KeyExists(std::wstring(root) + L"\\SN1\\Pavo"));
    EXPECT_TRUE(KeyExists(std::wstring(root) + L"\\MFG:Test;\\WS"));
}

/// A cache that remembers the device behind an address.
class DeviceMemoryTest : public RegistryCacheTest {
protected:
    static constexpr unsigned lifespan = 1000;
    static constexpr HRESULT notConnected = HRESULT_FROM_WIN32(ERROR_DEVICE_NOT_CONNECTED);

    static DisposablePtr<RegCacheProvider> Remembering(const wchar_t* deviceName = L"printer.test") {
        auto provider = RegCacheProvider::Create(root);
        provider->RememberDevice(deviceName, lifespan);
        return provider;
    }
    static HRESULT Read(DataCollection& collection, const wchar_t* name) {
        Variant value;
        return collection.GetValue(name, value.Receive());
    }
};

TEST_F(DeviceMemoryTest, AsksNothingForWhatItHas) {
    const auto device = DeviceWith("SN1", "Printer");
    EXPECT_EQ(ModelOf(*CreatePlsxml(device, Remembering().Get())), std::wstring(L"Printer") + fromDevice);
    device->exchanges.clear();
    EXPECT_EQ(ModelOf(*CreatePlsxml(device, Remembering().Get())), std::wstring(L"Printer") + fromCache);
    EXPECT_TRUE(device->exchanges.empty());

    TestClock::Advance(601 * TestClock::lifespanUnit);
    EXPECT_EQ(ModelOf(*CreatePlsxml(device, Remembering().Get())), std::wstring(L"Printer") + fromDevice);
    ASSERT_EQ(device->exchanges.size(), 2u);
    EXPECT_EQ(device->exchanges[0].uri, identityUri) << "before anything else";
}

TEST_F(DeviceMemoryTest, KnowsDevicesOfEveryProtocolButIpp) {
    const auto device = DeviceWith("SN1", "Printer");
    ServePavo(*device);
    ServeWs(*device);
    ServeSnmp(*device, L"SNMP1");
    ServeIpp(*device, Ipp::Testing::Value(0x45, "printer-uuid", "urn:uuid:1234"));
    for (const auto type : {DataMapTypeEnum::Pavo, DataMapTypeEnum::WS, DataMapTypeEnum::PLSXML,
                            DataMapTypeEnum::OID, DataMapTypeEnum::IPP}) {
        const auto first = Create(device, MapsOf({type}), Remembering().Get());
        ASSERT_TRUE(first);
        const int before = device->calls;
        const auto second = Create(device, MapsOf({type}), Remembering().Get());
        ASSERT_TRUE(second);
        EXPECT_EQ(second->GetDataMapName(), first->GetDataMapName());
        EXPECT_EQ(device->calls == before, type != DataMapTypeEnum::IPP) << second->GetDataMapName().c_str();
    }
}

TEST_F(DeviceMemoryTest, AsksWhoIsThereWhereItIsNotSure) {
    using Type = DataMapTypeEnum;
    struct Case {
        const char* what;
        const wchar_t* deviceName;
        bool otherMaps;
        unsigned later;
        size_t questions;
    };
    const Case cases[] = {{"the same", L"printer.test", false, lifespan, 0},
                          {"long ago", L"printer.test", false, lifespan + 1, 1},
                          {"another way", L"printer.test:8080", false, 0, 1},
                          {"other maps", L"printer.test", true, 0, 1},
                          {"no memory", L"", false, 0, 1}};
    const auto device = DeviceWith("SN1", "Printer");
    for (const Case& c : cases) {
        CreatePlsxml(device, Remembering().Get());
        TestClock::Advance(c.later * TestClock::lifespanUnit);
        device->exchanges.clear();
        Create(device, c.otherMaps ? MapsOf({Type::OID, Type::PLSXML}) : MapsOf({Type::PLSXML}),
               Remembering(c.deviceName).Get());
        EXPECT_EQ(device->RequestsFor(identityUri), c.questions) << c.what;
    }
}

TEST_F(DeviceMemoryTest, AsksNothingOfAnotherDevice) {
    struct Case {
        const char* what;
        FakeDevicePtr now;
        std::wstring model;
    };
    const auto nameless = DeviceWith("", "Third");
    const auto silent = std::make_shared<FakeDevice>();
    silent->answer = [](const CorvixTest::HttpExchange&) { return CorvixTest::HttpAnswer{0, {}, E_FAIL}; };
    const Case cases[] = {{"another", DeviceWith("TWO", "Second"), std::wstring(L"Second") + fromDevice},
                          {"one without a name", nameless, std::wstring(L"Third") + fromDevice},
                          {"none", silent, L"none"}};
    for (const Case& c : cases) {
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, root);
        ModelOf(*CreatePlsxml(DeviceWith("ONE", "First"), Remembering().Get()));
        {
            const auto misled = CreatePlsxml(c.now, Remembering().Get());
            EXPECT_EQ(ModelOf(*misled), std::wstring(L"First") + fromCache) << c.what;
            EXPECT_TRUE(c.now->exchanges.empty()) << c.what;
            EXPECT_EQ(Read(*misled, L"x:Model"), notConnected) << c.what;
            EXPECT_EQ(Read(*misled, L"x:Model"), notConnected) << c.what;
            EXPECT_EQ(c.now->exchanges.size(), 1u) << c.what << ": only asked who it is";
        }
        EXPECT_EQ(ModelOf(*CreatePlsxml(c.now, Remembering().Get())), c.model) << c.what;
        EXPECT_EQ(ModelOf(*CreatePlsxml(DeviceWith("ONE", "Changed"), cache.Get())),
                  std::wstring(L"First") + fromCache)
            << c.what << ": the first device's values are as they were";
    }
}

TEST_F(DeviceMemoryTest, DoesNotAskADeviceThatLostItsWebServicePort) {
    const auto device = std::make_shared<FakeDevice>();
    ServeWs(*device);
    EXPECT_TRUE(Create(device, MapsOf({DataMapTypeEnum::WS}), Remembering().Get()));
    device->hasWebServicePort = false;
    device->exchanges.clear();
    EXPECT_FALSE(Create(device, MapsOf({DataMapTypeEnum::WS}), Remembering().Get()));
    EXPECT_TRUE(device->exchanges.empty());
}

TEST_F(DeviceMemoryTest, AsksNothingOfAnotherSnmpDevice) {
    const auto device = std::make_shared<FakeDevice>();
    ServeSnmp(*device, L"ONE");
    const auto create = [&device] {
        const OwnedMaps maps = MapsOf({DataMapTypeEnum::OID});
        DataMapSpec& map = *maps->GetDataMapSpec(0);
        const wchar_t* description = L"1.3.6.1.2.1.25.3.2.1.3.1";
        map.AddDataItemSpec(L"Name", OIDDataItemSpec::CreateOIDDataItemSpec(L"Name", description, nullptr,
                                                                            false, nullptr, 0, nullptr));
        map.AddDataItemSpec(L"Walk", NextOIDDataItemSpec::CreateNextOidDataItemSpec(
                                         L"Walk", L"1.3.1", nullptr, false, nullptr, 0, nullptr, true, 0));
        map.AddDataItemSpec(
            L"Table", OIDGetDataItemsSpec::CreateOIDGetDataItemsSpec(L"Table", L"1.3.1.N", nullptr, false,
                                                                     nullptr, 0, nullptr, false, 3, L"0"));
        return Create(device, maps, Remembering().Get());
    };
    EXPECT_EQ(Read(*create(), L"Name"), S_OK);
    ServeSnmp(*device, L"TWO");
    const auto misled = create();
    EXPECT_EQ(Read(*misled, L"Name"), S_OK) << "from the cache";
    for (const wchar_t* unknown : {L"x:Name", L"Walk", L"Walk.1", L"Table", L"Table.1"})
        EXPECT_EQ(Read(*misled, unknown), notConnected) << unknown;
    EXPECT_EQ(Read(*create(), L"x:Name"), S_OK);
}

TEST_F(DeviceMemoryTest, TakesWhatItCannotReadForNothing) {
    const std::wstring now = std::to_wstring(*TestClock::Now());
    const std::wstring later = std::to_wstring(*TestClock::Now() + 1);
    struct Case {
        const wchar_t* device;
        std::wstring stamp;
        size_t questions;
    };
    const Case cases[] = {{L"PLSXML SN1", now, 0},     {L"PLSXML", now, 1},
                          {L"PLSXML ", now, 1},        {L"", now, 1},
                          {L"OID SN1", now, 1},        {L"Other SN1", now, 1},
                          {L"PLSXML SN1", L"soon", 1}, {L"PLSXML SN1", L"", 1},
                          {L"PLSXML SN1", later, 1}};
    const auto device = DeviceWith("SN1", "Printer");
    const auto write = [](const wchar_t* name, const std::wstring& text) {
        RegSetKeyValueW(HKEY_LOCAL_MACHINE, root, name, REG_SZ, text.c_str(),
                        static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    };
    for (const Case& c : cases) {
        write(L"printer.test [PLSXML]", c.device);
        write(L"printer.test [PLSXML].Expires", c.stamp);
        device->exchanges.clear();
        EXPECT_TRUE(CreatePlsxml(device, Remembering().Get()));
        EXPECT_EQ(device->RequestsFor(identityUri), c.questions) << c.device << L", " << c.stamp;
    }
}

TEST_F(DeviceMemoryTest, AsksEveryTimeWhereNothingCanBeWritten) {
    const auto device = DeviceWith("SN1", "Printer");
    for (const std::wstring& path : {std::wstring(), std::wstring(300, L'k')}) {
        const auto unusable = RegCacheProvider::Create(path.c_str());
        unusable->RememberDevice(L"printer.test", lifespan);
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(ModelOf(*CreatePlsxml(device, unusable.Get())), std::wstring(L"Printer") + fromDevice);
    }
}

}  // namespace
}  // namespace Corvix
