#include "datamodel/ipp/jobpolling.h"

#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr const wchar_t* printJobStatusName = L"PrintJobStatus";
constexpr const wchar_t* spoolAreaFull = L"spool-area-full";

}  // namespace

void JobPolling::Reset() {
    StopAllThreadsRunning();
    {
        const std::lock_guard<KyUtils::CriticalSection> lock(printStatusLock_);
        printStatus_ = false;
    }
    const std::lock_guard<KyUtils::CriticalSection> lock(printReadyLock_);
    printerPoll_ = true;
    ResetEvent(stop_.Get());
}

void JobPolling::CreatePrintReadyEvent() {
    const std::lock_guard<std::mutex> lock(eventsLock_);
    printReady_ = KyUtils::CreateManualResetEvent();
    if (printReady_) SetEvent(printReady_.Get());
}

void JobPolling::Start() {
    const KyUtils::LogScope scope(logSource, "Corvix::JobPolling::Start");
    const std::lock_guard<std::mutex> lock(stopLock_);
    const std::lock_guard<std::mutex> eventsLock(eventsLock_);
    printJobStatus_ = KyUtils::CreateManualResetEvent(printJobStatusName);
    if (printJobStatus_) {
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

void JobPolling::StopAllThreadsRunning() {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::StopAllThreadsRunning");
    // A thread cannot wait for itself, nor for the lock of one that waits for it.
    if (IsPollingThread()) {
        TellToEnd();
        return source_.InterruptPolls();
    }
    const std::lock_guard<std::mutex> lock(stopLock_);
    TellToEnd();
    if (jobThread_ || printerThread_) source_.InterruptPolls();
    WaitAndClose(jobThread_);
    WaitAndClose(printerThread_);
    // Not sooner: the threads use the events, and one of them may be about to signal the end of the job.
    const std::lock_guard<std::mutex> eventsLock(eventsLock_);
    printReady_.Close();
    printJobStatus_.Close();
}

void JobPolling::TellToEnd() {
    SetPrintReadyStatus();
    SetEvent(stop_.Get());
    SignalJobEnd();
}

void JobPolling::WaitAndClose(KyUtils::Handle& thread) {
    if (!thread) return;
    WaitForSingleObject(thread.Get(), INFINITE);
    thread.Close();
}

void JobPolling::SetPrintStatus() {
    const std::lock_guard<KyUtils::CriticalSection> lock(printStatusLock_);
    printStatus_ = true;
}

bool JobPolling::GetPrintStatus() const {
    const std::lock_guard<KyUtils::CriticalSection> lock(printStatusLock_);
    return printStatus_;
}

void JobPolling::SetPrintReadyStatus() {
    const std::lock_guard<KyUtils::CriticalSection> lock(printReadyLock_);
    printerPoll_ = false;
}

bool JobPolling::GetbPrinteStatusThreadPoll() const {
    const std::lock_guard<KyUtils::CriticalSection> lock(printReadyLock_);
    return printerPoll_;
}

HANDLE JobPolling::GetPrintStatusEventHandle() const {
    const std::lock_guard<std::mutex> lock(eventsLock_);
    return printJobStatus_.Get();
}

HANDLE JobPolling::GetPrintReadyStatusEventHandle() const {
    const std::lock_guard<std::mutex> lock(eventsLock_);
    return printReady_.Get();
}

void JobPolling::SignalJobEnd() {
    SetPrintStatus();
    const std::lock_guard<std::mutex> lock(eventsLock_);
    if (printJobStatus_) SetEvent(printJobStatus_.Get());
}

/// Waits for the end of the job, as told by its event or by the stop.
bool JobPolling::JobEndsWithin(unsigned milliseconds) const {
    const HANDLE ends[] = {printJobStatus_.Get(), stop_.Get()};
    return WaitForMultipleObjects(2, ends, FALSE, milliseconds) != WAIT_TIMEOUT;
}

unsigned JobPolling::Run(ThreadId& id, void (JobPolling::*poll)()) {
    id = GetCurrentThreadId();
    (this->*poll)();
    id = 0;
    return 0;
}

bool JobPolling::IsPollingThread() const {
    const DWORD here = GetCurrentThreadId();
    return here == jobThreadId_ || here == printerThreadId_;
}

unsigned __stdcall JobPolling::GetJobsPollingThread(void* polling) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::GetJobsPollingThread");
    auto& self = *static_cast<JobPolling*>(polling);
    return self.Run(self.jobThreadId_, &JobPolling::PollJobs);
}

void JobPolling::PollJobs() {
    for (unsigned flag = 0; !JobEndsWithin(intervals_.jobState); flag = 1 - flag) {
        if (source_.PollJob(flag) == 1) continue;
        logSource.Debug(L"GetJobs return some kind of Cancellation/Completion status");
        return;
    }
}

unsigned __stdcall JobPolling::GetPrinterStatusPollingThread(void* polling) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::GetPrinterStatusPollingThread");
    auto& self = *static_cast<JobPolling*>(polling);
    return self.Run(self.printerThreadId_, &JobPolling::PollPrinterStates);
}

void JobPolling::PollPrinterStates() {
    while (GetbPrinteStatusThreadPoll()) {
        std::wstring state;
        std::wstring reasons;
        if (FAILED(source_.PollPrinter(state, reasons))) {
            // Nobody would tell of room any more: whoever waits for it learns by sending what is the matter.
            SetEvent(printReady_.Get());
            return;
        }
        ShowPrinterState(state, reasons);
        if (WaitForSingleObject(stop_.Get(), intervals_.printerState) != WAIT_TIMEOUT) return;
    }
}

void JobPolling::ShowPrinterState(const std::wstring& state, const std::wstring& reasons) {
    const bool isStopped = state.find(L'5') != std::wstring::npos;
    const bool isFull = reasons.find(spoolAreaFull) != std::wstring::npos;
    if (isStopped && isFull) {
        ResetEvent(printReady_.Get());
    } else {
        SetEvent(printReady_.Get());
    }
    logSource.Debug(L"Printer state = %ls and Printer-State-Reasons = %ls", state.c_str(), reasons.c_str());
}

}  // namespace Corvix
