// Values that outlive a run: get --cache, and cache list and clear.
#include <gmock/gmock.h>

#include <memory>

#include "corvixctl/peer/ctlprocess.h"
#include "corvixctl/peer/parsing.h"
#include "sim/peer/simprocess.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

using Words = std::vector<std::wstring>;
using Row = std::vector<std::string>;

constexpr const char* map = R"(<DataMaps><XMLDataMap Protocol="PLSXML">
  <DataItem Name="Model" URI="/veyra/device/product_information.xml" XPath="//ProductModel" LifeSpan="600"/>
  <DataItem Name="Level" URI="/veyra/device/consumables.xml" XPath="//Consumable[@Index='1']/Level"/>
  <DataItem Name="Cyan" URI="/veyra/device/consumables.xml" XPath="//Consumable[@Index='2']/Level"
            Transient="true"/>
  <StaticDataItem Name="Map">small</StaticDataItem>
</XMLDataMap></DataMaps>)";

std::wstring Widen(const std::string& text) { return {text.begin(), text.end()}; }

class CtlCache : public testing::Test {
protected:
    ~CtlCache() override { RegDeleteTreeW(HKEY_LOCAL_MACHINE, root_.c_str()); }

    CtlRun Get(const std::wstring& key, const Words& more) const {
        Words words = {L"get",
                       L"--device",
                       Widen(sim_.Address()),
                       L"--port-map",
                       Widen(sim_.PortMap()),
                       L"--map",
                       map_.Path(),
                       L"--cache",
                       key,
                       L"--explain",
                       L"--format",
                       L"csv"};
        words.insert(words.end(), more.begin(), more.end());
        return RunCtl(words);
    }

    double Requests() const { return Json::Parse(sim_.Control("GET", "/sim/counters"))["total"].Number(); }

    // Every test and every process has a key of its own.
    const std::wstring root_ = L"Software\\CorvixTests\\Ctl" + std::to_wstring(GetCurrentProcessId());
    const std::wstring key_ = root_ + L"\\Cache";
    const SimProcess sim_;
    const TempFile map_{map};
};

TEST_F(CtlCache, AnswersALaterRunWithoutTheDevice) {
    const CtlRun first = Get(key_, {});
    EXPECT_EQ(first.exitCode, 0u) << first.error;
    const auto before = ParseCsv(first.out);
    ASSERT_THAT(before, SizeIs(5));
    EXPECT_THAT(before[0], ElementsAre("name", "value", "error", "source", "raw", "age", "left"));
    sim_.Control("POST", "/sim/counters/reset");
    sim_.Control("POST", "/sim/values", "black-level=1\nmodel=Other\n");

    const CtlRun second = Get(key_, {L"Model", L"Level"});
    EXPECT_EQ(second.exitCode, 0u);
    const auto rows = ParseCsv(second.out);
    ASSERT_THAT(rows, SizeIs(3));
    EXPECT_EQ(rows[1][1], "Corvus C4200dn");
    EXPECT_EQ(rows[1][3], "cache");
    EXPECT_THAT(rows[1][5], Not(IsEmpty())) << "its age";
    EXPECT_LE(std::stod(rows[1][6]), 60.0) << "what is left of a minute";
    EXPECT_EQ(rows[2][1], "82");
    EXPECT_EQ(rows[2][3], "cache");
    EXPECT_EQ(rows[2][6], "") << "it is kept for ever";
    EXPECT_EQ(Requests(), 0);

    const CtlRun transient = Get(key_, {L"Cyan"});
    EXPECT_EQ(ParseCsv(transient.out)[1][3], "device") << "such a value is never kept";
}

TEST_F(CtlCache, NoticesThatAnotherDeviceHasTakenThePlace) {
    Get(key_, {});
    sim_.Control("POST", "/sim/values", "serial-number=OTHER\nmodel=Other\n");
    const CtlRun run = Get(key_, {});
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    const auto rows = ParseCsv(run.out);
    ASSERT_THAT(rows, SizeIs(5));
    for (const Row& row : rows) {
        EXPECT_NE(row[1], "Corvus C4200dn");
        EXPECT_NE(row[3], "cache") << row[0];
    }
}

