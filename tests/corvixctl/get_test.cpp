// corvixctl get against the simulated printer, in good health and in bad.
#include <gmock/gmock.h>

#include <map>
#include <memory>

#include "corvixctl/peer/ctlprocess.h"
#include "corvixctl/peer/parsing.h"
#include "sim/peer/simprocess.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Ge;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

using Words = std::vector<std::wstring>;
using Row = std::vector<std::string>;

std::wstring Widen(const std::string& text) { return {text.begin(), text.end()}; }

const std::wstring readyMadeMap = Widen(CORVIX_SOURCE_DIR "/maps/plsxml.xml");

// Two resources, of which tests let one fail, and a constant.
constexpr const char* smallMap = R"(<DataMaps><XMLDataMap Protocol="PLSXML">
  <DataItem Name="Model" URI="/veyra/device/product_information.xml" XPath="//ProductModel" LifeSpan="600"/>
  <DataItem Name="Color" URI="/veyra/device/product_information.xml" XPath="//Capabilities/Color">
    <Conversion Equals="TRUE" Value="in colour"/>
  </DataItem>
  <DataItem Name="Make" URI="/veyra/device/product_information.xml" XPath="//ProductMake" Transient="true"/>
  <DataItem Name="Level" URI="/veyra/device/consumables.xml" XPath="//Consumable[@Index='1']/Level"/>
  <DataItem Name="Toner" URI="/veyra/device/consumables.xml" XPath="//Consumable[@Index='1']/Name"/>
  <StaticDataItem Name="Map" Prefix="about">small</StaticDataItem>
  <StaticDataItem Name="Nothing"/>
</XMLDataMap></DataMaps>)";

class CtlGet : public testing::Test {
protected:
    static void SetUpTestSuite() { sim_ = std::make_unique<SimProcess>(); }
    static void TearDownTestSuite() { sim_.reset(); }

    CtlRun Get(const Words& more, const std::wstring& map) const {
        Words words = {L"get",
                       L"--device",
                       Widen(sim_->Address()),
                       L"--port-map",
                       Widen(sim_->PortMap()),
                       L"--timeout",
                       L"20",
                       L"--map",
                       map};
        words.insert(words.end(), more.begin(), more.end());
        return RunCtl(words);
    }
    CtlRun Get(const Words& more) const { return Get(more, map_.Path()); }

    static void Fault(const std::string& rule) { sim_->Control("POST", "/sim/faults", rule); }
    void TearDown() override {
        sim_->Control("POST", "/sim/faults/clear");
        sim_->Control("POST", "/sim/counters/reset");
    }

    static double RequestsFor(const std::string& path) {
        const Json counters = Json::Parse(sim_->Control("GET", "/sim/counters"));
        if (!counters["services"].Has("plsxml")) return 0;
        const Json& paths = counters["services"]["plsxml"]["paths"];
        return paths.Has(path) ? paths[path].Number() : 0;
    }

    static std::unique_ptr<SimProcess> sim_;
    const TempFile map_{smallMap};
};

std::unique_ptr<SimProcess> CtlGet::sim_;

constexpr const char* productPath = "/veyra/device/product_information.xml";
constexpr const char* consumablesPath = "/veyra/device/consumables.xml";

TEST_F(CtlGet, AnswersTheWholeReadyMadeMap) {
    const CtlRun run = Get({L"--format", L"json"}, readyMadeMap);
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    EXPECT_THAT(run.error, IsEmpty());
    const Json json = Json::Parse(run.out);
    EXPECT_EQ(json["schema"].Number(), 1);
    EXPECT_EQ(json["device"].Text(), sim_->Address());
    EXPECT_EQ(json["protocol"].Text(), "PLSXML");
    EXPECT_THAT(json["items"].Items(), SizeIs(Ge(10u)));
    std::map<std::string, std::string> values;
    for (const Json& item : json["items"].Items()) {
        EXPECT_TRUE(item["error"].IsNull()) << item["name"].Text();
        EXPECT_FALSE(item.Has("source")) << "nobody asked for an explanation";
        values[item["name"].Text()] = item["value"].Text();
    }
    EXPECT_EQ(values["device.model"], "Corvus C4200dn");
    EXPECT_EQ(values["device.color"], "yes") << "converted";
    EXPECT_EQ(values["about:map.vendor"], "Corvix") << "a constant";
    EXPECT_EQ(RequestsFor(productPath), 1) << "one fetch for all items of a resource";
}

