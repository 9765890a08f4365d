// Documents as they come: from text, from files and from devices, good and bad.
#include "datamodel/dom/dom.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "datamodel/dom/devicexml.h"
#include "datamodel/dom/xmlfault.h"
#include "support/tempfile.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

class Dom : public testing::Test {
    const KyUtils::ComApartment apartment_;
};

HRESULT LoadBytes(const std::string& bytes, ComPtr<IXMLDOMDocument>& document) {
    const CorvixTest::TempFile file;
    std::ofstream(std::filesystem::path(file.Name()), std::ios::binary) << bytes;
    return LoadDomFile(file.Name().c_str(), document);
}

HRESULT LoadMissing(const std::string&, ComPtr<IXMLDOMDocument>& document) {
    return LoadDomFile(CorvixTest::TempFile().Name().c_str(), document);
}

HRESULT LoadText(const std::string& text, ComPtr<IXMLDOMDocument>& document) {
    return LoadDomText(KyUtils::ToWide(text), document);
}

HRESULT LoadDevice(const std::string& body, ComPtr<IXMLDOMDocument>& document) {
    return ParseDeviceXml(body, document);
}

using Load = HRESULT (*)(const std::string& bytes, ComPtr<IXMLDOMDocument>& document);

/// Loading fails without touching the document that was there.
void ExpectLoads(Load load, const std::string& bytes, bool expected) {
    SCOPED_TRACE(bytes.substr(0, 60));
    ComPtr<IXMLDOMDocument> document;
    ASSERT_EQ(LoadDomText(L"<before/>", document), S_OK);
    IXMLDOMDocument* const before = document.Get();
    EXPECT_EQ(load(bytes, document) == S_OK, expected);
    EXPECT_EQ(document.Get() != before, expected);
    ComPtr<IXMLDOMNode> root;
    EXPECT_EQ(SelectNode(document.Get(), L"DataMaps", root), expected ? S_OK : S_FALSE);
}

TEST_F(Dom, LoadsWhatIsWellFormed) {
    for (const Load load : {LoadText, LoadBytes, LoadDevice}) {
        for (const char* good : {"<DataMaps/>", "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<DataMaps/>",
                                 "<DataMaps>&lt;</DataMaps>"})
            ExpectLoads(load, good, true);
        for (const char* bad :
             {"", "   ", "no XML", "<DataMaps>", "<DataMaps></Other>", "<DataMaps/><DataMaps/>",
              "<DataMaps a='1' a='2'/>", "<DataMaps>&unknown;</DataMaps>", "<DataMaps>oth",
              "<DataMaps><b/><!-- and", "<DataMaps><b/><![CDATA[ and", "<DataMaps><a><b></a></b></DataMaps>"})
            ExpectLoads(load, bad, false);
    }
    ExpectLoads(LoadMissing, "", false);
}

TEST_F(Dom, RefusesWhatNoDeviceNeeds) {
    for (const std::string& body :
         {std::string("<!DOCTYPE a><DataMaps/>"),
          std::string("<!DOCTYPE a [<!ENTITY e 'eee'>]><DataMaps>&e;</DataMaps>"),
          std::string("<?xml version='1.0'?>\r\n<!DOCTYPE a><DataMaps/>"),
          std::string(" \n<!DOCTYPE a [<!ENTITY e 'eee'>]><DataMaps>&e;</DataMaps>"),
          std::string("<DataMaps>\0</DataMaps>", 22), std::string(" \n")})
        ExpectLoads(LoadDevice, body, false);
    std::string nested;
    for (unsigned depth = 1; depth < maximumXmlDepth; ++depth)
        nested = "<d>" + nested + "<e/></d>";
    ExpectLoads(LoadDevice, "<DataMaps>" + nested.replace(nested.find("<e/>"), 4, "") + "</DataMaps>", true);
    ExpectLoads(LoadDevice, "<DataMaps><d>" + nested + "</d></DataMaps>", false);
}

TEST_F(Dom, ReadsDocumentsInTheirEncoding) {
    const auto expectText = [](Load load, const std::string& bytes, const wchar_t* expected) {
        ComPtr<IXMLDOMDocument> document;
        ASSERT_EQ(load(bytes, document), S_OK) << bytes;
        KyUtils::Bstr text;
        ASSERT_EQ(document->get_text(text.Receive()), S_OK);
        EXPECT_EQ(text.View(), expected) << bytes;
    };
    for (const Load load : {LoadBytes, LoadDevice}) {
        for (const char* bytes : {"<a>\xC3\xA9</a>", "\xEF\xBB\xBF<a>\xC3\xA9</a>",
                                  "<?xml version=\"1.0\" encoding=\"utf-8\"?><a>\xC3\xA9</a>",
                                  "<?xml version='1.0' encoding='iso-8859-1'?><a>\xE9</a>"})
            expectText(load, bytes, L"\u00E9");
    }
    expectText(LoadBytes, std::string("\xFF\xFE<\0a\0>\0\xE9\0<\0/\0a\0>\0", 18), L"\u00E9");
    expectText(LoadDevice, "<?xml version='1.0' encoding='windows-1252'?><a>\x80</a>", L"\u20AC");
    expectText(LoadDevice, "<?xml version='1.0' encoding='utf-8'?><a>\xE9</a>", L"\u00E9");
    expectText(LoadDevice, "<?xml version='1.0' encoding='no-such'?><a>\xC3\xA9</a>", L"\u00E9");
    expectText(LoadDevice, "<a>\xF0\x9F\x96\xA8&#x20AC;&lt;</a>", L"\U0001F5A8\u20AC<");
}

}  // namespace
}  // namespace Corvix
