// Scripts that say what becomes of print jobs.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace CorvixSim {

/// As IPP counts them.
enum class JobState : int32_t {
    Pending = 3,
    PendingHeld = 4,
    Processing = 5,
    ProcessingStopped = 6,
    Canceled = 7,
    Aborted = 8,
    Completed = 9,
};

inline bool IsFinal(JobState state) { return state >= JobState::Canceled; }

/// "processing-stopped" and so on.
const char* NameOf(JobState state);

/// "state STATE [REASON,...]" or "set NAME=VALUE".
struct JobStep {
    std::optional<JobState> state;
    std::vector<std::string> reasons;  ///< empty: the state's usual one
    std::string valueName;
    std::string value;
};

/// Throws std::invalid_argument for a text that is no step.
JobStep ParseJobStep(std::string_view text);

/// What happens to one job.
struct JobScript {
    struct Entry {
        uint64_t at;
        JobStep step;
    };
    std::vector<Entry> timed;    ///< each so many milliseconds after the one before
    std::vector<Entry> counted;  ///< each when so many bytes of documents have arrived
};

class Scenario {
public:
    /// Reads a text of lines "job N|any", "after MS STEP" and "at BYTES STEP".
    /// Throws std::invalid_argument, naming the line, for anything else.
    explicit Scenario(std::string_view text);

    /// The script of job number `id`: its own, or the one for any job, or one without steps.
    JobScript ScriptFor(int id) const;

private:
    void ParseLine(std::string_view line, JobScript*& script);

    std::map<int, JobScript> scripts_;
    JobScript any_;
};

}  // namespace CorvixSim
