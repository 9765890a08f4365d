// What a printer answers of itself and of its jobs.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "support/ippbytes.h"

namespace CorvixTest {

inline std::string Status(unsigned status) {
    using namespace Corvix::Ipp::Testing;  // NOLINT: it spells messages
    return Header(status) + endTag;
}

inline std::string PrinterIn(unsigned state, std::string_view reasons) {
    using namespace Corvix::Ipp::Testing;  // NOLINT
    return Body(Value(0x45, "printer-uri-supported", "ipp://localhost:631/ipp/print") +
                Value(0x23, "printer-state", Int(state)) + Keyword("printer-state-reasons", reasons));
}

struct Job {
    unsigned id;
    unsigned state;
    std::vector<std::string_view> reasons;
};

inline std::string JobUri(unsigned id) { return "ipp://localhost/jobs/" + std::to_string(id); }

inline std::string Jobs(const std::vector<Job>& jobs) {
    using namespace Corvix::Ipp::Testing;  // NOLINT
    std::string body = Header();
    for (const Job& job : jobs) {
        body += Byte(2) + Integer("job-id", job.id) + Value(0x45, "job-uri", JobUri(job.id)) +
                Value(0x23, "job-state", Int(job.state));
        std::string_view name = "job-state-reasons";
        for (const std::string_view reason : job.reasons)
            body += Keyword(std::exchange(name, {}), reason);
    }
    return body + endTag;
}

inline const std::string noJobs = Status(0);
inline const std::string jobAccepted = Jobs({{7, 5, {"job-printing"}}});

}  // namespace CorvixTest
