#include "datamodel/ipp/following/jobfollower.h"

#include "utilslib/boundary.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr const wchar_t* printJobStatusName = L"PrintJobStatus";

}  // namespace

void JobFollower::Reset() {
    StopAllThreadsRunning();
    printStatus_.Set(false);
    printerPoll_.Set(true);
    ResetEvent(stop_.Get());
}

void JobFollower::CreatePrintReadyEvent() {
    const std::lock_guard<std::mutex> lock(eventsLock_);
    printReady_ = KyUtils::CreateManualResetEvent();
    if (printReady_) SetEvent(printReady_.Get());
}

void JobFollower::Start(const IppTarget& target, const std::string& userName) {
    const KyUtils::LogScope scope(logSource, "Corvix::JobFollower::Start");
    const std::lock_guard<std::mutex> lock(stopLock_);
    const std::lock_guard<std::mutex> eventsLock(eventsLock_);
    {
        // Those of the job before refuse every exchange since it was stopped.
        const std::lock_guard<std::mutex> exchangesLock(exchangesLock_);
        jobExchange_ = std::make_unique<IppExchange>(address_, target);
        printerExchange_ = std::make_unique<IppExchange>(address_, target);
    }
    userName_ = userName;
    printJobStatus_ = KyUtils::CreateManualResetEvent(printJobStatusName);
    if (printJobStatus_) {
        // Another process may have left it signalled: the name is one for all.
        ResetEvent(printJobStatus_.Get());
        jobThread_ = KyUtils::StartThread(GetJobsPollingThread, this);
        if (jobThread_) logSource.Debug(L"JobsPollingThread has been launched");
    }
    if (!printReady_) {
        logSource.Error(L"Unable to create PrintJobSignaled event (%d)", static_cast<int>(GetLastError()));
        return;
    }
    printerThread_ = KyUtils::StartThread(GetPrinterStatusPollingThread, this);
}

void JobFollower::StopAllThreadsRunning() {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::StopAllThreadsRunning");
    // A thread cannot wait for itself, nor for the lock of one that waits for it.
    if (IsPollingThread()) return TellToEnd();
    const std::lock_guard<std::mutex> lock(stopLock_);
    TellToEnd();
    WaitAndClose(jobThread_);
    WaitAndClose(printerThread_);
    // Not sooner: the threads use the events, and one of them may be about to signal the end of the job.
    const std::lock_guard<std::mutex> eventsLock(eventsLock_);
    printReady_.Close();
    printJobStatus_.Close();
}

void JobFollower::TellToEnd() {
    SetPrintReadyStatus();
    SetEvent(stop_.Get());
    SignalJobEnd();
    // A poll that waits for the printer comes back soon, and those that would come after it fail at once.
    const std::lock_guard<std::mutex> lock(exchangesLock_);
    for (const auto* exchange : {&jobExchange_, &printerExchange_}) {
        if (*exchange) (*exchange)->Cancel();
    }
}

void JobFollower::WaitAndClose(KyUtils::Handle& thread) {
    if (!thread) return;
    WaitForSingleObject(thread.Get(), INFINITE);
    thread.Close();
}

HANDLE JobFollower::GetPrintStatusEventHandle() const {
    const std::lock_guard<std::mutex> lock(eventsLock_);
    return printJobStatus_.Get();
}

HANDLE JobFollower::GetPrintReadyStatusEventHandle() const {
    const std::lock_guard<std::mutex> lock(eventsLock_);
    return printReady_.Get();
}

void JobFollower::SignalJobEnd() {
    SetPrintStatus();
    const std::lock_guard<std::mutex> lock(eventsLock_);
    if (printJobStatus_) SetEvent(printJobStatus_.Get());
}

/// Waits for the end of the job, as told by its event or by the stop.
bool JobFollower::JobEndsWithin(unsigned milliseconds) const {
    const HANDLE ends[] = {printJobStatus_.Get(), stop_.Get()};
    return WaitForMultipleObjects(2, ends, FALSE, milliseconds) != WAIT_TIMEOUT;
}

unsigned JobFollower::Run(ThreadId& id, void (JobFollower::*poll)()) {
    id = GetCurrentThreadId();
    (this->*poll)();
    id = 0;
    return 0;
}

bool JobFollower::IsPollingThread() const {
    const DWORD here = GetCurrentThreadId();
    return here == jobThreadId_ || here == printerThreadId_;
}

unsigned __stdcall JobFollower::GetJobsPollingThread(void* follower) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::GetJobsPollingThread");
    auto& self = *static_cast<JobFollower*>(follower);
    return self.Run(self.jobThreadId_, &JobFollower::PollJobs);
}

void JobFollower::PollJobs() {
    for (unsigned flag = 0; !JobEndsWithin(intervals_.jobState); flag = 1 - flag) {
        if (PollJob(flag) == jobRuns) continue;
        logSource.Debug(L"GetJobs return some kind of Cancellation/Completion status");
        return;
    }
}

HRESULT JobFollower::PollJob(unsigned flag) {
    const HRESULT answer =
        KyUtils::NeverThrowing([&] { return AskJobState(*jobExchange_, userName_, flag); });
    if (answer == jobIsOver) SignalJobEnd();
    return answer;
}

unsigned __stdcall JobFollower::GetPrinterStatusPollingThread(void* follower) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::GetPrinterStatusPollingThread");
    auto& self = *static_cast<JobFollower*>(follower);
    return self.Run(self.printerThreadId_, &JobFollower::PollPrinterStates);
}

void JobFollower::PollPrinterStates() {
    while (GetbPrinteStatusThreadPoll()) {
        PrinterState state;
        const HRESULT asked = KyUtils::NeverThrowing(
            [&] { return RetrievePrinterState(*printerExchange_, stop_.Get(), state); });
        if (FAILED(asked)) {
            // State polling has failed. Release the waiter; its next write reports the error.
            SetEvent(printReady_.Get());
            return;
        }
        ShowPrinterState(state);
        if (WaitForSingleObject(stop_.Get(), intervals_.printerState) != WAIT_TIMEOUT) return;
    }
}

void JobFollower::ShowPrinterState(const PrinterState& state) {
    if (state.IsStopped() && state.IsFull()) {
        ResetEvent(printReady_.Get());
    } else {
        SetEvent(printReady_.Get());
    }
    logSource.Debug(L"Printer state = %hs and Printer-State-Reasons = %hs", state.state.c_str(),
                    state.reasons.c_str());
}

}  // namespace Corvix
