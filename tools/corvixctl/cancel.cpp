// cancel: ends a job at the printer.
#include <algorithm>

#include "commands.h"
#include "console.h"
#include "ippstatus.h"
#include "job.h"
#include "joblist.h"

namespace CorvixCtl {
namespace {

unsigned ReadJobId(const std::wstring& text) {
    constexpr unsigned long highestId = 999'999'999;
    const bool isNumber =
        !text.empty() && text.size() <= 9 &&
        std::all_of(text.begin(), text.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
    const unsigned long id = isNumber ? std::stoul(text) : 0;
    if (id == 0 || id > highestId) throw UsageError(L"job " + text + L": expected the number of a job");
    return static_cast<unsigned>(id);
}

// The library names the job by its URI, which the printer chooses; its list tells it.
JobRef FindJob(const Printer& printer, const std::string& user, unsigned id) {
    for (const ListedJob& job : ListJobs(printer, user, WhichJobs::NotCompleted)) {
        if (job.id == static_cast<int>(id)) return {id, job.uri};
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
