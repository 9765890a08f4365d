/// \file ippjobs.h
/// The jobs of a printer, one object each.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "export.h"
#include "ippattributes.h"
#include "transport.h"

namespace Corvix {

/// GetIPPEnumName("job-state", ...) names it. A printer may tell other numbers.
enum class IPPJobState : int {
    Pending = 3,
    PendingHeld = 4,
    Processing = 5,
    ProcessingStopped = 6,
    Canceled = 7,
    Aborted = 8,
    Completed = 9,
};

/// Whether nothing more becomes of a job in this state.
inline bool HasEnded(IPPJobState state) {
    return state >= IPPJobState::Canceled && state <= IPPJobState::Completed;
}

/// What a printer told of a job; what it did not tell, or told as "unknown", is absent. Texts are UTF-8 as far as
/// the printer keeps to it. Times are seconds on the printer's own clock, which `printerUpTime` reads.
struct IPPJob {
    std::optional<int> id;
    std::optional<std::string> uri;
    std::optional<std::string> name;
    std::optional<std::string> user;
    std::optional<IPPJobState> state;
    std::optional<std::string> stateMessage;
    std::optional<std::vector<std::string>> reasons;  ///< keywords; "none" is one of them
    std::optional<int> kilobytes;                     ///< of its documents
    std::optional<int> impressions;
    std::optional<int> impressionsCompleted;
    std::optional<int> sheetsCompleted;
    std::optional<int> createdAt;
    std::optional<int> processingAt;
    std::optional<int> completedAt;
    std::optional<int> printerUpTime;
};

/// Which jobs of a printer are asked for.
struct IPPJobQuery {
    /// Who asks, in UTF-8, or null. The jobs of all users are listed; many a printer tells names and users of
    /// the asker's own jobs alone.
    const char* userName = nullptr;
    bool completed = false;  ///< those that have ended in place of those that have not
    /// Attributes to ask for, separated by commas; null for those of IPPJob.
    const char* attributes = nullptr;
    unsigned securityFlags = 0;  ///< of an "ipps" connection, as for QueryIPPAttributes()
};

}  // namespace Corvix

extern "C" {
/// Lists the jobs of a printer with one Get-Jobs exchange. An answer of any status, or a malformed one, is handed
/// back as it came: the status of its header says whether the printer lists its jobs. NextIPPJob() takes it apart.
/// \param printerUri as for QueryIPPAttributes(), and so are the results.
/// \param query null for the jobs of all users that have not ended.
CORVIXDM_API Corvix::IPPAttributes* QueryIPPJobs(Corvix::Address* address, const wchar_t* printerUri,
                                                 const Corvix::IPPJobQuery* query);

/// Takes the next job out of an answer: of Get-Jobs, Get-Job-Attributes, or of an operation that made a job.
/// \param place where the search goes on; before the first call an IPPGroup as it is made. On success it is the
///     job's group, for attributes that IPPJob does not have.
/// \return S_OK; S_FALSE when there is no further job, E_FAIL for null: `job` is then left as it was.
///     \throws _com_error with E_OUTOFMEMORY when memory runs out; `job` and `place` are then left as they were.
CORVIXDM_API HRESULT NextIPPJob(const Corvix::IPPAttributes* answer, Corvix::IPPGroup* place,
                                Corvix::IPPJob* job);
}
