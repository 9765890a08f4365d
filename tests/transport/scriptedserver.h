// A device played by a script: a TCP server that answers byte by byte what a test wants.
#pragma once

#include <winsock2.h>

#include <atomic>
#include <functional>
#include <future>
#include <list>
#include <mutex>
#include <string>
#include <thread>

#include "utilslib/winsock.h"

namespace CorvixTransport {

// The server's end of one connection. Reading stops quietly when the connection ends.
class Peer {
public:
    explicit Peer(KyUtils::Socket socket) : socket_(std::move(socket)) {}

    // The head of the next request, up to and with the empty line; empty when there is none.
    std::string ReadHead() { return ReadThrough("\r\n\r\n"); }
    // The next request with its body, whose end it tells by length or by the last chunk.
    std::string ReadRequest();
    // Everything up to and with the text; what came until then when the connection ends.
    std::string ReadThrough(const std::string& text);
    std::string ReadExactly(size_t count);

    void Send(const std::string& bytes);
    // A response with this body and its length.
    void Respond(const std::string& body, const std::string& status = "200 OK",
                 const std::string& headers = "");
    // Waits until the client has hung up, reading what it still sends. \return how many bytes that were.
    size_t WaitForEnd();
    // Neither reads nor hangs up until the server goes.
    void Hold();
    // Ends the connection so that the client sees a reset.
    void Reset();

    // From another thread: every wait ends.
    void Interrupt();

private:
    bool WaitUntilReadable();
    bool Receive();

    KyUtils::Socket socket_;
    std::atomic<bool> isInterrupted_{false};
    std::string received_;
    std::promise<void> interrupted_;
};

class ScriptedServer {
public:
    // Plays one connection, given its number from 0; the connection is closed when the script returns.
    using Script = std::function<void(Peer& peer, int connection)>;

    explicit ScriptedServer(Script script, const std::string& host = "127.0.0.2");
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    unsigned short Port() const { return port_; }
    int Connections() const { return connections_; }

private:
    void Accept();
    void Play(KyUtils::Socket socket, int connection);

    KyUtils::WinsockSession winsock_;
    Script script_;
    KyUtils::Socket listener_;
    sockaddr_storage address_ = {};
    int addressLength_ = 0;
    unsigned short port_ = 0;
    std::atomic<int> connections_{0};
    std::atomic<bool> stopping_{false};
    std::mutex mutex_;
    std::list<Peer*> peers_;
    std::list<std::thread> threads_;
    std::thread acceptor_;
};

}  // namespace CorvixTransport
