/// What a printer tells of jobs.
#pragma once

#include <windows.h>

#include <string>

#include "datamodel/ipp/exchange/ippexchange.h"

namespace Corvix {

constexpr HRESULT jobRuns = 1;
constexpr HRESULT jobIsOver = 0;

constexpr const char* notCompletedJobs = "not-completed";
constexpr const char* completedJobs = "completed";

/// Asks for the jobs of a user, without a name for all: for their states when `flag` is not 0, else for the
/// states' reasons.
/// \return jobRuns, jobIsOver (finished or cancelled), or E_FAIL when the exchange failed.
HRESULT AskJobState(IppExchange& exchange, const std::string& userName, unsigned flag);

/// What is known of one job.
struct JobFate {
    HRESULT result = E_FAIL;  ///< as AskJobState() returns it
    std::string uri;          ///< the job's, where the printer listed it
};

/// Looks the job that a request names, by its id or else its URI, up in one of the printer's lists; of one
/// without either every job of its user is meant. Each is judged by its own attributes.
/// \param whichJobs completedJobs or notCompletedJobs. A job that is not listed is over when it is not among
///     the latter, and runs when it is not among the former.
JobFate AskAboutJob(IppExchange& exchange, const IPPRequestBase& request, const char* whichJobs,
                    const std::string& userName);

}  // namespace Corvix
