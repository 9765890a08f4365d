// corvixctl get and set against the simulated printer's SNMP agent.
#include <gmock/gmock.h>

#include <memory>

#include "corvixctl/peer/ctlprocess.h"
#include "corvixctl/peer/parsing.h"
#include "sim/peer/simprocess.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

using Words = std::vector<std::wstring>;
using Row = std::vector<std::string>;

std::wstring Widen(const std::string& text) { return {text.begin(), text.end()}; }

// The simulated printer has trays 1, 2 and 4.
constexpr const char* snmpMap = R"(<DataMaps><OIDDataMap>
  <DataItem Name="Status" OID="1.3.6.1.2.1.25.3.5.1.1.1"><Conversion Equals="3" Value="idle"/></DataItem>
  <DataItem Name="Changes" OID="1.3.6.1.2.1.43.5.1.1.1.1"/>
  <DataItem Name="Host" OID="1.3.6.1.2.1.1.5.0" GroupID="g"/>
  <DataItem Name="Place" OID="1.3.6.1.2.1.1.6.0" GroupID="g"/>
  <NextDataItem Name="Supply" OID="1.3.6.1.2.1.43.11.1.1.6" UntilEnd="true"/>
  <NextDataItem Name="Two" OID="1.3.6.1.2.1.43.11.1.1.6.1.1" Count="1"/>
  <GetDataItems Name="Port" OID="1.3.6.1.2.1.2.2.1.2.N" N="1" UntilEnd="true"/>
  <GetDataItems Name="Tray" OID="1.3.6.1.2.1.43.8.2.1.18.1.N" N="1" Count="4"/>
  <NextDataItem Name="Missing" OID="1.3.6.1.2.1.99" UntilEnd="true"/>
</OIDDataMap></DataMaps>)";

constexpr const char* triggerMap = R"(<?xml version="1.0" encoding="utf-8"?>
<DataMaps><OIDDataMap><DataItem Name="Trigger" OID="1.3.6.1.4.1.32473.1.3.0"/>
<StaticDataItem Name="K&#xE4;se">x</StaticDataItem></OIDDataMap></DataMaps>)";

constexpr const char* readOnlyMap =
    "<DataMaps><OIDDataMap><DataItem Name='Services' OID='1.3.6.1.2.1.1.7.0'/></OIDDataMap></DataMaps>";

class CtlSnmp : public testing::Test {
protected:
    CtlRun Run(const wchar_t* command, const std::string& document, const Words& more) const {
        const TempFile map(document);
        Words words = {command,  L"--device", Widen(sim_.Address()), L"--port-map", Widen(sim_.PortMap()),
                       L"--map", map.Path()};
        words.insert(words.end(), more.begin(), more.end());
        return RunCtl(words);
    }
    CtlRun Get(const Words& more) const { return Run(L"get", snmpMap, more); }
    CtlRun Set(const std::string& document, const Words& more) const { return Run(L"set", document, more); }

    const SimProcess sim_;
};

TEST_F(CtlSnmp, PrintsWalksAndTablesElementByElement) {
    const CtlRun run = Get({L"--format", L"csv"});
    EXPECT_EQ(run.exitCode, 1u);
    EXPECT_THAT(
        ParseCsv(run.out),
        ElementsAre(Row{"name", "value", "error"}, Row{"Changes", "12", ""},
                    Row{"Host", "corvus-c4200,Building 2, second floor", ""},
                    Row{"Missing", "", "the device has no such element"},
                    Row{"Place", "corvus-c4200,Building 2, second floor", ""}, Row{"Port.000", "lo", ""},
                    Row{"Port.001", "eth0", ""}, Row{"Status", "idle", ""},
                    Row{"Supply.001", "Black Toner Cartridge", ""},
                    Row{"Supply.002", "Cyan Toner Cartridge", ""},
                    Row{"Supply.003", "Magenta Toner Cartridge", ""},
                    Row{"Supply.004", "Yellow Toner Cartridge", ""}, Row{"Supply.005", "Imaging Drum", ""},
                    Row{"Supply.006", "Waste Toner Box", ""}, Row{"Tray.000", "Multipurpose tray", ""},
                    Row{"Tray.001", "550-sheet cassette", ""}, Row{"Tray.003", "550-sheet cassette", ""},
                    Row{"Two.000", "Black Toner Cartridge", ""}, Row{"Two.001", "Cyan Toner Cartridge", ""}));
    EXPECT_EQ(run.error, "corvixctl: 1 of 18 items failed\n");
}

