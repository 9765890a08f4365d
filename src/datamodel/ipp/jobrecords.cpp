#include "datamodel/ipp/jobrecords.h"

#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

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

HRESULT LogExit(const wchar_t* operation, HRESULT result) {
    logSource.Debug(L"%ls exits with result 0x%08X", operation, static_cast<unsigned>(result));
    return result;
}

}  // namespace Corvix
