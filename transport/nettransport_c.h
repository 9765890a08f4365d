/// \file nettransport_c.h
/// The reference transport for plain C: an address to hand to the functions of corvixdm/deviceinfo.h.
#ifndef CORVIX_NETTRANSPORT_C_H
#define CORVIX_NETTRANSPORT_C_H

#include "corvixdm/deviceinfo.h"

#ifdef __cplusplus
extern "C" {
#endif

/// \param host a dotted IPv4 address, an IPv6 address without brackets, or a DNS name.
/// \param portMap which ports to use in place of the library's, such as L"631=10631"; null or empty for none.
/// \return an address for DisposeNetworkAddress(), or null with the thread's last error: 87 for a missing
///     host or a port map that cannot be read, 8 when memory runs out.
CorvixAddress* CreateNetworkAddress(const wchar_t* host, const wchar_t* portMap);

/// Lets the address go. Null is ignored.
void DisposeNetworkAddress(CorvixAddress* address);

#ifdef __cplusplus
}
#endif

#endif
