#include "printing/submission.h"

#include "base/console.h"
#include "device/ippanswers.h"
#include "printing/carrying.h"
#include "printing/joblist.h"
#include "utilslib/com.h"

namespace CorvixCtl {
namespace {

using Corvix::DisposablePtr;
using Corvix::IPPJobState;
using Corvix::IPPProvider;
using Corvix::IPPResponseBase;

constexpr unsigned jobCanceled = 0x0508;  // server-error-job-canceled

DisposablePtr<IPPResponseBase> NewResponse() { return DisposablePtr<IPPResponseBase>(CreateIPPResponse()); }

// A printer that is out of paper takes no data until somebody comes. What is asked of it besides is not to wait
// for that.
class Patience {
public:
    Patience(Corvix::Address& address, unsigned long milliseconds)
        : address_(address), before_(address.GetTimeout()) {
        address_.SetTimeout(milliseconds);
    }
    ~Patience() { address_.SetTimeout(before_); }
    Patience(const Patience&) = delete;
    Patience& operator=(const Patience&) = delete;

private:
    Corvix::Address& address_;
    const unsigned long before_;
};

// Throws Failure for an answer that refuses. What was ignored of the order is told once.
void Accept(unsigned status) {
    if (status == jobCanceled) throw Failure(ExitCode::Canceled, L"the job was canceled at the printer");
    if (!IsIppSuccess(status)) throw Failure(ExitCode::Refused, L"not printed: " + IppStatusText(status));
    if (status != 0)
        Complain(L"the printer does not do all that was asked for (" + IppStatusText(status) + L")");
}

class Submission {
public:
    Submission(const Printer& printer, IPPProvider& provider, const PrintOrder& order, Canceller& canceller)
        : printer_(printer), provider_(provider), order_(order), canceller_(canceller) {}

    // One Print-Job that carries the only document.
    JobRef Print();
    // A Create-Job, then a Send-Document for each.
    JobRef PrintDocuments();

private:
    struct Found {
        JobRef job;
        JobStatus status;
    };

    void Send(const DocumentFile& file, const Carrier& carrier);
    JobRef Conclude(const IPPResponseBase& response);
    JobRef LookForJob();
    std::optional<Found> Find() const;
    Failure Unanswered() const;
    bool TakesOneDocumentOnly() const;
    void CreateJob();
    void SendDocument(const DocumentFile& file, bool last);

