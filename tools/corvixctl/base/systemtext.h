// The system's own words for its error codes, and its clock.
#pragma once

#include <string>

namespace CorvixCtl {

// One line without a full stop, such as "File not found"; "error 1234" when the system has no words for it.
std::wstring SystemText(unsigned long code);

// The time that has gone by since a FILETIME (100 ns units since 1601, UTC); 0 for one in the future.
double SecondsSince(unsigned long long fileTime);

}  // namespace CorvixCtl
