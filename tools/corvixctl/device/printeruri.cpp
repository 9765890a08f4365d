#include "device/printeruri.h"

#include <algorithm>
#include <string_view>

#include "base/exitcodes.h"
#include "base/text.h"
#include "utilslib/stringutils.h"

namespace CorvixCtl {
namespace {

UsageError BadUri(const std::wstring& uri, const std::wstring& reason) {
    return UsageError(L"--uri " + uri + L": " + reason);
}

std::wstring_view CutScheme(const std::wstring& uri, bool& secure) {
    const std::wstring_view text = uri;
    const size_t mark = text.find(L"://");
    const std::wstring scheme = KyUtils::ToLower(uri.substr(0, mark));
    secure = scheme == L"ipps";
    if (mark == std::wstring_view::npos || (!secure && scheme != L"ipp"))
        throw BadUri(uri, L"expected ipp://HOST/PATH or ipps://HOST/PATH");
    return text.substr(mark + 3);
}

unsigned short ReadPort(const std::wstring& uri, const std::wstring& digits) {
    const unsigned long port = IsDigits(digits) && digits.size() <= 5 ? std::stoul(digits) : 0;
    if (port == 0 || port > 65535) throw BadUri(uri, L"its port is not a number from 1 to 65535");
    return static_cast<unsigned short>(port);
}

}  // namespace

PrinterUri ReadPrinterUri(const std::wstring& uri) {
    PrinterUri parts;
    const std::wstring_view rest = CutScheme(uri, parts.secure);
    const size_t slash = std::min(rest.find(L'/'), rest.size());
    parts.authority = rest.substr(0, slash);
    parts.path = rest.substr(slash);
    // The colons of an IPv6 address stand in brackets; the one behind them parts off the port.
    const size_t bracket = parts.authority.rfind(L']');
    const size_t colon = parts.authority.find(L':', bracket == std::wstring::npos ? 0 : bracket);
    if (colon != std::wstring::npos) {
        parts.port = ReadPort(uri, parts.authority.substr(colon + 1));
        parts.authority.resize(colon);
    }
    parts.host = WithoutBrackets(parts.authority);
    if (parts.host.empty()) throw BadUri(uri, L"it names no host");
    if (parts.host.find_first_of(L"\\ \t[]@?#") != std::wstring::npos)
        throw BadUri(uri, L"expected a host name or an address; a user is given with --user and --password");
    return parts;
}

std::wstring WithoutBrackets(const std::wstring& host) {
    const bool bracketed = host.size() > 2 && host.front() == L'[' && host.back() == L']';
    return bracketed ? host.substr(1, host.size() - 2) : host;
}

}  // namespace CorvixCtl
