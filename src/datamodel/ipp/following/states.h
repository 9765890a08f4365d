/// What a printer tells of its jobs and of itself.
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

/// "printer-state" and "printer-state-reasons" as texts.
struct PrinterState {
    std::string state;
    std::string reasons;

    bool IsIdle() const { return state == "3"; }
    bool IsStopped() const { return state.find('5') != std::string::npos; }
    /// Whether there is no room for more data.
    bool IsFull() const { return reasons.find("spool-area-full") != std::string::npos; }
};

/// Wakes the printer up and asks for its state.
/// \param interrupt ends the wait for the printer to wake up when it is signalled.
/// \return S_OK, or E_FAIL with `state` as it was.
HRESULT RetrievePrinterState(IppExchange& exchange, HANDLE interrupt, PrinterState& state);

}  // namespace Corvix
