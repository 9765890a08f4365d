// The example of docs/transports.md: a device that is a folder.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "corvixctl/peer/ctlprocess.h"

namespace {

namespace fs = std::filesystem;

class OfflineExample : public testing::Test {
protected:
    OfflineExample() {
        fs::create_directories(folder_ / "veyra/device");
        std::ofstream(folder_ / "veyra/device/product_information.xml")
            << "<ProductInformation><ProductModel>Saved</ProductModel>"
               "<ProductSerialNumber>S1</ProductSerialNumber></ProductInformation>";
    }
    ~OfflineExample() override { fs::remove_all(folder_); }

    const fs::path folder_ = fs::temp_directory_path() / ("offline" + std::to_string(GetCurrentProcessId()));
    const std::wstring map_ = fs::path(CORVIX_SOURCE_DIR "/maps/plsxml.xml").wstring();
};

TEST_F(OfflineExample, ReadsSavedDocuments) {
    const CtlRun run = RunProgram(
        L"offline.exe", {folder_.wstring(), map_, L"device.model", L"status.device", L"about:map.vendor"});
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.out, "device.model: Saved\r\nabout:map.vendor: Corvix\r\n");
}

TEST_F(OfflineExample, FindsNothingInAnotherFolder) {
    const CtlRun run = RunProgram(L"offline.exe", {L"no-such-folder", map_, L"device.model"});
    EXPECT_EQ(run.exitCode, 0u);
    EXPECT_EQ(run.out, "");
}

}  // namespace
