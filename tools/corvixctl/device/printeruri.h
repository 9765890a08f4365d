// The URI of a printer, as --uri gives it.
#pragma once

#include <optional>
#include <string>

namespace CorvixCtl {

struct PrinterUri {
    bool secure = false;
    std::wstring host;                   // as the transport takes it: an IPv6 address without brackets
    std::wstring authority;              // as it stands in the URI, without the port
    std::optional<unsigned short> port;  // where the URI names one
    std::wstring path;
};

// Reads "ipp://HOST[:PORT]/PATH" or "ipps://...". Throws UsageError.
PrinterUri ReadPrinterUri(const std::wstring& text);

// "[::1]" is how people write IPv6 addresses with ports; the transport wants the address alone.
std::wstring WithoutBrackets(const std::wstring& host);

}  // namespace CorvixCtl
