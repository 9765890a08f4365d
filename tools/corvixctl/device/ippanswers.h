// What IPP answers say, in texts.
#pragma once

#include <string>
#include <vector>

#include "corvixdm/ippattributes.h"

namespace CorvixCtl {

inline bool IsIppSuccess(unsigned status) { return status < 0x0100; }
// "client-error-not-found (0x0406)"; the number alone for one without a name.
std::wstring IppStatusText(unsigned status);

// The values of an attribute, a text each: "12", "yes", "idle"; none where the answer does not hold it. A value that
// is neither a text nor a number, such as "unknown", is empty.
std::vector<std::wstring> TextsOf(const Corvix::IPPAttributes& answer, const char* name);

}  // namespace CorvixCtl