TEST_F(CtlCache, AsksEachTimeWhoAnswersToACommunity) {
    Get(key_, {});
    sim_.Control("POST", "/sim/counters/reset");
    const auto rows = ParseCsv(Get(key_, {L"--community", L"other", L"Model"}).out);
    ASSERT_THAT(rows, SizeIs(2));
    EXPECT_EQ(rows[1][3], "cache");
    EXPECT_GT(Requests(), 0) << "no device is remembered by a secret";
}

TEST_F(CtlCache, KeepsTheElementsOfWalks) {
    const TempFile walks(R"(<DataMaps><OIDDataMap>
  <NextDataItem Name="Level" OID="1.3.6.1.2.1.43.11.1.1.9.1" UntilEnd="true" LifeSpan="600"/>
</OIDDataMap></DataMaps>)");
    const Words words = {L"get",
                         L"--device",
                         Widen(sim_.Address()),
                         L"--port-map",
                         Widen(sim_.PortMap()),
                         L"--map",
                         walks.Path(),
                         L"--cache",
                         key_};
    const CtlRun first = RunCtl(words);
    EXPECT_THAT(first.out, HasSubstr("Level.006"));
    sim_.Control("POST", "/sim/counters/reset");
    EXPECT_EQ(RunCtl(words).out, first.out);
    EXPECT_EQ(Requests(), 0);
}

TEST_F(CtlCache, ListsAndClearsWhatIsKept) {
    Get(key_, {});
    const CtlRun list = RunCtl({L"cache", L"list", L"--key", key_, L"--format", L"csv"});
    EXPECT_EQ(list.exitCode, 0u);
    const auto rows = ParseCsv(list.out);
    EXPECT_THAT(rows[0], ElementsAre("device", "protocol", "name", "value", "age"));
    EXPECT_THAT(rows, testing::Contains(Row{"VYR0C42A0017", "PLSXML", "Level", "82", ""}));
    const Json json = Json::Parse(RunCtl({L"cache", L"list", L"--key", key_, L"--format", L"json"}).out);
    EXPECT_THAT(json["values"].Items(), SizeIs(rows.size() - 1));

    // What is not the cache's stays: a value without a time stamp, a key that is no protocol's.
    HKEY key = nullptr;
    const std::wstring foreign = key_ + L"\\VYR0C42A0017\\Other";
    RegCreateKeyExW(HKEY_LOCAL_MACHINE, foreign.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                    nullptr);
    const DWORD number = 7;
    for (const wchar_t* name : {L"a", L"a.Expires"})
        RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
    RegCloseKey(key);

    const CtlRun clear = RunCtl({L"cache", L"clear", L"--key", key_});
    EXPECT_EQ(clear.exitCode, 0u);
    EXPECT_EQ(clear.error, "corvixctl: " + std::to_string(rows.size() - 1) + " values removed\n");
    EXPECT_THAT(ParseCsv(RunCtl({L"cache", L"list", L"--key", key_, L"--format", L"csv"}).out), SizeIs(1));
    EXPECT_EQ(
        RegOpenKeyExW(HKEY_LOCAL_MACHINE, (key_ + L"\\VYR0C42A0017\\PLSXML").c_str(), 0, KEY_READ, &key),
        ERROR_FILE_NOT_FOUND);
    ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, foreign.c_str(), 0, KEY_READ, &key), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueExW(key, L"a", nullptr, nullptr, nullptr, nullptr), ERROR_SUCCESS);
    RegCloseKey(key);
}

TEST_F(CtlCache, TakesAKeyThatIsNotThereForAnEmptyCache) {
    EXPECT_EQ(RunCtl({L"cache", L"list", L"--key", key_}).exitCode, 0u);
    EXPECT_EQ(RunCtl({L"cache", L"clear", L"--key", key_}).error, "corvixctl: 0 values removed\n");
}

TEST_F(CtlCache, RefusesAKeyThatIsNone) {
    for (const Words& words : {Words{L"cache", L"clear", L"--key", L"\\"}, Words{L"cache", L"list"},
                               Words{L"cache", L"drop", L"--key", L"a"}, Words{L"cache", L"--key", L"a"}}) {
        const CtlRun run = RunCtl(words);
        EXPECT_EQ(run.exitCode, 2u);
        EXPECT_THAT(LinesOf(run.error), SizeIs(1));
    }
    EXPECT_EQ(Get(L"\\", {}).exitCode, 2u);
}

}  // namespace
