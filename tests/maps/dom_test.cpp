// Documents as they come: from text and from files, good and bad.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "datamodel/dom/dom.h"
#include "support/tempfile.h"
#include "utilslib/com.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

struct Case {
    const char* bytes;
    bool loads;
};

constexpr Case cases[] = {
    {"<DataMaps/>", true},
    {"<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<DataMaps/>", true},
    {"", false},
    {"   ", false},
    {"no XML", false},
    {"<DataMaps>", false},
    {"<DataMaps></Other>", false},
    {"<DataMaps/><DataMaps/>", false},
    {"<DataMaps a='1' a='2'/>", false},
    {"<DataMaps>&unknown;</DataMaps>", false},
};

/// Loading fails without touching the document that was there.
template <class Load>
void ExpectLoads(bool expected, Load load) {
    ComPtr<IXMLDOMDocument> document;
    ASSERT_EQ(LoadDomText(L"<before/>", document), S_OK);
    IXMLDOMDocument* const before = document.Get();
    const HRESULT result = load(document);
    EXPECT_EQ(result == S_OK, expected) << std::hex << result;
    EXPECT_EQ(document.Get() != before, expected);
    ComPtr<IXMLDOMNode> root;
    EXPECT_EQ(SelectNode(document.Get(), L"DataMaps", root), expected ? S_OK : S_FALSE);
}

TEST(Dom, LoadsTextsThatAreWellFormed) {
    const KyUtils::ComApartment apartment;
    for (const Case& row : cases) {
        SCOPED_TRACE(row.bytes);
        ExpectLoads(row.loads,
                    [&row](auto& document) { return LoadDomText(KyUtils::ToWide(row.bytes), document); });
    }
}

HRESULT LoadBytes(const std::string& bytes, ComPtr<IXMLDOMDocument>& document) {
    const CorvixTest::TempFile file;
    std::ofstream(std::filesystem::path(file.Name()), std::ios::binary) << bytes;
    return LoadDomFile(file.Name().c_str(), document);
}

TEST(Dom, LoadsFilesThatAreWellFormed) {
    const KyUtils::ComApartment apartment;
    for (const Case& row : cases) {
        SCOPED_TRACE(row.bytes);
        ExpectLoads(row.loads, [&row](auto& document) { return LoadBytes(row.bytes, document); });
    }
    ExpectLoads(false,
                [](auto& document) { return LoadDomFile(CorvixTest::TempFile().Name().c_str(), document); });
}

TEST(Dom, ReadsFilesInTheirEncoding) {
    const KyUtils::ComApartment apartment;
    const std::string utf16("\xFF\xFE<\0a\0>\0\xE4\0<\0/\0a\0>\0", 18);
    for (const std::string& bytes :
         {std::string("<a>\xC3\xA4</a>"), std::string("\xEF\xBB\xBF<a>\xC3\xA4</a>"),
          std::string("<?xml version='1.0' encoding='iso-8859-1'?><a>\xE4</a>"), utf16}) {
        ComPtr<IXMLDOMDocument> document;
        ASSERT_EQ(LoadBytes(bytes, document), S_OK) << bytes;
        KyUtils::Bstr text;
        ASSERT_EQ(document->get_text(text.Receive()), S_OK);
        EXPECT_EQ(text.View(), L"\xE4");
    }
}

}  // namespace
}  // namespace Corvix
