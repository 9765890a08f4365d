#include "datamodel/ipp/ippjobs.h"

#include "wire/ipp/tags.h"

namespace Corvix {
namespace {

/// Where a value of an attribute goes to; a kind that does not fit leaves the job as it is.
using Take = void (*)(IPPJob& job, const IPPValue& value);

bool IsNumber(const IPPValue& value) {
    return value.kind == IPPValueKind::Integer || value.kind == IPPValueKind::Enum;
}

template <std::optional<int> IPPJob::*member>
void TakeNumber(IPPJob& job, const IPPValue& value) {
    if (IsNumber(value)) job.*member = value.number;
}

template <std::optional<std::string> IPPJob::*member>
void TakeText(IPPJob& job, const IPPValue& value) {
    if (value.kind == IPPValueKind::Text) job.*member = std::string(value.text);
}

void TakeState(IPPJob& job, const IPPValue& value) {
    if (IsNumber(value)) job.state = static_cast<IPPJobState>(value.number);
}

void TakeReason(IPPJob& job, const IPPValue& value) {
    if (value.kind != IPPValueKind::Text) return;
    if (!job.reasons) job.reasons.emplace();
    job.reasons->emplace_back(value.text);
}

struct JobAttribute {
    std::string_view name;
    Take take;
};

constexpr JobAttribute jobAttributes[] = {
    {"job-id", TakeNumber<&IPPJob::id>},
    {"job-uri", TakeText<&IPPJob::uri>},
    {"job-name", TakeText<&IPPJob::name>},
    {"job-originating-user-name", TakeText<&IPPJob::user>},
    {"job-state", TakeState},
    {"job-state-message", TakeText<&IPPJob::stateMessage>},
    {"job-state-reasons", TakeReason},
    {"job-k-octets", TakeNumber<&IPPJob::kilobytes>},
    {"job-impressions", TakeNumber<&IPPJob::impressions>},
    {"job-impressions-completed", TakeNumber<&IPPJob::impressionsCompleted>},
    {"job-media-sheets-completed", TakeNumber<&IPPJob::sheetsCompleted>},
    {"time-at-creation", TakeNumber<&IPPJob::createdAt>},
    {"time-at-processing", TakeNumber<&IPPJob::processingAt>},
    {"time-at-completed", TakeNumber<&IPPJob::completedAt>},
    {"job-printer-up-time", TakeNumber<&IPPJob::printerUpTime>},
};

std::string NamesOfJobAttributes() {
    std::string names;
    for (const JobAttribute& attribute : jobAttributes)
        names.append(names.empty() ? "" : ",").append(attribute.name);
    return names;
}

}  // namespace

RequestValues ToRequestValues(const IPPJobQuery& query) {
    RequestValues values;
    values.operation = Ipp::Operation::GetJobs;
    values.jobsOfAllUsers = true;
    values.completedJobs = query.completed;
    if (query.userName) values.userName = query.userName;
    values.requestedAttributes = query.attributes ? query.attributes : NamesOfJobAttributes();
    return values;
}

IPPJob ReadJob(const IPPAttributes& answer, const IPPGroup& group) {
    IPPJob job;
    IPPAttribute attribute(group);
    while (answer.NextAttribute(&attribute) == S_OK) {
        for (const JobAttribute& known : jobAttributes) {
            IPPValue value;
            while (known.name == attribute.name && answer.NextValue(&attribute, &value) == S_OK)
                known.take(job, value);
        }
    }
    return job;
}

}  // namespace Corvix
