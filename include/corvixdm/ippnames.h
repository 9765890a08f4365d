/// \file ippnames.h
/// What the registry of IPP calls its numbers.
#pragma once

#include "export.h"

extern "C" {
/// \name Names
/// Each answers null for a number that has no name here, never throws, and may be called by any thread. The
/// names are valid as long as the library is loaded.
/// @{

/// \return such as "Get-Jobs" for 10.
CORVIXDM_API const char* GetIPPOperationName(int operation);
/// \return such as "client-error-not-found" for 0x0406.
CORVIXDM_API const char* GetIPPStatusName(unsigned status);
/// \param tag of a group or of a value. \return such as "job-attributes-tag" for 2, "keyword" for 0x44.
CORVIXDM_API const char* GetIPPTagName(unsigned char tag);
/// Names an enum value.
/// \param attribute whose value it is: "job-state", "printer-state", "operations-supported",
///     "orientation-requested", "print-quality", "finishings", and these with "-default", "-supported", "-ready" or
///     "-actual" at the end. Null is no attribute.
/// \return such as "processing" for 5 of "job-state".
CORVIXDM_API const char* GetIPPEnumName(const char* attribute, int value);
/// @}
}
