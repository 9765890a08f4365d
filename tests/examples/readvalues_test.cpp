// The example of the README against the simulated printer.
#include <gmock/gmock.h>

#include "corvixctl/peer/ctlprocess.h"
#include "sim/peer/simprocess.h"

namespace {

std::wstring Widen(const std::string& text) { return {text.begin(), text.end()}; }

TEST(ReadValuesExample, ReadsTheReadyMadeMap) {
    const SimProcess sim;
    const CtlRun run =
        RunProgram(L"readvalues.exe",
                   {Widen(sim.Address()), Widen(CORVIX_SOURCE_DIR "/maps/plsxml.xml"), Widen(sim.PortMap())});
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.out,
              "device.model: Corvus C4200dn\r\nstatus.device: running\r\nabout:map.vendor: Corvix\r\n");
}

TEST(ReadValuesExample, EndsWithAnErrorWithoutItsMap) {
    EXPECT_EQ(RunProgram(L"readvalues.exe", {}).exitCode, 2u);
    EXPECT_EQ(RunProgram(L"readvalues.exe", {L"127.0.0.1", L"no-such-map.xml"}).exitCode, 1u);
}

}  // namespace
