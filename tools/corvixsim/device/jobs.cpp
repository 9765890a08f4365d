#include "device/jobs.h"

#include <algorithm>

#include "base/text.h"

namespace CorvixSim {
namespace {

using std::chrono::milliseconds;

// So that a printer that is kept printing does not grow without end.
constexpr size_t kMaxJobs = 10000;

/// The reason that goes with each state unless another is given, from Pending on.
constexpr const char* kUsualReasons[] = {"none",
                                         "job-hold-until-specified",
                                         "job-printing",
                                         "printer-stopped",
                                         "job-canceled-by-user",
                                         "aborted-by-system",
                                         "job-completed-successfully"};

const char* UsualReason(JobState state) {
    return kUsualReasons[static_cast<int>(state) - static_cast<int>(JobState::Pending)];
}

/// How each protocol names a state of the printer.
struct PrinterStateNames {
    const char* state;
    const char* message;
    const char* hrPrinterStatus;
    const char* pavo;
    const char* wsd;
};

constexpr PrinterStateNames kIdle = {"3", "Ready", "3", "ready", "Idle"};
constexpr PrinterStateNames kProcessing = {"4", "Printing", "4", "processing", "Processing"};
constexpr PrinterStateNames kStopped = {"5", "Stopped", "1", "stopped", "Stopped"};

const PrinterStateNames& NamesOf(bool processing, bool stopped) {
    if (stopped) return kStopped;
    return processing ? kProcessing : kIdle;
}

int32_t Seconds(const std::string& uptime) { return ParseInteger(uptime).value_or(0); }

void Sooner(std::optional<std::chrono::steady_clock::time_point>& earliest,
            std::optional<std::chrono::steady_clock::time_point> other) {
    if (other && (!earliest || *other < *earliest)) earliest = other;
}

}  // namespace

Jobs::Jobs(Values& values, const std::string& scenario) : values_(values), scenario_(scenario) {
    thread_ = std::thread([this] { Run(); });
}

Jobs::~Jobs() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void Jobs::Run() {
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        // Every change notifies, so the thread sleeps until a step is due or something happens.
        const Clock::time_point now = Clock::now();
        changed_.wait_until(lock, Advance(now).value_or(now + std::chrono::hours(1)));
    }
}

std::optional<Jobs::Clock::time_point> Jobs::Advance(Clock::time_point now) {
    std::optional<Clock::time_point> due;
    for (auto& [id, entry] : entries_) {
        if (entry.job.Final()) continue;
        Sooner(due, entry.job.closed ? AdvanceJob(entry, now) : AwaitDocuments(entry, now));
    }
    return due;
}

std::optional<Jobs::Clock::time_point> Jobs::AdvanceJob(Entry& entry, Clock::time_point now) {
    // One at a time, in the order of their numbers: map order is that order.
    if (!entry.started) {
        const bool busy = std::any_of(entries_.begin(), entries_.end(), [](const auto& other) {
            return other.second.started && !other.second.job.Final();
        });
        if (busy) return std::nullopt;
        entry.started = true;
        entry.last = now;
    }
    while (!entry.job.Final() && entry.nextTimed < entry.script.timed.size()) {
        const JobScript::Entry& next = entry.script.timed[entry.nextTimed];
        const Clock::time_point due = entry.last + milliseconds(next.at);
        if (due > now) return due;
        // Counted from when the step was due, not from now: delays do not add up.
        entry.last = due;
        ++entry.nextTimed;
        TakeStep(entry, next.step);
    }
    // The printer is free for the next job: it is to be looked at again.
    if (entry.job.Final()) return now;
    return std::nullopt;
}

std::optional<Jobs::Clock::time_point> Jobs::AwaitDocuments(Entry& entry, Clock::time_point now) {
    // While a document arrives, however slowly, nobody is waiting for one.
    if (entry.receiving != 0) return std::nullopt;
    const auto patience = std::chrono::seconds(Seconds(values_.Get("multiple-operation-time-out")));
    const Clock::time_point due = entry.last + patience;
    if (due > now) return due;
    ChangeState(entry, JobState::Aborted, {});
    return std::nullopt;
}

void Jobs::TakeStep(Entry& entry, const JobStep& step) {
    if (step.state) {
        ChangeState(entry, *step.state, step.reasons);
    } else {
        values_.Set(step.valueName, step.value);
    }
}

void Jobs::ChangeState(Entry& entry, JobState state, std::vector<std::string> reasons) {
    Job& job = entry.job;
    if (job.Final()) return;
    // Whoever names no reason means the usual one of the state.
    if (reasons.empty()) reasons.emplace_back(UsualReason(state));
    job.state = state;
    job.reasons = std::move(reasons);
    const int32_t now = Seconds(values_.Get("uptime"));
    if (state == JobState::Processing && !job.processingAt) {
        job.processingAt = now;
        job.processingDate = values_.Get("now");
    }
    if (IsFinal(state)) {
        job.completedAt = now;
        job.completedDate = values_.Get("now");
        job.closed = true;
    }
    ShowPrinterState();
}

