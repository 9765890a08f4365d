// jobs: what a printer has to do, and what it has done.
#include <algorithm>

#include "commands/commands.h"
#include "output/format.h"
#include "printing/job.h"
#include "printing/joblist.h"
#include "utilslib/stringutils.h"

namespace CorvixCtl {
namespace {

const OptionGroup jobsOptions = {
    L"Jobs",
    {{L"all", nullptr, L"those that have ended, too, as far as the printer remembers them"}},
};

using Corvix::IPPJob;
using KyUtils::ToWideOrLatin1;

Cell ToCell(const std::optional<int>& number) {
    return number ? Cell(static_cast<long long>(*number)) : Cell();
}

Cell ToCell(const std::optional<std::string>& text) { return text ? Cell(ToWideOrLatin1(*text)) : Cell(); }

Cell StateOf(const IPPJob& job) { return job.state ? Cell(StateText(*job.state)) : Cell(); }

Cell ReasonsOf(const IPPJob& job) { return job.reasons ? Cell(StatusOf(job).reasons) : Cell(); }

Cell AgeCell(const IPPJob& job) {
    const std::optional<int> age = AgeOf(job);
    return age ? Cell(Seconds{static_cast<double>(*age)}) : Cell();
}

Records ToRecords(const std::vector<IPPJob>& jobs) {
    Records records{
        {{L"id"}, {L"state"}, {L"reasons", true}, {L"name"}, {L"user"}, {L"kilobytes", true}, {L"age", true}},
        {}};
    for (const IPPJob& job : jobs) {
        records.rows.push_back({ToCell(job.id), StateOf(job), ReasonsOf(job), ToCell(job.name),
                                ToCell(job.user), ToCell(job.kilobytes), AgeCell(job)});
    }
    return records;
}

std::vector<IPPJob> ReadJobs(const Printer& printer, const std::string& user, bool all) {
    std::vector<IPPJob> jobs = ListJobs(printer, user, WhichJobs::NotCompleted);
    if (!all) return jobs;
    const std::vector<IPPJob> ended = ListJobs(printer, user, WhichJobs::Completed);
    jobs.insert(jobs.end(), ended.begin(), ended.end());
    // By number, which is the order in which the jobs came.
    std::sort(jobs.begin(), jobs.end(),
              [](const IPPJob& left, const IPPJob& right) { return left.id < right.id; });
    return jobs;
}

ExitCode RunJobs(const Arguments& arguments) {
    const Format format = ReadFormat(arguments);
    const Printer printer = OpenPrinter(arguments);
    const Records records = ToRecords(ReadJobs(printer, UserName(arguments), arguments.Has(L"all")));
    PrintAs(format, FormsOf(records, JsonDocument().Add(L"printer", printer.uri), L"jobs"));
    return ExitCode::Done;
}

}  // namespace

const Command& JobsCommand() {
    static const Command command = {
        L"jobs",
        L"--uri URI [--all]",
        L"list the jobs of a printer",
        L"Lists the jobs that have not ended, of all users, as far as the printer tells: number, state, "
        L"reasons\n"
        L"for the state, name, user, size and age.",
        L"corvixctl jobs --uri ipp://192.0.2.7/ipp/print\n"
        L"corvixctl jobs --uri ipp://192.0.2.7/ipp/print --all --format json",
        {&jobsOptions, &printerOptions, &deviceOptions, &formatOptions},
        0,
        0,
        RunJobs,
    };
    return command;
}

}  // namespace CorvixCtl
