// corvixctl print, jobs and cancel against the simulated printer: what arrives, how each end is told, what is
// left.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <memory>
#include <regex>

#include "corvixctl/peer/ctlprocess.h"
#include "corvixctl/peer/parsing.h"
#include "sim/peer/simprocess.h"
#include "support/jobeventturn.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Words = std::vector<std::wstring>;
namespace fs = std::filesystem;

std::wstring Widen(const std::string& text) { return {text.begin(), text.end()}; }

std::string SomeDocument(size_t size) {
    std::string document(size, '\0');
    uint32_t state = 4711;
    for (char& c : document) {
        state = state * 1664525 + 1013904223;
        c = static_cast<char>(state >> 24);
    }
    return document;
}

/// A folder of the test's own, gone with the object.
class TempFolder {
public:
    TempFolder() {
        const TempFile name("");
        path_ = fs::path(name.Path()).replace_extension(L".spool");
        fs::create_directory(path_);
    }
    ~TempFolder() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const fs::path& Path() const { return path_; }

private:
    fs::path path_;
};

/// A run that goes on beside the test. One that a failed test leaves behind ends with its printer.
class Meanwhile {
public:
    Meanwhile(const SimProcess& sim, std::function<CtlRun()> run)
        : sim_(&sim), run_(std::async(std::launch::async, std::move(run))) {}
    Meanwhile(Meanwhile&&) = default;
    ~Meanwhile() {
        if (!run_.valid()) return;
        try {
            sim_->Control("POST", "/sim/quit");
        } catch (const std::runtime_error&) {
            // It has gone already.
        }
    }

    CtlRun Wait() { return run_.get(); }

private:
    const SimProcess* sim_;
    std::future<CtlRun> run_;
};

/// A printer of the test's own. Jobs are printed at once unless a scenario says otherwise.
class CtlPrint : public testing::Test {
protected:
    CtlPrint() : sim_({L"--spool", spool_.Path().wstring()}) {
        Order("scenario", "job any\nafter 0 state processing\nafter 0 state completed\n");
    }

    std::wstring Uri() const {
        return Widen("ipp://" + sim_.Address() + ":" + std::to_string(sim_.Port("631")) + "/ipp/print");
    }
    CtlRun Run(const std::wstring& command, const Words& more) const {
        Words words = {command, L"--uri", Uri(), L"--user", L"ada", L"--timeout", L"20"};
        words.insert(words.end(), more.begin(), more.end());
        return RunCtl(words);
    }
    CtlRun Print(const Words& more) const { return Run(L"print", more); }
    Meanwhile PrintMeanwhile(const Words& more) const {
        return Meanwhile(sim_, [this, more] { return Print(more); });
    }

    /// A command to the simulator: "scenario", "faults", "values" or "jobs/ID".
    void Order(const std::string& what, const std::string& body) const {
        sim_.Control("POST", "/sim/" + what, body);
    }
    std::string Jobs() const { return sim_.Control("GET", "/sim/jobs"); }
    /// How often the printer was asked for an operation.
    int Count(const std::string& operation) const {
        const std::string counters = sim_.Control("GET", "/sim/counters");
        std::smatch match;
        return std::regex_search(counters, match, std::regex("\"" + operation + "\":(\\d+)"))
                   ? std::stoi(match[1])
                   : 0;
    }
    void AwaitJob(int id) const {
        Await([&] { return Jobs().find("\"id\":" + std::to_string(id) + ",") != std::string::npos; });
    }
    static void Await(const std::function<bool()>& condition) {
        constexpr int patience = 6000;
        for (int i = 0; !condition(); ++i) {
            if (i == patience) throw std::runtime_error("waited in vain");
            Sleep(10);
        }
    }
    /// Waits until the job's present state has been asked for.
    void AwaitFollower() const {
        const int asked = Count("Get-Job-Attributes");
        Await([&] { return Count("Get-Job-Attributes") >= asked + 4; });
    }

