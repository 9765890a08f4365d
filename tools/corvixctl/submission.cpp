#include "submission.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <string_view>
#include <vector>

#include "com.h"
#include "console.h"
#include "ippstatus.h"
#include "joblist.h"
#include "progress.h"
#include "transport/text.h"

namespace CorvixCtl {
namespace {

using Corvix::DisposablePtr;
using Corvix::IPPProvider;
using Corvix::IPPRequestBase;
using Corvix::IPPResponseBase;

constexpr size_t pieceLength = 64 * 1024;
constexpr unsigned jobCanceled = 0x0508;  // server-error-job-canceled

// Hands out a file piece by piece.
class DocumentReader {
public:
    explicit DocumentReader(const DocumentFile& file)
        : file_(file), stream_(file.path.c_str(), std::ios::binary), piece_(pieceLength) {}

    // The length of the next piece; 0 at the end.
    int Next() {
        stream_.read(reinterpret_cast<char*>(piece_.data()), static_cast<std::streamsize>(piece_.size()));
        if (stream_.bad() || (stream_.fail() && !stream_.eof()))
            throw Failure(ExitCode::Incomplete, L"file " + file_.path + L" cannot be read to its end");
        return static_cast<int>(stream_.gcount());
    }
    const unsigned char* Piece() const { return piece_.data(); }

private:
    const DocumentFile& file_;
    std::ifstream stream_;
    std::vector<unsigned char> piece_;
};

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

// The two operations that carry a document: one begins it, the other goes on and ends it with no bytes.
struct Carrier {
    std::function<HRESULT(const unsigned char* data, int length)> begin;
    std::function<HRESULT(const unsigned char* data, int length)> goOn;
};

DisposablePtr<IPPRequestBase> NewRequest(const PrintOrder& order) {
    DisposablePtr<IPPRequestBase> request(CreateIPPRequest());
    request->SetRequestingUserName(order.owner.user.c_str());
    request->SetJobName(order.owner.jobName.c_str());
    return request;
}

DisposablePtr<IPPResponseBase> NewResponse() { return DisposablePtr<IPPResponseBase>(CreateIPPResponse()); }

void Describe(const PrintOrder& order, const DocumentFile& file, IPPRequestBase& request) {
    constexpr unsigned char mimeTypeTag = 0x49;
    request.SetDocumentName(ToIppName(file.name).c_str());
    if (order.format.empty()) return;
    request.AddIPPRequest(static_cast<unsigned>(Corvix::IPPBlobType::OperationAttributes), mimeTypeTag,
                          "document-format", reinterpret_cast<const unsigned char*>(order.format.data()),
                          static_cast<int>(order.format.size()));
}

void AskFor(const PrintOrder& order, IPPRequestBase& request) {
    request.SetCopy(order.copies);
    for (const JobAttribute& attribute : order.attributes) {
        request.AddIPPRequest(static_cast<unsigned>(Corvix::IPPBlobType::JobAttributes), attribute.tag,
                              attribute.name.c_str(),
                              reinterpret_cast<const unsigned char*>(attribute.value.data()),
                              static_cast<int>(attribute.value.size()));
    }
}

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

