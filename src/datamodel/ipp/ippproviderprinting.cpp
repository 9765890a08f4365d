// Documents that the caller hands over piece by piece: one streamed Print-Job, or Send-Document into a job.
#include "datamodel/ipp/ippproviderimpl.h"
#include "datamodel/ipp/printing/jobrecords.h"
#include "utilslib/boundary.h"
#include "utilslib/lasterror.h"
#include "utilslib/logging.h"
#include "wire/ipp/tags.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr DWORD jobFateUnknownError = 1291;

/// Whether the caller of a write handed over all that it takes.
bool IsWritable(const JobRecords& records, const unsigned char* data, int length) {
    return records.request && records.response && length >= 0 && (data || length == 0);
}

}  // namespace

void IPPProviderImpl::StopWaiting() { SetEvent(stopWaiting_.Get()); }

IPPProviderImpl::ReadyState IPPProviderImpl::CheckForPrinterReadyState() {
    IppExchange exchange = MakeExchange();
    PrinterState state;
    const HRESULT retrieved = RetrievePrinterState(exchange, stopWaiting_.Get(), state);
    if (FAILED(retrieved)) {
        logSource.Error(L"RetrievePrinterState fails with %d", static_cast<int>(retrieved));
        return ReadyState::Failed;
    }
    if (state.IsIdle() && !state.IsFull()) return ReadyState::Ready;
    logSource.Debug(L"Printer State: %hs", state.state.c_str());
    return ReadyState::NotReady;
}

HRESULT IPPProviderImpl::WaitUntilReady() {
    ReadyState ready;
    while ((ready = CheckForPrinterReadyState()) == ReadyState::NotReady) {
        if (WaitForSingleObject(stopWaiting_.Get(), 0) == WAIT_OBJECT_0) return E_FAIL;
        WaitForSingleObject(stopWaiting_.Get(), intervals_.printerReady);
    }
    if (ready == ReadyState::Failed) return KyUtils::FailWith(static_cast<DWORD>(IPPError::StateUnknown));
    follower_.CreatePrintReadyEvent();
    return S_OK;
}

void IPPProviderImpl::RenewJobOperations() {
    jobOperations_ = MakeOperations();
    jobOperations_->SetSecurityFlags(target_.securityFlags);
}

/// Whatever was followed until now is followed no more.
void IPPProviderImpl::BeginJobOf(const IPPRequestBase& request) {
    follower_.Reset();
    if (HasText(request.GetRequestingUserName())) userName_ = request.GetRequestingUserName();
}

HRESULT IPPProviderImpl::PrintJob(IPPRequestBase* request, IPPResponseBase* response,
                                  const unsigned char* data, int length, unsigned char waitForReady) {
    return KyUtils::Entry(logSource, "Corvix::IPPProviderImpl::PrintJob", [&]() -> HRESULT {
        if (length <= 0 || !request || !response || !data) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
        BeginJobOf(*request);
        RenewJobOperations();
        HRESULT result = waitForReady ? WaitUntilReady() : S_OK;
        if (FAILED(result)) return LogExit(L"PrintJob", result);
        result = jobOperations_->SendPrintJobRequest(request, target_.secure, data,
                                                     static_cast<unsigned long>(length), false, true);
        return LogExit(L"PrintJob", SUCCEEDED(result) ? AfterStart(response) : JobAfterFailedStart(request));
    });
}

/// A job that the printer took before it has all of it goes on, as does one of which it says nothing yet; any
/// other ends here.
HRESULT IPPProviderImpl::AfterStart(IPPResponseBase* response) {
    const HRESULT result = jobOperations_->Stream().HasEarlyAnswer() ? AnsweredEarly(response) : S_OK;
    if (result == S_OK) follower_.Start(OwnTarget(), userName_);
    return result;
}

HRESULT IPPProviderImpl::AnsweredEarly(IPPResponseBase* response) {
    PrintStream& stream = jobOperations_->Stream();
    DisposablePtr<HTTPResponse> answer;
    const HRESULT received = stream.GetEarlyResponse(answer);
    if (FAILED(received)) return received;
    const HRESULT read = ReadJobAnswer(*jobOperations_, *answer, Ipp::Operation::PrintJob, response);
    const HRESULT result = FAILED(read) ? read : ResultOfPrintJob(*response);
    if (FAILED(result) || !IsAccepted(*response)) stream.Abandon();
    return result;
}

