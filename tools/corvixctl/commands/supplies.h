// What is left in a printer, out of the attributes in which printers tell it.
#pragma once

#include <string>
#include <vector>

#include "corvixdm/ippattributes.h"

namespace CorvixCtl {

struct Supply {
    std::wstring name;
    std::wstring type;
    std::wstring level;  // "82 %", "unknown"
};

// From printer-supply, or else from marker-names and its companions.
std::vector<Supply> ReadSupplies(const Corvix::IPPAttributes& answer);

}  // namespace CorvixCtl
