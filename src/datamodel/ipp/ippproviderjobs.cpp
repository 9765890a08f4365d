// Jobs by whole exchanges: made, printed by reference, cancelled, asked about.
#include "datamodel/ipp/ippproviderimpl.h"
#include "datamodel/ipp/printing/jobrecords.h"
#include "utilslib/boundary.h"
#include "utilslib/lasterror.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"
#include "wire/ipp/tags.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

/// Whether the records are there, and say what document the printer is to fetch.
bool NamesDocument(const JobRecords& records) {
    return records.request && records.response && HasText(records.request->GetDocumentUri());
}

}  // namespace

HRESULT IPPProviderImpl::Exchange(IPPOperations& operations, int operation, const JobRecords& records,
                                  bool secure) {
    const HRESULT asked = operations.Ask(operation, records.request, secure, nullptr);
    return FAILED(asked) ? asked : operations.FormResponseStructure(operation, records.response);
}

HRESULT IPPProviderImpl::ReadJobAnswer(IPPOperations& operations, HTTPResponse& answer, int operation,
                                       IPPResponseBase* response) {
    const HRESULT read = operations.ParseIPPResponse(&answer, nullptr);
    return FAILED(read) ? read : operations.FormResponseStructure(operation, response);
}

HRESULT IPPProviderImpl::CreateJob(IPPRequestBase* request, IPPResponseBase* response) {
    return KyUtils::Entry(logSource, "Corvix::IPPProviderImpl::CreateJob", [&]() -> HRESULT {
        if (!request || !response) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
        if (!HasUser(*request)) return E_FAIL;
        return Exchange(*MakeOperations(), Ipp::Operation::CreateJob, {request, response}, target_.secure);
    });
}

HRESULT IPPProviderImpl::SendURI(IPPRequestBase* request, IPPResponseBase* response) {
    return KyUtils::Entry(logSource, "Corvix::IPPProviderImpl::SendURI", [&]() -> HRESULT {
        if (!NamesDocument({request, response})) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
        if (!DescribesDocument(*request)) return E_FAIL;
        return Exchange(*MakeOperations(), Ipp::Operation::SendUri, {request, response}, target_.secure);
    });
}

HRESULT IPPProviderImpl::PrintUri(IPPRequestBase* request, IPPResponseBase* response) {
    return KyUtils::Entry(logSource, "Corvix::IPPProviderImpl::PrintUri", [&]() -> HRESULT {
        if (!NamesDocument({request, response})) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
        BeginJobOf(*request);
        HRESULT result =
            Exchange(*MakeOperations(), Ipp::Operation::PrintUri, {request, response}, target_.secure);
        if (SUCCEEDED(result)) result = ResultOfPrintJob(*response);
        if (result == S_OK) follower_.Start(OwnTarget(), userName_);
        return LogExit(L"PrintUri", result);
    });
}

HRESULT IPPProviderImpl::CancelJob(IPPRequestBase* request, IPPResponseBase* response) {
    return KyUtils::Entry(logSource, "Corvix::IPPProviderImpl::CancelJob", [&]() -> HRESULT {
        if (!request || !response) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
        StopAllThreadsRunning();
        if (!HasUser(*request)) return E_FAIL;
        userName_ = request->GetRequestingUserName();
        const JobFate fate = AskAbout(*request, notCompletedJobs, userName_);
        if (fate.result != jobIsOver) logSource.Error(L"GetJobs failed");
        if (!NamesJob(*request)) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
        const Operations operations = MakeOperations();
        if (!HasText(request->GetJobURI()))
            operations->SetJobURI(fate.uri.empty() ? UriOfJob(*request, fate) : fate.uri);
        return Exchange(*operations, Ipp::Operation::CancelJob, {request, response}, false);
    });
}

/// The URI of a job that is not among its user's. Cancel-Job names the job by URI alone, so where nobody
/// tells it, it is what most printers make of their own: they answer what they think of the job themselves.
std::string IPPProviderImpl::UriOfJob(const IPPRequestBase& request, const JobFate& amongOwn) const {
    // A printer that could not be asked is not asked again.
    const JobFate fate = FAILED(amongOwn.result) ? amongOwn : AskAbout(request, notCompletedJobs, {});
    if (!fate.uri.empty()) return fate.uri;
    return KyUtils::ToUtf8(target_.QualifiedUri()) + '/' + std::to_string(request.GetJobID());
}

HRESULT IPPProviderImpl::GetJobs(unsigned flag) {
    return KyUtils::Entry(logSource, "Corvix::IPPProviderImpl::GetJobs", [&] {
        IppExchange exchange = MakeExchange();
        const HRESULT asked = AskJobState(exchange, userName_, flag);
        if (asked == jobIsOver) follower_.SignalJobEnd();
        return asked;
    });
}

HRESULT IPPProviderImpl::GetJobs(IPPRequestBase* request, const char* whichJobs) {
    return KyUtils::Entry(logSource, "Corvix::IPPProviderImpl::GetJobs", [&]() -> HRESULT {
        if (!request || !whichJobs) return KyUtils::FailWith(ERROR_INVALID_PARAMETER);
        return AskAbout(*request, whichJobs, userName_).result;
    });
}

JobFate IPPProviderImpl::AskAbout(const IPPRequestBase& request, const char* whichJobs,
                                  const std::string& userName) const {
    IppExchange exchange = MakeExchange();
    return AskAboutJob(exchange, request, whichJobs, userName);
}

}  // namespace Corvix
