// Print jobs: one streamed Print-Job, or Create-Job with documents sent into it.
#include <utility>

#include "datamodel/ipp/codec/tags.h"
#include "datamodel/ipp/ippproviderimpl.h"
#include "utilslib/boundary.h"
#include "utilslib/com.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr DWORD badAnswerError = 1280;
constexpr DWORD jobFateUnknownError = 1291;
constexpr const char* notCompletedJobs = "not-completed";
constexpr const char* completedJobs = "completed";
constexpr const wchar_t* spoolAreaFull = L"spool-area-full";

HRESULT FailWith(DWORD error) {
    SetLastError(error);
    return E_FAIL;
}

bool HasText(const char* text) { return text && *text; }

bool NamesJob(const IPPRequestBase& request) {
    return request.GetJobID() != 0 || HasText(request.GetJobURI());
}

/// What an IPP status means for a job that was sent.
struct JobStatus {
    std::string_view status;
    const wchar_t* log;
    HRESULT result;
};
constexpr std::string_view accepted = "0";
constexpr JobStatus printJobStatuses[] = {
    {accepted, nullptr, S_OK},
    {"1287", L"server-error-busy..Please restart the job", S_OK},
    {"1288", L"server-error-job-canceled", S_DEVICECANCELED},
};
constexpr JobStatus sendDocumentStatuses[] = {
    {accepted, nullptr, S_OK},
    {"1024", L"client-error-bad-request", E_FAIL},
    {"1287", L"server-error-busy..Please restart the job", E_FAIL},
    {"1288", L"server-error-job-canceled", S_DEVICECANCELED},
};

bool IsAccepted(const IPPResponseBase& response) {
    const char* text = response.GetSuccessStatus();
    return text && text == accepted;
}

template <size_t count>
HRESULT ResultOf(const JobStatus (&statuses)[count], const IPPResponseBase& response) {
    const char* text = response.GetSuccessStatus();
    const std::string_view status = text ? text : "";
    for (const JobStatus& known : statuses) {
        if (known.status != status) continue;
        if (known.log) logSource.Error(L"%ls", known.log);
        return known.result;
    }
    logSource.Error(L"Failed: some error occured IPP status code=%ls", KyUtils::ToWide(status).c_str());
    return E_FAIL;
}

HRESULT LogExit(const wchar_t* operation, HRESULT result) {
    logSource.Debug(L"%ls exits with result 0x%08X", operation, static_cast<unsigned>(result));
    return result;
}

bool HasUser(const IPPRequestBase& request) {
    if (HasText(request.GetRequestingUserName())) return true;
    logSource.Error(L"RequestingUserName is not present");
    return false;
}

/// Every complaint is logged, so that a caller sees at once all that is missing.
bool DescribesDocument(const IPPRequestBase& request) {
    const bool hasUser = HasUser(request);
    const bool hasJob = request.GetJobID() != 0;
    if (!hasJob) logSource.Error(L"Invalid Job ID");
    const bool saysLast = request.HasLastDocument();
    if (!saysLast) logSource.Error(L"Last-Document is not set");
    return hasUser && hasJob && saysLast;
}

}  // namespace

HRESULT IPPProviderImpl::Exchange(IPPOperations& operations, int operation, IPPRequestBase* request,
                                  IPPResponseBase* response, bool secure) const {
    DisposablePtr<HTTPResponse> answer;
    const HRESULT sent = operations.SendIPPRequest(operation, answer.Receive(), request, secure);
    if (FAILED(sent)) return sent;
    if (FAILED(operations.ParseIPPResponse(answer.Get(), nullptr))) return FailWith(badAnswerError);
    return operations.FormResponseStructure(operation, response);
}

HRESULT IPPProviderImpl::JobExchange(int operation, IPPRequestBase* request, IPPResponseBase* response,
                                     bool secure) const {
    return KyUtils::RaisingComErrors(
        [&] { return Exchange(*MakeOperations(), operation, request, response, secure); });
}

