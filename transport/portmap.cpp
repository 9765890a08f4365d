#include "transport/portmap.h"

#include <optional>
#include <stdexcept>
#include <string>

#include "transport/text.h"

namespace CorvixTransport {

namespace {

struct Entry {
    bool udp = false;
    unsigned short libraryPort = 0;
    unsigned short realPort = 0;
};

[[noreturn]] void Refuse(std::wstring_view entry, const char* what) {
    throw std::invalid_argument("port map entry \"" + ToUtf8(entry) + "\": " + what);
}

std::optional<unsigned short> ParsePort(std::wstring_view text) {
    if (text.empty() || text.size() > 5) return std::nullopt;
    unsigned long value = 0;
    for (const wchar_t digit : text) {
        if (digit < L'0' || digit > L'9') return std::nullopt;
        value = value * 10 + static_cast<unsigned long>(digit - L'0');
    }
    if (value == 0 || value > 65535) return std::nullopt;
    return static_cast<unsigned short>(value);
}

bool ParseIsUdp(std::wstring_view protocol, std::wstring_view entry) {
    if (protocol == L"udp") return true;
    if (protocol != L"tcp") Refuse(entry, "the protocol after \"/\" is udp or tcp");
    return false;
}

Entry ParseEntry(std::wstring_view text) {
    const size_t equals = text.find(L'=');
    if (equals == std::wstring_view::npos) Refuse(text, "expected PORT=PORT or PORT/udp=PORT");
    const std::wstring_view left = Trim(text.substr(0, equals));
    const size_t slash = left.find(L'/');
    const auto libraryPort = ParsePort(Trim(left.substr(0, slash)));
    if (!libraryPort) Refuse(text, "the port before \"=\" is not a number from 1 to 65535");
    const auto realPort = ParsePort(Trim(text.substr(equals + 1)));
    if (!realPort) Refuse(text, "the port after \"=\" is not a number from 1 to 65535");
    const bool udp = slash != std::wstring_view::npos && ParseIsUdp(Trim(left.substr(slash + 1)), text);
    return {udp, *libraryPort, *realPort};
}

}  // namespace

PortMap PortMap::Parse(std::wstring_view text) {
    PortMap map;
    if (Trim(text).empty()) return map;
    for (size_t begin = 0; begin <= text.size();) {
        const size_t end = std::min(text.find(L',', begin), text.size());
        const std::wstring_view piece = Trim(text.substr(begin, end - begin));
        const Entry entry = ParseEntry(piece);
        Ports& ports = entry.udp ? map.udp_ : map.tcp_;
        if (!ports.emplace(entry.libraryPort, entry.realPort).second)
            Refuse(piece, "this port is mapped twice");
        begin = end + 1;
    }
    return map;
}

}  // namespace CorvixTransport
