// The two threads and two events that follow a job, at a printer that the test plays.
#include "datamodel/ipp/following/jobfollower.h"

#include <thread>

#include "ippjobs/jobs.h"
#include "support/fakeprinter.h"
#include "support/jobeventturn.h"
#include "wire/ipp/tags.h"

namespace {

using namespace CorvixTest;       // NOLINT: the printer and what it answers
using namespace Corvix::Testing;  // NOLINT
namespace Operation = Corvix::Ipp::Operation;
using Corvix::JobFollower;
using Corvix::PollingIntervals;

constexpr PollingIntervals rapid{1, 1, 1};
constexpr PollingIntervals endless{INFINITE - 1, INFINITE - 1, INFINITE - 1};

bool IsSignalled(HANDLE event) { return WaitForSingleObject(event, 0) == WAIT_OBJECT_0; }

bool JobEventExists() {
    const KyUtils::Handle event(OpenEventW(SYNCHRONIZE, FALSE, L"PrintJobStatus"));
    return static_cast<bool>(event);
}

class JobFollowerTest : public PrinterTest {
protected:
    JobFollowerTest() {
        Printer().Script(Operation::GetPrinterAttributes, {PrinterIn(3, "none")});
        Printer().Script(Operation::GetJobs, {jobAccepted});
        Printer().watch = [this](int) { ++polls_; };
    }
    void TearDown() override {
        follower_.reset();
        PrinterTest::TearDown();
    }
    void Make(const PollingIntervals& intervals) {
        follower_ = std::make_unique<JobFollower>(Printer().address.Get(), intervals);
    }
    void Follow() {
        Corvix::IppTarget target;
        target.printerUri = L"ipp://localhost/ipp/print";
        follower_->Start(target, "ann");
    }
    void FollowBoth() {
        follower_->Reset();
        follower_->CreatePrintReadyEvent();
        Follow();
    }
    size_t Polls(int operation) { return Printer().Count(operation); }
    void AwaitPolls(int operation, size_t count) {
        while (Polls(operation) < count)
            Sleep(1);
    }
    void AwaitMorePolls(int operation, size_t more) { AwaitPolls(operation, Polls(operation) + more); }
    bool IsReady() { return IsSignalled(follower_->GetPrintReadyStatusEventHandle()); }

