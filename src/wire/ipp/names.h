/// What the registry of IPP calls its numbers.
#pragma once

#include <string_view>

namespace Corvix::Ipp {

/// \name Null for a number that has no name here. The names stay as long as the program.
/// @{

/// "Print-Job".
const char* OperationName(int operation);
/// "client-error-not-found".
const char* StatusName(unsigned status);
/// Of a group or of a value: "job-attributes-tag", "keyword", "no-value".
const char* TagName(unsigned char tag);
/// What an enum value of an attribute means: 5 is "processing" for "job-state" and "stopped" for
/// "printer-state". An attribute with "-default", "-supported", "-ready" or "-actual" at its end has the values
/// of the one without it.
const char* EnumName(std::string_view attribute, int number);
/// @}

}  // namespace Corvix::Ipp
