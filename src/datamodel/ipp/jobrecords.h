/// What the job operations of the provider share: the caller's records, and what they must say.
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

/// Logs how an operation ended, and hands its result on.
HRESULT LogExit(const wchar_t* operation, HRESULT result);

}  // namespace Corvix
