// The jobs of a printer, as it lists them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "jobstate.h"
#include "printer.h"

namespace CorvixCtl {

struct ListedJob {
    int id = 0;
    std::string uri;
    std::wstring name;
    std::wstring user;
    JobState state = JobState::Pending;
    std::wstring reasons;                // keywords joined by ","
    std::optional<long long> kilobytes;  // of documents
    // Seconds on the printer's clock.
    std::optional<long long> createdAt;
    std::optional<long long> now;

    // In seconds; nothing when the printer does not tell.
    std::optional<long long> Age() const {
        return createdAt && now ? std::optional(*now - *createdAt) : std::nullopt;
    }
};

// By what a printer's job can be told for ours before the printer has told its number.
struct JobOwner {
    std::string user;
    std::string jobName;
    ULONGLONG begun = 0;  // GetTickCount64() when we began
};

enum class WhichJobs { NotCompleted, Completed };

// The library looks up one job, but lists none: this is an exchange of the program's own, through the same
// transport. Throws Failure when there is no answer that can be read, or the printer refuses.
std::vector<ListedJob> ListJobs(const Printer& printer, const std::string& user, WhichJobs which);

// The job that is ours by user, name and age; nothing where none fits, or several do.
std::optional<ListedJob> FindOwnJob(const std::vector<ListedJob>& jobs, const JobOwner& owner);

}  // namespace CorvixCtl
