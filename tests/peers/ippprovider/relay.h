// Puts a printer that listens on some port of this machine where the library looks for printers.
#pragma once

#include <winsock2.h>

#include <atomic>
#include <functional>
#include <list>
#include <string>
#include <thread>
#include <vector>

namespace CorvixTest {

/// Takes from the front of what a client has sent that which can be handed on.
using TakeReady = std::function<std::string(std::string& received)>;
std::string TakeAll(std::string& received);
/// Takes whole requests, calling the printer "/ipp/print" where the client calls it "/ipp/printer".
std::string TakeForIppPrint(std::string& received);

/// Hands on what comes to some ports of a loopback address to a port of 127.0.0.1, and the answers back.
class Relay {
public:
    Relay(const char* host, const std::vector<unsigned short>& ports, unsigned short target, TakeReady take);
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;
    ~Relay();

    /// False where one of the ports may not be taken.
    explicit operator bool() const { return listens_; }

private:
    /// One socket. Not to be moved while it is open.
    struct End {
        SOCKET socket = INVALID_SOCKET;
        ~End();
    };
    struct Pair {
        End client;
        End printer;
        std::string received;
    };

    bool Listen(const char* host, unsigned short port);
    void Run();
    void Accept(SOCKET listener);
    bool Forward(Pair& pair, bool fromClient) const;

    const unsigned short target_;
    const TakeReady take_;
    std::list<End> listeners_;
    std::list<Pair> pairs_;
    bool listens_ = true;
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

}  // namespace CorvixTest
