/// Following a print job: two threads that ask the printer, two events that tell the caller.
#pragma once

#include <windows.h>

#include <atomic>
#include <mutex>
#include <string>

#include "utilslib/sync.h"

namespace Corvix {

/// How long the polling and the wait for a ready printer pause, in milliseconds.
struct PollingIntervals {
    unsigned jobState = 1000;
    unsigned printerState = 5000;
    unsigned printerReady = 2000;
};

/// What is asked about the job and the printer; called from the polling threads.
class PollingSource {
public:
    /// 1 the job runs on, 0 it is finished or cancelled, E_FAIL the exchange failed. `flag` alternates 0
    /// and 1.
    virtual HRESULT PollJob(unsigned flag) = 0;
    virtual HRESULT PollPrinter(std::wstring& state, std::wstring& reasons) = 0;
    /// Makes a poll that waits for the printer come back soon. Called from the thread that stops the polling.
    virtual void InterruptPolls() = 0;

protected:
    ~PollingSource() = default;
};

/// The threads, events and flags of one provider. Start and stop from any thread.
class JobPolling {
public:
    JobPolling(PollingSource& source, const PollingIntervals& intervals)
        : source_(source), intervals_(intervals) {}
    ~JobPolling() { StopAllThreadsRunning(); }
    JobPolling(const JobPolling&) = delete;
    JobPolling& operator=(const JobPolling&) = delete;

    /// Stops what runs and clears the flags for the next job. Not from a polling thread.
    void Reset();
    /// (Re)creates the print-ready event, signalled.
    void CreatePrintReadyEvent();
    /// Begins to follow the job; the printer's state as well where the print-ready event exists.
    void Start();
    /// From a polling thread itself, out of a poll, it only tells both to end: the next stop from elsewhere
    /// waits for them and closes the events.
    void StopAllThreadsRunning();
    /// Signalled from a stop to the next Reset(); for waits that a stop is to end.
    HANDLE StopEvent() const { return stop_.Get(); }

    /// The job ended or must stop.
    void SetPrintStatus();
    bool GetPrintStatus() const;
    /// Ends the polling of the printer's state at its next pass.
    void SetPrintReadyStatus();
    bool GetbPrinteStatusThreadPoll() const;
    /// Marks the job as ended and tells whoever waits for it.
    void SignalJobEnd();

    HANDLE GetPrintStatusEventHandle() const;
    HANDLE GetPrintReadyStatusEventHandle() const;

private:
    static unsigned __stdcall GetJobsPollingThread(void* polling);
    static unsigned __stdcall GetPrinterStatusPollingThread(void* polling);
    using ThreadId = std::atomic<DWORD>;
    unsigned Run(ThreadId& id, void (JobPolling::*poll)());
    bool IsPollingThread() const;
    void PollJobs();
    void PollPrinterStates();
    void TellToEnd();
    void ShowPrinterState(const std::wstring& state, const std::wstring& reasons);
    bool JobEndsWithin(unsigned milliseconds) const;
    void WaitAndClose(KyUtils::Handle& thread);

    PollingSource& source_;
    const PollingIntervals intervals_;
    mutable KyUtils::CriticalSection printStatusLock_;
    mutable KyUtils::CriticalSection printReadyLock_;
    bool printStatus_ = false;
    bool printerPoll_ = true;
    /// Held while an event is made, closed, or used by another thread.
    mutable std::mutex eventsLock_;
    KyUtils::Handle printJobStatus_;
    KyUtils::Handle printReady_;
    KyUtils::Handle stop_ = KyUtils::CreateManualResetEvent();
    KyUtils::Handle jobThread_;
    KyUtils::Handle printerThread_;
    ThreadId jobThreadId_{0};  ///< 0 while the thread does not run
    ThreadId printerThreadId_{0};
    std::mutex stopLock_;
};

}  // namespace Corvix
