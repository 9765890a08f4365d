// The two threads and two events that follow a job, over a source that the test plays.
#include "datamodel/ipp/jobpolling.h"

#include <windows.h>

#include <gmock/gmock.h>

#include <condition_variable>
#include <cstdlib>
#include <thread>
#include <vector>

#include "support/jobeventturn.h"
#include "support/processresources.h"

namespace {

using Corvix::JobPolling;
using Corvix::PollingIntervals;
using CorvixTest::HandlesOfProcess;
using CorvixTest::ThreadsOfProcess;
using testing::ElementsAre;

constexpr PollingIntervals rapid{1, 1, 1};
constexpr PollingIntervals endless{INFINITE - 1, INFINITE - 1, INFINITE - 1};

/// Answers polls from a script and counts them; after the script the last answer holds.
class ScriptedSource final : public Corvix::PollingSource {
public:
    HRESULT PollJob(unsigned flag) override {
        std::unique_lock<std::mutex> lock(lock_);
        flags_.push_back(flag);
        polled_.notify_all();
        polled_.wait(lock, [this] { return !blocks_ || interrupted_; });
        lock.unlock();
        if (stopped_) stopped_->StopAllThreadsRunning();
        lock.lock();
        if (flags_.size() < pollsUntilEnd_) return 1;
        if (result_ == 0 && polling_) polling_->SignalJobEnd();
        return result_;
    }
    HRESULT PollPrinter(std::wstring& state, std::wstring& reasons) override {
        std::unique_lock<std::mutex> lock(lock_);
        ++printerPolls_;
        polled_.notify_all();
        polled_.wait(lock, [this] { return !blocks_ || interrupted_; });
        lock.unlock();
        if (stopped_) stopped_->StopAllThreadsRunning();
        lock.lock();
        state = state_;
        reasons = reasons_;
        return printerResult_;
    }
    void InterruptPolls() override {
        const std::lock_guard<std::mutex> lock(lock_);
        interrupted_ = true;
        polled_.notify_all();
    }

    void Block() { blocks_ = true; }
    /// Every poll stops the polling that it belongs to.
    void Stop(JobPolling& polling) { stopped_ = &polling; }
    /// The job ends with the given poll, and is signalled through `polling` where it ends well.
    void EndJob(size_t poll, HRESULT result, JobPolling* polling) {
        pollsUntilEnd_ = poll;
        result_ = result;
        polling_ = polling;
    }
    void SetPrinter(const wchar_t* state, const wchar_t* reasons) {
        const std::lock_guard<std::mutex> lock(lock_);
        state_ = state;
        reasons_ = reasons;
    }
    void FailPrinter() {
        const std::lock_guard<std::mutex> lock(lock_);
        printerResult_ = E_FAIL;
    }
    void AwaitJobPolls(size_t count) {
        std::unique_lock<std::mutex> lock(lock_);
        polled_.wait(lock, [&] { return flags_.size() >= count; });
    }
    void AwaitPrinterPolls(size_t count) {
        std::unique_lock<std::mutex> lock(lock_);
        polled_.wait(lock, [&] { return printerPolls_ >= count; });
    }
    std::vector<unsigned> Flags() const {
        const std::lock_guard<std::mutex> lock(lock_);
        return flags_;
    }
    size_t PrinterPolls() const {
        const std::lock_guard<std::mutex> lock(lock_);
        return printerPolls_;
    }

private:
    mutable std::mutex lock_;
    std::condition_variable polled_;
    std::vector<unsigned> flags_;
    size_t printerPolls_ = 0;
    size_t pollsUntilEnd_ = SIZE_MAX;
    HRESULT result_ = 1;
    HRESULT printerResult_ = S_OK;
    JobPolling* polling_ = nullptr;
    JobPolling* stopped_ = nullptr;
    std::wstring state_ = L"3";
    std::wstring reasons_ = L"none";
    bool blocks_ = false;
    bool interrupted_ = false;
};

bool IsSignalled(HANDLE event) { return WaitForSingleObject(event, 0) == WAIT_OBJECT_0; }

bool JobEventExists() {
    const KyUtils::Handle event(OpenEventW(SYNCHRONIZE, FALSE, L"PrintJobStatus"));
    return static_cast<bool>(event);
}

class JobPollingTest : public testing::Test {
protected:
    void StartBoth(JobPolling& polling) {
        polling.Reset();
        polling.CreatePrintReadyEvent();
        polling.Start();
    }

