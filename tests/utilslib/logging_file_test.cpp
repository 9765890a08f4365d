#include "utilslib/logfile.h"

#include <gmock/gmock.h>

#include "support/logsandbox.h"
#include "support/tempfile.h"
#include "utilslib/stringutils.h"

namespace KyUtils {
namespace {

using CorvixTest::LogSandbox;
using CorvixTest::TempFile;
using testing::ElementsAre;
using testing::EndsWith;
using testing::SizeIs;
using testing::StartsWith;

using Outcome = LogFile::Outcome;

std::wstring debuggerOutput;

// The system raises an exception for a debugger, with the text in its wide or, before that was there, narrow
// form.
LONG CALLBACK CatchDebuggerOutput(EXCEPTION_POINTERS* pointers) {
    constexpr DWORD narrowText = 0x40010006;
    constexpr DWORD wideText = 0x4001000A;
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.ExceptionCode == wideText) {
        debuggerOutput += reinterpret_cast<const wchar_t*>(record.ExceptionInformation[1]);
    } else if (record.ExceptionCode == narrowText) {
        debuggerOutput += ToWide(reinterpret_cast<const char*>(record.ExceptionInformation[1]));
    } else {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    return EXCEPTION_CONTINUE_EXECUTION;
}

// Collects what the process sends to the debugger.
class DebuggerOutput {
public:
    DebuggerOutput() : handler_(AddVectoredExceptionHandler(1, CatchDebuggerOutput)) {
        debuggerOutput.clear();
    }
    DebuggerOutput(const DebuggerOutput&) = delete;
    DebuggerOutput& operator=(const DebuggerOutput&) = delete;
    ~DebuggerOutput() { RemoveVectoredExceptionHandler(handler_); }

private:
    void* handler_;
};

// Makes a file that cannot be opened as long as the object lives.
class Locked {
public:
    explicit Locked(const TempFile& file)
        : handle_(CreateFileW(file.Name().c_str(), GENERIC_READ, 0, nullptr, OPEN_ALWAYS, 0, nullptr)) {}

private:
    Handle handle_;
};

class LogFileTest : public testing::Test {
protected:
    LogFile::Target Target(std::uint64_t limit = 0) const { return {file_.Name(), limit}; }
    Outcome Append(const wchar_t* line, std::uint64_t limit = 0) {
        return log_.Append(Target(limit), L"Module", line + std::wstring(L"\r\n"));
    }
    std::vector<std::wstring> Lines() const { return LogSandbox::LinesOf(file_); }

    TempFile file_;
    LogFile log_;
};

TEST_F(LogFileTest, BeginsWithAHeader) {
    Append(L"first");
    EXPECT_THAT(file_.Bytes(), StartsWith("\xFF\xFE"));
    const std::vector<std::wstring> lines = Lines();
    ASSERT_THAT(lines, SizeIs(7));
    EXPECT_THAT(lines[0], StartsWith(L"Module File Name: "));
    EXPECT_THAT(lines[0], EndsWith(L"utilslib_test.exe"));
    EXPECT_EQ(lines[1], L"Command Line: " + std::wstring(GetCommandLineW()));
    EXPECT_EQ(lines[2], L"File Version: <no version info>");
    EXPECT_EQ(lines[3], L"Process ID: " + std::to_wstring(GetCurrentProcessId()));
    EXPECT_THAT(lines[4], StartsWith(L"Built on: "));
    EXPECT_EQ(lines[5], L"Log File Name: <" + file_.Name() + L">");
    EXPECT_EQ(lines[6], L"first");
}

TEST_F(LogFileTest, AppendsWithOneHeaderAProcess) {
    Append(L"first");
    Append(L"second");
    EXPECT_THAT(Lines(), SizeIs(6 + 2));
    LogFile ofAnotherProcess;
    ofAnotherProcess.Append(Target(), L"Module", L"third\r\n");
    EXPECT_THAT(Lines(), SizeIs(6 + 2 + 6 + 1));
    EXPECT_EQ(file_.Bytes().find("\xFF\xFE", 2), std::string::npos) << "the byte order mark stands once";
    file_.Delete();
    Append(L"fourth");
    EXPECT_THAT(Lines(), SizeIs(6 + 1)) << "a new file has a header of its own";
}

TEST_F(LogFileTest, StopsAtItsSizeLimit) {
    EXPECT_EQ(Append(L"first", 10), Outcome::Written) << "an empty file is below every limit";
    const size_t size = file_.Bytes().size();
    EXPECT_EQ(Append(L"just below", size + 1), Outcome::Written);
    EXPECT_EQ(Append(L"second", 10), Outcome::LimitReached);
    EXPECT_THAT(Lines(), SizeIs(6 + 3));
    EXPECT_EQ(Lines().back(), L"*** FILE SIZE LIMIT REACHED, LOGGING DISABLED FOR Module MODULE ***");
    EXPECT_EQ(Append(L"third", 1'000'000), Outcome::Written);
    EXPECT_EQ(Lines().back(), L"third");
}

TEST_F(LogFileTest, HoldsLinesBackWhileItIsUnavailable) {
    const DebuggerOutput output;
    {
        const Locked locked(file_);
        EXPECT_EQ(Append(L"one"), Outcome::HeldBack);
        EXPECT_EQ(Append(L"two"), Outcome::HeldBack);
    }
    const std::wstring notice = L"Unable to open log file:\r\n<" + file_.Name() + L">\r\n";
    EXPECT_EQ(debuggerOutput, notice) << "told once";
    EXPECT_EQ(Append(L"three"), Outcome::Written);
    EXPECT_EQ(Append(L"four"), Outcome::Written);
    std::vector<std::wstring> lines = Lines();
    lines.erase(lines.begin(), lines.begin() + 6);
    EXPECT_THAT(lines, ElementsAre(L"--- Queued Lines Start ---", L"one", L"two", L"--- Queued Lines End ---",
                                   L"three", L"four"));
    const Locked again(file_);
    Append(L"five");
    EXPECT_EQ(debuggerOutput, notice + notice) << "and once at the next outage";
}

TEST_F(LogFileTest, DropsTheOldestOfTooManyQueuedLines) {
    const std::wstring longLine(300'000, L'x');
    {
        const Locked locked(file_);
        for (const wchar_t* first : {L"1", L"2", L"3", L"4", L"5"})
            Append((first + longLine).c_str());
    }
    Append(L"last");
    const std::vector<std::wstring> lines = Lines();
    ASSERT_THAT(lines, SizeIs(6 + 2 + 1 + 3 + 1));
    EXPECT_EQ(lines[7], L"(2 earlier lines were dropped)");
    EXPECT_EQ(lines[8][0], L'3');
}

TEST(LogFile, HoldsLinesBackForAFolderThatDoesNotExist) {
    const DebuggerOutput output;
    LogFile log;
    EXPECT_EQ(log.Append({L"C:\\no such folder\\x.log", 0}, L"Module", L"line\r\n"), Outcome::HeldBack);
    EXPECT_EQ(debuggerOutput, L"Unable to open log file:\r\n<C:\\no such folder\\x.log>\r\n");
    const TempFile file;
    EXPECT_EQ(log.Append({file.Name(), 0}, L"Module", L"next\r\n"), Outcome::Written);
    EXPECT_THAT(LogSandbox::LinesOf(file), testing::Contains(L"line")) << "another name takes the lines over";
}

}  // namespace
}  // namespace KyUtils
