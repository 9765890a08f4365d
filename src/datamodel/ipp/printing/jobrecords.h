/// The caller's records of a job: what a request must say, and what the printer's answer means.
#pragma once

#include <windows.h>

#include "corvixdm/ipprequest.h"
#include "corvixdm/ippresponse.h"

namespace Corvix {

/// What a job asks for, and what became of it. The caller's.
struct JobRecords {
    IPPRequestBase* request;
    IPPResponseBase* response;
};

inline bool HasText(const char* text) { return text && *text; }

/// Whether the record says which job it is about.
bool NamesJob(const IPPRequestBase& request);
/// Whether the record says who asks; logs when not.
bool HasUser(const IPPRequestBase& request);
/// Whether the record says all that a document of a job needs; logs each thing that is missing.
bool DescribesDocument(const IPPRequestBase& request);

/// Whether the printer took the job. Busy is not taken.
bool IsAccepted(const IPPResponseBase& response);

/// S_OK where the job goes on, a busy printer's included: it is followed; S_DEVICECANCELED; E_FAIL.
HRESULT ResultOfPrintJob(const IPPResponseBase& response);

/// The same for Send-Document, where a document that a busy printer did not take is lost: E_FAIL.
HRESULT ResultOfDocument(const IPPResponseBase& response);

/// Logs how an operation ended, and hands its result on.
HRESULT LogExit(const wchar_t* operation, HRESULT result);

}  // namespace Corvix
