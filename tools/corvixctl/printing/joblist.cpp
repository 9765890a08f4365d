#include "printing/joblist.h"

#include "base/exitcodes.h"
#include "device/ippstatus.h"
#include "utilslib/stringutils.h"

namespace CorvixCtl {
namespace {

// The library asks at 443 too, unless the address names 631.
unsigned long PortOf(const Printer& printer) {
    constexpr unsigned long ippPort = 631;
    constexpr unsigned long tlsPort = 443;
    const wchar_t* port = printer.device.address->GetPort();
    return !printer.secure || (port && std::wstring(port) == L"631") ? ippPort : tlsPort;
}

std::string Exchange(const Printer& printer, const std::string& body) {
    constexpr unsigned long httpOk = 200;
    Corvix::KyNetAddress& address = *printer.device.address;
    address.SetSecure(printer.secure);
    Corvix::DisposablePtr<Corvix::HTTPRequest> request;
    if (FAILED(address.CreateHTTPRequest(request.Receive(), PortOf(printer))))
        FailAsUnanswered(printer, ERROR_NOT_ENOUGH_MEMORY);
    request->SetMethod(L"POST");
    request->SetURI(printer.resource.c_str());
    request->SetContentType(L"application/ipp");
    request->SetRequestParameter(printer.securityFlags);
    Corvix::DisposablePtr<Corvix::HTTPResponse> response;
    const auto* bytes = reinterpret_cast<const unsigned char*>(body.data());
    if (FAILED(request->Send(bytes, static_cast<unsigned long>(body.size()))) ||
        FAILED(request->GetResponse(response.Receive())))
        FailAsUnanswered(printer, request->GetLastErrorCode());
    if (response->GetStatusCode() != httpOk || !response->GetBody())
        FailAsUnanswered(printer, response->GetStatusCode());
    return {reinterpret_cast<const char*>(response->GetBody()), response->GetBodyLength()};
}

}  // namespace

std::vector<ListedJob> ListJobs(const Printer& printer, const std::string& user, WhichJobs which) {
    const std::string request = FormGetJobs(KyUtils::ToUtf8(printer.uri), user, which);
    std::optional<JobList> list = ReadJobList(Exchange(printer, request));
    if (!list) throw Failure(ExitCode::Incomplete, L"the printer's list of jobs cannot be read");
    if (!IsIppSuccess(list->status)) {
        throw Failure(ExitCode::Refused,
                      L"the printer does not list its jobs: " + IppStatusText(list->status));
    }
    return std::move(list->jobs);
}

std::optional<ListedJob> FindOwnJob(const std::vector<ListedJob>& jobs, const JobOwner& owner) {
    constexpr long long tolerance = 1;  // of a clock that counts whole seconds
    const auto oldest = static_cast<long long>((GetTickCount64() - owner.begun) / 1000) + tolerance;
    std::optional<ListedJob> found;
    for (const ListedJob& job : jobs) {
        const bool isOurs =
            job.user == owner.user && job.name == owner.jobName && job.Age().value_or(0) <= oldest;
        if (!isOurs) continue;
        if (found) return std::nullopt;
        found = job;
    }
    return found;
}

}  // namespace CorvixCtl
