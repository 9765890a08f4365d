#include "utilslib/logging.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <regex>
#include <stdexcept>
#include <thread>

#include "support/logsandbox.h"
#include "support/process.h"

namespace KyUtils {
namespace {

using CorvixTest::LogSandbox;
using CorvixTest::Process;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const LogSource logSource(L"Tested");
const LogSource otherSource(L"Other");

constexpr DWORD allCategories = 0xFF;

class LogTest : public testing::Test {
protected:
    std::vector<std::wstring> Lines() const { return log_.Lines(); }
    // The lines as one text, with every number of microseconds written as N.
    std::wstring Text() const {
        std::wstring text;
        for (const std::wstring& line : Lines())
            text += line + L'\n';
        return std::regex_replace(text, std::wregex(L"\\d+ us"), L"N us");
    }

    LogSandbox log_;
};

TEST_F(LogTest, WritesLinesByKind) {
    logSource.Error(L"error %d", 1);
    logSource.Warning(L"warning %ls", L"two");
    logSource.Exception(L"exception");
    logSource.Info(0, L"info");
    logSource.Info(1, L"more info");
    logSource.Debug(L"debug");
    logSource.State(L"state");
    logSource.ErrorResult(E_FAIL, L"failed with %d", 5);
    SetLastError(0x20000001);
    logSource.ErrorLastError(L"failed");
    EXPECT_THAT(Lines(),
                ElementsAre(L"(##) error 1", L"(WN) warning two", L"(EX) exception", L"(I0) info",
                            L"(##) failed with 5 [Err: 0x80004005]", L"(##) failed, [GLE: 0x20000001] "));
    log_.File().Delete();
    log_.SetNumber(L"LogInfoDetailLevel", 1);
    log_.Use(L"LogCategories", 0x30);
    logSource.Info(1, L"more info");
    logSource.Debug(L"debug");
    logSource.State(L"state");
    EXPECT_THAT(Lines(), ElementsAre(L"(I1) more info", L"(DB) debug", L"(ST) state"));
}

TEST_F(LogTest, WritesEveryPrefix) {
    log_.Use(L"LogOptions", 0x3F800000);
    logSource.Error(L"text");
    otherSource.Error(L"text");
    const std::wregex form(
        L"\\d{4}/\\d\\d/\\d\\d \\d\\d:\\d\\d:\\d\\d \\d{10} \\(\\d{6} ms\\) (Tested|Other) "
        L"\\{tid: 0x[0-9A-F]{4,}\\} (\\d{4,}): \\(##\\) text");
    const auto lines = Lines();
    ASSERT_THAT(lines, SizeIs(2));
    std::wsmatch first, second;
    ASSERT_TRUE(std::regex_match(lines[0], first, form)) << testing::PrintToString(lines[0]);
    ASSERT_TRUE(std::regex_match(lines[1], second, form)) << testing::PrintToString(lines[1]);
    EXPECT_EQ(std::stoi(first[2]) + 1, std::stoi(second[2]));
}

TEST_F(LogTest, LeavesTheLastErrorAlone) {
    const auto keeps = [](const char* what, const auto& action) {
        SetLastError(4711);
        action();
        EXPECT_EQ(GetLastError(), 4711u) << what;
    };
    keeps("line", [] { logSource.Error(L"line"); });
    keeps("result", [] { logSource.ErrorResult(E_FAIL, L"line"); });
    keeps("last error", [] { logSource.ErrorLastError(L"line"); });
    keeps("settings", [] { RereadLogSettings(); });
    log_.Use(L"LogCategories", allCategories);
    keeps("scope", [] { const LogScope scope(logSource, "Function"); });
    log_.Use(L"LogFileName", L"C:\\no such folder\\x.log");
    keeps("unavailable file", [] { logSource.Error(L"line"); });
    log_.Use(L"LogFileName", log_.File().Name());
    keeps("file available again", [] { logSource.Error(L"line"); });
    log_.Use(L"LogFileName", L"");
    keeps("off", [] { logSource.Error(L"line"); });
}

TEST_F(LogTest, FollowsTheRegistryByItself) {
    log_.SetNumber(L"LogParmsPollTime", 0);
    log_.Use(L"LogFileName", L"");
    ASSERT_FALSE(logSource.IsOn(0xFFFFFFFF));
    logSource.Error(L"nowhere");
    EXPECT_FALSE(log_.File().Exists());
    log_.SetText(L"LogFileName", log_.File().Name());
    // The tick count has to move on once.
    for (int tries = 0; tries < 1000 && !logSource.IsOn(LineFlag::Error); ++tries)
        Sleep(1);
    logSource.Error(L"on");
    EXPECT_THAT(Lines(), ElementsAre(L"(##) on"));
}

TEST_F(LogTest, DisablesAModuleAtTheSizeLimitUntilTheFileIsAnother) {
    constexpr wchar_t notice[] = L"*** FILE SIZE LIMIT REACHED, LOGGING DISABLED FOR Tested MODULE ***";
    log_.Use(L"LogFileSizeLimit", 1);
    logSource.Error(L"%ls", std::wstring(600, L'x').c_str());
    logSource.Error(L"over the limit");
    ASSERT_THAT(Lines(), SizeIs(2));
    EXPECT_EQ(Lines().back(), notice);
    EXPECT_FALSE(logSource.IsOn(LineFlag::Error));
    EXPECT_TRUE(otherSource.IsOn(LineFlag::Error)) << "every module comes to its end by itself";

    log_.Use(L"LogOptions", 0);
    logSource.Error(L"still disabled");
    EXPECT_EQ(Lines().back(), notice);

    log_.Use(L"LogFileSizeLimit", 100);
    logSource.Error(L"below the new limit");
    EXPECT_EQ(Lines().back(), L"(##) below the new limit");
}

int Work() {
    const LogScope scope(logSource, "Corvix::Work");
    logSource.Debug(L"working");
    return 1;
}

TEST_F(LogTest, ScopesTellEntryExitAndDuration) {
    log_.Use(L"LogCategories", allCategories);
    Work();
    { const LogScope scope(logSource, "Corvix::Plain", LineFlag::Part(3)); }
    log_.Use(L"LogCategories", 0x40);
    Work();
    EXPECT_EQ(Text(),
              L"(->) Corvix::Work\n(DB) working\n(<-) Corvix::Work (Dur: N us) \n"
              L"(->) (M3) Corvix::Plain\n(<-) (M3) Corvix::Plain\n(->) Corvix::Work\n");
}

TEST_F(LogTest, ScopesBegunWhileOffSayNothingWhenTheyEnd) {
    {
        const LogScope scope(logSource, "Corvix::Early");
        log_.Use(L"LogCategories", allCategories);
    }
    EXPECT_THAT(Lines(), IsEmpty());
}

struct LogsWhenDestroyed {
    ~LogsWhenDestroyed() { Work(); }
};

void PassesOn() {
    const LogScope scope(logSource, "Corvix::PassesOn");
    throw std::runtime_error("thrown");
}

void Handles() {
    const LogScope scope(logSource, "Corvix::Handles");
    try {
        PassesOn();
    } catch (const std::runtime_error& error) {
        logSource.Exception(L"%hs", error.what());
    }
}

TEST_F(LogTest, ScopesTellHandledAndUnhandledExceptions) {
    log_.Use(L"LogCategories", 0x80);
    Handles();
    EXPECT_EQ(
        Text(),
        L"(<-) Corvix::PassesOn (Dur: N us) (*unhandled exception*) *** UNHANDLED EXCEPTION PENDING ***\n"
        L"(EX) thrown\n"
        L"(<-) Corvix::Handles (Dur: N us) (handled exception) \n");
}

TEST_F(LogTest, ScopesTellAnExceptionThatIsInFlightAroundThem) {
    log_.Use(L"LogCategories", 0x80);
    try {
        const LogsWhenDestroyed guard;
        throw std::runtime_error("thrown");
    } catch (const std::runtime_error&) {
        Work();
    }
    EXPECT_EQ(Text(),
              L"(<-) Corvix::Work (Dur: N us) *** UNHANDLED EXCEPTION PENDING ***\n"
              L"(<-) Corvix::Work (Dur: N us) \n");
}

TEST_F(LogTest, KeepsTheLinesOfSeveralThreadsWhole) {
    const std::wstring tail(300, L'x');
    std::vector<std::wstring> expected;
    std::vector<std::thread> writers;
    for (int thread = 0; thread < 4; ++thread) {
        writers.emplace_back([thread, &tail] {
            for (int line = 0; line < 50; ++line)
                logSource.Error(L"%d %d %ls", thread, line, tail.c_str());
        });
        for (int line = 0; line < 50; ++line)
            expected.push_back(L"(##) " + std::to_wstring(thread) + L" " + std::to_wstring(line) + L" " +
                               tail);
    }
    for (std::thread& writer : writers)
        writer.join();
    EXPECT_THAT(Lines(), testing::UnorderedElementsAreArray(expected));
}

TEST_F(LogTest, KeepsTheLinesOfSeveralProcessesWhole) {
    constexpr int linesEach = 60;
    const std::wstring arguments = log_.Registry().Path() + L" lines " + std::to_wstring(linesEach);
    const Process first(L"logprobe", arguments);
    const Process second(L"logprobe", arguments);
    EXPECT_EQ(first.ExitCode(), 0u);
    EXPECT_EQ(second.ExitCode(), 0u);
    const std::vector<std::wstring> lines = log_.AllLines();
    EXPECT_THAT(lines, SizeIs(2 * (6 + linesEach)));
    for (const DWORD id : {first.Id(), second.Id()}) {
        for (int line = 1; line <= linesEach; ++line) {
            const std::wstring text =
                L"(##) probe " + std::to_wstring(id) + L" line " + std::to_wstring(line);
            EXPECT_EQ(std::count(lines.begin(), lines.end(), text), 1);
        }
    }
}

}  // namespace
}  // namespace KyUtils