void Jobs::ShowPrinterState() {
    bool processing = false;
    bool stopped = false;
    int queued = 0;
    for (const auto& [id, entry] : entries_) {
        processing = processing || entry.job.state == JobState::Processing;
        stopped = stopped || entry.job.state == JobState::ProcessingStopped;
        queued += entry.job.Final() ? 0 : 1;
    }
    values_.Set("queued-jobs", std::to_string(queued));
    const PrinterStateNames& names = NamesOf(processing, stopped);
    // Only a change is shown: a person may have set the state by hand, and keeps it until a job changes it.
    if (values_.Get("printer-state") == names.state) return;
    values_.Set("printer-state", names.state);
    values_.Set("printer-state-message", names.message);
    values_.Set("hr-printer-status", names.hrPrinterStatus);
    values_.Set("pavo-status", names.pavo);
    values_.Set("wsd-state", names.wsd);
    values_.Set("console-line-1", names.message);
    values_.Set("state-change-time", values_.Get("uptime"));
    values_.Set("state-change-date-time", values_.Get("now"));
}

bool Jobs::Working() const {
    return std::any_of(entries_.begin(), entries_.end(),
                       [](const auto& entry) { return !entry.second.job.Final(); });
}

void Jobs::SetScenario(const std::string& text) {
    Scenario scenario(text);
    const std::lock_guard lock(mutex_);
    scenario_ = std::move(scenario);
}

int Jobs::Create(Job job) {
    const std::lock_guard lock(mutex_);
    if (values_.Get("accepting-jobs") != "true")
        throw IppError(IppStatus::NotAcceptingJobs, "no jobs are taken");
    if (values_.Get("single-job") == "true" && Working())
        throw IppError(IppStatus::Busy, "one job at a time");
    // The oldest are forgotten, so that a printer that is kept printing does not grow.
    if (entries_.size() >= kMaxJobs && entries_.begin()->second.job.Final()) entries_.erase(entries_.begin());
    job.id = ++lastId_;
    job.state = JobState::Pending;
    job.reasons = {"job-incoming"};
    job.createdAt = Seconds(values_.Get("uptime"));
    job.createdDate = values_.Get("now");
    Entry& entry = entries_[job.id];
    // The script as it is now: a scenario set later is for later jobs.
    entry.script = scenario_.ScriptFor(job.id);
    entry.last = Clock::now();
    entry.job = std::move(job);
    ShowPrinterState();
    changed_.notify_all();
    return lastId_;
}

Jobs::Entry& Jobs::At(int id) {
    const auto found = entries_.find(id);
    if (found == entries_.end()) throw IppError(IppStatus::NotFound, "no job " + std::to_string(id));
    return found->second;
}

size_t Jobs::BeginDocument(int id, JobDocument document) {
    const std::lock_guard lock(mutex_);
    Entry& entry = At(id);
    if (entry.job.closed) throw IppError(IppStatus::NotPossible, "the job takes no documents");
    if (!entry.job.documents.empty() && values_.Get("multiple-documents") != "true")
        throw IppError(IppStatus::MultipleDocumentJobsNotSupported, "one document a job");
    ++entry.receiving;
    entry.job.documents.push_back(std::move(document));
    return entry.job.documents.size() - 1;
}

bool Jobs::AddOctets(int id, size_t place, uint64_t octets) {
    const std::lock_guard lock(mutex_);
    Entry& entry = At(id);
    entry.job.documents.at(place).octets += octets;
    entry.job.octets += octets;
    const size_t before = entry.nextCounted;
    while (entry.nextCounted < entry.script.counted.size() &&
           entry.script.counted[entry.nextCounted].at <= entry.job.octets) {
        TakeStep(entry, entry.script.counted[entry.nextCounted++].step);
    }
    if (entry.nextCounted != before) changed_.notify_all();
    return !entry.job.Final();
}

void Jobs::EndDocument(int id, bool complete, bool last) {
    const std::lock_guard lock(mutex_);
    const auto found = entries_.find(id);
    if (found == entries_.end()) return;  // it ended, and was forgotten meanwhile
    Entry& entry = found->second;
    --entry.receiving;
    entry.last = Clock::now();
    // A document that broke off takes the job with it, as on a real device.
    if (!complete) ChangeState(entry, JobState::Aborted, {});
    if (last) entry.job.closed = true;
    if (entry.job.closed && entry.job.state == JobState::Pending) entry.job.reasons = {"none"};
    changed_.notify_all();
}

void Jobs::Close(int id) {
    const std::lock_guard lock(mutex_);
    Entry& entry = At(id);
    if (entry.job.Final()) throw IppError(IppStatus::NotPossible, "the job has ended");
    entry.job.closed = true;
    changed_.notify_all();
}

void Jobs::Apply(int id, const JobStep& step) {
    const std::lock_guard lock(mutex_);
    Entry& entry = At(id);
    if (entry.job.Final()) throw IppError(IppStatus::NotPossible, "the job has ended");
    TakeStep(entry, step);
    changed_.notify_all();
}

std::optional<Job> Jobs::Find(int id) const {
    const std::lock_guard lock(mutex_);
    const auto found = entries_.find(id);
    if (found == entries_.end()) return std::nullopt;
    return found->second.job;
}

std::vector<Job> Jobs::All() const {
    const std::lock_guard lock(mutex_);
    std::vector<Job> jobs;
    for (const auto& [id, entry] : entries_)
        jobs.push_back(entry.job);
    return jobs;
}

}  // namespace CorvixSim