HRESULT IPPProviderImpl::CreateJob(IPPRequestBase* request, IPPResponseBase* response) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::CreateJob");
    if (!request || !response) return FailWith(ERROR_INVALID_PARAMETER);
    if (!HasUser(*request)) return E_FAIL;
    return JobExchange(Ipp::Operation::CreateJob, request, response, secure_);
}

HRESULT IPPProviderImpl::SendURI(IPPRequestBase* request, IPPResponseBase* response) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::SendURI");
    if (!request || !response || !HasText(request->GetDocumentUri()))
        return FailWith(ERROR_INVALID_PARAMETER);
    if (!DescribesDocument(*request)) return E_FAIL;
    return JobExchange(Ipp::Operation::SendUri, request, response, secure_);
}

HRESULT IPPProviderImpl::PrintUri(IPPRequestBase* request, IPPResponseBase* response) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::PrintUri");
    if (!request || !response || !HasText(request->GetDocumentUri()))
        return FailWith(ERROR_INVALID_PARAMETER);
    polling_.Reset();
    if (HasText(request->GetRequestingUserName())) userName_ = request->GetRequestingUserName();
    HRESULT result = JobExchange(Ipp::Operation::PrintUri, request, response, secure_);
    if (SUCCEEDED(result)) result = ResultOf(printJobStatuses, *response);
    if (result == S_OK) polling_.Start();
    return LogExit(L"PrintUri", result);
}

HRESULT IPPProviderImpl::CancelJob(IPPRequestBase* request, IPPResponseBase* response) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::CancelJob");
    if (!request || !response) return FailWith(ERROR_INVALID_PARAMETER);
    StopAllThreadsRunning();
    if (!HasUser(*request)) return E_FAIL;
    userName_ = request->GetRequestingUserName();
    return KyUtils::RaisingComErrors([&]() -> HRESULT {
        std::wstring uri;
        const HRESULT asked = AskAboutJob(*request, notCompletedJobs, userName_, uri);
        if (asked != 0) logSource.Error(L"GetJobs failed");
        if (!NamesJob(*request)) return FailWith(ERROR_INVALID_PARAMETER);
        const Operations operations = MakeOperations();
        if (!HasText(request->GetJobURI()))
            operations->SetJobURI(KyUtils::ToUtf8(uri.empty() ? UriOfJob(*request, asked) : uri));
        return Exchange(*operations, Ipp::Operation::CancelJob, request, response, false);
    });
}

/// The URI of a job that is not among its user's. Cancel-Job names the job by URI alone, so where nobody
/// tells it, it is what most printers make of their own: they answer what they think of the job themselves.
std::wstring IPPProviderImpl::UriOfJob(const IPPRequestBase& request, HRESULT asked) {
    std::wstring uri;
    if (SUCCEEDED(asked)) AskAboutJob(request, notCompletedJobs, std::string(), uri);
    if (!uri.empty()) return uri;
    return MakeOperations()->GetFullyQualifiedURI() + L'/' + std::to_wstring(request.GetJobID());
}

void IPPProviderImpl::StopWaiting() { SetEvent(stopWaiting_.Get()); }

IPPProviderImpl::ReadyState IPPProviderImpl::CheckForPrinterReadyState() {
    std::wstring state;
    std::wstring reasons;
    const HRESULT retrieved = RetrievePrinterState(*MakeOperations(), stopWaiting_.Get(), state, reasons);
    if (FAILED(retrieved)) {
        logSource.Error(L"RetrievePrinterState fails with %d", static_cast<int>(retrieved));
        return ReadyState::Failed;
    }
    if (state == L"3" && reasons.find(spoolAreaFull) == std::wstring::npos) return ReadyState::Ready;
    logSource.Debug(L"Printer State: %ls", state.c_str());
    return ReadyState::NotReady;
}

HRESULT IPPProviderImpl::WaitUntilReady() {
    ReadyState ready;
    while ((ready = CheckForPrinterReadyState()) == ReadyState::NotReady) {
        if (WaitForSingleObject(stopWaiting_.Get(), 0) == WAIT_OBJECT_0) return E_FAIL;
        WaitForSingleObject(stopWaiting_.Get(), intervals_.printerReady);
    }
    if (ready == ReadyState::Failed) return FailWith(static_cast<DWORD>(IPPError::StateUnknown));
    polling_.CreatePrintReadyEvent();
    return S_OK;
}

