#include "datamodel/ipp/following/states.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "datamodel/ipp/target/deviceprobe.h"
#include "datamodel/ipp/target/printeruri.h"
#include "utilslib/logging.h"
#include "wire/ipp/tags.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

bool IsFinal(std::string_view state) { return state == "7" || state == "8" || state == "9"; }

HRESULT JudgeJob(const std::string& state, const std::string& reasons) {
    logSource.Debug(L"Print Job state=%hs and JobstateReasons=%hs", state.c_str(), reasons.c_str());
    if (IsFinal(state)) {
        logSource.Debug(L"Job is canceled or completed");
        return jobIsOver;
    }
    if (reasons.find("canceled") != std::string::npos) {
        logSource.Debug(
            L"job-state-reasons can be job-canceled-at-device, canceled-by-user, "
            L"canceled-by-operator,printer-stopped");
        return jobIsOver;
    }
    logSource.Debug(L"Job is continuing..Print Job state=%hs and JobstateReasons=%hs", state.c_str(),
                    reasons.c_str());
    return jobRuns;
}

/// Whether a group of a list is the job that a request names; one that names none means every job.
bool IsNamed(const Ipp::Message& list, const Ipp::Group& group, const IPPRequestBase& request) {
    const char* uri = request.GetJobURI();
    if (request.GetJobID() != 0) return list.ValueText(group, "job-id") == std::to_string(request.GetJobID());
    if (uri && *uri) return list.ValueText(group, "job-uri") == uri;
    return list.ValueText(group, "job-state") || list.ValueText(group, "job-state-reasons");
}

std::vector<Ipp::Group> NamedJobs(const Ipp::Message& list, const IPPRequestBase& request) {
    std::vector<Ipp::Group> jobs;
    for (std::uint32_t i = 0; i < list.GroupCount(); ++i) {
        if (IsNamed(list, list.GetGroup(i), request)) jobs.push_back(list.GetGroup(i));
    }
    return jobs;
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
    const std::string state = answer.TextOf("job-state");
    const std::string reasons = answer.TextOf("job-state-reasons");
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
    const Ipp::Message& list = *answer.Message();
    const std::vector<Ipp::Group> jobs = NamedJobs(list, request);
    if (jobs.empty()) {
        logSource.Debug(
            L"May be we ask for which-jobs=completed but job is still in process else may be "
            L"reverse condition");
        return {completed ? jobRuns : jobIsOver, {}};
    }
    const bool runs = !completed && std::any_of(jobs.begin(), jobs.end(), [&](const Ipp::Group& job) {
        return JudgeJob(list.ValueText(job, "job-state").value_or(""),
                        list.ValueText(job, "job-state-reasons").value_or("")) == jobRuns;
    });
    return {runs ? jobRuns : jobIsOver, list.ValueText(jobs.front(), "job-uri").value_or("")};
}

HRESULT RetrievePrinterState(IppExchange& exchange, HANDLE interrupt, PrinterState& state) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::RetrievePrinterState");
    const wchar_t* host = exchange.Device()->GetHostName();
    // A connection wakes a sleeping device; whether there was one is not the question.
    if (host && !IsUsbPortName(host)) DeviceExists(host, L"631", interrupt);
    RequestValues values;
    values.operation = Ipp::Operation::GetPrinterAttributes;
    values.requestedAttributes = "printer-state,printer-state-reasons";
    IppAnswer answer;
    if (FAILED(exchange.Ask(values, answer))) return E_FAIL;
    state = {answer.TextOf("printer-state"), answer.TextOf("printer-state-reasons")};
    return S_OK;
}

}  // namespace Corvix
