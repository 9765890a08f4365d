// Ctrl-C while a job is on its way: the job ends at the printer, too.
#pragma once

#include <windows.h>

#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "base/exitcodes.h"
#include "device/printer.h"
#include "printing/job.h"
#include "printing/joblist.h"
#include "transport/sockets/waiting.h"

namespace CorvixCtl {

// Waits on a thread of its own for the user's wish to stop. When it comes, the job is canceled over a
// connection of its own, as the one that carries the document may be stuck; only then the exchanges of the
// printer that was opened with StopEvent() are broken off. Whoever prints sees them fail, and asks here what
// to tell.
class Canceller {
public:
    // `open` makes a printer whose exchanges end with the event that it is given, or never where that is
    // null.
    using Opener = std::function<Printer(HANDLE stopEvent)>;
    Canceller(Opener open, JobOwner owner);
    ~Canceller();
    Canceller(const Canceller&) = delete;
    Canceller& operator=(const Canceller&) = delete;

    HANDLE StopEvent() const { return broken_.Get(); }

    // From now on there may be a job at the printer.
    void Begin(Corvix::IPPProvider& provider);
    void JobIs(const JobRef& job);

    // Waits until the job is canceled or cannot be, says which, and with what code the program ends.
    ExitCode Report();

private:
    void Run();
    void Cancel();
    void CancelAt(const Printer& printer, const JobRef& job);

    const Opener open_;
    const JobOwner owner_;
    const CorvixTransport::NetEvent broken_;
    const CorvixTransport::NetEvent over_;

    std::mutex mutex_;
    Corvix::DisposablePtr<Corvix::IPPProvider> provider_;
    JobRef job_;

    // The thread's, until it is joined.
    ExitCode code_ = ExitCode::Interrupted;
    std::wstring message_;
    std::thread thread_;
};

// How the program ends for a job that ended so.
ExitCode CodeOf(Corvix::IPPJobState finalState);

}  // namespace CorvixCtl
