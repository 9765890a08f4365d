/// The heads of requests and responses, and how they are written.
#pragma once

#include <string>
#include <string_view>

#include "wire/http/headers.h"

namespace Corvix::Http {

struct RequestHead {
    std::string method = "GET";
    std::string target = "/";
    Headers headers;
    unsigned minorVersion = 1;
};

struct ResponseHead {
    unsigned status = 0;
    /// When this is empty, the usual phrase is written.
    std::string reason;
    Headers headers;
    unsigned minorVersion = 1;
};

/// The exact bytes up to and with the empty line. Nothing is checked: method and target must be a token and the
/// result of MakeTarget(), header values must satisfy IsFieldValue().
std::string WriteHead(const RequestHead& head);
std::string WriteHead(const ResponseHead& head);

/// The usual phrase for a status, "Status" for one that is not known here.
const char* ReasonOf(unsigned status);

/// Whether the sender of a head leaves its connection open after this message.
bool WantsConnectionKept(unsigned minorVersion, const Headers& headers);

/// A resource path (UTF-8) as it stands in a request line: it begins with "/", blanks and everything outside
/// ASCII are percent-encoded, a fragment is left out.
/// \return false when the text holds a control character, which is never part of a path.
bool MakeTarget(std::string_view path, std::string& target);

/// The value of "Host", in lower case: an IPv6 address goes into brackets, the scheme's default port is left out.
std::string MakeHostValue(std::string_view host, unsigned port, unsigned defaultPort);

}  // namespace Corvix::Http
