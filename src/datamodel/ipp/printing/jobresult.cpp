#include "datamodel/ipp/printing/jobresult.h"

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

bool IsAccepted(const IPPResponseBase& response) { return StatusOf(response) == accepted; }

HRESULT ResultOfPrintJob(const IPPResponseBase& response) {
    return ResultOf(printJobStatuses, StatusOf(response));
}

HRESULT ResultOfDocument(const IPPResponseBase& response) {
    return ResultOf(documentStatuses, StatusOf(response));
}

}  // namespace Corvix
