#include "printing/job.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>

#include "base/text.h"
#include "corvixdm/ippnames.h"
#include "output/records.h"
#include "utilslib/com.h"
#include "utilslib/stringutils.h"

namespace CorvixCtl {
namespace {

unsigned ToNumber(const char* text) {
    return text ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : 0;
}

}  // namespace

JobRef RefOf(const Corvix::IPPJob& job) {
    return {static_cast<unsigned>(job.id.value_or(0)), job.uri.value_or("")};
}

JobRef JobOf(const Corvix::IPPResponseBase& response) {
    const char* uri = response.GetJobURI();
    return {ToNumber(response.GetJobID()), uri ? uri : ""};
}

std::optional<unsigned> StatusOf(const Corvix::IPPResponseBase& response) {
    const char* status = response.GetSuccessStatus();
    // Without an answer the text is empty, or names an error of the transport.
    const bool isNumber = status && *status >= '0' && *status <= '9';
    return isNumber ? std::optional(ToNumber(status)) : std::nullopt;
}

JobStatus StatusOf(const Corvix::IPPJob& job) {
    std::vector<std::wstring> reasons;
    for (const std::string& reason : job.reasons.value_or(std::vector<std::string>()))
        reasons.push_back(KyUtils::ToWideOrLatin1(reason));
    return {job.state.value_or(Corvix::IPPJobState::Pending), Joined(reasons, L",")};
}

std::wstring StateText(Corvix::IPPJobState state) {
    const int number = static_cast<int>(state);
    const char* name = GetIPPEnumName("job-state", number);
    return name ? KyUtils::ToWideOrLatin1(name) : L"state " + std::to_wstring(number);
}

std::wstring ToText(const JobStatus& status) {
    const std::wstring state = StateText(status.state);
    return status.reasons.empty() ? state : state + L" (" + MakeVisible(status.reasons) + L")";
}

std::optional<JobStatus> AskForJob(Corvix::IPPProvider& provider, const JobRef& job) {
    KyUtils::Variant answer;
    if (FAILED(provider.GetIPPValue("job-state,job-state-reasons", 1, answer.Receive(), job.uri.c_str(),
                                    nullptr, 0, 0, " ")))
        return std::nullopt;
    // The values in the order asked for: the state's number, then the reasons.
    const std::wstring text(answer.Text());
    const size_t comma = std::min(text.find(L','), text.size());
    const unsigned long state = std::wcstoul(text.substr(0, comma).c_str(), nullptr, 10);
    if (state == 0) return std::nullopt;
    JobStatus status{static_cast<Corvix::IPPJobState>(state), text.substr(std::min(comma + 1, text.size()))};
    // A keyword of IPP for "no reason".
    if (status.reasons == L"none") status.reasons.clear();
    return status;
}

std::wstring AskForPrinterReasons(Corvix::IPPProvider& provider) {
    KyUtils::Variant answer;
    provider.GetIPPValue("printer-state-reasons", 0, answer.Receive(), nullptr, nullptr, 0, 0, " ");
    const std::wstring_view reasons = answer.Text();
    return reasons == L"none" ? L"" : MakeVisible(reasons);
}

std::optional<unsigned> CancelJob(Corvix::IPPProvider& provider, const std::string& user, const JobRef& job) {
    const Corvix::DisposablePtr<Corvix::IPPRequestBase> request(CreateIPPRequest());
    const Corvix::DisposablePtr<Corvix::IPPResponseBase> response(CreateIPPResponse());
    request->SetRequestingUserName(user.c_str());
    request->SetJobID(job.id);
    if (!job.uri.empty()) request->SetJobURI(job.uri.c_str());
    provider.CancelJob(request.Get(), response.Get());
    return StatusOf(*response);
}

}  // namespace CorvixCtl
