#include "datamodel/ipp/target/ipptarget.h"

#include <string_view>

namespace Corvix {
namespace {

constexpr unsigned long ippPort = 631;
constexpr unsigned long tlsPort = 443;

}  // namespace

std::wstring IppTarget::QualifiedUri() const {
    if (resource.empty()) return printerUri;
    const std::size_t scheme = printerUri.find(L"://");
    const std::size_t host = scheme == std::wstring::npos ? 0 : scheme + 3;
    const std::size_t path = printerUri.find(L'/', host);
    if (path != std::wstring::npos && path + 1 < printerUri.size()) return printerUri;
    std::wstring uri = printerUri.substr(0, path);
    if (resource.front() != L'/') uri += L'/';
    return uri + resource;
}

unsigned long IppTarget::PortAt(Address& address) const {
    if (!secure) return ippPort;
    const wchar_t* port = address.GetPort();
    return port && std::wstring_view(port) == L"631" ? ippPort : tlsPort;
}

}  // namespace Corvix
