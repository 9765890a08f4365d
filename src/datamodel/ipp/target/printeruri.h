/// Printer URIs: what they are, how they are built and chosen.
#pragma once

#include <string>
#include <string_view>

#include "corvixdm/transport.h"

namespace Corvix {

/// The scheme of a URI. "http" is tested before "https", so that no URI is ever classed Https: callers have
/// always seen it so.
enum class UriScheme : int { Http = 0, Https = 1, Ipp = 2, SecureIpp = 3, Other = 4 };
UriScheme ClassifyUriScheme(const wchar_t* uri);
inline bool IsSecureUri(const std::wstring& uri) {
    return ClassifyUriScheme(uri.c_str()) == UriScheme::SecureIpp;
}

/// Whether a host is the name of a local USB port, USB001 to USB999.
bool IsUsbPortName(const std::wstring& host);

/// A URI without its port, and the port.
struct SplitUri {
    std::wstring port;       ///< empty when the URI names none
    std::wstring remainder;  ///< the URI without ":" and the port
};
/// An IPv6 literal in brackets keeps its colons.
SplitUri SplitPortFromUri(std::wstring_view uri);

/// The URI with as many "x" in the place of a bracketed IPv6 literal; any other as it is.
std::wstring WithNameForIpv6Literal(std::wstring uri);

/// The path of a URI, from the first "/" after the host; empty when it has none.
std::wstring_view PathOfUri(std::wstring_view uri);

/// Takes a printer URI as a caller gave it: checks it, sets the address's port to its own, or to 631 where it
/// names none, and hands back the path, which reaches to the URI's end.
/// \return false with the last error set: 87, 1796 for a port other than 631 and 443, or an IPPError.
bool TakePrinterUri(Address* address, const wchar_t* uri, std::wstring& path);

/// "ipp(s)://" + host and port of the address + resource. A USB port stands for its local endpoint.
std::wstring CreatePrinterURIAttribute(Address& address, const std::wstring& resource, bool secure);

/// Chooses among the URIs that a printer advertises, a comma-separated list in its order: the only one; else
/// the first "ipp" one; for a secure provider the "ipps" one on the address's port, or the first "ipps" one,
/// to whose port the address is then set.
/// \return S_OK with `uri` set, or E_FAIL, which leaves it as it was, when none fits.
HRESULT GetSupportedPrinterUri(Address& address, std::wstring_view advertised, bool secure,
                               std::wstring& uri);

}  // namespace Corvix
