// The C example against the simulated printer, on the one port at which a printer is looked for.
#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>

#include "corvixctl/peer/ctlprocess.h"
#include "sim/peer/simprocess.h"

namespace {

std::unique_ptr<SimProcess> SimOnTheIppPort() {
    try {
        return std::make_unique<SimProcess>(
            std::vector<std::wstring>{L"--bind", L"127.0.97.41", L"--port-map", L"631=631"});
    } catch (const std::runtime_error&) {
        return nullptr;  // port 631 is not for everybody
    }
}

TEST(DeviceInfoExample, TellsAboutThePrinter) {
    const std::unique_ptr<SimProcess> sim = SimOnTheIppPort();
    if (!sim) GTEST_SKIP() << "port 631 cannot be taken";
    const std::wstring host(sim->Address().begin(), sim->Address().end());
    const CtlRun run = RunProgram(L"deviceinfo.exe", {host});
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    EXPECT_THAT(run.out, testing::HasSubstr("MFG: "));
    EXPECT_THAT(run.out, testing::HasSubstr("media type: stationery\r\n"));
    EXPECT_THAT(run.out, testing::HasSubstr("strings: http://"));
}

TEST(DeviceInfoExample, EndsWithAnErrorWithoutAPrinter) {
    EXPECT_EQ(RunProgram(L"deviceinfo.exe", {}).exitCode, 2u);
    EXPECT_EQ(RunProgram(L"deviceinfo.exe", {L"127.0.97.42", L"not a port map"}).exitCode, 2u);
    const CtlRun run = RunProgram(L"deviceinfo.exe", {L"127.0.97.42"});
    EXPECT_EQ(run.exitCode, 1u);
    EXPECT_THAT(run.error, testing::HasSubstr("did not answer"));
}

}  // namespace