    const Printer& printer_;
    IPPProvider& provider_;
    const PrintOrder& order_;
    Canceller& canceller_;
    JobRef job_;  // once the printer has told
    bool sentAll_ = false;
};

void Submission::Send(const DocumentFile& file, const Carrier& carrier) {
    printer_.device.journal->BeginRequest();
    const Patience patience(*printer_.device.address, order_.patience);
    sentAll_ = Carry(file, carrier, provider_, order_.patience);
}

// What the printer made of a document: by its answer or, without one, by what it knows of the job.
JobRef Submission::Conclude(const IPPResponseBase& response) {
    StopIfInterrupted();
    const std::optional<unsigned> status = StatusOf(response);
    // A success for a document that broke off is about what arrived.
    const bool isForPart = status && IsIppSuccess(*status) && !sentAll_;
    if (!status || isForPart) return LookForJob();
    Accept(*status);
    return JobOf(response);
}

// What to tell of a document without an answer where the printer itself tells nothing more.
Failure Submission::Unanswered() const {
    const auto& failure = printer_.device.journal->FirstFailure();
    if (!failure) return Failure(ExitCode::Canceled, L"the printer ended the job while it was sent");
    const std::wstring reason = DescribeIppExchange(*failure, L"");
    // An HTTP status is an answer: the printer has decided.
    if (failure->status != 0) return Failure(ExitCode::Refused, L"not printed: " + reason);
    return Failure(ExitCode::Aborted, L"the document broke off on its way to the printer: " + reason);
}

// The printer's own word on a document that broke off; nothing when it has none.
std::optional<Submission::Found> Submission::Find() const {
    if (job_.IsKnown()) {
        const std::optional<JobStatus> status = AskForJob(provider_, job_);
        return status ? std::optional(Found{job_, *status}) : std::nullopt;
    }
    for (const WhichJobs which : {WhichJobs::NotCompleted, WhichJobs::Completed}) {
        if (const auto job = FindOwnJob(ListJobs(printer_, order_.owner.user, which), order_.owner))
            return Found{RefOf(*job), StatusOf(*job)};
    }
    return std::nullopt;
}

JobRef Submission::LookForJob() {
    const Failure unanswered = Unanswered();
    // The job that a refused document belongs to is there all the same.
    if (unanswered.Code() == ExitCode::Refused && job_.IsKnown()) throw Failure(unanswered);
    std::optional<Found> found;
    try {
        found = Find();
    } catch (const Failure&) {
        throw Failure(unanswered);  // it tells more than that the list was not to be had either
    }
    if (!found) throw Failure(unanswered);
    const std::wstring named = unanswered.Message() + L"; job " + std::to_wstring(found->job.id);
    const IPPJobState state = found->status.state;
    if (HasEnded(state) && state != IPPJobState::Completed)
        throw Failure(CodeOf(state), named + L" ended as " + ToText(found->status));
    // The answer was lost, not the document.
    if (sentAll_) return found->job;
    CancelJob(provider_, order_.owner.user, found->job);
    throw Failure(unanswered.Code(), named + L", the part of it that arrived, was canceled");
}

JobRef Submission::Print() {
    const auto request = NewRequest(order_);
    const auto response = NewResponse();
    const DocumentFile& file = order_.files.front();
    AddDocument(order_, file, *request);
    AddWishes(order_, *request);
    const auto begin = [&](const unsigned char* data, int length) -> HRESULT {
        const HRESULT result =
            provider_.PrintJob(request.Get(), response.Get(), data, length, order_.waitForReady);
        // What could not be sent is no failure as long as nobody knows the job's number; but nothing is
        // followed.
        return result == S_OK && !provider_.GetPrintStatusEventHandle() ? E_FAIL : result;
    };
    const auto goOn = [&](const unsigned char* data, int length) {
        return provider_.PrintJobWrite(request.Get(), response.Get(), data, length);
    };
    Send(file, {begin, goOn, *response});
    job_ = Conclude(*response);
    canceller_.JobIs(job_);
    return job_;
}

void Submission::CreateJob() {
    const auto request = NewRequest(order_);
    const auto response = NewResponse();
    AddWishes(order_, *request);
    printer_.device.journal->BeginRequest();
    provider_.CreateJob(request.Get(), response.Get());
    if (const std::optional<unsigned> status = StatusOf(*response)) {
        Accept(*status);
        job_ = JobOf(*response);
    } else {
        const std::wstring reason = ReasonOfIppFailure(printer_, GetLastError());
        StopIfInterrupted();
        // The job may be there although its answer was lost; its documents can follow then.
        const std::optional<Found> found = Find();
        if (!found || HasEnded(found->status.state))
            throw Failure(ExitCode::Incomplete, L"not printed: " + reason);
        job_ = found->job;
    }
    canceller_.JobIs(job_);
}

void Submission::SendDocument(const DocumentFile& file, bool last) {
    const auto request = NewRequest(order_);
    const auto response = NewResponse();
    request->SetJobID(job_.id);
    AddDocument(order_, file, *request);
    request->SetLastDocument(last);
    const auto begin = [&](const unsigned char* data, int length) {
        return provider_.SendDocument(request.Get(), response.Get(), data, length);
    };
    const auto goOn = [&](const unsigned char* data, int length) {
        return provider_.SendDocumentWrite(request.Get(), response.Get(), data, length);
    };
    Send(file, {begin, goOn, *response});
    Conclude(*response);
}

// A printer that says so would print the first document before it refuses the second.
bool Submission::TakesOneDocumentOnly() const {
    KyUtils::Variant answer;
    provider_.GetIPPValue("multiple-document-jobs-supported", 0, answer.Receive(), nullptr, nullptr, 0, 0,
                          " ");
    return answer.Text() == L"0";
}

JobRef Submission::PrintDocuments() {
    if (order_.files.size() > 1 && TakesOneDocumentOnly())
        throw Failure(ExitCode::Refused,
                      L"not printed: the printer takes one document a job; print them one by one");
    CreateJob();
    try {
        for (const DocumentFile& file : order_.files)
            SendDocument(file, &file == &order_.files.back());
    } catch (const Failure&) {
        // A job that waits for documents would keep the printer waiting, too.
        if (!IsInterrupted()) CancelJob(provider_, order_.owner.user, job_);
        throw;
    }
    return job_;
}

}  // namespace

JobRef Submit(const Printer& printer, IPPProvider& provider, const PrintOrder& order, Canceller& canceller) {
    canceller.Begin(provider);
    Submission submission(printer, provider, order, canceller);
    return order.asDocuments ? submission.PrintDocuments() : submission.Print();
}

}  // namespace CorvixCtl
