/// Exchanges over the caller's transport that count only with a good answer.
#pragma once

#include <windows.h>

#include <string>

#include "corvixdm/disposableptr.h"
#include "corvixdm/transport.h"

namespace Corvix {

/// The only HTTP status that brings a resource.
constexpr unsigned long httpOk = 200;

/// A new request to a port of the device. \return the transport's failure, E_FAIL without a request.
HRESULT CreateRequest(Address& address, unsigned long port, DisposablePtr<HTTPRequest>& request);

/// Waits for the answer to a request and takes its body. What went wrong is logged.
/// \param body is left as it was without an answer of status 200.
/// \param status receives the status of the answer, 0 without one.
/// \return S_OK for status 200, also when the body is empty; the transport's failure, or E_FAIL.
HRESULT ReceiveBody(HTTPRequest& request, std::string& body, unsigned long& status);

}  // namespace Corvix
