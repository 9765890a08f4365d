// A printer's list of jobs: the Get-Jobs request and its answer. Texts are UTF-8, as far as the printer keeps to it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wire/jobstate.h"

namespace CorvixCtl {

struct ListedJob {
    int id = 0;
    std::string uri;
    std::string name;
    std::string user;
    JobState state = JobState::Pending;
    std::string reasons;                 // keywords joined by ","
    std::optional<long long> kilobytes;  // of documents
    // Seconds on the printer's clock.
    std::optional<long long> createdAt;
    std::optional<long long> now;

    // In seconds; nothing when the printer does not tell.
    std::optional<long long> Age() const {
        return createdAt && now ? std::optional(*now - *createdAt) : std::nullopt;
    }
};

enum class WhichJobs { NotCompleted, Completed };

std::string FormGetJobs(const std::string& printerUri, const std::string& user, WhichJobs which);

struct JobList {
    unsigned status = 0;  // of IPP
    std::vector<ListedJob> jobs;
};
// Nothing for bytes that are no IPP response to its end. What is not understood is passed over.
std::optional<JobList> ReadJobList(std::string_view body);

}  // namespace CorvixCtl
