#include "wire/http/requestreader.h"

#include <utility>

#include "wire/ascii.h"

namespace Corvix::Http {

// "POST /ipp/print HTTP/1.1": exactly one blank between the words.
void RequestReader::TakeStartLine(std::string_view line) {
    const size_t first = line.find(' ');
    const size_t last = line.rfind(' ');
    if (first == last || last + 1 == line.size()) return Fail(MessageFault::BadStartLine);
    const std::string_view target = line.substr(first + 1, last - first - 1);
    const std::string_view version = line.substr(last + 1);
    if (!IsToken(line.substr(0, first)) || target.empty() || target.find(' ') != std::string_view::npos)
        return Fail(MessageFault::BadStartLine);
    const bool isKnown =
        version.size() == 8 && version.substr(0, 7) == "HTTP/1." && Ascii::IsDigit(version[7]);
    if (!isKnown) return Fail(MessageFault::UnknownVersion);
    head_.method = line.substr(0, first);
    head_.target = target;
    head_.minorVersion = static_cast<unsigned>(version[7] - '0');
}

void RequestReader::EndHead(Headers headers) {
    head_.headers = std::move(headers);
    // WinINet adds a length of 0 to a chunked request. With any other length, two servers could disagree on
    // where the request ends.
    const std::string* length = head_.headers.Find("Content-Length");
    if (length && *length != "0" && head_.headers.Find("Transfer-Encoding"))
        return Fail(MessageFault::BadLength);
    if (!BeginAnnouncedBody(head_.headers)) BeginLengthBody(0);
}

}  // namespace Corvix::Http
