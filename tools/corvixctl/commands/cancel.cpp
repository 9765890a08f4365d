// cancel: ends a job at the printer.
#include "base/console.h"
#include "base/text.h"
#include "commands/commands.h"
#include "device/ippanswers.h"
#include "printing/job.h"
#include "printing/joblist.h"

namespace CorvixCtl {
namespace {

unsigned ReadJobId(const std::wstring& text) {
    const unsigned long id = IsDigits(text) && text.size() <= 9 ? std::stoul(text) : 0;
    if (id == 0) throw UsageError(L"job " + text + L": expected the number of a job");
    return static_cast<unsigned>(id);
}

// The library names the job by its URI, which the printer chooses; its list tells it.
JobRef FindJob(const Printer& printer, const std::string& user, unsigned id) {
    for (const Corvix::IPPJob& job : ListJobs(printer, user, WhichJobs::NotCompleted)) {
        if (job.id == static_cast<int>(id)) return RefOf(job);
    }
    return {};
}

ExitCode RunCancel(const Arguments& arguments) {
    const unsigned id = ReadJobId(arguments.Operands().front());
    const std::wstring named = L"job " + std::to_wstring(id);
    const Printer printer = OpenPrinter(arguments);
    const std::string user = UserName(arguments);
    const JobRef job = FindJob(printer, user, id);
    if (!job.IsKnown()) {
        throw Failure(ExitCode::Refused, named + L": the printer has no such job that has not ended (see " +
                                             L"corvixctl jobs --all)");
    }
    const std::optional<unsigned> status = CancelJob(*ConnectPrinter(printer), user, job);
    if (!status) FailAsUnanswered(printer, GetLastError());
    if (!IsIppSuccess(*status))
        throw Failure(ExitCode::Refused, named + L" not canceled: " + IppStatusText(*status));
    Complain(named + L" canceled");
    return ExitCode::Done;
}

}  // namespace

const Command& CancelCommand() {
    static const Command command = {
        L"cancel",
        L"--uri URI [--user NAME] ID",
        L"cancel a job of a printer",
        L"Cancels the job with that number. Many printers let only the user cancel it who printed it: "
        L"--user.",
        L"corvixctl cancel --uri ipp://192.0.2.7/ipp/print 12",
        {&printerOptions, &deviceOptions},
        1,
        1,
        RunCancel,
    };
    return command;
}

}  // namespace CorvixCtl
