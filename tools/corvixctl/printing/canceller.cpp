#include "printing/canceller.h"

#include <comdef.h>

#include <new>

#include "base/console.h"
#include "device/ippanswers.h"

namespace CorvixCtl {
namespace {

const std::wstring notCanceled = L"interrupted, but the job could not be canceled: ";

std::wstring Named(const JobRef& job) { return L"job " + std::to_wstring(job.id); }

}  // namespace

ExitCode CodeOf(Corvix::IPPJobState finalState) {
    switch (finalState) {
        case Corvix::IPPJobState::Completed:
            return ExitCode::Done;
        case Corvix::IPPJobState::Canceled:
            return ExitCode::Canceled;
        default:
            return ExitCode::Aborted;
    }
}

Canceller::Canceller(Opener open, JobOwner owner) : open_(std::move(open)), owner_(std::move(owner)) {
    thread_ = std::thread([this] { Run(); });
}

Canceller::~Canceller() {
    over_.Set();
    if (thread_.joinable()) thread_.join();
}

void Canceller::Begin(Corvix::IPPProvider& provider) {
    const std::lock_guard<std::mutex> lock(mutex_);
    // Nobody cancels what would begin after Cancel() found nothing.
    StopIfInterrupted();
    provider_ = Corvix::DisposablePtr<Corvix::IPPProvider>::Share(&provider);
}

void Canceller::JobIs(const JobRef& job) {
    const std::lock_guard<std::mutex> lock(mutex_);
    job_ = job;
}

void Canceller::Run() {
    // The wish to stop is looked at first: it counts even when the work ended at the same time.
    const HANDLE events[] = {InterruptEvent(), over_.Get()};
    if (WaitForMultipleObjects(2, events, FALSE, INFINITE) != WAIT_OBJECT_0) return;
    try {
        Cancel();
    } catch (const Failure& failure) {
        message_ = notCanceled + failure.Message();
    } catch (const std::bad_alloc&) {
        message_ = notCanceled + L"out of memory";
    } catch (const _com_error&) {
        message_ = notCanceled + L"out of memory";
    }
    broken_.Set();
}

void Canceller::Cancel() {
    JobRef job;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!provider_) {
            message_ = L"interrupted before anything was sent";
            return;
        }
        // The thread that sends may wait for the spool to have room; it need not any more.
        provider_->StopWaiting();
        job = job_;
    }
    // Its exchanges must not end with the very event that brought us here.
    const Printer printer = open_(nullptr);
    if (job.IsKnown()) return CancelAt(printer, job);
    // The printer tells the number when it has all of the document. Where several jobs could be ours none is
    // touched: breaking the document off ends the right one.
    if (const auto own = FindOwnJob(ListJobs(printer, owner_.user, WhichJobs::NotCompleted), owner_))
        return CancelAt(printer, RefOf(*own));
    message_ = L"interrupted before the printer knew of a job";
}

void Canceller::CancelAt(const Printer& printer, const JobRef& job) {
    const auto provider = ConnectPrinter(printer);
    const std::optional<unsigned> status = CancelJob(*provider, owner_.user, job);
    if (status && IsIppSuccess(*status)) {
        message_ = L"interrupted: " + Named(job) + L" canceled";
        return;
    }
    // A refusal is also what a printer says of a job that was printed meanwhile.
    const std::optional<JobStatus> found = AskForJob(*provider, job);
    if (found && HasEnded(found->state)) {
        code_ = CodeOf(found->state);
        message_ = L"interrupted too late: " + Named(job) + L" has ended as " + ToText(*found);
        return;
    }
    message_ = L"interrupted, but " + Named(job) + L" could not be canceled: " +
               (status ? IppStatusText(*status) : L"the printer did not answer") +
               L"; it may still be printed";
}

ExitCode Canceller::Report() {
    thread_.join();
    Complain(message_);
    return code_;
}

}  // namespace CorvixCtl