TEST_F(CtlGet, AllFormatsAgree) {
    const Words explained = {L"--explain", L"Model", L"Color", L"Level", L"about:Map", L"NoSuch"};
    const auto with = [&](const wchar_t* format) {
        Words words = explained;
        words.insert(words.end(), {L"--format", format});
        return Get(words);
    };
    const CtlRun json = with(L"json");
    const CtlRun csv = with(L"csv");
    const CtlRun table = with(L"table");
    const auto rows = ParseCsv(csv.out);
    ASSERT_THAT(rows, SizeIs(6));
    EXPECT_THAT(rows[0], ElementsAre("name", "value", "error", "source", "raw", "age"));
    const Json parsed = Json::Parse(json.out);
    const auto text = [](const Json& cell) { return cell.IsNull() ? std::string() : cell.Text(); };
    for (size_t i = 0; i + 1 < rows.size(); ++i) {
        const Json& item = parsed["items"].Items()[i];
        EXPECT_EQ(rows[i + 1][0], item["name"].Text());
        EXPECT_EQ(rows[i + 1][1], text(item["value"]));
        EXPECT_EQ(rows[i + 1][2], text(item["error"]));
        EXPECT_EQ(rows[i + 1][3], text(item["source"]));
        EXPECT_EQ(rows[i + 1][4], text(item["raw"]));
        EXPECT_EQ(rows[i + 1][5].empty(), item["age"].IsNull());
        EXPECT_THAT(LinesOf(table.out)[i + 1], AllOf(HasSubstr(rows[i + 1][0]), HasSubstr(rows[i + 1][1])));
    }
    for (const CtlRun* run : {&json, &csv, &table}) {
        EXPECT_EQ(run->exitCode, 1u);
        EXPECT_EQ(run->error, "corvixctl: 1 of 5 items failed\n");
    }
}

TEST_F(CtlGet, ExplainsWhereEachValueCameFrom) {
    const CtlRun run = Get(
        {L"--explain", L"--format", L"json", L"Model", L"Model", L"Make", L"Make", L"Color", L"about:Map"});
    EXPECT_EQ(run.exitCode, 0u);
    struct Expected {
        const char* source;
        const char* raw;  // null when it is not known
    };
    const Expected expected[] = {{"device", "Corvus C4200dn"}, {"store", nullptr}, {"device", "Veyra"},
                                 {"device", "Veyra"},          {"device", "true"}, {"static", nullptr}};
    const Json json = Json::Parse(run.out);
    const auto& items = json["items"].Items();
    ASSERT_THAT(items, SizeIs(std::size(expected)));
    for (size_t i = 0; i < items.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(items[i]["source"].Text(), expected[i].source);
        EXPECT_EQ(items[i]["raw"].IsNull(), expected[i].raw == nullptr);
        if (expected[i].raw) {
            EXPECT_EQ(items[i]["raw"].Text(), expected[i].raw);
        }
        const bool isConstant = std::string(expected[i].source) == "static";
        EXPECT_EQ(items[i]["age"].IsNull(), isConstant);
    }
    EXPECT_EQ(items[4]["value"].Text(), "in colour");
}

TEST_F(CtlGet, SaysWhatADeviceInBadHealthDid) {
    struct Case {
        const char* fault;
        DWORD exitCode;
        const char* message;
    };
    const Case cases[] = {
        {"status=404", 1, "HTTP 404 for /veyra/device/product_information.xml"},
        {"status=503", 1, "HTTP 503 for"},
        {"status=401", 1, "the device wants another --user and --password"},
        {"truncate=200", 1, "the device ended the connection before its response was complete"},
        {"malformed", 1, "document refused: /veyra/device/product_information.xml"},
        {"doctype", 1, "a document type declaration, which is refused"},
        {"deep=300", 1, "elements nested too deeply"},
        {"megabytes=50", 1, "the body of the device's response is longer than the limit"},
        {"endless", 1, "the body of the device's response is longer than the limit"},
        {"garbage", 1, "the device's response is not HTTP"},
        {"close", 1, "the device ended the connection before its response was complete"},
        {"reset", 1, ": /veyra/device/product_information.xml"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.fault);
        Fault("service=plsxml path=" + std::string(productPath) + " " + test.fault);
        const CtlRun run = Get({L"--format", L"json", L"Level", L"Model", L"Make", L"Toner", L"about:Map"});
        EXPECT_EQ(run.exitCode, test.exitCode);
        EXPECT_EQ(run.error, "corvixctl: 2 of 5 items failed\n");
        const Json json = Json::Parse(run.out);
        const auto& items = json["items"].Items();
        ASSERT_THAT(items, SizeIs(5));
        EXPECT_EQ(items[0]["value"].Text(), "82") << "another resource answers as before";
        EXPECT_TRUE(items[1]["value"].IsNull());
        EXPECT_THAT(items[1]["error"].Text(), HasSubstr(test.message));
        EXPECT_EQ(items[2]["error"].Text(), items[1]["error"].Text());
        EXPECT_EQ(items[3]["value"].Text(), "Black Toner Cartridge");
        EXPECT_EQ(items[4]["value"].Text(), "small");
        sim_->Control("POST", "/sim/faults/clear");
    }
}

