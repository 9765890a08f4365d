// The jobs of a printer, as it lists them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "device/printer.h"
#include "wire/joblistmessage.h"

namespace CorvixCtl {

// By what a printer's job can be told for ours before the printer has told its number.
struct JobOwner {
    std::string user;
    std::string jobName;
    ULONGLONG begun = 0;  // GetTickCount64() when we began
};

// The library looks up one job, but lists none: this is an exchange of the program's own, through the same
// transport. Throws Failure when there is no answer that can be read, or the printer refuses.
std::vector<ListedJob> ListJobs(const Printer& printer, const std::string& user, WhichJobs which);

// The job that is ours by user, name and age; nothing where none fits, or several do.
std::optional<ListedJob> FindOwnJob(const std::vector<ListedJob>& jobs, const JobOwner& owner);

}  // namespace CorvixCtl