TEST_F(CtlSnmp, AnswersSingleElementsAndNumbers) {
    const CtlRun run = Get({L"--format", L"json", L"Changes", L"Supply.2", L"x:Supply.006", L"Supply.7"});
    const Json json = Json::Parse(run.out);
    EXPECT_EQ(json["protocol"].Text(), "OID");
    const auto& items = json["items"].Items();
    EXPECT_EQ(items[0]["value"].Number(), 12);
    EXPECT_EQ(items[1]["value"].Text(), "Cyan Toner Cartridge");
    EXPECT_EQ(items[2]["value"].Text(), "Waste Toner Box");
    EXPECT_EQ(items[3]["error"].Text(), "the device has no such element");
}

TEST_F(CtlSnmp, SpeaksBothVersions) {
    for (const wchar_t* version : {L"1", L"2c"}) {
        const CtlRun run = Get({L"--snmp-version", version, L"--format", L"csv", L"Two"});
        EXPECT_EQ(run.exitCode, 0u);
        EXPECT_THAT(ParseCsv(run.out), SizeIs(3));
    }
}

TEST_F(CtlSnmp, TellsAnAgentThatDoesNotAnswer) {
    const Words impatient = {L"--timeout=100ms", L"--retries", L"0", L"--community", L"secret"};
    const CtlRun get = Get(impatient);
    EXPECT_EQ(get.exitCode, 3u);
    EXPECT_THAT(get.out, IsEmpty());
    EXPECT_THAT(get.error,
                AllOf(HasSubstr("not reachable: no SNMP answer"), HasSubstr("another --community")));
    Words words = impatient;
    words.push_back(L"1");
    EXPECT_EQ(Set(triggerMap, words).exitCode, 3u);
}

// The walk's first element comes, then the agent falls silent: nobody waits for each of the others.
TEST_F(CtlSnmp, DoesNotWaitForEveryElementOfASilentAgent) {
    constexpr const char* sequences = R"(<DataMaps><OIDDataMap>
  <NextDataItem Name="Walk" OID="1.3.6.1.2.1.43.11.1.1.6.1.1" Count="50"/>
  <GetDataItems Name="Table" OID="1.3.6.1.2.1.43.8.2.1.18.1.N" N="1" Count="50"/>
</OIDDataMap></DataMaps>)";
    struct Case {
        const wchar_t* item;
        const char* silence;
        std::vector<std::string> answered;
    };
    const Case cases[] = {
        {L"Walk", "operation=getnext drop", {"Walk.000"}},
        {L"Walk", "operation=getnext skip=1 drop", {"Walk.000", "Walk.001"}},
        {L"Table", "path=1.3.6.1.2.1.43.8.2.1.18.1.2 drop", {"Table.000"}},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.silence);
        sim_.Control("POST", "/sim/faults/clear");
        sim_.Control("POST", "/sim/faults", std::string("service=snmp ") + test.silence);
        sim_.Control("POST", "/sim/counters/reset");
        const CtlRun run =
            Run(L"get", sequences, {L"--timeout=1", L"--retries", L"0", L"--format", L"csv", test.item});
        EXPECT_EQ(run.exitCode, 1u);
        const auto rows = ParseCsv(run.out);
        ASSERT_THAT(rows, SizeIs(test.answered.size() + 2));
        for (size_t i = 0; i < test.answered.size(); ++i)
            EXPECT_EQ(rows[i + 1][0], test.answered[i]);
        EXPECT_THAT(rows.back()[2], HasSubstr("did not answer in time"));
        EXPECT_LT(Json::Parse(sim_.Control("GET", "/sim/counters"))["total"].Number(), 12);
    }
}