    std::string Stored(const std::string& stem) const {
        for (const auto& entry : fs::directory_iterator(spool_.Path())) {
            if (entry.path().stem().string() != stem) continue;
            std::ifstream file(entry.path(), std::ios::binary);
            return {std::istreambuf_iterator<char>(file), {}};
        }
        ADD_FAILURE() << "nothing was stored as " << stem;
        return {};
    }

    const CorvixTest::JobEventTurn turn_;
    TempFolder spool_;
    SimProcess sim_;
};

constexpr size_t pieceLength = 64 * 1024;

TEST_F(CtlPrint, CarriesDocumentsOfAnySizeByteForByte) {
    int job = 0;
    for (const size_t size : {size_t{1}, pieceLength - 1, pieceLength, 3 * pieceLength + 5}) {
        const std::string document = SomeDocument(size);
        const TempFile file(document);
        for (const wchar_t* way : {L"--stream", L"--documents"}) {
            const CtlRun run = Print({way, file.Path()});
            EXPECT_EQ(run.exitCode, 0u) << run.error;
            EXPECT_THAT(run.out, HasSubstr("job " + std::to_string(++job) + " completed"));
            EXPECT_EQ(Stored("job-000" + std::to_string(job) + "-1"), document) << size;
        }
    }
}

TEST_F(CtlPrint, CarriesSeveralDocumentsInOneJob) {
    const TempFile first(SomeDocument(100'000));
    const TempFile second("the second");
    const CtlRun run = Print({L"--documents", first.Path(), second.Path()});
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    EXPECT_EQ(Stored("job-0001-1").size(), 100'000u);
    EXPECT_EQ(Stored("job-0001-2"), "the second");
    EXPECT_EQ(Count("Create-Job"), 1);
    EXPECT_EQ(Count("Send-Document"), 2);
}

TEST_F(CtlPrint, AsksForWhatTheUserWants) {
    const TempFile file("a page");
    const Words wishes = {L"--document-format", L"application/pdf",
                          L"--copies",          L"3",
                          L"--sides",           L"long",
                          L"--quality",         L"high",
                          L"--color",           L"monochrome",
                          L"--orientation",     L"landscape",
                          L"--job-name",        L"B\u00fccher"};
    for (const wchar_t* way : {L"--stream", L"--documents"}) {
        Words words = wishes;
        words.insert(words.end(), {way, file.Path()});
        const CtlRun run = Print(words);
        EXPECT_EQ(run.exitCode, 0u) << run.error;
        const std::string jobs = Jobs();
        EXPECT_THAT(jobs, HasSubstr(R"("name":"B)"
                                    "\xC3\xBC"
                                    R"(cher","user":"ada")"));
        EXPECT_THAT(
            jobs,
            AllOf(HasSubstr(R"("copies":"3")"), HasSubstr(R"("sides":"two-sided-long-edge")"),
                  HasSubstr(R"("print-quality":"5")"), HasSubstr(R"("print-color-mode":"monochrome")"),
                  HasSubstr(R"("orientation-requested":"4")"), HasSubstr(R"("format":"application/pdf")")));
        EXPECT_THAT(run.error, testing::Not(HasSubstr("does not do all")));
    }
}

/// One way for a job to end badly.
struct BadEnd {
    const char* name;
    const char* order;  ///< what the simulator is told beforehand: the command, then its body
    const char* body;
    unsigned long exitCode;
    const char* message;
    const char* jobState;  ///< what the simulator says of the job; empty: there is none
};

void PrintTo(const BadEnd& end, std::ostream* out) { *out << end.name; }

class CtlPrintBadEnd : public CtlPrint, public testing::WithParamInterface<BadEnd> {};

constexpr BadEnd badEnds[] = {
    {"CanceledAtThePanel", "scenario",
     "job any\nafter 0 state processing\nafter 0 state canceled job-canceled-at-device\n", 7, "", "canceled"},
    {"CanceledAtThePanelOnItsWay", "scenario", "job any\nat 70000 state canceled job-canceled-at-device\n", 7,
     "the job was canceled at the printer", "canceled"},
    {"Aborted", "scenario", "job any\nafter 0 state processing\nafter 0 state aborted\n", 6, "", "aborted"},
    {"NotAccepted", "values", "accepting-jobs=false", 5, "server-error-not-accepting-jobs", ""},
    {"Busy", "faults", "operation=Print-Job ipp-status=1287", 5, "server-error-busy", ""},
    {"RefusedByHttp", "faults", "service=ipp path=* status=403 skip=1", 5, "HTTP 403", ""},
    {"BrokenOff", "faults", "service=ipp path=* receive=100000 skip=1 times=1", 6, "ended as aborted",
     "aborted"},
};

TEST_P(CtlPrintBadEnd, IsToldByCodeAndMessage) {
    const BadEnd& end = GetParam();
    const TempFile file(SomeDocument(3 * pieceLength));
    Order(end.order, end.body);
    const CtlRun run = Print({file.Path()});
    EXPECT_EQ(run.exitCode, end.exitCode) << run.error;
    EXPECT_THAT(run.error, HasSubstr(end.message));
    if (*end.jobState) {
        EXPECT_THAT(Jobs(), HasSubstr("\"state\":\"" + std::string(end.jobState) + "\""));
    }
}

INSTANTIATE_TEST_SUITE_P(Ways, CtlPrintBadEnd, testing::ValuesIn(badEnds),
                         [](const auto& test) { return test.param.name; });

TEST_F(CtlPrint, CutsANameThatIsTooLongForIpp) {
    const TempFile file("a page");
    const CtlRun run = Print({L"--job-name", std::wstring(4000, L'\u00fc'), file.Path()});
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    std::string cut;
    for (int i = 0; i < 127; ++i)
        cut += "\xC3\xBC";
    EXPECT_THAT(Jobs(), HasSubstr("\"name\":\"" + cut + "\""));
}

TEST_F(CtlPrint, FindsTheJobWhoseAnswerIsLost) {
    const TempFile file("a page");
    const struct {
        const wchar_t* way;
        const char* fault;
    } cases[] = {{L"--stream", "operation=Print-Job garbage"},
                 {L"--stream", "operation=Print-Job close"},
                 {L"--stream", "operation=Print-Job status=500"},
                 {L"--documents", "operation=Create-Job garbage"},
                 {L"--documents", "operation=Send-Document close"}};
    for (const auto& lost : cases) {
        Order("faults", std::string(lost.fault) + " times=1");
        const CtlRun run = Print({L"--job-name", Widen(lost.fault), lost.way, file.Path()});
        EXPECT_EQ(run.exitCode, 0u) << run.error;
        EXPECT_THAT(run.out, HasSubstr("completed"));
    }
}

TEST_F(CtlPrint, ShowsEachStateOnce) {
    Order("scenario", "");
    const TempFile file("a page");
    Order("values", "printer-state-reasons=media-empty-error");
    auto run = PrintMeanwhile({file.Path()});
    AwaitJob(1);
    for (const char* step :
         {"state processing", "state processing-stopped media-empty", "state processing"}) {
        Order("jobs/1", step);
        AwaitFollower();
    }
    Order("jobs/1", "state completed");
    const CtlRun done = run.Wait();
    EXPECT_EQ(done.exitCode, 0u) << done.error;
    std::vector<std::string> lines = LinesOf(done.out);
    if (lines.front() == "job 1 pending") lines.erase(lines.begin());
    EXPECT_THAT(lines, ElementsAre("job 1 processing (job-printing)",
                                   "job 1 processing-stopped (media-empty), printer: media-empty-error",
                                   "job 1 processing (job-printing)",
                                   "job 1 completed (job-completed-successfully)"));
}

TEST_F(CtlPrint, LetsNoReasonSteerTheTerminal) {
    Order("scenario", "job any\nafter 0 state completed \x1b[2Jcleared\n");
    const TempFile file("a page");
    EXPECT_THAT(Print({file.Path()}).out, HasSubstr("job 1 completed (\\u001b[2Jcleared)"));
}

TEST_F(CtlPrint, WaitsForRoomInTheSpool) {
    Order("values", "printer-state-reasons=spool-area-full");
    const TempFile file("a page");
    auto run = PrintMeanwhile({L"--wait", file.Path()});
    Await([&] { return Count("Get-Printer-Attributes") >= 3; });
    EXPECT_EQ(Count("Print-Job"), 0);
    Order("values", "printer-state-reasons=none");
    EXPECT_EQ(run.Wait().exitCode, 0u);
}

TEST_F(CtlPrint, IsRefusedWhileThePrinterHasAnotherJob) {
    Order("scenario", "");
    Order("values", "single-job=true");
    const TempFile file("a page");
    auto first = PrintMeanwhile({file.Path()});
    AwaitJob(1);
    const CtlRun second = Print({file.Path()});
    EXPECT_EQ(second.exitCode, 5u);
    EXPECT_THAT(second.error, HasSubstr("server-error-busy"));
    Order("jobs/1", "state completed");
    EXPECT_EQ(first.Wait().exitCode, 0u);
}

TEST_F(CtlPrint, CancelsTheJobWhenOneOfItsDocumentsIsRefused) {
    Order("faults", "operation=Send-Document ipp-status=1034 skip=1");
    const TempFile file("a page");
    const CtlRun run = Print({L"--documents", file.Path(), file.Path()});
    EXPECT_EQ(run.exitCode, 5u);
    EXPECT_THAT(run.error, HasSubstr("client-error-document-format-not-supported"));
    EXPECT_THAT(Jobs(), HasSubstr(R"("state":"canceled")"));
}

TEST_F(CtlPrint, SendsNoDocumentToAPrinterThatWouldTakeOnlyTheFirst) {
    Order("values", "multiple-documents=false");
    const TempFile file("a page");
    const CtlRun run = Print({L"--documents", file.Path(), file.Path()});
    EXPECT_EQ(run.exitCode, 5u);
    EXPECT_THAT(run.error, HasSubstr("one document a job"));
    EXPECT_EQ(Count("Create-Job"), 0);
    EXPECT_EQ(Print({L"--documents", file.Path()}).exitCode, 0u);
}

TEST_F(CtlPrint, TellsWhenThePrinterForgetsTheJob) {
    Order("faults", "operation=Get-Job-Attributes ipp-status=1030");
    const TempFile file("a page");
    const CtlRun run = Print({file.Path()});
    EXPECT_EQ(run.exitCode, 1u);
    EXPECT_THAT(run.error, AllOf(HasSubstr("asking again"),
                                 HasSubstr("job 1 was sent, but the printer does not tell its state")));
}

TEST_F(CtlPrint, SendsNothingForAWrongCommandLine) {
    const TempFile file("a page");
    const TempFile empty("");
    const struct {
        Words words;
        const char* message;
    } cases[] = {
        {{}, "usage:"},
        {{L"no-such-file.pdf"}, "no-such-file.pdf: File not found"},
        {{empty.Path()}, "it is empty"},
        {{spool_.Path().wstring()}, "it is a folder"},
        {{file.Path(), file.Path()}, "--documents"},
        {{L"--documents", L"--stream", file.Path()}, "give one"},
        {{L"--documents", L"--wait", file.Path()}, "--wait goes with --stream"},
        {{L"--copies", L"0", file.Path()}, "nothing would be printed"},
        {{L"--sides", L"three", file.Path()}, "expected one of: one, long, short"},
        {{L"--document-format", L"pdf", file.Path()}, "expected a MIME type"},
        {{L"--quality", L"best", file.Path()}, "expected one of: draft, normal, high"},
    };
    for (const auto& wrong : cases) {
        const CtlRun run = Print(wrong.words);
        EXPECT_EQ(run.exitCode, 2u) << wrong.message;
        EXPECT_THAT(run.error, HasSubstr(wrong.message));
    }
    EXPECT_EQ(Count("Print-Job") + Count("Create-Job") + Count("Get-Printer-Attributes"), 0);
}

TEST_F(CtlPrint, TellsWhenNobodyListens) {
    const TempFile file("a page");
    const std::wstring uri = Uri();
    sim_.Control("POST", "/sim/quit");
    sim_.WaitForExit();
    const CtlRun run = RunCtl({L"print", L"--uri", uri, L"--timeout", L"20", file.Path()});
    EXPECT_EQ(run.exitCode, 3u);
    EXPECT_THAT(run.error, HasSubstr("not reachable"));
}

// ---- jobs and cancel

class CtlJobs : public CtlPrint {
protected:
    // One job that has ended, then two that wait.
    void SetUp() override {
        const TempFile file(SomeDocument(5000));
        EXPECT_EQ(Print({L"--job-name", L"first", file.Path()}).exitCode, 0u);
        Order("scenario", "");
        for (const wchar_t* name : {L"second", L"third"}) {
            waiting_.push_back(PrintMeanwhile({L"--job-name", name, file.Path()}));
            AwaitJob(static_cast<int>(waiting_.size()) + 1);
        }
    }
    std::vector<Meanwhile> waiting_;
};

TEST_F(CtlJobs, ListsThoseThatHaveNotEnded) {
    const CtlRun run = Run(L"jobs", {L"--format", L"csv"});
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    const auto rows = ParseCsv(run.out);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_THAT(rows[0], ElementsAre("id", "state", "reasons", "name", "user", "kilobytes", "age"));
    EXPECT_THAT(std::vector(rows[1].begin(), rows[1].begin() + 6),
                ElementsAre("2", "pending", "none", "second", "ada", "5"));
    EXPECT_EQ(rows[2][0], "3");
}

TEST_F(CtlJobs, ListsAllOnes) {
    const CtlRun run = Run(L"jobs", {L"--all"});
    EXPECT_EQ(run.exitCode, 0u) << run.error;
    const std::vector<std::string> lines = LinesOf(run.out);
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_THAT(lines[1], AllOf(HasSubstr("first"), HasSubstr("completed")));
    EXPECT_THAT(lines[3], AllOf(HasSubstr("third"), HasSubstr("pending")));
    const Json json = Json::Parse(Run(L"jobs", {L"--all", L"--format", L"json"}).out);
    ASSERT_EQ(json["jobs"].Items().size(), 3u);
    EXPECT_EQ(json["jobs"].Items()[1]["name"].Text(), "second");
    EXPECT_EQ(json["jobs"].Items()[1]["kilobytes"].Number(), 5);
}

TEST_F(CtlJobs, CancelsOne) {
    const CtlRun canceled = Run(L"cancel", {L"2"});
    EXPECT_EQ(canceled.exitCode, 0u) << canceled.error;
    EXPECT_EQ(waiting_[0].Wait().exitCode, 7u);
    for (const wchar_t* gone : {L"1", L"2", L"99"}) {
        const CtlRun run = Run(L"cancel", {gone});
        EXPECT_EQ(run.exitCode, 5u);
        EXPECT_THAT(run.error, HasSubstr("no such job that has not ended"));
    }
    EXPECT_EQ(Run(L"cancel", {L"the second"}).exitCode, 2u);
    EXPECT_THAT(Jobs(), HasSubstr(R"("id":3,"name":"third","user":"ada","state":"pending")"));
}

TEST_F(CtlJobs, RefusesAListThatItCannotRead) {
    const struct {
        const char* fault;
        const char* message;
    } cases[] = {{"garbage", ""},
                 {"truncate=60", ""},
                 {"ipp-status=1025", "client-error-forbidden"},
                 {"status=404", "HTTP 404"}};
    for (const auto& bad : cases) {
        Order("faults", "operation=Get-Jobs times=1 " + std::string(bad.fault));
        const CtlRun run = Run(L"jobs", {});
        EXPECT_NE(run.exitCode, 0u) << bad.fault;
        EXPECT_THAT(run.out, IsEmpty());
        EXPECT_THAT(run.error, HasSubstr(bad.message));
    }
}

}  // namespace
