#include "wire/http/heads.h"

#include "wire/ascii.h"

namespace Corvix::Http {
namespace {

struct Reason {
    unsigned status;
    const char* text;
};

/// The statuses that a simulated device answers with; the phrase means nothing to a client.
constexpr Reason reasons[] = {
    {200, "OK"},
    {201, "Created"},
    {204, "No Content"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {413, "Content Too Large"},
    {415, "Unsupported Media Type"},
    {431, "Request Header Fields Too Large"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
    {503, "Service Unavailable"},
    {505, "HTTP Version Not Supported"},
};

/// Line ends are CR LF throughout, although the readers take bare line feeds: not every device does.
std::string WithHeaders(std::string startLine, const Headers& headers) {
    startLine += "\r\n";
    for (const auto& [name, value] : headers)
        startLine += name + ": " + value + "\r\n";
    return startLine + "\r\n";
}

void AppendPercentEncoded(std::string& text, unsigned char byte) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    text += '%';
    text += digits[byte >> 4];
    text += digits[byte & 15];
}

/// Percent signs pass: the path may be encoded already, and encoding it twice would name another resource.
bool MayStandInTarget(unsigned char byte) {
    return byte > 0x20 && byte < 0x7f &&
           std::string_view("\"<>\\^`{|}").find(static_cast<char>(byte)) == std::string_view::npos;
}

}  // namespace

std::string WriteHead(const RequestHead& head) {
    return WithHeaders(head.method + " " + head.target + " HTTP/1.1", head.headers);
}

std::string WriteHead(const ResponseHead& head) {
    const std::string reason = head.reason.empty() ? ReasonOf(head.status) : head.reason;
    return WithHeaders("HTTP/1.1 " + std::to_string(head.status) + " " + reason, head.headers);
}

const char* ReasonOf(unsigned status) {
    for (const Reason& reason : reasons) {
        if (reason.status == status) return reason.text;
    }
    return "Status";
}

/// HTTP/1.0 closes unless it is asked not to, HTTP/1.1 the other way round. "close" wins over anything else.
bool WantsConnectionKept(unsigned minorVersion, const Headers& headers) {
    if (headers.HasToken("Connection", "close")) return false;
    return minorVersion >= 1 || headers.HasToken("Connection", "keep-alive");
}

bool MakeTarget(std::string_view path, std::string& target) {
    // Made apart, so that the target stays as it was when the path is refused.
    std::string made;
    if (path.empty() || path.front() != '/') made = "/";
    for (const char c : path.substr(0, path.find('#'))) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f) return false;
        if (MayStandInTarget(byte)) {
            made += c;
        } else {
            AppendPercentEncoded(made, byte);
        }
    }
    target = made;
    return true;
}

std::string MakeHostValue(std::string_view host, unsigned port, unsigned defaultPort) {
    // A zone means something on this machine only. Host names have no case, but not every device knows that.
    std::string value = Ascii::ToLower(host.substr(0, host.find('%')));
    if (value.find(':') != std::string::npos) value = "[" + value + "]";
    if (port != defaultPort) value += ":" + std::to_string(port);
    return value;
}

}  // namespace Corvix::Http
