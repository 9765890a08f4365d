/// \file portmap.h
/// Sends the library's fixed ports elsewhere, for a device behind a tunnel or a simulated one.
#pragma once

#include <map>
#include <string_view>

namespace CorvixTransport {

/// Which port is really used in place of one that the library asks for. Looked up on connecting only: whoever
/// asks an address for its port hears of the library's ports.
class PortMap {
public:
    /// Reads a text such as L"80=18080,161/udp=10161": the library's port, "/udp" when it is a UDP port
    /// ("/tcp" may be said for the others), "=", the real port. Blanks around the parts do not count; an
    /// empty text is an empty map. \throws std::invalid_argument with a text (UTF-8) that quotes the entry
    /// and says what is wrong with it.
    static PortMap Parse(std::wstring_view text);

    void MapTcp(unsigned short libraryPort, unsigned short realPort) { tcp_[libraryPort] = realPort; }
    void MapUdp(unsigned short libraryPort, unsigned short realPort) { udp_[libraryPort] = realPort; }

    /// The real TCP port; the same port when it is not in the map.
    unsigned short Tcp(unsigned short libraryPort) const { return Find(tcp_, libraryPort); }
    unsigned short Udp(unsigned short libraryPort) const { return Find(udp_, libraryPort); }

    bool IsEmpty() const { return tcp_.empty() && udp_.empty(); }

private:
    using Ports = std::map<unsigned short, unsigned short>;

    static unsigned short Find(const Ports& ports, unsigned short port) {
        const auto found = ports.find(port);
        return found == ports.end() ? port : found->second;
    }

    Ports tcp_;
    Ports udp_;
};

}  // namespace CorvixTransport
