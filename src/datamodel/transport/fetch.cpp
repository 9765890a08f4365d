#include "datamodel/transport/fetch.h"

#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

}  // namespace

HRESULT CreateRequest(Address& address, unsigned long port, DisposablePtr<HTTPRequest>& request) {
    const HRESULT result = address.CreateHTTPRequest(request.Receive(), port);
    // Of the successes only S_OK promises a request.
    if (result != S_OK) return FAILED(result) ? result : E_FAIL;
    return request ? S_OK : E_FAIL;
}

HRESULT ReceiveBody(HTTPRequest& request, std::string& body, unsigned long& status) {
    status = 0;
    DisposablePtr<HTTPResponse> response;
    const HRESULT result = request.GetResponse(response.Receive());
    if (FAILED(result)) {
        logSource.ErrorResult(result, L"No response, system error %lu", request.GetLastErrorCode());
        return result;
    }
    if (!response) return E_FAIL;
    status = response->GetStatusCode();
    if (status != httpOk) {
        logSource.Error(L"HTTP status %lu", status);
        return E_FAIL;
    }
    // A transport may answer null for an empty body.
    const auto* bytes = reinterpret_cast<const char*>(response->GetBody());
    body.assign(bytes ? bytes : "", bytes ? response->GetBodyLength() : 0);
    return S_OK;
}

}  // namespace Corvix
