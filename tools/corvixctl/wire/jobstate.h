// The states of print jobs, as IPP counts them.
#pragma once

#include <string>

namespace CorvixCtl {

enum class JobState : int {
    Pending = 3,
    PendingHeld = 4,
    Processing = 5,
    ProcessingStopped = 6,
    Canceled = 7,
    Aborted = 8,
    Completed = 9,
};

// Whether nothing more will become of the job.
inline bool HasEnded(JobState state) { return state >= JobState::Canceled; }
// "processing"; "state 10" for one that IPP does not know.
std::wstring StateName(JobState state);

}  // namespace CorvixCtl
