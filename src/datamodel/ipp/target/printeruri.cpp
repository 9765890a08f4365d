#include "datamodel/ipp/target/printeruri.h"

#include <windows.h>

#include <wininet.h>

#include <algorithm>
#include <iterator>
#include <regex>
#include <vector>

#include "corvixdm/ippprovider.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr const wchar_t* usbEndpoint = L"localhost:80";

struct SchemePrefix {
    std::wstring_view prefix;
    UriScheme scheme;
};
constexpr SchemePrefix schemePrefixes[] = {{L"ipps", UriScheme::SecureIpp},
                                           {L"ipp", UriScheme::Ipp},
                                           {L"http", UriScheme::Http},
                                           {L"https", UriScheme::Https}};

std::wstring TextOrEmpty(const wchar_t* text) { return text ? text : L""; }

/// Where the host begins, behind "://".
size_t HostOf(std::wstring_view uri) {
    const size_t scheme = uri.find(L"://");
    return scheme == std::wstring_view::npos ? 0 : scheme + 3;
}

using UriList = std::vector<std::wstring>;

UriList ListOf(std::wstring_view advertised) {
    UriList uris;
    for (const std::wstring_view uri : KyUtils::Split(advertised, L',')) {
        if (!uri.empty()) uris.emplace_back(uri);
    }
    return uris;
}

/// The one on the address's port, or the first, to whose port the address is then set.
std::wstring ChooseSecure(Address& address, const UriList& uris) {
    logSource.Debug(L"IPPProviderImpl::GetSupportedPrinterUri IPPS URI required");
    const std::wstring port = TextOrEmpty(address.GetPort());
    for (const std::wstring& uri : uris) {
        if (SplitPortFromUri(uri).port != port) continue;
        logSource.Debug(
            L"IPPProviderImpl::GetSupportedPrinterUri IPPS URI required, Port supported matched %ls",
            port.c_str());
        return uri;
    }
    const std::wstring advertisedPort = SplitPortFromUri(uris.front()).port;
    logSource.Debug(L"IPPProviderImpl::GetSupportedPrinterUri IPPS URI required, Port matched %ls",
                    advertisedPort.c_str());
    address.SetPort(advertisedPort.c_str());
    return uris.front();
}

// ---- a caller's URI

constexpr DWORD schemeLength = 32;
constexpr DWORD hostNameLength = 256;
constexpr DWORD urlPathLength = 2048;
constexpr DWORD shortestPath = 4;
constexpr INTERNET_PORT acceptedPorts[] = {0, 631, 443};
constexpr const wchar_t* ippPort = L"631";

/// The parts of a printer URI; `path` reaches to the end of the URI.
struct CrackedUri {
    std::wstring_view path;
    DWORD pathLength = 0;
    INTERNET_PORT port = 0;
};

/// WinINet is shown a name of the same length in the place of an IPv6 literal: not every version of it knows
/// those.
bool Crack(const wchar_t* uri, CrackedUri& cracked) {
    const std::wstring shown = WithNameForIpv6Literal(uri);
    URL_COMPONENTSW parts{};
    parts.dwStructSize = sizeof parts;
    parts.dwSchemeLength = schemeLength;
    parts.dwHostNameLength = hostNameLength;
    parts.dwUrlPathLength = urlPathLength;
    if (!InternetCrackUrlW(shown.c_str(), 0, 0, &parts)) return false;
    if (parts.lpszUrlPath) cracked.path = uri + (parts.lpszUrlPath - shown.c_str());
    cracked.pathLength = parts.dwUrlPathLength;
    cracked.port = parts.nPort;
    return true;
}

bool FailWith(DWORD error) {
    SetLastError(error);
    return false;
}

bool FailWith(IPPError error) { return FailWith(static_cast<DWORD>(error)); }

/// Whether a cracked URI can be a printer's; sets the last error when not.
bool IsPrinterUri(const CrackedUri& cracked) {
    const auto* end = std::end(acceptedPorts);
    if (std::find(std::begin(acceptedPorts), end, cracked.port) == end)
        return FailWith(DWORD{ERROR_UNKNOWN_PORT});
    if (cracked.pathLength == 0) return FailWith(IPPError::PathMissing);
    return cracked.pathLength >= shortestPath || FailWith(IPPError::PathTooShort);
}

}  // namespace