    void Carry(const DocumentFile& file, const IPPResponseBase& response, const Carrier& carrier);
    void AwaitRoom(Progress& progress);
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

// While the printer says that its spool is full, what it is sent would only fill the buffers on the way. Should
// nobody ask the printer any more, the next piece shows what is the matter.
void Submission::AwaitRoom(Progress& progress) {
    const HANDLE ready = provider_.GetPrintReadyStatusEventHandle();
    if (!ready || WaitForSingleObject(ready, 0) == WAIT_OBJECT_0) return;
    progress.Explain(L"spool area full");
    const HANDLE events[] = {InterruptEvent(), ready, provider_.GetPrintStatusEventHandle()};
    WaitForMultipleObjects(3, events, FALSE, order_.patience);
}

// Comes back early when the printer has refused, or when no more can be sent.
void Submission::Carry(const DocumentFile& file, const IPPResponseBase& response, const Carrier& carrier) {
    sentAll_ = false;
    printer_.device.journal->BeginRequest();
    const Patience patience(*printer_.device.address, order_.patience);
    DocumentReader reader(file);
    Progress progress(file.name, file.size);
    uint64_t sent = 0;
    while (const int length = reader.Next()) {
        StopIfInterrupted();
        const HRESULT result = (sent == 0 ? carrier.begin : carrier.goOn)(reader.Piece(), length);
        const std::optional<unsigned> early = StatusOf(response);
        if (result != S_OK || (early && !IsIppSuccess(*early))) return;
        sent += static_cast<unsigned>(length);
        progress.Update(sent);
        AwaitRoom(progress);
    }
    StopIfInterrupted();
    sentAll_ = true;
    if (carrier.goOn(nullptr, 0) == S_OK) progress.Finish();
}

// What the printer made of a document: by its answer or, without one, by what it knows of the job.
JobRef Submission::Conclude(const IPPResponseBase& response) {
    StopIfInterrupted();
    const std::optional<unsigned> status = StatusOf(response);
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
            return Found{{static_cast<unsigned>(job->id), job->uri},
                         {job->state, CorvixTransport::ToWide(job->reasons)}};
    }
    return std::nullopt;
}

JobRef Submission::LookForJob() {
    const Failure unanswered = Unanswered();
    // The job that a refused document belongs to is there all the same.
    if (unanswered.Code() == ExitCode::Refused && job_.IsKnown()) throw unanswered;
    std::optional<Found> found;
    try {
        found = Find();
    } catch (const Failure&) {
        throw unanswered;  // it tells more than that the list was not to be had either
    }
    if (!found) throw unanswered;
    const std::wstring named = unanswered.Message() + L"; job " + std::to_wstring(found->job.id);
    const JobState state = found->status.state;
    if (HasEnded(state) && state != JobState::Completed)
        throw Failure(CodeOf(state), named + L" ended as " + ToText(found->status));
    if (sentAll_) return found->job;
    CancelJob(provider_, order_.owner.user, found->job);
    throw Failure(unanswered.Code(), named + L", the part of it that arrived, was canceled");
}

JobRef Submission::Print() {
    const auto request = NewRequest(order_);
    const auto response = NewResponse();
    const DocumentFile& file = order_.files.front();
    Describe(order_, file, *request);
    AskFor(order_, *request);
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
    Carry(file, *response, {begin, goOn});
    job_ = Conclude(*response);
    canceller_.JobIs(job_);
    return job_;
}

void Submission::CreateJob() {
    const auto request = NewRequest(order_);
    const auto response = NewResponse();
    AskFor(order_, *request);
    printer_.device.journal->BeginRequest();
    provider_.CreateJob(request.Get(), response.Get());
    if (const std::optional<unsigned> status = StatusOf(*response)) {
        Accept(*status);
        job_ = JobOf(*response);
    } else {
        const std::wstring reason = ReasonOfIppFailure(printer_, GetLastError());
        StopIfInterrupted();
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
    Describe(order_, file, *request);
    request->SetLastDocument(last);
    const auto begin = [&](const unsigned char* data, int length) {
        return provider_.SendDocument(request.Get(), response.Get(), data, length);
    };
    const auto goOn = [&](const unsigned char* data, int length) {
        return provider_.SendDocumentWrite(request.Get(), response.Get(), data, length);
    };
    Carry(file, *response, {begin, goOn});
    Conclude(*response);
}

// A printer that says so would print the first document before it refuses the second.
bool Submission::TakesOneDocumentOnly() const {
    Variant answer;
    provider_.GetIPPValue("multiple-document-jobs-supported", 0, answer.Receive(), nullptr, nullptr, 0, 0,
                          " ");
    return answer.Get().vt == VT_BSTR && std::wstring_view(answer.Get().bstrVal) == L"0";
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

std::string ToIppName(const std::wstring& text) {
    constexpr size_t longest = 255;
    std::string name = CorvixTransport::ToUtf8(text);
    if (name.size() <= longest) return name;
    size_t end = longest;
    while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80)
        --end;  // not amid a character
    name.resize(end);
    return name;
}

JobRef Submit(const Printer& printer, IPPProvider& provider, const PrintOrder& order, Canceller& canceller) {
    canceller.Begin(provider);
    Submission submission(printer, provider, order, canceller);
    return order.asDocuments ? submission.PrintDocuments() : submission.Print();
}

}  // namespace CorvixCtl
