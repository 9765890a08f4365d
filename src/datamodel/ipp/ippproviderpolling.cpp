// What the polling threads and the pipeline ask: the states of jobs and of the printer.
#include <algorithm>

#include "datamodel/ipp/codec/tags.h"
#include "datamodel/ipp/deviceprobe.h"
#include "datamodel/ipp/ippproviderimpl.h"
#include "datamodel/ipp/printeruri.h"
#include "utilslib/boundary.h"
#include "utilslib/com.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr HRESULT jobRuns = 1;
constexpr HRESULT jobIsOver = 0;
constexpr const wchar_t* finalStates[] = {L"7", L"8", L"9"};

bool IsFinal(std::wstring_view state) {
    return std::any_of(std::begin(finalStates), std::end(finalStates),
                       [state](const wchar_t* final) { return state == final; });
}

std::wstring TextOf(const IPPOperations& operations, std::string_view name) {
    KyUtils::Variant value;
    operations.GetValueFromIPPMap(name, value.Receive());
    return std::wstring(value.Text());
}

/// The piece of a list at the place where another list of the same length has `wanted`.
std::wstring PieceBeside(std::wstring_view keys, std::wstring_view wanted, std::wstring_view pieces) {
    const auto keyList = KyUtils::Split(keys, L',');
    const auto pieceList = KyUtils::Split(pieces, L',');
    const auto found = std::find(keyList.begin(), keyList.end(), wanted);
    if (found == keyList.end() || keyList.size() != pieceList.size()) return {};
    return std::wstring(pieceList[static_cast<size_t>(found - keyList.begin())]);
}

bool Lists(std::wstring_view list, std::wstring_view wanted) {
    const auto pieces = KyUtils::Split(list, L',');
    return std::find(pieces.begin(), pieces.end(), wanted) != pieces.end();
}

/// What a list of jobs says of one of them.
struct ListedJob {
    bool found = false;
    std::wstring state;
    std::wstring reasons;
    std::wstring uri;
};

ListedJob FindJob(const IPPOperations& operations, const IPPRequestBase& request) {
    const bool byId = request.GetJobID() != 0;
    const char* uri = request.GetJobURI();
    const std::wstring states = TextOf(operations, "job-state");
    const std::wstring reasons = TextOf(operations, "job-state-reasons");
    const std::wstring uris = TextOf(operations, "job-uri");
    if (!byId && (!uri || !*uri)) return {!states.empty() || !reasons.empty(), states, reasons, uris};

    const std::wstring keys = byId ? TextOf(operations, "job-id") : uris;
    const std::wstring wanted = byId ? std::to_wstring(request.GetJobID()) : KyUtils::ToWide(uri);
    const bool isAlone = keys == wanted;
    // A job may have several reasons, so of several jobs it cannot be told whose they are.
    return {Lists(keys, wanted), isAlone ? states : PieceBeside(keys, wanted, states),
            isAlone ? reasons : L"", isAlone ? uris : PieceBeside(keys, wanted, uris)};
}

/// Takes a poll off the list of those that a stop cuts, however the poll ends.
class PollEnd {
public:
    PollEnd(std::mutex& lock, std::vector<IPPOperations*>& polls, IPPOperations* poll)
        : lock_(lock), polls_(polls), poll_(poll) {}
    ~PollEnd() {
        const std::lock_guard<std::mutex> lock(lock_);
        polls_.erase(std::find(polls_.begin(), polls_.end(), poll_));
    }
    PollEnd(const PollEnd&) = delete;
    PollEnd& operator=(const PollEnd&) = delete;

private:
    std::mutex& lock_;
    std::vector<IPPOperations*>& polls_;
    IPPOperations* const poll_;
};

}  // namespace

HRESULT IPPProviderImpl::JudgeJob(const std::wstring& state, const std::wstring& reasons) {
    logSource.Debug(L"Print Job state=%ls and JobstateReasons=%ls", state.c_str(), reasons.c_str());
    if (IsFinal(state)) {
        logSource.Debug(L"Job is canceled or completed");
    } else if (reasons.find(L"canceled") != std::wstring::npos) {
        logSource.Debug(
            L"job-state-reasons can be job-canceled-at-device, canceled-by-user, "
            L"canceled-by-operator,printer-stopped");
    } else {
        logSource.Debug(L"Job is continuing..Print Job state=%ls and JobstateReasons=%ls", state.c_str(),
                        reasons.c_str());
        return jobRuns;
    }
    return jobIsOver;
}

