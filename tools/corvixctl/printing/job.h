// One print job: what the printer says of it, and its end by our hand.
#pragma once

#include <optional>
#include <string>

#include "corvixdm/disposableptr.h"
#include "corvixdm/ippjobs.h"
#include "corvixdm/ippprovider.h"
#include "corvixdm/ipprequest.h"
#include "corvixdm/ippresponse.h"

namespace CorvixCtl {

struct JobRef {
    unsigned id = 0;
    std::string uri;

    bool IsKnown() const { return id != 0; }
};

JobRef RefOf(const Corvix::IPPJob& job);
// The job that an answer names; none when it names none.
JobRef JobOf(const Corvix::IPPResponseBase& response);
// The status of an answer; nothing when there was none.
std::optional<unsigned> StatusOf(const Corvix::IPPResponseBase& response);

struct JobStatus {
    Corvix::IPPJobState state = Corvix::IPPJobState::Pending;
    std::wstring reasons;  // keywords joined by ","; without those that say nothing
};

// The same of a job in a list; a job without a state counts as waiting.
JobStatus StatusOf(const Corvix::IPPJob& job);
// "processing"; "state 10" for one that IPP does not know.
std::wstring StateText(Corvix::IPPJobState state);
// "processing (job-printing)".
std::wstring ToText(const JobStatus& status);

// Asks the printer for the job; nothing when it does not answer, or not with a state.
std::optional<JobStatus> AskForJob(Corvix::IPPProvider& provider, const JobRef& job);

// Why the printer is in the state that it is in, keywords joined by ","; empty when it does not say.
std::wstring AskForPrinterReasons(Corvix::IPPProvider& provider);

// Sends Cancel-Job in a user's name and returns the status of the answer; nothing when there was none.
std::optional<unsigned> CancelJob(Corvix::IPPProvider& provider, const std::string& user, const JobRef& job);

}  // namespace CorvixCtl