// Whatever the agent does, there is a value or a reason, and an end.
TEST_F(CtlSnmp, SurvivesAnAgentThatErrs) {
    struct Case {
        const char* fault;
        const char* supply;  // the second one
        DWORD exitCode;
    };
    const Case cases[] = {
        {"operation=getnext duplicate", "Cyan Toner Cartridge", 0},
        {"operation=getnext drop every=3", "Cyan Toner Cartridge", 0},
        {"operation=getnext wrong-id every=3", "Cyan Toner Cartridge", 0},
        {"operation=getnext garbage every=3", "Cyan Toner Cartridge", 0},
        {"operation=getnext wrong-type", "*", 0},
        {"operation=getnext stuck skip=2", "Cyan Toner Cartridge", 0},
        {"operation=getnext end-of-view skip=2", "Cyan Toner Cartridge", 0},
        {"operation=getnext error=5 skip=2", "Cyan Toner Cartridge", 0},
        {"operation=getnext stuck", "", 1},
        {"operation=getnext end-of-view", "", 1},
        {"operation=getnext too-big", "", 1},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.fault);
        sim_.Control("POST", "/sim/faults/clear");
        sim_.Control("POST", "/sim/faults", std::string("service=snmp ") + test.fault);
        const CtlRun run = Get({L"--timeout=300ms", L"--retries", L"5", L"--format", L"csv", L"Supply"});
        EXPECT_EQ(run.exitCode, test.exitCode) << run.error;
        const auto rows = ParseCsv(run.out);
        ASSERT_THAT(rows, SizeIs(testing::AllOf(testing::Ge(2u), testing::Le(7u))));
        if (test.exitCode == 0) {
            EXPECT_EQ(rows[2][0], "Supply.002");
            EXPECT_TRUE(rows[2][1] == test.supply || test.supply == std::string("*")) << rows[2][1];
        } else {
            EXPECT_NE(rows[1][2], "");
        }
    }
}

TEST_F(CtlSnmp, WritesAValueThatArrives) {
    for (const wchar_t* number : {L"42", L"-7", L"2147483647"}) {
        const CtlRun set = Set(triggerMap, {number});
        EXPECT_EQ(set.exitCode, 0u);
        EXPECT_THAT(set.out, IsEmpty());
        EXPECT_THAT(set.error, HasSubstr("Trigger (1.3.6.1.4.1.32473.1.3.0) set to "));
        const Json json = Json::Parse(Run(L"get", triggerMap, {L"--format", L"json", L"Trigger"}).out);
        EXPECT_EQ(json["items"].Items()[0]["value"].Number(), std::stod(number));
    }
}

TEST_F(CtlSnmp, WritesNothingWhereItMayNot) {
    struct Case {
        std::string map;
        const wchar_t* value;
        DWORD exitCode;
        const char* message;
    };
    const Case cases[] = {
        {readOnlyMap, L"5", 1, "did not take the value"},
        {snmpMap, L"5", 4, "exactly one item"},
        {"<DataMaps><XMLDataMap Protocol='WS'><DataItem Name='a' URI='/a' "
         "XPath='//a'/></XMLDataMap></DataMaps>",
         L"5", 4, "must be an OIDDataMap"},
        {"<DataMaps><OIDDataMap><DataItem Name='a'/></OIDDataMap></DataMaps>", L"5", 4,
         "the item has no OID"},
        {triggerMap, L"five", 2, "expected a whole number of 32 bits"},
        {triggerMap, L"2147483648", 2, "expected a whole number of 32 bits"},
        {triggerMap, L" 5", 2, "expected a whole number of 32 bits"},
        {triggerMap, L"", 2, "expected a whole number of 32 bits"},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.message);
        const CtlRun run = Set(test.map, {test.value});
        EXPECT_EQ(run.exitCode, test.exitCode);
        EXPECT_THAT(run.error, HasSubstr(test.message));
        EXPECT_THAT(LinesOf(run.error), SizeIs(1));
    }
}

}  // namespace