/// A Get-Jobs exchange; `form` tells the two callers apart in the log.
HRESULT IPPProviderImpl::AskJobs(IPPOperations& operations, const std::string& userName,
                                 const wchar_t* form) {
    operations.SetRequestedUserName(userName);
    DisposablePtr<HTTPResponse> response;
    if (FAILED(operations.SendIPPRequest(Ipp::Operation::GetJobs, response.Receive(), nullptr, secure_))) {
        logSource.Error(L"GetJobs(%ls)..SendIPPRequest() failed", form);
        return E_FAIL;
    }
    if (FAILED(operations.ParseIPPResponse(response.Get(), nullptr))) {
        logSource.Error(L"GetJobs(%ls)..ParseIPPResponse() failed", form);
        return E_FAIL;
    }
    return S_OK;
}

HRESULT IPPProviderImpl::AskJobState(IPPOperations& operations, unsigned flag) {
    operations.SetAttributeName(flag ? "job-state" : "job-state-reasons");
    const HRESULT asked = AskJobs(operations, userName_, L"");
    if (FAILED(asked)) return asked;
    const std::wstring state = TextOf(operations, "job-state");
    const std::wstring reasons = TextOf(operations, "job-state-reasons");
    if (state.empty() && reasons.empty()) {
        logSource.Debug(L"value is empty");
        return jobRuns;
    }
    const HRESULT judged = JudgeJob(state, reasons);
    if (judged == jobIsOver) polling_.SignalJobEnd();
    return judged;
}

HRESULT IPPProviderImpl::GetJobs(unsigned flag) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::GetJobs");
    return KyUtils::RaisingComErrors([&] { return AskJobState(*MakeOperations(), flag); });
}

HRESULT IPPProviderImpl::GetJobs(IPPRequestBase* request, const char* whichJobs) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::GetJobs");
    if (!request || !whichJobs) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return E_FAIL;
    }
    return KyUtils::RaisingComErrors([&] {
        std::wstring uri;
        return AskAboutJob(*request, whichJobs, userName_, uri);
    });
}

HRESULT IPPProviderImpl::AskAboutJob(const IPPRequestBase& request, const char* whichJobs,
                                     const std::string& userName, std::wstring& uri) {
    const Operations operations = MakeOperations();
    operations->SetJobOperations(whichJobs);
    const HRESULT asked = AskJobs(*operations, userName, L"struct");
    if (FAILED(asked)) return asked;
    const bool completed = std::string_view(whichJobs) == "completed";
    const ListedJob job = FindJob(*operations, request);
    if (!job.found) {
        logSource.Debug(
            L"May be we ask for which-jobs=completed but job is still in process else may be "
            L"reverse condition");
        return completed ? jobRuns : jobIsOver;
    }
    uri = job.uri;
    return completed ? jobIsOver : JudgeJob(job.state, job.reasons);
}

HRESULT IPPProviderImpl::RetrievePrinterState(IPPOperations& operations, HANDLE interrupt,
                                              std::wstring& state, std::wstring& reasons) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::RetrievePrinterState");
    operations.SetAttributeName("printer-state,printer-state-reasons");
    const wchar_t* host = address_->GetHostName();
    // Wakes a sleeping device; what it answers is not the question.
    if (host && !IsUsbPortName(host)) DeviceExists(host, L"631", interrupt);
    DisposablePtr<HTTPResponse> response;
    if (FAILED(operations.SendIPPRequest(Ipp::Operation::GetPrinterAttributes, response.Receive(), nullptr,
                                         secure_)))
        return E_FAIL;
    if (FAILED(operations.ParseIPPResponse(response.Get(), nullptr))) return E_FAIL;
    state = TextOf(operations, "printer-state");
    reasons = TextOf(operations, "printer-state-reasons");
    return S_OK;
}

template <class Poll>
HRESULT IPPProviderImpl::RunPoll(Poll poll) {
    return KyUtils::NeverThrowing([&]() -> HRESULT {
        const Operations operations = MakeOperations();
        {
            const std::lock_guard<std::mutex> lock(pollsLock_);
            if (!polling_.GetbPrinteStatusThreadPoll()) return E_FAIL;  // stopped
            polls_.push_back(operations.get());
        }
        const PollEnd end(pollsLock_, polls_, operations.get());
        return poll(*operations);
    });
}

HRESULT IPPProviderImpl::PollJob(unsigned flag) {
    return RunPoll([&](IPPOperations& operations) { return AskJobState(operations, flag); });
}

HRESULT IPPProviderImpl::PollPrinter(std::wstring& state, std::wstring& reasons) {
    return RunPoll([&](IPPOperations& operations) {
        return RetrievePrinterState(operations, polling_.StopEvent(), state, reasons);
    });
}

void IPPProviderImpl::InterruptPolls() {
    const std::lock_guard<std::mutex> lock(pollsLock_);
    for (IPPOperations* operations : polls_)
        operations->Cancel();
}

}  // namespace Corvix
