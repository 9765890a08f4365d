// corvixctl get with IPP maps: by device and by URI.
#include <gmock/gmock.h>

#include <map>
#include <memory>

#include "corvixctl/peer/ctlprocess.h"
#include "corvixctl/peer/parsing.h"
#include "sim/peer/simprocess.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

using Words = std::vector<std::wstring>;

std::wstring Widen(const std::string& text) { return {text.begin(), text.end()}; }

constexpr const char* ippMap = R"(<DataMaps><IPPDataMap>
  <IPPParams Command="Get-Printer-Attributes" ResourceURI="/map/own"/>
  <DataItem Name="State" AttributeID="printer-state" Transient="true" Command="Get-Printer-Attributes">
    <Conversion Equals="3" Value="idle"/></DataItem>
  <DataItem Name="Model" AttributeID="printer-make-and-model" LifeSpan="600"/>
  <DataItem Name="Either" AttributeID="no-such-attribute_OR_printer-name"/>
  <DataItem Name="Missing" AttributeID="no-such-attribute"/>
  <StaticDataItem Name="Map">IPP</StaticDataItem>
</IPPDataMap></DataMaps>)";

class CtlGetIpp : public testing::Test {
protected:
    static void SetUpTestSuite() { sim_ = std::make_unique<SimProcess>(); }
    static void TearDownTestSuite() { sim_.reset(); }
    void SetUp() override { sim_->Control("POST", "/sim/counters/reset"); }
    void TearDown() override { sim_->Control("POST", "/sim/faults/clear"); }

    static Words Device() {
        return {L"--device", Widen(sim_->Address()), L"--port-map", Widen(sim_->PortMap())};
    }
    static Words Uri(const std::wstring& path) {
        return {L"--uri",
                L"ipp://" + Widen(sim_->Address() + ":" + std::to_string(sim_->Port("631"))) + path};
    }
    CtlRun Get(Words words, const Words& more, const std::wstring& map) const {
        words.insert(words.begin(), {L"get", L"--timeout", L"20", L"--map", map});
        words.insert(words.end(), more.begin(), more.end());
        return RunCtl(words);
    }
    CtlRun Get(const Words& words, const Words& more) const { return Get(words, more, map_.Path()); }

    /// How often the printer was asked at each path.
    static std::map<std::string, double> Asked() {
        std::map<std::string, double> asked;
        const Json counters = Json::Parse(sim_->Control("GET", "/sim/counters"));
        if (!counters["services"].Has("ipp")) return asked;
        for (const auto& [path, count] : std::get<Json::Object>(counters["services"]["ipp"]["paths"].value))
            asked[path] = count.Number();
        return asked;
    }

    static std::unique_ptr<SimProcess> sim_;
    const TempFile map_{ippMap};
};

std::unique_ptr<SimProcess> CtlGetIpp::sim_;

TEST_F(CtlGetIpp, AnswersItemsAndSaysWhatThePrinterLacks) {
    const struct {
        Words words;
        const char* path;
    } cases[] = {{Device(), "/map/own"}, {Uri(L"/ipp/print"), "/ipp/print"}};
    for (const auto& [words, path] : cases) {
        sim_->Control("POST", "/sim/counters/reset");
        const CtlRun run =
            Get(words, {L"State", L"Model", L"Either", L"Map", L"Missing", L"--format", L"json"});
        EXPECT_EQ(run.exitCode, 1u) << "one item is missing: " << run.error;
        const Json answer = Json::Parse(run.out);
        EXPECT_EQ(answer["protocol"].Text(), "IPP");
        const auto& items = answer["items"].Items();
        ASSERT_EQ(items.size(), 5u);
        EXPECT_EQ(items[0]["value"].Text(), "idle");
        EXPECT_EQ(items[1]["value"].Text(), "Veyra Corvus C4200dn");
        EXPECT_EQ(items[2]["value"].Text(), "corvus-c4200");
        EXPECT_EQ(items[3]["value"].Text(), "IPP");
        EXPECT_TRUE(items[4]["value"].IsNull());
        EXPECT_EQ(items[4]["error"].Text(), "the printer does not have this attribute");
        // Twice to connect, then for what changes, and twice in vain for what it does not have.
        EXPECT_EQ(Asked(), (std::map<std::string, double>{{path, 5}}));
    }
}

TEST_F(CtlGetIpp, TakesAnotherPathThanTheMaps) {
    Words words = Device();
    words.insert(words.end(), {L"--resource", L"/from/the/user"});
    const CtlRun run = Get(words, {L"State", L"Model"});
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    EXPECT_EQ(Asked(), (std::map<std::string, double>{{"/from/the/user", 3}}));
}

TEST_F(CtlGetIpp, SaysWhyAPrinterCannotBeRead) {
    const struct {
        const char* fault;
        DWORD exitCode;
        const char* reason;
    } cases[] = {{"service=ipp status=404", 1, "does not know this path"},
                 {"service=ipp status=401", 1, "--user and --password"},
                 {"service=ipp status=426", 1, "ipps://"},
                 {"service=ipp truncate=40", 1, "before its response was complete"}};
    for (const auto& [fault, exitCode, reason] : cases) {
        sim_->Control("POST", "/sim/faults/clear");
        sim_->Control("POST", "/sim/faults", fault);
        const CtlRun run = Get(Uri(L"/ipp/print"), {});
        EXPECT_EQ(run.exitCode, exitCode) << fault;
        EXPECT_THAT(run.error, HasSubstr(reason)) << fault;
        EXPECT_THAT(run.out, IsEmpty());
    }
    const CtlRun nobody = Get({L"--uri", L"ipp://" + Widen(sim_->Address()) + L":1/ipp/print"}, {});
    EXPECT_EQ(nobody.exitCode, 3u);
    EXPECT_THAT(nobody.error, HasSubstr("not reachable"));
}

TEST_F(CtlGetIpp, KeepsUrisForIppMaps) {
    const TempFile other(R"(<DataMaps><XMLDataMap Protocol="PLSXML"/></DataMaps>)");
    const CtlRun wrongMap = Get(Uri(L"/ipp/print"), {}, other.Path());
    EXPECT_EQ(wrongMap.exitCode, 4u);
    EXPECT_THAT(wrongMap.error, HasSubstr("IPPDataMap"));
    for (const Words& more : {Words{L"--insecure"}, Words{L"--resource", L"/ipp/print"}}) {
        const CtlRun run = Get(Device(), more, other.Path());
        EXPECT_EQ(run.exitCode, 2u);
        EXPECT_THAT(run.error, HasSubstr("IPP maps"));
    }
}

}  // namespace
