/// Following a print job: two threads that ask the printer, two events that tell the caller.
#pragma once

#include <windows.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "datamodel/ipp/exchange/ippexchange.h"
#include "datamodel/ipp/following/states.h"
#include "utilslib/sync.h"

namespace Corvix {

/// How long the polling and the wait for a ready printer pause, in milliseconds.
struct PollingIntervals {
    unsigned jobState = 1000;
    unsigned printerState = 5000;
    unsigned printerReady = 2000;
};

/// Follows one job after the other. It owns the threads, the events, and a connection to the printer for each
/// thread; of whoever has the job followed it knows nothing. Start and stop from any thread.
class JobFollower {
public:
    /// \param address stays the caller's and outlives the object.
    JobFollower(Address* address, const PollingIntervals& intervals)
        : address_(address), intervals_(intervals) {}
    ~JobFollower() { StopAllThreadsRunning(); }
    JobFollower(const JobFollower&) = delete;
    JobFollower& operator=(const JobFollower&) = delete;

    /// Stops what runs and clears the flags for the next job. Not from a polling thread.
    void Reset();
    /// (Re)creates the print-ready event, signalled.
    void CreatePrintReadyEvent();
    /// Begins to follow the jobs of a user; the printer's state as well where the print-ready event exists. After
    /// a Reset(), and not if it was stopped since.
    void Start(const IppTarget& target, const std::string& userName);
    /// Ends both threads, whatever they wait for, and closes the events. From a polling thread itself, out of a
    /// poll, it only tells both to end: the next stop from elsewhere waits for them and closes the events.
    void StopAllThreadsRunning();

    /// The job ended or must stop.
    void SetPrintStatus() { printStatus_.Set(true); }
    bool GetPrintStatus() const { return printStatus_.Get(); }
    /// Ends the polling of the printer's state at its next pass.
    void SetPrintReadyStatus() { printerPoll_.Set(false); }
    bool GetbPrinteStatusThreadPoll() const { return printerPoll_.Get(); }
    /// Marks the job as ended and tells whoever waits for it.
    void SignalJobEnd();

    HANDLE GetPrintStatusEventHandle() const;
    HANDLE GetPrintReadyStatusEventHandle() const;

private:
    /// A flag under a critical section of its own.
    class Flag {
    public:
        explicit Flag(bool set) : set_(set) {}
        void Set(bool set) {
            const std::lock_guard<KyUtils::CriticalSection> lock(section_);
            set_ = set;
        }
        bool Get() const {
            const std::lock_guard<KyUtils::CriticalSection> lock(section_);
            return set_;
        }

    private:
        mutable KyUtils::CriticalSection section_;
        bool set_;
    };

    static unsigned __stdcall GetJobsPollingThread(void* follower);
    static unsigned __stdcall GetPrinterStatusPollingThread(void* follower);
    using ThreadId = std::atomic<DWORD>;
    unsigned Run(ThreadId& id, void (JobFollower::*poll)());
    bool IsPollingThread() const;
    void PollJobs();
    HRESULT PollJob(unsigned flag);
    void PollPrinterStates();
    void ShowPrinterState(const PrinterState& state);
    bool JobEndsWithin(unsigned milliseconds) const;
    void TellToEnd();
    static void WaitAndClose(KyUtils::Handle& thread);

    Address* const address_;
    const PollingIntervals intervals_;
    Flag printStatus_{false};
    Flag printerPoll_{true};
    /// Held while an event is made, closed, or used by another thread.
    mutable std::mutex eventsLock_;
    KyUtils::Handle printJobStatus_;
    KyUtils::Handle printReady_;
    KyUtils::Handle stop_ = KyUtils::CreateManualResetEvent();  ///< signalled from a stop to the next Reset()
    /// Held while the exchanges are replaced or cancelled; each thread uses its own without it.
    std::mutex exchangesLock_;
    std::unique_ptr<IppExchange> jobExchange_;
    std::unique_ptr<IppExchange> printerExchange_;
    std::string userName_;
    KyUtils::Handle jobThread_;
    KyUtils::Handle printerThread_;
    ThreadId jobThreadId_{0};  ///< 0 while the thread does not run
    ThreadId printerThreadId_{0};
    std::mutex stopLock_;
};

}  // namespace Corvix
