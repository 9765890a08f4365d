/// Which printer a request is for, and how it is reached.
#pragma once

#include <string>

#include "corvixdm/transport.h"

namespace Corvix {

/// A printer behind an address. A value: whoever works with a printer keeps a copy, so that threads share
/// nothing of it.
struct IppTarget {
    std::wstring printerUri;          ///< what requests call the printer
    std::wstring resource;            ///< the path of HTTP requests
    bool secure = false;              ///< requests go over TLS
    unsigned long securityFlags = 0;  ///< given to HTTPRequest::SetRequestParameter() of each request

    /// The printer URI; the resource is appended to one that has no path.
    std::wstring QualifiedUri() const;
    /// The TCP port of requests: 631, over TLS 443 unless the address is set to "631".
    unsigned long PortAt(Address& address) const;
};

}  // namespace Corvix
