// Maps and collections: what of a document gets in, and how it is walked and changed.
#include <gmock/gmock.h>

#include <memory>
#include <vector>

#include "corvixdm/datamapspec.h"
#include "datamodel/maps/ownedmaps.h"
#include "support/dom.h"

namespace Corvix {
namespace {

using CorvixTest::Document;
using testing::ElementsAre;

DisposablePtr<DataMapSpec> MapFrom(const std::wstring& xml) {
    const Document document(xml);
    return DisposablePtr<DataMapSpec>(DataMapSpec::CreateDataMapSpec(document.Root().Get()));
}

std::vector<std::wstring> NamesOf(DataMapSpec& map) {
    std::vector<std::wstring> names;
    map.Begin();
    while (const CvxDataItem* item = map.GetNextDataItemSpec())
        names.emplace_back(item->GetName());
    return names;
}

TEST(DataMap, KnowsItsProtocol) {
    struct {
        const wchar_t* xml;
        const wchar_t* protocol;
        DataMapTypeEnum type;
    } const rows[] = {
        {L"<XMLDataMap Protocol='plsxml'/>", L"plsxml", DataMapTypeEnum::PLSXML},
        {L"<XMLDataMap Protocol='PAVO'/>", L"PAVO", DataMapTypeEnum::Pavo},
        {L"<XMLDataMap Protocol='ws'/>", L"ws", DataMapTypeEnum::WS},
        {L"<XMLDataMap Protocol='other'/>", L"other", DataMapTypeEnum::Unknown},
        {L"<XMLDataMap/>", L"", DataMapTypeEnum::Unknown},
        {L"<OIDDataMap Protocol='IPP'/>", L"OID", DataMapTypeEnum::OID},
        {L"<IPPDataMap Protocol='OID'/>", L"IPP", DataMapTypeEnum::IPP},
        {L"<xmldatamap Protocol='WS'/>", L"", DataMapTypeEnum::Unknown},
    };
    for (const auto& row : rows) {
        const auto map = MapFrom(row.xml);
        EXPECT_EQ(map->GetProtocolType(), row.protocol);
        EXPECT_EQ(map->GetDataMapType(), row.type);
    }
    for (int type = 0; type <= 6; ++type) {
        const DisposablePtr<DataMapSpec> map(
            DataMapSpec::CreateDataMapSpec(static_cast<DataMapTypeEnum>(type)));
        EXPECT_EQ(map->GetDataMapType(), static_cast<DataMapTypeEnum>(type == 6 ? 0 : type));
        EXPECT_EQ(map->GetRefCount(), 1);
    }
}

TEST(DataMap, TakesTheItemsOfItsKind) {
    const auto all = std::wstring(
        L"<DataItem Name='d'/><StaticDataItem Name='s'>v</StaticDataItem><NextDataItem Name='n'/>"
        L"<GetDataItems Name='g'/><IPPParams Name='p'/><dataitem Name='lower'/><DataItem/><!-- c -->");
    EXPECT_THAT(NamesOf(*MapFrom(L"<XMLDataMap Protocol='WS'>" + all + L"</XMLDataMap>")),
                ElementsAre(L"d", L"s"));
    EXPECT_THAT(NamesOf(*MapFrom(L"<OIDDataMap>" + all + L"</OIDDataMap>")),
                ElementsAre(L"d", L"g", L"n", L"s"));
    const auto ipp = MapFrom(L"<IPPDataMap>" + all + L"</IPPDataMap>");
    EXPECT_EQ(ipp->SizeOf(), 3u);
    EXPECT_NE(dynamic_cast<IPPDataItemSpec*>(ipp->GetDataItemSpec(L"IPPParams")), nullptr);
    EXPECT_EQ(ipp->GetDataItemSpec(L"p"), nullptr) << "the parameters have a fixed name";
    EXPECT_EQ(MapFrom(L"<Unknown>" + all + L"</Unknown>")->SizeOf(), 0u);
}

TEST(DataMap, ALaterItemReplacesAnEarlierOne) {
    const auto map =
        MapFrom(L"<OIDDataMap><DataItem Name='a' OID='1'/><NextDataItem Name='a' OID='2'/></OIDDataMap>");
    EXPECT_EQ(map->SizeOf(), 1u);
    EXPECT_NE(dynamic_cast<NextOIDDataItemSpec*>(map->GetDataItemSpec(L"a")), nullptr);
    EXPECT_EQ(map->GetDataItemSpec(L"A"), nullptr);
    EXPECT_EQ(map->GetDataItemSpec(nullptr), nullptr);
}

TEST(DataMap, RemovesWhileItIsWalked) {
    const auto map =
        MapFrom(L"<OIDDataMap><DataItem Name='b'/><DataItem Name='c'/><DataItem Name='a'/></OIDDataMap>");
    map->RemoveFromMap();
    EXPECT_EQ(map->SizeOf(), 3u) << "nothing was returned yet";
    map->Begin();
    map->GetNextDataItemSpec();
    EXPECT_STREQ(map->GetNextDataItemSpec()->GetName(), L"b");
    map->RemoveFromMap();
    EXPECT_STREQ(map->GetNextDataItemSpec()->GetName(), L"c") << "the walk goes on behind the removed item";
    map->RemoveFromMap();
    EXPECT_EQ(map->GetNextDataItemSpec(), nullptr);
    EXPECT_THAT(NamesOf(*map), ElementsAre(L"a", L"c")) << "the last item cannot be removed";
}

TEST(DataMap, RemovesOnlyWhatWasReturnedLast) {
    const auto map =
        MapFrom(L"<OIDDataMap><DataItem Name='a'/><DataItem Name='b'/><DataItem Name='e'/></OIDDataMap>");
    map->Begin();
    map->RemoveFromMap();
    EXPECT_EQ(map->SizeOf(), 3u) << "nothing was returned since the walk began";
    map->GetNextDataItemSpec();
    map->GetNextDataItemSpec();
    map->AddDataItemSpec(L"c", StaticDataItemSpec::CreateStaticDataItemSpec(L"c", L"v", nullptr));
    map->RemoveFromMap();
    map->RemoveFromMap();
    EXPECT_THAT(NamesOf(*map), ElementsAre(L"a", L"c", L"e"))
        << "neither an item added meanwhile nor one more for a second call";
}

TEST(DataMap, TakesOverAddedItems) {
    const DisposablePtr<DataMapSpec> map(DataMapSpec::CreateDataMapSpec());
    StaticDataItemSpec* item = StaticDataItemSpec::CreateStaticDataItemSpec(L"i", L"v", nullptr);
    map->AddDataItemSpec(nullptr, item);
    map->AddDataItemSpec(L"i", nullptr);
    EXPECT_EQ(map->SizeOf(), 0u);
    map->AddDataItemSpec(L"key", item);
    map->AddDataItemSpec(L"key", item);
    EXPECT_EQ(map->SizeOf(), 1u);
    ASSERT_EQ(map->GetDataItemSpec(L"key"), item) << "the name given counts, and adding twice does no harm";
    EXPECT_STREQ(item->GetName(), L"i");
    map->AddDataItemSpec(L"key", StaticDataItemSpec::CreateStaticDataItemSpec(L"i", L"w", nullptr));
    EXPECT_STREQ(static_cast<StaticDataItemSpec*>(map->GetDataItemSpec(L"key"))->GetStaticDataItemValue(),
                 L"w");
}

TEST(DataMap, OrdersNamesByTheirCodeUnits) {
    const auto map = MapFrom(
        L"<OIDDataMap><DataItem Name='\xFF5E'/><DataItem Name='a'/><DataItem Name='\xD83D\xDE00'/>"
        L"<DataItem Name='B'/><DataItem Name='\xE4'/><DataItem Name='10'/><DataItem Name='9'/></OIDDataMap>");
    EXPECT_THAT(NamesOf(*map), ElementsAre(L"10", L"9", L"B", L"a", L"\xE4", L"\xD83D\xDE00", L"\xFF5E"));
}

TEST(DataMapCollection, HasAMapForEveryChild) {
    const Document document(L"<DataMaps><!-- c --><OIDDataMap/><Other/><IPPDataMap/></DataMaps>");
    const OwnedMaps maps(DataMapSpecCollection::CreateDataMapSpecCollection(document.Root().Get()));
    ASSERT_EQ(maps->GetCount(), 4u);
    EXPECT_EQ(maps->GetDataMapSpec(0)->GetDataMapType(), DataMapTypeEnum::Unknown);
    EXPECT_EQ(maps->GetDataMapSpec(1)->GetDataMapType(), DataMapTypeEnum::OID);
    EXPECT_EQ(maps->GetDataMapSpec(3)->GetDataMapType(), DataMapTypeEnum::IPP);
    EXPECT_EQ(maps->GetDataMapSpec(4), nullptr);
    EXPECT_EQ(OwnedMaps(DataMapSpecCollection::CreateDataMapSpecCollection(nullptr))->GetCount(), 0u);
    const DisposablePtr<DataMapSpec> map(DataMapSpec::CreateDataMapSpec(nullptr));
    EXPECT_EQ(map->SizeOf(), 0u);
    EXPECT_EQ(map->GetDataMapType(), DataMapTypeEnum::Unknown);
}

TEST(DataMapCollection, OwnsAReferenceToEachMap) {
    const DisposablePtr<DataMapSpec> map(DataMapSpec::CreateDataMapSpec(DataMapTypeEnum::WS));
    {
        const OwnedMaps maps(DataMapSpecCollection::CreateDataMapSpecCollection());
        map->AddRef();
        maps->AddDataMapSpec(map.Get());
        maps->AddDataMapSpec(nullptr);
        EXPECT_EQ(maps->GetCount(), 1u);
        EXPECT_EQ(map->GetRefCount(), 2);
    }
    EXPECT_EQ(map->GetRefCount(), 1);
}

}  // namespace
}  // namespace Corvix