TEST_F(CtlGet, BlamesTheMapForWhatIsTheMapsFault) {
    const TempFile map(R"xml(<DataMaps><XMLDataMap Protocol="PLSXML">
      <DataItem Name="a" URI="/veyra/device/product_information.xml" XPath="//["/>
      <DataItem Name="b" URI="/veyra/device/product_information.xml" XPath="//*[last()-1]"/>
      <DataItem Name="c" URI="/veyra/device/product_information.xml" XPath="count(//*)"/>
      <DataItem Name="d" URI="/veyra/device/product_information.xml" XPath=""/>
      <DataItem Name="e" XPath="//ProductModel"/>
      <DataItem Name="f" URI="/veyra/device/product_information.xml" XPath="//*[ProductModel/text()]/ProductModel"/>
    </XMLDataMap></DataMaps>)xml");
    const CtlRun run = Get({L"--format", L"csv"}, map.Path());
    EXPECT_EQ(run.exitCode, 1u);
    const char* const badXPath = "the XPath of this item cannot be evaluated";
    EXPECT_THAT(ParseCsv(run.out),
                ElementsAre(ElementsAre("name", "value", "error"), ElementsAre("a", "", badXPath),
                            ElementsAre("b", "", badXPath), ElementsAre("c", "", badXPath),
                            ElementsAre("d", "", "the map gives no XPath for this item"),
                            ElementsAre("e", "", "the map gives no URI for this item"),
                            ElementsAre("f", Not(IsEmpty()), "")));
}

TEST_F(CtlGet, AsksForADocumentThatFailedOnlyOnce) {
    Fault("service=plsxml path=" + std::string(productPath) + " status=500");
    EXPECT_EQ(Get({}).exitCode, 1u);
    EXPECT_EQ(RequestsFor(productPath), 1);
    EXPECT_EQ(RequestsFor(consumablesPath), 1);
}

TEST_F(CtlGet, TellsADeviceThatIsNotThere) {
    struct Case {
        const char* what;
        const char* fault;  // null for none
        Words words;
        const char* message;
    };
    const Case cases[] = {
        {"refuses", "service=plsxml refuse", {}, "the device refused the connection (port "},
        {"is silent",
         "service=plsxml delay=20000",
         {L"--timeout=300ms"},
         "the device did not answer in time (port "},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.what);
        Fault(test.fault);
        Words words = {L"get",   L"--device", Widen(sim_->Address()), L"--port-map", Widen(sim_->PortMap()),
                       L"--map", map_.Path()};
        words.insert(words.end(), test.words.begin(), test.words.end());
        const CtlRun run = RunCtl(words);
        EXPECT_EQ(run.exitCode, 3u);
        EXPECT_THAT(run.out, IsEmpty());
        EXPECT_THAT(run.error, AllOf(HasSubstr("device " + sim_->Address() + " not reachable: "),
                                     HasSubstr(test.message), HasSubstr("check --device")));
        EXPECT_THAT(LinesOf(run.error), SizeIs(1));
        // Constants need no device.
        words.push_back(L"about:Map");
        const CtlRun constant = RunCtl(words);
        EXPECT_EQ(constant.exitCode, 0u);
        EXPECT_THAT(constant.out, HasSubstr("small"));
        sim_->Control("POST", "/sim/faults/clear");
    }
}

TEST_F(CtlGet, TellsAHostThatHasNoAddress) {
    const CtlRun run = RunCtl({L"get", L"--device", L"no-such-printer.invalid", L"--map", map_.Path()});
    EXPECT_EQ(run.exitCode, 3u);
    EXPECT_THAT(run.error, HasSubstr("device no-such-printer.invalid not reachable: "));
}

