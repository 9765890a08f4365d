// A device played by a script: a TCP server that answers byte by byte what a test wants.
#pragma once

#include "utilslib/winsock.h"

#include <atomic>
#include <functional>
#include <future>
#include <list>
#include <mutex>
#include <string>
#include <thread>

#include "wire/http/requestreader.h"

namespace CorvixTransport {

// A request as the device saw it.
struct Received {
    // Its bytes; no more than the head where the body is left to the script.
    std::string bytes;
    Corvix::Http::RequestHead head;
    std::string body;

    bool IsEmpty() const { return bytes.empty(); }
    // The value of a header; empty when there is none.
    std::string Header(std::string_view name) const;
};

// The server's end of one connection. Reading stops quietly when the connection ends.
class Peer {
public:
    explicit Peer(KyUtils::Socket socket) : socket_(std::move(socket)) {}

    // The head of the next request, without waiting for its body; empty when there is none.
    Received ReadHead() { return Read(false); }
    // The next request with its body.
    Received ReadRequest() { return Read(true); }
    // Everything up to and with the text; what came until then when the connection ends.
    std::string ReadThrough(const std::string& text);
    std::string ReadExactly(size_t count);

    void Send(const std::string& bytes);
    // A response with this body and its length.
    void Respond(const std::string& body, const std::string& status = "200 OK",
                 const std::string& headers = "");
    // Answers with this body until the client hangs up.
    void ServeAll(const std::string& body = "ok");
    // Waits until the client has hung up, reading what it still sends.
    void WaitForEnd();
    // Neither reads nor hangs up until the server goes.
    void Hold() { interrupted_.get_future().wait(); }
    // Ends the connection so that the client sees a reset.
    void Reset();

    // From another thread: every wait ends.
    void Interrupt();

private:
    Received Read(bool whole);
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

    explicit ScriptedServer(Script script, const wchar_t* host = L"127.0.0.2");
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
    KyUtils::AddressList host_;
    KyUtils::Socket listener_;
    unsigned short port_ = 0;
    std::atomic<int> connections_{0};
    std::atomic<bool> stopping_{false};
    std::mutex mutex_;
    std::list<Peer*> peers_;
    std::list<std::thread> threads_;
    std::thread acceptor_;
};

}  // namespace CorvixTransport
