/// Shared by the sources of IPPOperations.
#pragma once

#include <windows.h>

#include "corvixdm/ipprequest.h"
#include "corvixdm/transport.h"

namespace Corvix {

/// E_FAIL with the last error of a missing argument.
HRESULT FailForNullArgument();

/// The last error of an answer that cannot be read.
constexpr DWORD unreadableAnswerError = 1280;

/// Hands the record's HTTP credentials to a request, those that it has.
void SetCredentials(const IPPRequestBase* record, HTTPRequest& request);

}  // namespace Corvix
