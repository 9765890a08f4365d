// corvixctl items: what a data map document offers, and documents that are none.
#include <gmock/gmock.h>

#include "corvixctl/peer/ctlprocess.h"
#include "corvixctl/peer/parsing.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* everyKind = R"(<?xml version="1.0" encoding="utf-8"?>
<DataMaps>
  <!-- not a map -->
  <XMLDataMap Protocol="PLSXML">
    <DataItem Name="Serial" URI="/info.xml" XPath="//Serial[@a='1,2']" LifeSpan="864000"/>
    <DataItem Name="Uptime" URI="/info.xml" XPath="//Up" Transient="true" LifeSpan="7"/>
    <StaticDataItem Name="Maker" Prefix="dd">Say "Käse", 東京 &#x1F5A8;</StaticDataItem>
    <DataItem URI="/nameless.xml" XPath="//x"/>
  </XMLDataMap>
  <OIDDataMap>
    <DataItem Name="Level" OID="1.3.6.1.9" GroupID="g"/>
    <NextDataItem Name="Walk" OID="1.3.6.1.2" Count="4"/>
    <GetDataItems Name="Table" OID="1.3.6.1.N.5" N="1" UntilEnd="true"/>
  </OIDDataMap>
  <IPPDataMap>
    <IPPParams ResourceURI="/ipp/print"/>
    <DataItem Name="State" AttributeID="printer-state" Command="Get-Printer-Attributes"/>
  </IPPDataMap>
  <XMLDataMap Protocol="Carrier"><DataItem Name="Pigeon" URI="/p" XPath="//p"/></XMLDataMap>
</DataMaps>)";

using Row = std::vector<std::string>;

TEST(CtlItems, ListsEveryKindOfItemInItsMap) {
    const TempFile map(everyKind);
    const CtlRun run = RunCtl({L"items", map.Path(), L"--format", L"csv"});
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_THAT(run.error, IsEmpty());
    EXPECT_THAT(
        ParseCsv(run.out),
        ElementsAre(
            Row{"protocol", "name", "kind", "source", "lifespan", "transient"},
            Row{"PLSXML", "dd:Maker", "StaticDataItem",
                "constant Say \"K\xC3\xA4se\", \xE6\x9D\xB1\xE4\xBA\xAC \xF0\x9F\x96\xA8", "", "false"},
            Row{"PLSXML", "Serial", "DataItem", "/info.xml //Serial[@a='1,2']", "86400", "false"},
            Row{"PLSXML", "Uptime", "DataItem", "/info.xml //Up", "", "true"},
            Row{"OID", "Level", "DataItem", "1.3.6.1.9 (group g)", "", "false"},
            Row{"OID", "Table", "GetDataItems", "1.3.6.1.N.5, N from 1, until the end", "", "false"},
            Row{"OID", "Walk", "NextDataItem", "1.3.6.1.2, walked 4 more", "", "false"},
            Row{"IPP", "IPPParams", "IPPParams", "resource /ipp/print", "", "false"},
            Row{"IPP", "State", "DataItem", "attribute printer-state by Get-Printer-Attributes", "", "false"},
            Row{"Carrier", "Pigeon", "DataItem", "/p //p", "", "false"}));
}

TEST(CtlItems, AllFormatsAgree) {
    const TempFile map(everyKind);
    const auto csv = ParseCsv(RunCtl({L"items", map.Path(), L"--format", L"csv"}).out);
    const Json json = Json::Parse(RunCtl({L"items", map.Path(), L"--format", L"json"}).out);
    const std::string table = RunCtl({L"items", map.Path()}).out;

    EXPECT_EQ(json["schema"].Number(), 1);
    size_t row = 1;
    for (const Json& listed : json["maps"].Items()) {
        EXPECT_THAT(table, HasSubstr("Map " + listed["protocol"].Text()));
        for (const Json& item : listed["items"].Items()) {
            ASSERT_LT(row, csv.size());
            EXPECT_EQ(csv[row][0], listed["protocol"].Text());
            EXPECT_EQ(csv[row][1], item["name"].Text());
            EXPECT_EQ(csv[row][2], item["kind"].Text());
            EXPECT_EQ(csv[row][3], item["source"].Text());
            EXPECT_EQ(csv[row][4].empty(), item["lifespan"].IsNull());
            EXPECT_EQ(csv[row][5] == "true", std::get<bool>(item["transient"].value));
            EXPECT_THAT(table, HasSubstr(item["source"].Text()));
            ++row;
        }
    }
    EXPECT_EQ(row, csv.size());
}