UriScheme ClassifyUriScheme(const wchar_t* uri) {
    if (!uri) return UriScheme::Other;
    const std::wstring_view text(uri);
    for (const SchemePrefix& known : schemePrefixes) {
        if (text.substr(0, known.prefix.size()) == known.prefix) return known.scheme;
    }
    return UriScheme::Other;
}

bool IsUsbPortName(const std::wstring& host) {
    static const std::wregex usbPort(LR"(\bUSB(?!000)\d{3}$)");
    return std::regex_search(host, usbPort);
}

SplitUri SplitPortFromUri(std::wstring_view uri) {
    const size_t host = HostOf(uri);
    const size_t end = std::min(uri.find(L'/', host), uri.size());
    const std::wstring_view authority = uri.substr(host, end - host);
    // Neither the ":" of a user's password nor those of an IPv6 literal.
    const size_t before = authority.find_last_of(L"@]");
    const size_t colon = authority.find(L':', before == std::wstring_view::npos ? 0 : before);
    if (colon == std::wstring_view::npos) return {{}, std::wstring(uri)};
    std::wstring remainder(uri.substr(0, host + colon));
    remainder += uri.substr(end);
    return {std::wstring(authority.substr(colon + 1)), std::move(remainder)};
}

std::wstring WithNameForIpv6Literal(std::wstring uri) {
    const size_t begin = uri.find(L'[', HostOf(uri));
    const size_t end = uri.find(L']', std::min(begin, uri.size()));
    const bool isInHost = end < uri.find(L'/', HostOf(uri));
    if (isInHost) uri.replace(begin, end + 1 - begin, end + 1 - begin, L'x');
    return uri;
}

std::wstring_view PathOfUri(std::wstring_view uri) {
    const size_t path = uri.find(L'/', HostOf(uri));
    return path == std::wstring_view::npos ? std::wstring_view() : uri.substr(path);
}

bool TakePrinterUri(Address* address, const wchar_t* uri, std::wstring& path) {
    if (!address || !uri) return FailWith(DWORD{ERROR_INVALID_PARAMETER});
    const SplitUri split = SplitPortFromUri(uri);
    if (split.remainder.empty()) return FailWith(IPPError::PathTooShort);
    if (!split.port.empty()) address->SetPort(split.port.c_str());
    CrackedUri cracked;
    if (!Crack(uri, cracked)) return FailWith(DWORD{ERROR_INVALID_PARAMETER});
    if (!IsPrinterUri(cracked)) return false;
    if (cracked.port == 0) address->SetPort(ippPort);
    path = cracked.path;
    return true;
}

std::wstring CreatePrinterURIAttribute(Address& address, const std::wstring& resource, bool secure) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::CreatePrinterURIAttribute");
    const std::wstring port = TextOrEmpty(address.GetPort());
    const std::wstring host = TextOrEmpty(address.GetHostName());
    std::wstring authority = usbEndpoint;
    if (!IsUsbPortName(host)) {
        const bool isIpv6 = host.find(L':') != std::wstring::npos && host.front() != L'[';
        authority = isIpv6 ? L"[" + host + L"]" : host;
        if (!port.empty()) authority += L":" + port;
    }
    const std::wstring uri = (secure ? L"ipps://" : L"ipp://") + authority + resource;
    logSource.Debug(L"IPPProviderImpl::CreatePrinterURIAttribute URI is %ls", uri.c_str());
    logSource.Debug(L"IPPProviderImpl::CreatePrinterURIAttribute IPP Resource URI %ls", resource.c_str());
    return uri;
}

HRESULT GetSupportedPrinterUri(Address& address, std::wstring_view advertised, bool secure,
                               std::wstring& uri) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPProviderImpl::GetSupportedPrinterUri");
    UriList uris = ListOf(advertised);
    if (uris.empty()) return E_FAIL;
    if (uris.size() == 1) {
        uri = uris.front();
        return S_OK;
    }
    const UriScheme wanted = secure ? UriScheme::SecureIpp : UriScheme::Ipp;
    uris.erase(
        std::remove_if(uris.begin(), uris.end(),
                       [&](const std::wstring& each) { return ClassifyUriScheme(each.c_str()) != wanted; }),
        uris.end());
    if (uris.empty()) return E_FAIL;
    uri = secure ? ChooseSecure(address, uris) : uris.front();
    logSource.Debug(L"IPPProviderImpl::GetSupportedPrinterUri IPP Resource URI from IPP Response: %ls",
                    uri.c_str());
    return S_OK;
}

}  // namespace Corvix