HRESULT IPPProviderImpl::JobAfterFailedStart(IPPRequestBase* request) {
    constexpr const wchar_t* complaints[] = {L"GetJobs fails - not completed job",
                                             L"GetJobs fails again - not completed job",
                                             L"GetJobs fails again - completed job"};
    if (!NamesJob(*request)) return S_OK;
    for (int question = 0; question < 3; ++question) {
        const HRESULT answer = GetJobs(request, question < 2 ? notCompletedJobs : completedJobs);
        if (answer != jobRuns) return answer;
        logSource.Error(L"%ls", complaints[question]);
        // The printer may not have noticed yet that the job came to nothing.
        if (question == 0) WaitForSingleObject(stopWaiting_.Get(), intervals_.printerReady);
    }
    SetLastError(jobFateUnknownError);
    return jobRuns;
}

HRESULT IPPProviderImpl::PrintJobWrite(IPPRequestBase* request, IPPResponseBase* response,
                                       const unsigned char* data, int length) {
    return KyUtils::Entry(logSource, "Corvix::IPPProviderImpl::PrintJobWrite", [&]() -> HRESULT {
        if (!IsWritable({request, response}, data, length)) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
        // The job ended or must stop: the printer wants no more of it.
        if (follower_.GetPrintStatus()) {
            logSource.Error(L"PrintJobWrite Cancelled from Device end");
            logSource.Error(L"hr is set to S_DEVICECANCELED");
            return LogExit(L"PrintJobWrite", S_DEVICECANCELED);
        }
        if (length == 0)
            return LogExit(L"PrintJobWrite", EndBody(Ipp::Operation::PrintJob, {request, response}));
        const HRESULT written = jobOperations_->Stream().Write(data, static_cast<unsigned long>(length));
        return LogExit(L"PrintJobWrite", AfterPiece(written, request));
    });
}

HRESULT IPPProviderImpl::SendDocument(IPPRequestBase* request, IPPResponseBase* response,
                                      const unsigned char* data, int length) {
    return KyUtils::Entry(logSource, "Corvix::IPPProviderImpl::SendDocument", [&]() -> HRESULT {
        if (!request || !response) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
        if (!DescribesDocument(*request)) return E_FAIL;
        if (length <= 0 || !data) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
        // A job that is followed meanwhile, one printed by reference, is its user's.
        if (userName_ != request->GetRequestingUserName()) StopAllThreadsRunning();
        userName_ = request->GetRequestingUserName();
        RenewJobOperations();
        return LogExit(L"SendDocument",
                       jobOperations_->SendDocumentRequest(request, target_.secure, data,
                                                           static_cast<unsigned long>(length), false, true));
    });
}

HRESULT IPPProviderImpl::SendDocumentWrite(IPPRequestBase* request, IPPResponseBase* response,
                                           const unsigned char* data, int length) {
    return KyUtils::Entry(logSource, "Corvix::IPPProviderImpl::SendDocumentWrite", [&]() -> HRESULT {
        if (!IsWritable({request, response}, data, length)) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
        if (length > 0) {
            const HRESULT written = jobOperations_->Stream().Write(data, static_cast<unsigned long>(length));
            return LogExit(L"SendDocumentWrite", AfterPiece(written, request));
        }
        const HRESULT result = EndBody(Ipp::Operation::SendDocument, {request, response});
        return LogExit(L"SendDocumentWrite", result == S_OK ? ResultOfDocument(*response) : result);
    });
}

HRESULT IPPProviderImpl::AfterPiece(HRESULT written, IPPRequestBase* request) {
    return SUCCEEDED(written) ? S_OK : JobAfterFailure(L"Failed while sending chunk data", request);
}

/// Ends the document and reads what the printer makes of it.
HRESULT IPPProviderImpl::EndBody(int operation, const JobRecords& records) {
    PrintStream& stream = jobOperations_->Stream();
    if (FAILED(stream.End()))
        return JobAfterFailure(L"Failed while sending last chunk data", records.request);
    StopAllThreadsRunning();
    DisposablePtr<HTTPResponse> answer;
    HRESULT read = stream.GetResponse(answer);
    if (SUCCEEDED(read)) read = ReadJobAnswer(*jobOperations_, *answer, operation, records.response);
    if (SUCCEEDED(read) || read == E_FAIL) return read;
    return JobAfterFailure(L"httpBase->GetResponse() failed try GetJobs", records.request);
}

/// What became of a job whose data or answer did not get through.
HRESULT IPPProviderImpl::JobAfterFailure(const wchar_t* failure, IPPRequestBase* request) {
    logSource.Error(L"%ls", failure);
    StopAllThreadsRunning();
    HRESULT answer = GetJobs(request, notCompletedJobs);
    if (answer == jobRuns) answer = GetJobs(request, completedJobs);
    return answer != jobIsOver ? answer : S_DEVICECANCELED;
}

}  // namespace Corvix
