// The jobs of a printer, as it lists them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "corvixdm/ippjobs.h"
#include "device/printer.h"

namespace CorvixCtl {

// By what a printer's job can be told for ours before the printer has told its number.
struct JobOwner {
    std::string user;
    std::string jobName;
    ULONGLONG begun = 0;  // GetTickCount64() when we began
};

enum class WhichJobs { NotCompleted, Completed };

// Throws Failure when there is no answer that can be read, or the printer refuses.
std::vector<Corvix::IPPJob> ListJobs(const Printer& printer, const std::string& user, WhichJobs which);

// In seconds; nothing when the printer does not tell.
std::optional<int> AgeOf(const Corvix::IPPJob& job);

// The job that is ours by user, name and age; nothing where none fits, or several do.
std::optional<Corvix::IPPJob> FindOwnJob(const std::vector<Corvix::IPPJob>& jobs, const JobOwner& owner);

}  // namespace CorvixCtl
