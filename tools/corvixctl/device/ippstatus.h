// What IPP status codes are called.
#pragma once

#include <string>

namespace CorvixCtl {

inline bool IsIppSuccess(unsigned status) { return status < 0x0100; }
// "client-error-not-found (0x0406)"; the number alone for one without a name.
std::wstring IppStatusText(unsigned status);

}  // namespace CorvixCtl