TEST(CtlItems, ATableStaysATableWhateverTheMapSays) {
    const TempFile map(
        "<DataMaps><XMLDataMap Protocol='PLSXML'>"
        "<StaticDataItem Name='a'>two\nlines&#9;tab &#x85;&#x202E;</StaticDataItem>"
        "<StaticDataItem Name='\xE6\x9D\xB1\xE4\xBA\xAC'>wide</StaticDataItem>"
        "</XMLDataMap></DataMaps>");
    const CtlRun run = RunCtl({L"items", map.Path()});
    EXPECT_THAT(LinesOf(run.out),
                ElementsAre("Map PLSXML, 2 items", "NAME  KIND            KEPT      SOURCE",
                            "a     StaticDataItem  for ever  constant two\\nlines\\ttab \\u0085\\u202e",
                            "\xE6\x9D\xB1\xE4\xBA\xAC  StaticDataItem  for ever  constant wide"));
}

TEST(CtlItems, RefusesWhatIsNoMapAndSaysWhy) {
    struct Case {
        std::string document;
        const char* message;
    };
    const Case cases[] = {
        {"", "the file is empty"},
        {"hello", "not well-formed XML at line 1"},
        {"<DataMaps>\n <XMLDataMap>\n</DataMaps>",
         "not well-formed XML at line 3, column 12: an end tag that fits"},
        {"<DataMaps>\n", "not well-formed XML at line 1, column 2: the document ends too early"},
        {"<DataMaps a='1' a='2'/>", "not well-formed XML"},
        {"<Html><DataMaps/></Html>", "the root element is Html, not DataMaps"},
        {"<datamaps/>", "the root element is datamaps, not DataMaps"},
        {"<DataMaps/>", "DataMaps holds no map"},
        {"<DataMaps><!-- none --><Unknown/></DataMaps>", "DataMaps holds no map"},
    };
    for (const Case& test : cases) {
        const TempFile map(test.document);
        const CtlRun run = RunCtl({L"items", map.Path()});
        SCOPED_TRACE(test.message);
        EXPECT_EQ(run.exitCode, 4u);
        EXPECT_THAT(run.out, IsEmpty());
        EXPECT_THAT(run.error, HasSubstr(test.message));
        EXPECT_THAT(LinesOf(run.error), SizeIs(1));
        // A map that cannot be listed cannot be used either, and no device is asked about it.
        const CtlRun get = RunCtl({L"get", L"--device", L"127.0.0.1", L"--map", map.Path()});
        EXPECT_EQ(get.exitCode, 4u);
        EXPECT_EQ(get.error, run.error);
    }
}

TEST(CtlItems, RefusesAFileThatIsNotThere) {
    const CtlRun missing = RunCtl({L"items", L"no-such-file.xml"});
    EXPECT_EQ(missing.exitCode, 4u);
    EXPECT_THAT(missing.error, HasSubstr("map no-such-file.xml: cannot be read: "));
    const CtlRun folder = RunCtl({L"items", L"."});
    EXPECT_EQ(folder.exitCode, 4u);
    EXPECT_THAT(folder.error, HasSubstr("this is a folder"));
}

TEST(CtlItems, KeepsToUnicodeWhateverTheArgumentsHold) {
    // Half a surrogate pair in a file name is legal to the system, and has no place in UTF-8.
    const CtlRun run = RunCtl({L"items", L"k\xE4se\xD83D.xml"});
    EXPECT_EQ(run.exitCode, 4u);
    EXPECT_THAT(run.error, HasSubstr("map k\xC3\xA4se\xEF\xBF\xBD.xml"));
}

TEST(CtlItems, ReadsTheEncodingsOfXml) {
    const std::wstring wide =
        L"<?xml version='1.0' encoding='utf-16'?><DataMaps><XMLDataMap Protocol='PLSXML'>"
        L"<StaticDataItem Name='n'>K\xE4se</StaticDataItem></XMLDataMap></DataMaps>";
    const std::string utf16 =
        "\xFF\xFE" + std::string(reinterpret_cast<const char*>(wide.data()), wide.size() * sizeof(wchar_t));
    const std::string latin1 =
        "<?xml version='1.0' encoding='iso-8859-1'?><DataMaps><XMLDataMap Protocol='PLSXML'>"
        "<StaticDataItem Name='n'>K\xE4se</StaticDataItem></XMLDataMap></DataMaps>";
    for (const std::string& document : {utf16, latin1}) {
        const TempFile map(document);
        EXPECT_THAT(RunCtl({L"items", map.Path()}).out, HasSubstr("constant K\xC3\xA4se"));
    }
}

}  // namespace