    JobEventTurn turn_;
    std::atomic<int> polls_{0};
    std::unique_ptr<JobFollower> follower_;
};

TEST_F(JobFollowerTest, AsksForTheJobsOfItsUserUntilTheJobEnds) {
    Printer().Script(Operation::GetJobs,
                     {jobAccepted, jobAccepted, noJobs, jobAccepted, Jobs({{7, 9, {"none"}}})});
    Make(rapid);
    follower_->Reset();
    Follow();
    WaitForSingleObject(follower_->GetPrintStatusEventHandle(), INFINITE);
    EXPECT_TRUE(follower_->GetPrintStatus());
    follower_->StopAllThreadsRunning();
    EXPECT_EQ(Polls(Operation::GetJobs), 5u);
    EXPECT_EQ(Printer().LastRequest()["requesting-user-name"], "ann");
    EXPECT_EQ(Polls(Operation::GetPrinterAttributes), 0u) << "without its event nobody waits for it";
}

TEST_F(JobFollowerTest, EndsQuietlyWhenTheJobCannotBeAskedFor) {
    Printer().Script(Operation::GetJobs, {brokenConnection});
    Make(rapid);
    FollowBoth();
    AwaitPolls(Operation::GetJobs, 1);
    AwaitMorePolls(Operation::GetPrinterAttributes, 20);
    EXPECT_FALSE(IsSignalled(follower_->GetPrintStatusEventHandle()));
    EXPECT_FALSE(follower_->GetPrintStatus());
    follower_->StopAllThreadsRunning();
    EXPECT_EQ(Polls(Operation::GetJobs), 1u);
}

TEST_F(JobFollowerTest, TellsWhetherThePrinterTakesData) {
    struct {
        unsigned state;
        const char* reasons;
        bool ready;
    } const cases[] = {
        {5, "spool-area-full", false},
        {4, "spool-area-full", true},
        {5, "media-jam-error,spool-area-full", false},
        {5, "media-jam-error", true},
        {3, "none", true},
    };
    Make(rapid);
    FollowBoth();
    EXPECT_TRUE(IsReady());
    for (const auto& known : cases) {
        Printer().Script(Operation::GetPrinterAttributes, {PrinterIn(known.state, known.reasons)});
        AwaitMorePolls(Operation::GetPrinterAttributes,
                       3);  // the one in flight may still have seen the state before
        EXPECT_EQ(IsReady(), known.ready) << known.state << " " << known.reasons;
    }
}

// A sender that waits for room would wait for good: nobody asks any more.
TEST_F(JobFollowerTest, APrinterThatVanishesWhileItIsFullHoldsNobodyUp) {
    Printer().Script(Operation::GetPrinterAttributes, {PrinterIn(5, "spool-area-full")});
    Make(rapid);
    FollowBoth();
    AwaitPolls(Operation::GetPrinterAttributes, 3);
    ASSERT_FALSE(IsReady());
    Printer().Script(Operation::GetPrinterAttributes, {brokenConnection});
    WaitForSingleObject(follower_->GetPrintReadyStatusEventHandle(), INFINITE);
    const size_t asked = Polls(Operation::GetPrinterAttributes);
    AwaitMorePolls(Operation::GetJobs, 20);
    EXPECT_EQ(Polls(Operation::GetPrinterAttributes), asked);
    EXPECT_TRUE(follower_->GetbPrinteStatusThreadPoll());
    EXPECT_FALSE(follower_->GetPrintStatus()) << "the job may go on";
}

TEST_F(JobFollowerTest, StopEndsWaitsOfAnyLengthAndClosesTheEvents) {
    Make(endless);
    FollowBoth();
    EXPECT_TRUE(JobEventExists());
    follower_->StopAllThreadsRunning();
    EXPECT_EQ(follower_->GetPrintStatusEventHandle(), nullptr);
    EXPECT_EQ(follower_->GetPrintReadyStatusEventHandle(), nullptr);
    EXPECT_FALSE(JobEventExists());
    EXPECT_TRUE(follower_->GetPrintStatus());
    EXPECT_FALSE(follower_->GetbPrinteStatusThreadPoll());
    follower_->StopAllThreadsRunning();
    follower_->SignalJobEnd();
}

TEST_F(JobFollowerTest, StopInterruptsPollsThatWaitForThePrinter) {
    Printer().device->hangs = [](const HttpExchange&) { return true; };
    Make(rapid);
    FollowBoth();
    while (Printer().device->hanging < 2)
        Sleep(1);
    follower_->StopAllThreadsRunning();
    EXPECT_EQ(polls_, 0);
}

TEST_F(JobFollowerTest, StopsFromManyThreadsAtOnceAndStartsAgain) {
    Make(rapid);
    for (int round = 1; round <= 20; ++round) {
        FollowBoth();
        EXPECT_FALSE(follower_->GetPrintStatus());
        EXPECT_TRUE(follower_->GetbPrinteStatusThreadPoll());
        AwaitMorePolls(Operation::GetJobs, 1);
        std::vector<std::thread> stoppers;
        for (int i = 0; i < 4; ++i)
            stoppers.emplace_back([&] { follower_->StopAllThreadsRunning(); });
        follower_->SignalJobEnd();
        for (std::thread& stopper : stoppers)
            stopper.join();
        EXPECT_EQ(follower_->GetPrintStatusEventHandle(), nullptr);
    }
}

TEST_F(JobFollowerTest, APollMayStopItsOwnPolling) {
    Make(rapid);
    Printer().watch = [this](int) {
        ++polls_;
        follower_->StopAllThreadsRunning();
    };
    for (int round = 1; round <= 20; ++round) {
        polls_ = 0;
        FollowBoth();
        WaitForSingleObject(follower_->GetPrintStatusEventHandle(), INFINITE);
        EXPECT_TRUE(follower_->GetPrintStatus());
        EXPECT_FALSE(follower_->GetbPrinteStatusThreadPoll());
        follower_->StopAllThreadsRunning();
        EXPECT_EQ(follower_->GetPrintStatusEventHandle(), nullptr);
        EXPECT_GE(polls_, 1);
        EXPECT_LE(polls_, 2) << "each thread polls once at most";
    }
}

TEST_F(JobFollowerTest, AStopBetweenResetAndStartHolds) {
    Make(rapid);
    follower_->Reset();
    follower_->CreatePrintReadyEvent();
    follower_->StopAllThreadsRunning();
    follower_->CreatePrintReadyEvent();
    Follow();
    follower_->StopAllThreadsRunning();
    EXPECT_EQ(polls_, 0);
}

}  // namespace
