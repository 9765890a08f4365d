/// What the printer's answer to a document means for whoever sent it.
#pragma once

#include <windows.h>

#include "corvixdm/ippresponse.h"

namespace Corvix {

/// Whether the printer took the job. Busy is not taken.
bool IsAccepted(const IPPResponseBase& response);

/// S_OK where the job goes on, a busy printer's included: it is followed; S_DEVICECANCELED; E_FAIL.
HRESULT ResultOfPrintJob(const IPPResponseBase& response);

/// The same for Send-Document, where a document that a busy printer did not take is lost: E_FAIL.
HRESULT ResultOfDocument(const IPPResponseBase& response);

}  // namespace Corvix
