#include "datamodel/ipp/following/jobstate.h"

#include <algorithm>
#include <string_view>

#include "utilslib/logging.h"
#include "utilslib/stringutils.h"
#include "wire/ipp/tags.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr const wchar_t* finalStates[] = {L"7", L"8", L"9"};

bool IsFinal(std::wstring_view state) {
    return std::any_of(std::begin(finalStates), std::end(finalStates),
                       [state](const wchar_t* final) { return state == final; });
}

HRESULT JudgeJob(const std::wstring& state, const std::wstring& reasons) {
    logSource.Debug(L"Print Job state=%ls and JobstateReasons=%ls", state.c_str(), reasons.c_str());
    if (IsFinal(state)) {
        logSource.Debug(L"Job is canceled or completed");
        return jobIsOver;
    }
    if (reasons.find(L"canceled") != std::wstring::npos) {
        logSource.Debug(
            L"job-state-reasons can be job-canceled-at-device, canceled-by-user, "
            L"canceled-by-operator,printer-stopped");
        return jobIsOver;
    }
    logSource.Debug(L"Job is continuing..Print Job state=%ls and JobstateReasons=%ls", state.c_str(),
                    reasons.c_str());
    return jobRuns;
}

/// pieces[i] for the i with keys[i] == wanted.
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

ListedJob FindJob(const IppAnswer& answer, const IPPRequestBase& request) {
    const bool byId = request.GetJobID() != 0;
    const char* uri = request.GetJobURI();
    const std::wstring states = answer.TextOf("job-state");
    const std::wstring reasons = answer.TextOf("job-state-reasons");
    const std::wstring uris = answer.TextOf("job-uri");
    if (!byId && (!uri || !*uri)) return {!states.empty() || !reasons.empty(), states, reasons, uris};

    const std::wstring keys = byId ? answer.TextOf("job-id") : uris;
    const std::wstring wanted = byId ? std::to_wstring(request.GetJobID()) : KyUtils::ToWide(uri);
    const bool isAlone = keys == wanted;
    // A job may have several reasons, so of several jobs it cannot be told whose they are.
    return {Lists(keys, wanted), isAlone ? states : PieceBeside(keys, wanted, states),
            isAlone ? reasons : L"", isAlone ? uris : PieceBeside(keys, wanted, uris)};
}

/// `form` tells the two callers apart in the log.
HRESULT AskJobs(IppExchange& exchange, RequestValues values, const wchar_t* form, IppAnswer& answer) {
    values.operation = Ipp::Operation::GetJobs;
    if (SUCCEEDED(exchange.Ask(values, answer))) return S_OK;
    logSource.Error(L"GetJobs(%ls)..%ls() failed", form,
                    answer.Message() ? L"ParseIPPResponse" : L"SendIPPRequest");
    return E_FAIL;
}

}  // namespace

HRESULT AskJobState(IppExchange& exchange, const std::string& userName, unsigned flag) {
    RequestValues values;
    values.userName = userName;
    values.requestedAttributes = flag ? "job-state" : "job-state-reasons";
    IppAnswer answer;
    const HRESULT asked = AskJobs(exchange, std::move(values), L"", answer);
    if (FAILED(asked)) return asked;
    const std::wstring state = answer.TextOf("job-state");
    const std::wstring reasons = answer.TextOf("job-state-reasons");
    if (!state.empty() || !reasons.empty()) return JudgeJob(state, reasons);
    logSource.Debug(L"value is empty");
    return jobRuns;
}

JobFate AskAboutJob(IppExchange& exchange, const IPPRequestBase& request, const char* whichJobs,
                    const std::string& userName) {
    RequestValues values;
    values.userName = userName;
    values.completedJobs = std::string_view(whichJobs) == completedJobs;
    const bool completed = values.completedJobs;
    IppAnswer answer;
    if (FAILED(AskJobs(exchange, std::move(values), L"struct", answer))) return {};
    const ListedJob job = FindJob(answer, request);
    if (job.found) return {completed ? jobIsOver : JudgeJob(job.state, job.reasons), job.uri};
    logSource.Debug(
        L"May be we ask for which-jobs=completed but job is still in process else may be "
        L"reverse condition");
    return {completed ? jobRuns : jobIsOver, {}};
}

}  // namespace Corvix
