// Jobs as IPP shows them.
#pragma once

#include <set>
#include <string>

#include "device/jobs.h"
#include "ipp/message.h"

namespace CorvixSim {

/// The attributes of a job that are named, or belong to a group that is named: "all", "job-description" or
/// "job-template". `host` is the "host:port" as the client named it.
IppGroup ShowJob(const Job& job, const std::string& host, const Values& values,
                 const std::set<std::string>& names);

}  // namespace CorvixSim
