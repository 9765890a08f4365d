// The print jobs of the device and the printer that works on them.
#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "device/ippmodel.h"
#include "device/scenario.h"
#include "device/values.h"

namespace CorvixSim {

struct JobDocument {
    std::string name;
    std::string format;
    std::string path;  ///< where it is stored; empty: nowhere
    std::string uri;   ///< of a document that is printed by reference
    uint64_t octets = 0;
};

struct Job {
    int id = 0;
    std::string name;
    std::string user;
    std::vector<IppAttribute> attributes;  ///< the job template attributes that were asked for
    std::vector<JobDocument> documents;
    JobState state = JobState::Pending;
    std::vector<std::string> reasons;
    uint64_t octets = 0;
    int32_t createdAt = 0;  ///< seconds of the printer's up-time
    std::optional<int32_t> processingAt;
    std::optional<int32_t> completedAt;
    std::string createdDate;
    std::string processingDate;
    std::string completedDate;
    bool closed = false;  ///< no further documents are to come

    bool Final() const { return IsFinal(state); }
};

/// The jobs, of which the printer works on one at a time, in the order of their numbers and as the scenario
/// says. A thread of its own takes the steps that are due. Any thread may call any operation.
class Jobs {
public:
    Jobs(Values& values, const std::string& scenario);
    ~Jobs();
    Jobs(const Jobs&) = delete;
    Jobs& operator=(const Jobs&) = delete;

    /// Takes another scenario, for jobs that are created from then on. Throws std::invalid_argument.
    void SetScenario(const std::string& text);

    /// Takes over what the caller filled in and returns the job's number. Throws IppError when no job is
    /// taken.
    int Create(Job job);

    /// Adds a document and holds the job open until EndDocument(). Returns the document's place. Throws
    /// IppError when there is no such job or it takes no documents.
    size_t BeginDocument(int id, JobDocument document);

    /// Counts bytes of a document; false when the job has ended meanwhile.
    bool AddOctets(int id, size_t place, uint64_t octets);

    /// `complete` is false when the document broke off, which aborts the job; `last` closes the job.
    void EndDocument(int id, bool complete, bool last);

    void Close(int id);

    /// Takes a step for a job, as a person at the panel or a client would. Throws IppError when there is no
    /// such job or it has ended.
    void Apply(int id, const JobStep& step);

    std::optional<Job> Find(int id) const;
    std::vector<Job> All() const;

private:
    using Clock = std::chrono::steady_clock;

    struct Entry {
        Job job;
        JobScript script;
        size_t nextTimed = 0;
        size_t nextCounted = 0;
        int receiving = 0;
        bool started = false;
        Clock::time_point last;  ///< when the step before was due, or the job last heard of
    };

    void Run();
    std::optional<Clock::time_point> Advance(Clock::time_point now);
    std::optional<Clock::time_point> AdvanceJob(Entry& entry, Clock::time_point now);
    std::optional<Clock::time_point> AwaitDocuments(Entry& entry, Clock::time_point now);
    void TakeStep(Entry& entry, const JobStep& step);
    void ChangeState(Entry& entry, JobState state, std::vector<std::string> reasons);
    void ShowPrinterState();
    Entry& At(int id);
    bool Working() const;

    Values& values_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool stopping_ = false;
    Scenario scenario_;
    std::map<int, Entry> entries_;
    int lastId_ = 0;
    std::thread thread_;
};

}  // namespace CorvixSim