HRESULT IPPProviderImpl::PrintJob(IPPRequestBase* request, IPPResponseBase* response,
                                  const unsigned char* data, int length, unsigned char waitForReady) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::PrintJob");
    if (length <= 0 || !request || !response || !data) return FailWith(ERROR_INVALID_PARAMETER);
    return KyUtils::RaisingComErrors([&] {
        return LogExit(L"PrintJob", StartPrintJob(request, response, data, length, waitForReady != 0));
    });
}

HRESULT IPPProviderImpl::StartPrintJob(IPPRequestBase* request, IPPResponseBase* response,
                                       const unsigned char* data, int length, bool waitForReady) {
    polling_.Reset();
    if (HasText(request->GetRequestingUserName())) userName_ = request->GetRequestingUserName();
    IPPOperations& job = RenewJobOperations();
    job.SetSecurityFlags(operations_->SecurityFlags());
    securityFlags_ = operations_->SecurityFlags();
    if (waitForReady) {
        const HRESULT ready = WaitUntilReady();
        if (FAILED(ready)) return ready;
    }
    const HRESULT sent =
        job.SendPrintJobRequest(request, secure_, data, static_cast<unsigned long>(length), false, true);
    if (FAILED(sent)) return JobAfterFailedStart(request);
    // A printer that takes the job reads on; one that does not may have said so by now.
    const HRESULT result = job.HasEarlyAnswer() ? AnsweredEarly(response) : S_OK;
    if (result == S_OK) polling_.Start();
    return result;
}

/// A job that the printer took before it has all of it goes on; any other ends here.
HRESULT IPPProviderImpl::AnsweredEarly(IPPResponseBase* response) {
    DisposablePtr<HTTPResponse> answer;
    const HRESULT received = jobOperations_->GetEarlyResponse(answer.Receive());
    if (FAILED(received)) return received;
    const HRESULT read = ReadJobAnswer(answer.Get(), Ipp::Operation::PrintJob, response);
    const HRESULT result = FAILED(read) ? read : ResultOf(printJobStatuses, *response);
    if (FAILED(result) || !IsAccepted(*response)) jobOperations_->EndStream();
    return result;
}

HRESULT IPPProviderImpl::JobAfterFailedStart(IPPRequestBase* request) {
    struct {
        const char* whichJobs;
        const wchar_t* complaint;
    } const questions[] = {{notCompletedJobs, L"GetJobs fails - not completed job"},
                           {notCompletedJobs, L"GetJobs fails again - not completed job"},
                           {completedJobs, L"GetJobs fails again - completed job"}};
    if (!NamesJob(*request)) return S_OK;
    bool first = true;
    for (const auto& question : questions) {
        const HRESULT answer = GetJobs(request, question.whichJobs);
        if (answer != 1) return answer;
        logSource.Error(L"%ls", question.complaint);
        if (std::exchange(first, false)) WaitForSingleObject(stopWaiting_.Get(), intervals_.printerReady);
    }
    SetLastError(jobFateUnknownError);
    return 1;
}

HRESULT IPPProviderImpl::JobAfterFailedPiece(IPPRequestBase* request) {
    StopAllThreadsRunning();
    HRESULT answer = GetJobs(request, notCompletedJobs);
    if (answer == 1) answer = GetJobs(request, completedJobs);
    return answer != 0 ? answer : S_DEVICECANCELED;
}

/// Sends a piece of a body that was begun. A later piece must not begin one: it would print the document's
/// rest.
HRESULT IPPProviderImpl::Continue(SendPiece send, IPPRequestBase* request, const unsigned char* data,
                                  int length) {
    if (!jobOperations_ || !jobOperations_->IsStreaming()) return E_FAIL;
    const bool last = length == 0;
    return ((*jobOperations_).*send)(request, secure_, data, static_cast<unsigned long>(length), last, true);
}

HRESULT IPPProviderImpl::WritePiece(SendPiece send, IPPRequestBase* request, const unsigned char* data,
                                    int length) {
    if (SUCCEEDED(Continue(send, request, data, length))) return S_OK;
    logSource.Error(L"Failed while sending chunk data");
    return JobAfterFailedPiece(request);
}

