// The report of objects that are alive when the process ends, as it comes from the library itself.
#include <gmock/gmock.h>

#include <algorithm>
#include <regex>

#include "support/logsandbox.h"
#include "support/process.h"

namespace KyUtils {
namespace {

using CorvixTest::Process;
using testing::AllOf;
using testing::Contains;
using testing::EndsWith;
using testing::StartsWith;

struct LeakCase {
    int made;
    int leaked;
    DWORD categories;
};

const LeakCase leakCases[] = {
    {0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {3, 1, 0}, {3, 3, 0}, {1, 1, 0xFF},
};

std::ptrdiff_t CountReports(const std::vector<std::wstring>& lines) {
    const std::wregex report(
        L"\\(##\\) <GetTypeName\\(\\): class identification disabled, refer to IDisposableImpl> \\(.+\\) "
        L"remains in object set with ref count of 1");
    return std::count_if(lines.begin(), lines.end(),
                         [&report](const std::wstring& line) { return std::regex_match(line, report); });
}

TEST(LiveObjects, AreReportedOnceEachAtProcessExit) {
    for (const LeakCase& test : leakCases) {
        const CorvixTest::LogSandbox log;
        log.Use(L"LogCategories", test.categories);
        const std::wstring arguments =
            log.Registry().Path() + L" " + std::to_wstring(test.made) + L" " + std::to_wstring(test.leaked);
        EXPECT_EQ(Process(L"leakprobe", arguments).ExitCode(), 0u);
        EXPECT_EQ(CountReports(log.Lines()), test.leaked) << "of " << test.made;
    }
}

TEST(LiveObjects, AreReportedByTheLibraryInItsOwnName) {
    const CorvixTest::LogSandbox log;
    EXPECT_EQ(Process(L"leakprobe", log.Registry().Path() + L" 1 1").ExitCode(), 0u);
    const std::vector<std::wstring> lines = log.AllLines();
    EXPECT_THAT(lines, Contains(AllOf(StartsWith(L"Module File Name: "), EndsWith(L"corvixdm64.dll"))));
    EXPECT_THAT(lines, Contains(AllOf(StartsWith(L"Command Line: "), EndsWith(L" 1 1"))));
    EXPECT_THAT(lines, Contains(L"File Version: 1.0.0.0"));
}

}  // namespace
}  // namespace KyUtils
