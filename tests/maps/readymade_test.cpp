// The ready-made maps: each loads, and each item says what its kind needs.
#include <gmock/gmock.h>

#include <filesystem>

#include "corvixdm/datamapspec.h"
#include "datamodel/dom/dom.h"
#include "utilslib/com.h"

namespace Corvix {
namespace {

constexpr unsigned aWeek = 7 * 24 * 60 * 60 * 10;

void ExpectComplete(const CvxDataItem& item) {
    if (const auto* xml = dynamic_cast<const XMLDataItemSpec*>(&item)) {
        EXPECT_TRUE(xml->GetUri() && *xml->GetUri());
        EXPECT_TRUE(xml->GetXPath() && *xml->GetXPath());
    } else if (const auto* oid = dynamic_cast<const OIDDataItemSpec*>(&item)) {
        const wchar_t* text = oid->GetOid();
        EXPECT_TRUE(text && std::wstring(text).rfind(L"1.3.6.1.", 0) == 0) << "no object identifier";
    } else if (const auto* ipp = dynamic_cast<const IPPDataItemSpec*>(&item)) {
        EXPECT_TRUE(ipp->GetAttributeID() || ipp->GetResourceUri());
        EXPECT_TRUE(ipp->GetCommand() || !ipp->IsTransient()) << "what is asked afresh needs an operation";
    } else if (const auto* constant = dynamic_cast<const StaticDataItemSpec*>(&item)) {
        EXPECT_TRUE(constant->GetStaticDataItemValue() && *constant->GetStaticDataItemValue());
    }
    if (const auto* fetched = dynamic_cast<const DataItemSpec*>(&item)) {
        EXPECT_LE(fetched->GetLifespan(), aWeek) << "tenths of a second are meant";
    }
}

/// A duplicate name would replace the item before it.
long CountItemElements(IXMLDOMDocument& document) {
    ComPtr<IXMLDOMNodeList> list;
    const KyUtils::Bstr path(L"DataMaps/*/*");
    long count = 0;
    if (SUCCEEDED(document.selectNodes(path.Get(), &list))) list->get_length(&count);
    return count;
}

TEST(ReadyMadeMaps, AreCompleteAndWithoutDuplicates) {
    const KyUtils::ComApartment apartment;
    int files = 0;
    for (const auto& file : std::filesystem::directory_iterator(CORVIX_SOURCE_DIR "/maps")) {
        SCOPED_TRACE(file.path().filename().string());
        ++files;
        ComPtr<IXMLDOMDocument> document;
        ASSERT_EQ(LoadDomFile(file.path().c_str(), document), S_OK);
        ComPtr<IXMLDOMNode> root;
        ASSERT_EQ(SelectNode(document.Get(), L"DataMaps", root), S_OK);
        DataMapSpecCollection* maps = DataMapSpecCollection::CreateDataMapSpecCollection(root.Get());
        long items = 0;
        for (unsigned i = 0; i < maps->GetCount(); ++i) {
            for (const auto& [name, item] : maps->GetDataMapSpec(i)->GetItems()) {
                SCOPED_TRACE(std::string(name.begin(), name.end()));
                ExpectComplete(*item);
                ++items;
            }
        }
        EXPECT_EQ(items, CountItemElements(*document.Get())) << "an item has no name, or one that is taken";
        EXPECT_GE(items, 1);
        DataMapSpecCollection::Dispose(maps);
    }
    EXPECT_GE(files, 1);
}

ComPtr<IXMLDOMDocument> LoadFile(const std::filesystem::path& path) {
    ComPtr<IXMLDOMDocument> document;
    EXPECT_EQ(LoadDomFile(path.c_str(), document), S_OK) << path;
    return document;
}

// A misspelt element would only show as an empty value.
TEST(ReadyMadeMaps, SelectsItsPlsxmlItemsInTheDocumentsOfTheSimulatedPrinter) {
    const std::filesystem::path served = CORVIX_SOURCE_DIR "/tools/corvixsim/device/files/http/80";
    const KyUtils::ComApartment apartment;
    ComPtr<IXMLDOMNode> element;
    ASSERT_EQ(
        SelectNode(LoadFile(CORVIX_SOURCE_DIR "/maps/plsxml.xml").Get(), L"DataMaps/XMLDataMap", element),
        S_OK);
    const DisposablePtr<DataMapSpec> map(DataMapSpec::CreateDataMapSpec(element.Get()));
    std::map<std::wstring, ComPtr<IXMLDOMDocument>> documents;
    int selected = 0;
    for (const auto& [name, item] : map->GetItems()) {
        const auto* xml = dynamic_cast<const XMLDataItemSpec*>(item.get());
        if (!xml) continue;
        ComPtr<IXMLDOMDocument>& document = documents[xml->GetUri()];
        if (!document) document = LoadFile(served / std::filesystem::path(xml->GetUri()).relative_path());
        ASSERT_TRUE(document);
        ComPtr<IXMLDOMNode> node;
        EXPECT_EQ(SelectNode(document.Get(), xml->GetXPath(), node), S_OK)
            << std::string(name.begin(), name.end());
        ++selected;
    }
    EXPECT_GE(selected, 20);
}

}  // namespace
}  // namespace Corvix