HRESULT IPPProviderImpl::ReadStreamedAnswer(int operation, IPPResponseBase* response) {
    DisposablePtr<HTTPResponse> answer;
    const HRESULT received = jobOperations_->GetStreamedResponse(answer.Receive());
    return FAILED(received) ? received : ReadJobAnswer(answer.Get(), operation, response);
}

HRESULT IPPProviderImpl::ReadJobAnswer(HTTPResponse* answer, int operation, IPPResponseBase* response) {
    if (FAILED(jobOperations_->ParseIPPResponse(answer, nullptr))) return FailWith(badAnswerError);
    return jobOperations_->FormResponseStructure(operation, response);
}

HRESULT IPPProviderImpl::EndBody(SendPiece send, int operation, IPPRequestBase* request,
                                 IPPResponseBase* response) {
    if (FAILED(Continue(send, request, nullptr, 0))) {
        logSource.Error(L"Failed while sending last chunk data");
        return JobAfterFailedPiece(request);
    }
    StopAllThreadsRunning();
    const HRESULT read = ReadStreamedAnswer(operation, response);
    if (FAILED(read) && read != E_FAIL) {
        logSource.Error(L"httpBase->GetResponse() failed try GetJobs");
        return JobAfterFailedPiece(request);
    }
    return read;
}

HRESULT IPPProviderImpl::PrintJobWrite(IPPRequestBase* request, IPPResponseBase* response,
                                       const unsigned char* data, int length) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::PrintJobWrite");
    if (!request || !response || length < 0 || (!data && length > 0))
        return FailWith(ERROR_INVALID_PARAMETER);
    return KyUtils::RaisingComErrors([&] {
        if (polling_.GetPrintStatus()) {
            logSource.Error(L"PrintJobWrite Cancelled from Device end");
            logSource.Error(L"hr is set to S_DEVICECANCELED");
            return LogExit(L"PrintJobWrite", S_DEVICECANCELED);
        }
        const SendPiece send = &IPPOperations::SendPrintJobRequest;
        return LogExit(L"PrintJobWrite", length > 0
                                             ? WritePiece(send, request, data, length)
                                             : EndBody(send, Ipp::Operation::PrintJob, request, response));
    });
}

HRESULT IPPProviderImpl::SendDocument(IPPRequestBase* request, IPPResponseBase* response,
                                      const unsigned char* data, int length) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::SendDocument");
    if (!request || !response) return FailWith(ERROR_INVALID_PARAMETER);
    if (!DescribesDocument(*request)) return E_FAIL;
    if (length <= 0 || !data) return FailWith(ERROR_INVALID_PARAMETER);
    return KyUtils::RaisingComErrors([&] {
        // A job that is followed meanwhile, one printed by reference, is its user's.
        if (userName_ != request->GetRequestingUserName()) StopAllThreadsRunning();
        userName_ = request->GetRequestingUserName();
        IPPOperations& job = RenewJobOperations();
        job.SetSecurityFlags(operations_->SecurityFlags());
        return LogExit(
            L"SendDocument",
            job.SendDocumentRequest(request, secure_, data, static_cast<unsigned long>(length), false, true));
    });
}

HRESULT IPPProviderImpl::SendDocumentWrite(IPPRequestBase* request, IPPResponseBase* response,
                                           const unsigned char* data, int length) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::SendDocumentWrite");
    if (!request || !response || length < 0 || (!data && length > 0))
        return FailWith(ERROR_INVALID_PARAMETER);
    return KyUtils::RaisingComErrors([&] {
        const SendPiece send = &IPPOperations::SendDocumentRequest;
        if (length > 0) return LogExit(L"SendDocumentWrite", WritePiece(send, request, data, length));
        HRESULT result = EndBody(send, Ipp::Operation::SendDocument, request, response);
        if (result == S_OK) result = ResultOf(sendDocumentStatuses, *response);
        return LogExit(L"SendDocumentWrite", result);
    });
}

}  // namespace Corvix
