#include "device/scenario.h"

#include <stdexcept>

#include "base/text.h"
#include "wire/ipp/names.h"

namespace CorvixSim {
namespace {

JobState StateOf(std::string_view name) {
    // IPP names the states; here they only run from the first to the last.
    for (int number = static_cast<int>(JobState::Pending); number <= static_cast<int>(JobState::Completed);
         ++number) {
        if (name == NameOf(static_cast<JobState>(number))) return static_cast<JobState>(number);
    }
    throw std::invalid_argument("not a job state: " + std::string(name));
}

uint64_t TakeNumber(std::string_view& rest) {
    const std::string_view word = TakeWord(rest);
    const auto number = ParseNumber(word, UINT32_MAX);
    if (!number) throw std::invalid_argument("not a number: " + std::string(word));
    return *number;
}

}  // namespace

const char* NameOf(JobState state) { return Corvix::Ipp::EnumName("job-state", static_cast<int>(state)); }

JobStep ParseJobStep(std::string_view text) {
    JobStep step;
    const std::string_view word = TakeWord(text);
    if (word == "state") {
        step.state = StateOf(TakeWord(text));
        for (const std::string_view reason : Split(text, ','))
            step.reasons.emplace_back(reason);
        return step;
    }
    const size_t equals = text.find('=');
    if (word != "set" || equals == std::string_view::npos) {
        throw std::invalid_argument("not \"state STATE [REASON,...]\" or \"set NAME=VALUE\"");
    }
    step.valueName = Trim(text.substr(0, equals));
    step.value = Trim(text.substr(equals + 1));
    return step;
}

Scenario::Scenario(std::string_view text) {
    JobScript* script = nullptr;
    ForEachLine(text, "scenario", [&](std::string_view line) { ParseLine(line, script); });
}

void Scenario::ParseLine(std::string_view line, JobScript*& script) {
    std::string_view rest = line;
    const std::string_view word = TakeWord(rest);
    if (word == "job") {
        script = rest == "any" ? &any_ : &scripts_[static_cast<int>(TakeNumber(rest))];
    } else if (!script) {
        throw std::invalid_argument("a job line is missing before");
    } else if (word == "after") {
        const uint64_t delay = TakeNumber(rest);
        script->timed.push_back({delay, ParseJobStep(rest)});
    } else if (word == "at") {
        const uint64_t octets = TakeNumber(rest);
        script->counted.push_back({octets, ParseJobStep(rest)});
    } else {
        throw std::invalid_argument("not job, after or at: " + std::string(word));
    }
}

JobScript Scenario::ScriptFor(int id) const {
    const auto own = scripts_.find(id);
    return own == scripts_.end() ? any_ : own->second;
}

}  // namespace CorvixSim
