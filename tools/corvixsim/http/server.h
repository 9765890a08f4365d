// Serves one HTTP port: accepts connections, a thread for each, and applies the faults.
#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "base/server.h"
#include "base/socket.h"
#include "base/stopper.h"
#include "device/device.h"
#include "http/answer.h"
#include "http/receiver.h"

namespace CorvixSim {

class HttpServer final : public Server {
public:
    /// Listens on `address` and `port` (0: any free one) and serves from then on until destroyed. Paths below
    /// "/sim/" go to `control`, uncounted and unharmed; all others to `handler`.
    /// Throws NetError when the port cannot be had.
    HttpServer(std::string service, const std::string& address, uint16_t port, Device& device,
               HttpHandler& handler, HttpHandler& control);
    ~HttpServer() override;
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    uint16_t Port() const override { return port_; }

    /// Stops or resumes to take connections. While it refuses, those that are open get no further answer.
    void Refuse(bool refuse) override;

private:
    struct Connection {
        Socket socket;
        std::thread thread;
        bool ended = false;
    };

    void StartListening();
    void StopListening();
    void AcceptConnections();
    void AddConnection(Socket socket);
    void RemoveEnded();
    void Run(Connection& connection);
    AfterAnswer Serve(const Socket& socket);
    AfterAnswer ServeRequest(const Socket& socket, HttpReceiver& receiver, HttpRequest request);
    HttpResponse Handle(const HttpRequest& request, HttpReceiver& body, bool isControl);

    const std::string service_;
    const std::string address_;
    uint16_t port_;
    Device& device_;
    HttpHandler& handler_;
    HttpHandler& control_;
    Stopper stopper_;

    std::mutex listenMutex_;  ///< held while listening starts or stops
    std::atomic<bool> listening_{false};
    std::mutex mutex_;  ///< guards what follows
    std::list<Connection> connections_;

    Socket listener_;
    std::thread acceptor_;
};

}  // namespace CorvixSim
