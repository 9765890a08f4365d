#include "transport/wire/requesthead.h"

#include <cstdio>

#include "transport/text.h"

namespace CorvixTransport {

namespace {

void AppendPercentEncoded(std::string& text, unsigned char byte) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    text += '%';
    text += digits[byte >> 4];
    text += digits[byte & 15];
}

bool MayStandInTarget(unsigned char byte) {
    return byte > 0x20 && byte < 0x7f &&
           std::string_view("\"<>\\^`{|}").find(static_cast<char>(byte)) == std::string_view::npos;
}

}  // namespace

bool MakeTarget(std::string_view path, std::string& target) {
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
    // A zone means something on this machine only. Case means nothing, but not every device knows.
    std::string value = ToLower(std::string(host.substr(0, host.find('%'))));
    if (value.find(':') != std::string::npos) value = "[" + value + "]";
    if (port != defaultPort) value += ":" + std::to_string(port);
    return value;
}

std::string WriteRequestHead(const RequestHead& head) {
    std::string text = head.method + " " + head.target + " HTTP/1.1\r\n";
    for (const auto& [name, value] : head.headers)
        text += name + ": " + value + "\r\n";
    return text + "\r\n";
}

std::string MakeChunkFrame(size_t length) {
    char frame[24];
    std::snprintf(frame, sizeof frame, "%llX\r\n", static_cast<unsigned long long>(length));
    return frame;
}

}  // namespace CorvixTransport
