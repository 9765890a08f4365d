// corvixctl info: a page about a printer.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "corvixctl/peer/ctlprocess.h"
#include "corvixctl/peer/parsing.h"
#include "sim/peer/simprocess.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

using Rows = std::vector<std::string>;

std::wstring Widen(const std::string& text) { return {text.begin(), text.end()}; }

/// A line without the blanks that align it.
std::string Squeezed(const std::string& line) {
    std::string text;
    for (const char c : line) {
        if (c != ' ' || (!text.empty() && text.back() != ' ')) text += c;
    }
    return text;
}

Rows PageOf(const CtlRun& run) {
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    Rows lines = LinesOf(run.out);
    for (std::string& line : lines)
        line = Squeezed(line);
    return lines;
}

/// A simulator whose printer has exactly these attributes.
class OddPrinter {
public:
    explicit OddPrinter(const std::string& attributes) {
        std::filesystem::create_directories(folder_ / "ipp");
        std::ofstream(folder_ / "ipp" / "printer.txt") << "GROUP printer-description\n" << attributes;
        sim_ = std::make_unique<SimProcess>(std::vector<std::wstring>{L"--device", folder_.wstring()});
    }
    ~OddPrinter() {
        sim_.reset();
        std::filesystem::remove_all(folder_);
    }
    OddPrinter(const OddPrinter&) = delete;
    OddPrinter& operator=(const OddPrinter&) = delete;

    CtlRun Info() const {
        return RunCtl({L"info", L"--device", Widen(sim_->Address()), L"--port-map", Widen(sim_->PortMap())});
    }

private:
    static std::filesystem::path NewFolder() {
        static int count = 0;
        const auto name =
            "odd-printer-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(++count);
        return std::filesystem::temp_directory_path() / name;
    }

    const std::filesystem::path folder_ = NewFolder();
    std::unique_ptr<SimProcess> sim_;
};

TEST(CtlInfo, TellsWhatThePrinterIsAndHowItIsDoing) {
    const SimProcess sim;
    const CtlRun byDevice =
        RunCtl({L"info", L"--device", Widen(sim.Address()), L"--port-map", Widen(sim.PortMap())});
    EXPECT_THAT(PageOf(byDevice),
                IsSupersetOf(Rows{"make and model Veyra Corvus C4200dn", "state idle", "accepting jobs yes",
                                  "device ID MFG Veyra", "device ID MDL Corvus C4200dn",
                                  "strings http://" + sim.Address() + "/ipp/strings/en.strings",
                                  "Black Toner Cartridge toner 82 %", "Waste Toner Box wasteToner some"}));
    EXPECT_THAT(byDevice.out, HasSubstr("stationery, stationery-letterhead"));
    const std::wstring uri =
        L"ipp://" + Widen(sim.Address() + ":" + std::to_string(sim.Port("631"))) + L"/ipp/print";
    EXPECT_EQ(RunCtl({L"info", L"--uri", uri}).out, byDevice.out);
    sim.Control("POST", "/sim/faults", "service=ipp ipp-status=1287");
    const CtlRun busy = RunCtl({L"info", L"--uri", uri});
    EXPECT_EQ(busy.exitCode, 1u);
    EXPECT_THAT(busy.error, HasSubstr("server-error-busy (0x0507)"));
    EXPECT_THAT(busy.out, IsEmpty());
}

TEST(CtlInfo, MakesTheBestOfWhatAPrinterLacks) {
    const OddPrinter printer(
        "ATTR enum printer-state 5\nATTR keyword printer-state-reasons media-empty-error,door-open\n"
        "ATTR text printer-device-id \"MFG:;MDL\"\n"
        "ATTR name marker-names \"Black\",\"Cyan\",\"Spare\"\nATTR integer marker-levels 50,-2,-3\n");
    const auto page = PageOf(printer.Info());
    EXPECT_THAT(page, IsSupersetOf(Rows{"state stopped: media-empty-error, door-open", "Black 50 %",
                                        "Cyan unknown", "Spare some"}));
    EXPECT_THAT(page, Not(Contains(HasSubstr("device ID"))));
    EXPECT_THAT(page, Not(Contains(HasSubstr("make and model"))));
}

TEST(CtlInfo, DoesNotMixSuppliesUp) {
    const OddPrinter commas(
        "ATTR name marker-names \"Toner, black\",\"Toner, cyan\"\n"
        "ATTR keyword marker-types toner,toner\nATTR integer marker-levels 50,0\n");
    EXPECT_THAT(PageOf(commas.Info()), IsSupersetOf(Rows{"supply 1 toner 50 %", "supply 2 toner 0 %"}));
    const OddPrinter amounts(
        "ATTR octetString printer-supply \"type=ink;maxcapacity=400;level=100;colorantname=black;\","
        "\"type=staples;maxcapacity=-2;level=7\",\"type=ink;maxcapacity=0;level=x;\",\"junk\"\n"
        "ATTR text printer-supply-description \"Ink, black\"\n");
    EXPECT_THAT(PageOf(amounts.Info()),
                IsSupersetOf(Rows{"black ink 25 %", "staples staples unknown", "ink ink unknown"}));
}

TEST(CtlInfo, SaysWhyThereIsNoPage) {
    const CtlRun nobody = RunCtl({L"info", L"--device", L"127.0.97.43", L"--port-map", L"631=1"});
    EXPECT_EQ(nobody.exitCode, 3u);
    EXPECT_THAT(nobody.error, HasSubstr("not reachable"));
    EXPECT_EQ(RunCtl({L"info"}).exitCode, 2u);
    EXPECT_EQ(RunCtl({L"info", L"--device", L"h", L"operand"}).exitCode, 2u);
}

}  // namespace