    CorvixTest::JobEventTurn turn_;
    ScriptedSource source_;
};

TEST_F(JobPollingTest, AsksForReasonsAndStatesInTurnUntilTheJobEnds) {
    JobPolling polling(source_, rapid);
    source_.EndJob(5, 0, &polling);
    polling.Reset();
    polling.Start();
    WaitForSingleObject(polling.GetPrintStatusEventHandle(), INFINITE);
    EXPECT_TRUE(polling.GetPrintStatus());
    polling.StopAllThreadsRunning();
    EXPECT_THAT(source_.Flags(), ElementsAre(0u, 1u, 0u, 1u, 0u));
    EXPECT_EQ(source_.PrinterPolls(), 0u) << "without its event nobody waits for the printer's state";
}

TEST_F(JobPollingTest, EndsQuietlyWhenTheJobCannotBeAskedFor) {
    JobPolling polling(source_, rapid);
    source_.EndJob(1, E_FAIL, nullptr);
    StartBoth(polling);
    source_.AwaitJobPolls(1);
    source_.AwaitPrinterPolls(20);
    EXPECT_FALSE(IsSignalled(polling.GetPrintStatusEventHandle()));
    EXPECT_FALSE(polling.GetPrintStatus());
    polling.StopAllThreadsRunning();
    EXPECT_EQ(source_.Flags().size(), 1u);
}

TEST_F(JobPollingTest, TellsWhetherThePrinterTakesData) {
    struct {
        const wchar_t* state;
        const wchar_t* reasons;
        bool ready;
    } const cases[] = {
        {L"5", L"spool-area-full", false},
        {L"4", L"spool-area-full", true},
        {L"5", L"media-jam-error,spool-area-full", false},
        {L"5", L"media-jam-error", true},
        {L"3", L"none", true},
        {L"", L"", true},
    };
    JobPolling polling(source_, rapid);
    StartBoth(polling);
    EXPECT_TRUE(IsSignalled(polling.GetPrintReadyStatusEventHandle()));
    for (const auto& known : cases) {
        source_.SetPrinter(known.state, known.reasons);
        source_.AwaitPrinterPolls(source_.PrinterPolls() +
                                  3);  // the one in flight may still have seen the state before
        EXPECT_EQ(IsSignalled(polling.GetPrintReadyStatusEventHandle()), known.ready)
            << known.state << " " << known.reasons;
    }
}

TEST_F(JobPollingTest, StopsAskingThePrinterAfterAFailure) {
    JobPolling polling(source_, rapid);
    source_.FailPrinter();
    StartBoth(polling);
    source_.AwaitPrinterPolls(1);
    source_.AwaitJobPolls(20);
    EXPECT_EQ(source_.PrinterPolls(), 1u);
    EXPECT_TRUE(polling.GetbPrinteStatusThreadPoll());
}

// A sender that waits for room would wait for good: nobody asks any more.
TEST_F(JobPollingTest, APrinterThatVanishesWhileItIsFullHoldsNobodyUp) {
    JobPolling polling(source_, rapid);
    source_.SetPrinter(L"5", L"spool-area-full");
    StartBoth(polling);
    source_.AwaitPrinterPolls(3);
    ASSERT_FALSE(IsSignalled(polling.GetPrintReadyStatusEventHandle()));
    source_.FailPrinter();
    constexpr DWORD patience = 60'000;
    EXPECT_EQ(WaitForSingleObject(polling.GetPrintReadyStatusEventHandle(), patience), WAIT_OBJECT_0);
    EXPECT_FALSE(polling.GetPrintStatus()) << "the job may go on";
}

TEST_F(JobPollingTest, StopEndsWaitsOfAnyLengthAndClosesTheEvents) {
    JobPolling polling(source_, endless);
    StartBoth(polling);
    EXPECT_TRUE(JobEventExists());
    polling.StopAllThreadsRunning();
    EXPECT_EQ(polling.GetPrintStatusEventHandle(), nullptr);
    EXPECT_EQ(polling.GetPrintReadyStatusEventHandle(), nullptr);
    EXPECT_FALSE(JobEventExists());
    EXPECT_TRUE(polling.GetPrintStatus());
    EXPECT_FALSE(polling.GetbPrinteStatusThreadPoll());
    polling.StopAllThreadsRunning();
    polling.SignalJobEnd();
}

TEST_F(JobPollingTest, StopInterruptsPollsThatWaitForThePrinter) {
    JobPolling polling(source_, rapid);
    source_.Block();
    StartBoth(polling);
    source_.AwaitJobPolls(1);
    polling.StopAllThreadsRunning();
    EXPECT_EQ(source_.Flags().size(), 1u);
}

TEST_F(JobPollingTest, StopsFromManyThreadsAtOnceAndStartsAgain) {
    JobPolling polling(source_, rapid);
    for (size_t round = 1; round <= 20; ++round) {
        StartBoth(polling);
        EXPECT_FALSE(polling.GetPrintStatus());
        EXPECT_TRUE(polling.GetbPrinteStatusThreadPoll());
        source_.AwaitJobPolls(round);
        std::vector<std::thread> stoppers;
        for (int i = 0; i < 4; ++i)
            stoppers.emplace_back([&] { polling.StopAllThreadsRunning(); });
        polling.SignalJobEnd();
        for (std::thread& stopper : stoppers)
            stopper.join();
        EXPECT_EQ(polling.GetPrintStatusEventHandle(), nullptr);
    }
}

TEST_F(JobPollingTest, APollMayStopItsOwnPolling) {
    JobPolling polling(source_, rapid);
    source_.Stop(polling);
    for (size_t round = 1; round <= 20; ++round) {
        const size_t polls = source_.Flags().size() + source_.PrinterPolls();
        StartBoth(polling);
        WaitForSingleObject(polling.GetPrintStatusEventHandle(), INFINITE);
        EXPECT_TRUE(polling.GetPrintStatus());
        EXPECT_FALSE(polling.GetbPrinteStatusThreadPoll());
        polling.StopAllThreadsRunning();
        EXPECT_EQ(polling.GetPrintStatusEventHandle(), nullptr);
        const size_t made = source_.Flags().size() + source_.PrinterPolls() - polls;
        EXPECT_GE(made, 1u);
        EXPECT_LE(made, 2u) << "each thread polls once at most";
    }
}

TEST_F(JobPollingTest, AStopBetweenResetAndStartHolds) {
    JobPolling polling(source_, rapid);
    polling.Reset();
    polling.CreatePrintReadyEvent();
    polling.StopAllThreadsRunning();
    polling.CreatePrintReadyEvent();
    polling.Start();
    polling.StopAllThreadsRunning();
    EXPECT_EQ(source_.Flags().size() + source_.PrinterPolls(), 0u);
}

/// These take seconds; CORVIX_POLLING_CYCLES asks for more.
int PollingCycles() {
    const char* cycles = std::getenv("CORVIX_POLLING_CYCLES");
    return cycles ? std::atoi(cycles) : 500;
}

/// A job that never ends at a printer that is never full. It has nothing of its own that could be left
/// behind.
class EndlessSource final : public Corvix::PollingSource {
public:
    HRESULT PollJob(unsigned) override { return 1; }
    HRESULT PollPrinter(std::wstring&, std::wstring&) override { return S_OK; }
    void InterruptPolls() override {}
};

TEST_F(JobPollingTest, LeavesNothingBehindHoweverOftenItStarts) {
    EndlessSource source;
    const size_t threads = ThreadsOfProcess();
    const size_t handles = HandlesOfProcess();
    constexpr int cyclesOfOne = 50;
    for (int cycle = 0; cycle < PollingCycles(); cycle += cyclesOfOne) {
        JobPolling polling(source, rapid);
        for (int i = 0; i < cyclesOfOne; ++i) {
            StartBoth(polling);
            if (i % 2 == 0) polling.StopAllThreadsRunning();
        }
        EXPECT_TRUE(JobEventExists());
    }
    EXPECT_EQ(ThreadsOfProcess(), threads);
    EXPECT_LE(HandlesOfProcess(), handles + CorvixTest::handlesOfLivingLocks);
    EXPECT_FALSE(JobEventExists());
}

}  // namespace
