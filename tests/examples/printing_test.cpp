// The examples that print and watch, against the simulated printer on the one port at which it is looked for.
#include <gmock/gmock.h>

#include <future>
#include <memory>
#include <regex>
#include <stdexcept>

#include "corvixctl/peer/ctlprocess.h"
#include "sim/peer/simprocess.h"
#include "support/jobeventturn.h"

namespace {

using testing::HasSubstr;

std::wstring Widen(const std::string& text) { return {text.begin(), text.end()}; }

class PrintingExamples : public testing::Test {
protected:
    void SetUp() override {
        try {
            sim_ = std::make_unique<SimProcess>(std::vector<std::wstring>{L"--port-map", L"631=631"});
        } catch (const std::runtime_error&) {
            GTEST_SKIP() << "port 631 cannot be taken";
        }
        Order("scenario", "job any\nafter 0 state processing\nafter 0 state completed\n");
    }

    std::wstring Uri() const { return L"ipp://" + Widen(sim_->Address()) + L"/ipp/print"; }
    void Order(const std::string& what, const std::string& body) const {
        sim_->Control("POST", "/sim/" + what, body);
    }
    /// Waits until the printer was asked for its attributes as often again.
    void AwaitQueries(int more) const {
        const int wanted = Queries() + more;
        constexpr int patience = 6000;
        for (int i = 0; Queries() < wanted; ++i) {
            if (i == patience) throw std::runtime_error("waited in vain");
            Sleep(10);
        }
    }
    int Queries() const {
        const std::string counters = sim_->Control("GET", "/sim/counters");
        std::smatch match;
        const std::regex count("\"Get-Printer-Attributes\":(\\d+)");
        return std::regex_search(counters, match, count) ? std::stoi(match[1]) : 0;
    }

    const CorvixTest::JobEventTurn turn_;
    std::unique_ptr<SimProcess> sim_;
};

TEST_F(PrintingExamples, PrintsAFileAndFollowsIt) {
    const TempFile file(std::string(200'000, 'x'));
    const CtlRun run = RunProgram(L"printfile.exe", {Uri(), file.Path()});
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    EXPECT_THAT(run.out, HasSubstr("\r65536 bytes sent"));
    EXPECT_THAT(run.out, HasSubstr("\r200000 bytes sent\r\n"));
    EXPECT_THAT(run.out, HasSubstr("job 1 is in state 9\r\n"));
    EXPECT_THAT(sim_->Control("GET", "/sim/jobs"), HasSubstr(R"("octets":200000)"));
}

TEST_F(PrintingExamples, TellsOfAJobThatIsNotPrinted) {
    const TempFile file(std::string(200'000, 'x'));
    Order("scenario", "job any\nat 70000 state canceled job-canceled-at-device\n");
    EXPECT_EQ(RunProgram(L"printfile.exe", {Uri(), file.Path()}).exitCode, 1u);
    Order("values", "accepting-jobs=false");
    const CtlRun refused = RunProgram(L"printfile.exe", {Uri(), file.Path()});
    EXPECT_EQ(refused.exitCode, 1u);
    EXPECT_THAT(refused.error, HasSubstr("status 1286"));
}

TEST_F(PrintingExamples, WatchesThePrinter) {
    auto run = std::async(std::launch::async, [uri = Uri()] {
        return RunProgram(L"watchprinter.exe", {uri, L"3"});
    });
    constexpr int queriesOfOneLook = 3;
    AwaitQueries(2 * queriesOfOneLook);
    Order("values", "printer-state-reasons=toner-low-warning");
    AwaitQueries(2 * queriesOfOneLook);
    Order("values", "queued-jobs=2");
    const CtlRun done = run.get();
    EXPECT_EQ(done.exitCode, 0u) << done.error;
    EXPECT_EQ(done.out,
              "idle, jobs: 0\r\nidle (toner-low-warning), jobs: 0\r\nidle (toner-low-warning), jobs: 2\r\n");
}

TEST_F(PrintingExamples, ShowsNothingThatSteersTheTerminal) {
    Order("values", "printer-state-reasons=\x1B[2Jgr\xC3\xBCn");
    const CtlRun run = RunProgram(L"watchprinter.exe", {Uri(), L"1"});
    EXPECT_EQ(run.out, "idle (?[2Jgr?n), jobs: 0\r\n");
}

TEST(PrintingExamplesAlone, EndWithAnErrorWithoutAPrinter) {
    for (const wchar_t* example : {L"printfile.exe", L"watchprinter.exe"}) {
        EXPECT_EQ(RunProgram(example, {}).exitCode, 2u);
        const CtlRun run = RunProgram(example, {L"ipp://127.0.0.63/ipp/print", L"1"});
        EXPECT_EQ(run.exitCode, 1u);
        EXPECT_THAT(run.error, HasSubstr("no printer there"));
    }
}

}  // namespace
