#include "datamodel/ipp/printing/jobrecords.h"

#include <string_view>

#include "corvixdm/ippprovider.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr std::string_view accepted = "0";

/// What an IPP status means.
struct KnownStatus {
    std::string_view status;
    const wchar_t* log;
    HRESULT result;
};
constexpr KnownStatus printJobStatuses[] = {
    {accepted, nullptr, S_OK},
    {"1287", L"server-error-busy..Please restart the job", S_OK},
    {"1288", L"server-error-job-canceled", S_DEVICECANCELED},
};
constexpr KnownStatus documentStatuses[] = {
    {accepted, nullptr, S_OK},
    {"1024", L"client-error-bad-request", E_FAIL},
    {"1287", L"server-error-busy..Please restart the job", E_FAIL},
    {"1288", L"server-error-job-canceled", S_DEVICECANCELED},
};

std::string_view StatusOf(const IPPResponseBase& response) {
    const char* text = response.GetSuccessStatus();
    return text ? text : "";
}

template <size_t count>
HRESULT ResultOf(const KnownStatus (&statuses)[count], std::string_view status) {
    for (const KnownStatus& known : statuses) {
        if (known.status != status) continue;
        if (known.log) logSource.Error(L"%ls", known.log);
        return known.result;
    }
    logSource.Error(L"Failed: some error occured IPP status code=%ls", KyUtils::ToWide(status).c_str());
    return E_FAIL;
}

}  // namespace

bool NamesJob(const IPPRequestBase& request) {
    return request.GetJobID() != 0 || HasText(request.GetJobURI());
}

bool HasUser(const IPPRequestBase& request) {
    if (HasText(request.GetRequestingUserName())) return true;
    logSource.Error(L"RequestingUserName is not present");
    return false;
}

bool DescribesDocument(const IPPRequestBase& request) {
    const bool hasUser = HasUser(request);
    const bool hasJob = request.GetJobID() != 0;
    if (!hasJob) logSource.Error(L"Invalid Job ID");
    const bool saysLast = request.HasLastDocument();
    if (!saysLast) logSource.Error(L"Last-Document is not set");
    return hasUser && hasJob && saysLast;
}

bool IsAccepted(const IPPResponseBase& response) { return StatusOf(response) == accepted; }

HRESULT ResultOfPrintJob(const IPPResponseBase& response) {
    return ResultOf(printJobStatuses, StatusOf(response));
}

HRESULT ResultOfDocument(const IPPResponseBase& response) {
    return ResultOf(documentStatuses, StatusOf(response));
}

HRESULT LogExit(const wchar_t* operation, HRESULT result) {
    logSource.Debug(L"%ls exits with result 0x%08X", operation, static_cast<unsigned>(result));
    return result;
}

}  // namespace Corvix
