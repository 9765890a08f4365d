// Writes the head of a request, and refuses what would break out of it.
#pragma once

#include <string>
#include <string_view>

#include "transport/wire/headers.h"

namespace CorvixTransport {

struct RequestHead {
    std::string method = "GET";
    std::string target = "/";
    Headers headers;
};

// A resource path (UTF-8) as it stands in a request line: it begins with "/", blanks and everything outside
// ASCII are percent-encoded, a fragment is left out.
// \return false when the text holds a control character, which is never part of a path.
bool MakeTarget(std::string_view path, std::string& target);

// The value of "Host", in lower case: an IPv6 address goes into brackets, the scheme's default port is left out.
std::string MakeHostValue(std::string_view host, unsigned port, unsigned defaultPort);

// The exact bytes up to and with the empty line. Method, target and headers were checked before.
std::string WriteRequestHead(const RequestHead& head);

// What stands before the bytes of a chunk, and what ends a chunked body.
std::string MakeChunkFrame(size_t length);
constexpr std::string_view lastChunk = "0\r\n\r\n";

}  // namespace CorvixTransport
