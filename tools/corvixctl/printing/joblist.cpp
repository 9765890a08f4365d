#include "printing/joblist.h"

#include <algorithm>

#include "base/exitcodes.h"
#include "device/ippanswers.h"

namespace CorvixCtl {
namespace {

using Corvix::DisposablePtr;
using Corvix::IPPAttributes;
using Corvix::IPPJob;

DisposablePtr<IPPAttributes> AskForJobs(const Printer& printer, const std::string& user, WhichJobs which) {
    Corvix::IPPJobQuery query;
    query.userName = user.c_str();
    query.completed = which == WhichJobs::Completed;
    query.securityFlags = printer.securityFlags;
    DisposablePtr<IPPAttributes> answer(
        QueryIPPJobs(printer.device.address.Get(), printer.uri.c_str(), &query));
    if (!answer) FailAsUnanswered(printer, GetLastError());
    return answer;
}

// A list that breaks off may lack the very job that is looked for.
void RequireList(const IPPAttributes& answer) {
    Corvix::IPPAnswerHeader header = {};
    Corvix::IPPFault fault = {};
    if (answer.GetHeader(&header) != S_OK || answer.GetFault(&fault) == S_OK)
        throw Failure(ExitCode::Incomplete, L"the printer's list of jobs cannot be read");
    if (!IsIppSuccess(header.status)) {
        throw Failure(ExitCode::Refused,
                      L"the printer does not list its jobs: " + IppStatusText(header.status));
    }
}

}  // namespace

std::vector<IPPJob> ListJobs(const Printer& printer, const std::string& user, WhichJobs which) {
    const auto answer = AskForJobs(printer, user, which);
    RequireList(*answer);
    std::vector<IPPJob> jobs;
    Corvix::IPPGroup place;
    IPPJob job;
    while (NextIPPJob(answer.Get(), &place, &job) == S_OK)
        jobs.push_back(job);
    return jobs;
}

std::optional<int> AgeOf(const IPPJob& job) {
    return job.createdAt && job.printerUpTime ? std::optional(*job.printerUpTime - *job.createdAt)
                                              : std::nullopt;
}

std::optional<IPPJob> FindOwnJob(const std::vector<IPPJob>& jobs, const JobOwner& owner) {
    constexpr long long tolerance = 1;  // of a clock that counts whole seconds
    const auto oldest = static_cast<long long>((GetTickCount64() - owner.begun) / 1000) + tolerance;
    // A printer that does not tell the age is believed: user and name fit already.
    const auto isOurs = [&](const IPPJob& job) {
        return job.user == owner.user && job.name == owner.jobName && AgeOf(job).value_or(0) <= oldest;
    };
    const auto found = std::find_if(jobs.begin(), jobs.end(), isOurs);
    const bool isOne = found != jobs.end() && std::none_of(found + 1, jobs.end(), isOurs);
    return isOne ? std::optional(*found) : std::nullopt;
}

}  // namespace CorvixCtl
