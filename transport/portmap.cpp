#include "transport/portmap.h"

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>

#include "utilslib/stringutils.h"
#include "wire/ascii.h"

namespace CorvixTransport {

namespace Ascii = Corvix::Ascii;

namespace {

struct Entry {
    bool udp = false;
    unsigned short libraryPort = 0;
    unsigned short realPort = 0;
};

// Quotes the entry, because the map usually comes from a command line.
[[noreturn]] void Refuse(std::string_view entry, const char* what) {
    throw std::invalid_argument("port map entry \"" + std::string(entry) + "\": " + what);
}

// Port 0 is not one that anything listens on.
std::optional<unsigned short> ParsePort(std::string_view text) {
    const std::optional<std::uint64_t> port = Ascii::ParseNumber(Ascii::Trim(text));
    if (!port || *port == 0 || *port > 65535) return std::nullopt;
    return static_cast<unsigned short>(*port);
}

bool ParseIsUdp(std::string_view protocol, std::string_view entry) {
    if (protocol == "udp") return true;
    if (protocol != "tcp") Refuse(entry, "the protocol after \"/\" is udp or tcp");
    return false;
}

Entry ParseEntry(std::string_view text) {
    const size_t equals = text.find('=');
    if (equals == std::string_view::npos) Refuse(text, "expected PORT=PORT or PORT/udp=PORT");
    const std::string_view left = text.substr(0, equals);
    const size_t slash = left.find('/');
    const auto libraryPort = ParsePort(left.substr(0, slash));
    if (!libraryPort) Refuse(text, "the port before \"=\" is not a number from 1 to 65535");
    const auto realPort = ParsePort(text.substr(equals + 1));
    if (!realPort) Refuse(text, "the port after \"=\" is not a number from 1 to 65535");
    const bool udp = slash != std::string_view::npos && ParseIsUdp(Ascii::Trim(left.substr(slash + 1)), text);
    return {udp, *libraryPort, *realPort};
}

}  // namespace

PortMap PortMap::Parse(std::wstring_view text) {
    PortMap map;
    // Ports are ASCII; UTF-8 is what the message of a refusal is in.
    const std::string entries = KyUtils::ToUtf8(text);
    if (Ascii::Trim(entries).empty()) return map;
    for (size_t begin = 0; begin <= entries.size();) {
        const size_t end = std::min(entries.find(',', begin), entries.size());
        const std::string_view piece = Ascii::Trim(std::string_view(entries).substr(begin, end - begin));
        const Entry entry = ParseEntry(piece);
        Ports& ports = entry.udp ? map.udp_ : map.tcp_;
        if (!ports.emplace(entry.libraryPort, entry.realPort).second)
            Refuse(piece, "this port is mapped twice");
        begin = end + 1;
    }
    return map;
}

}  // namespace CorvixTransport
