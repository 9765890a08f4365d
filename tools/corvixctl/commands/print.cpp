// print: sends files to a printer and follows the job to its end.
#include <windows.h>

#include <algorithm>
#include <string_view>

#include "base/console.h"
#include "base/systemtext.h"
#include "commands/commands.h"
#include "printing/submission.h"

namespace CorvixCtl {
namespace {

// A job that stands still does so for a reason that the printer, not the job, tells best.
std::wstring Describe(Corvix::IPPProvider& provider, const JobStatus& status) {
    const std::wstring text = ToText(status);
    if (status.state != Corvix::IPPJobState::ProcessingStopped) return text;
    const std::wstring reasons = AskForPrinterReasons(provider);
    return reasons.empty() ? text : text + L", printer: " + reasons;
}

// Shows each state of the job until it has ended, and returns the last one.
Corvix::IPPJobState Follow(Corvix::IPPProvider& provider, const JobRef& job) {
    constexpr DWORD shortestPause = 100;
    constexpr DWORD longestPause = 1000;
    constexpr int mostFailures = 5;
    const std::wstring named = L"job " + std::to_wstring(job.id);
    std::wstring shown;
    int failures = 0;
    // Short jobs are seen at once, long ones asked for once a second.
    for (DWORD pause = shortestPause;; pause = std::min(2 * pause, longestPause)) {
        const std::optional<JobStatus> status = AskForJob(provider, job);
        StopIfInterrupted();
        if (status) {
            failures = 0;
            const std::wstring text = Describe(provider, *status);
            if (text != shown) Print(named + L" " + text + L"\n");
            if (HasEnded(status->state)) return status->state;
            shown = text;
            // One answer may get lost; a printer that forgot the job would be asked for ever.
        } else if (++failures == mostFailures) {
            throw Failure(ExitCode::Incomplete,
                          named + L" was sent, but the printer does not tell its state");
        } else if (failures == 1) {
            Complain(L"the printer does not tell the state of " + named + L"; asking again");
        }
        WaitForSingleObject(InterruptEvent(), pause);
    }
}

ExitCode SendAndFollow(const Arguments& arguments, const PrintOrder& order, Canceller& canceller) {
    const Printer printer = OpenPrinter(arguments, canceller.StopEvent());
    const auto provider = ConnectPrinter(printer);
    const JobRef job = Submit(printer, *provider, order, canceller);
    return CodeOf(Follow(*provider, job));
}

ExitCode RunPrint(const Arguments& arguments) {
    const PrintOrder order = ReadOrder(arguments);
    OpenPrinter(arguments, nullptr);  // complains about the options before anything begins
    Canceller canceller([&](HANDLE stopEvent) { return OpenPrinter(arguments, stopEvent); }, order.owner);
    try {
        return SendAndFollow(arguments, order, canceller);
    } catch (const Failure&) {
        if (!IsInterrupted()) throw;
    }
    return canceller.Report();
}

}  // namespace

const Command& PrintCommand() {
    static const Command command = {
        L"print",
        L"--uri URI [OPTION...] FILE...",
        L"print files and follow the job until it has ended",
        L"Sends the files as they are, so the printer must understand their format, and shows the states of "
        L"the\n"
        L"job until it has ended; only a completed job ends with exit code 0. --user names who prints; with\n"
        L"--password it also answers a printer that asks. Ctrl-C cancels the job at the printer.",
        L"corvixctl print --uri ipp://192.0.2.7/ipp/print --copies 2 --sides long report.pdf\n"
        L"corvixctl print --uri ipps://192.0.2.7/ipp/print --insecure --documents cover.pdf report.pdf",
        {&printOptions, &printerOptions, &deviceOptions},
        1,
        anyNumber,
        RunPrint,
    };
    return command;
}

}  // namespace CorvixCtl
