/// Where SNMP devices tell who they are.
#pragma once

#include <string>

#include "corvixdm/oidprovider.h"

namespace Corvix {

/// The serial number in the maker's private subtree; until the maker has a number of its own, the subtree is
/// that of enterprise 32473, which is reserved for documentation.
constexpr wchar_t serialNumberOid[] = L"1.3.6.1.4.1.32473.1.1.0";
/// prtGeneralSerialNumber of the first device (RFC 3805), for printers of other makers.
constexpr wchar_t standardSerialNumberOid[] = L"1.3.6.1.2.1.43.5.1.1.17.1";

/// The device's serial number without blanks around it; empty when it tells none.
std::wstring ReadSerialNumber(OIDProvider& provider);

}  // namespace Corvix