TEST_F(CtlGet, SaysWhyAnItemCannotBeAnswered) {
    struct Case {
        const wchar_t* item;
        const char* message;
    };
    const Case cases[] = {
        {L"Modl", "not in this map; did you mean Model?"},
        {L"model", "not in this map; did you mean Model?"},
        {L"Humidity", "not in this map"},
        {L"Map", "not in this map by that name; ask for about:Map"},
        {L"Nothing", "the map gives no text for this constant"},
    };
    Words words = {L"--format", L"csv"};
    for (const Case& test : cases)
        words.push_back(test.item);
    const CtlRun run = Get(words);
    EXPECT_EQ(run.exitCode, 1u);
    const auto rows = ParseCsv(run.out);
    ASSERT_THAT(rows, SizeIs(1 + std::size(cases)));
    for (size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(rows[i + 1][2], cases[i].message);
    EXPECT_EQ(RequestsFor(productPath), 0);
}

TEST_F(CtlGet, TakesNothingFromAMapWithoutAKnownProtocol) {
    const TempFile map(
        "<DataMaps><XMLDataMap Protocol='Carrier'><DataItem Name='a' URI='/a' XPath='//a'/>"
        "</XMLDataMap></DataMaps>");
    const CtlRun run = Get({}, map.Path());
    EXPECT_EQ(run.exitCode, 4u);
    EXPECT_THAT(run.error, HasSubstr("the protocol \"Carrier\" is not known"));
}

TEST_F(CtlGet, PassesOnWhateverTextADeviceHolds) {
    const std::string text = "say \"hi\", \\ \xC3\xA9\xF0\x9F\x96\xA8\n\tnext\x7F";
    sim_->Control("PUT", "/sim/documents/80/odd.xml", "<a><b>" + text + "</b><c/><n>&#x202E;abc</n></a>");
    const TempFile map(
        "<DataMaps><XMLDataMap Protocol='PLSXML'><DataItem Name='b' URI='/odd.xml' XPath='//b'/>"
        "<DataItem Name='c' URI='/odd.xml' XPath='//c'/>"
        "<DataItem Name='n' URI='/odd.xml' XPath='//n'/></XMLDataMap></DataMaps>");
    const Json json = Json::Parse(Get({L"--format", L"json"}, map.Path()).out);
    EXPECT_EQ(json["items"].Items()[0]["value"].Text(), text);
    EXPECT_EQ(json["items"].Items()[1]["value"].Text(), "");
    const auto rows = ParseCsv(Get({L"--format", L"csv"}, map.Path()).out);
    EXPECT_THAT(rows, Contains(Row{"b", text, ""}));
    EXPECT_THAT(LinesOf(Get({}, map.Path()).out),
                ElementsAre("NAME  VALUE", "b     say \"hi\", \\ \xC3\xA9\xF0\x9F\x96\xA8\\n\\tnext\\u007f",
                            "c", "n     \\u202eabc"));
}

TEST_F(CtlGet, WritesUnicodeEvenForNamesThatAreNone) {
    const CtlRun run = Get({L"--format", L"json", L"half\xD83D", L"\xDC00"});
    EXPECT_EQ(run.exitCode, 1u);
    const Json json = Json::Parse(run.out);
    EXPECT_EQ(json["items"].Items()[0]["name"].Text(), "half\xEF\xBF\xBD");
    EXPECT_EQ(json["items"].Items()[1]["name"].Text(), "\xEF\xBF\xBD");
}

TEST_F(CtlGet, KeepsLongValuesWhole) {
    const std::string text(5000, 'x');
    sim_->Control("PUT", "/sim/documents/80/long.xml", "<a><b>" + text + "</b><c>short</c></a>");
    const TempFile map(
        "<DataMaps><XMLDataMap Protocol='PLSXML'><DataItem Name='b' URI='/long.xml' XPath='//b'/>"
        "<DataItem Name='c' URI='/long.xml' XPath='//c'/></XMLDataMap></DataMaps>");
    const CtlRun run = Get({L"--explain"}, map.Path());
    EXPECT_THAT(run.out, HasSubstr(text));
    EXPECT_THAT(LinesOf(run.out)[2], SizeIs(testing::Le(80u))) << "and the other rows narrow";
}

}  // namespace
