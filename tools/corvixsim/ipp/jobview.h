// Jobs as IPP shows them.
#pragma once

#include <set>
#include <string>

#include "device/jobs.h"
#include "ipp/message.h"

namespace CorvixSim {

/// What a view of jobs depends on besides the job.
struct JobView {
    std::string host;  ///< "host:port" as the client named it
    std::string printerUuid;
    int32_t uptime = 0;  ///< seconds
};

/// The attributes of a job that are named, or belong to a group that is named: "all", "job-description" or
/// "job-template".
IppGroup ShowJob(const Job& job, const JobView& view, const std::set<std::string>& names);

}  // namespace CorvixSim
