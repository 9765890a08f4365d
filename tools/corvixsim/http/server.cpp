#include "http/server.h"

#include <system_error>

namespace CorvixSim {
namespace {

// Each connection has a thread; a client that opens them without end must not exhaust the machine.
constexpr size_t kMaxConnections = 256;
// A refused body up to this size is read, so that the connection can be kept; beyond it closing is cheaper.
constexpr uint64_t kMaxDiscarded = 1 << 20;
// Clients that vanish without closing must not keep their threads for ever.
constexpr std::chrono::seconds kIdleLimit{120};

bool IsControlPath(const std::string& path) { return path.compare(0, 5, "/sim/") == 0; }

}  // namespace

HttpServer::HttpServer(std::string service, const std::string& address, uint16_t port, Device& device,
                       HttpHandler& handler, HttpHandler& control)
    : service_(std::move(service)),
      address_(address),
      port_(port),
      device_(device),
      handler_(handler),
      control_(control) {
    StartListening();
}

HttpServer::~HttpServer() {
    // First no new connections, then the end of those that are open: the other way round one could slip in.
    stopper_.Stop();
    Refuse(true);
    {
        const std::lock_guard lock(mutex_);
        for (Connection& connection : connections_)
            connection.socket.Interrupt();
    }
    for (Connection& connection : connections_)
        connection.thread.join();
}

void HttpServer::Refuse(bool refuse) {
    const std::lock_guard lock(listenMutex_);
    refuse ? StopListening() : StartListening();
}

void HttpServer::StartListening() {
    if (listener_) return;
    listener_ = ListenOn(Endpoint(address_, port_));
    if (port_ == 0) port_ = LocalPort(listener_);  // and the same one whenever it listens again
    listening_ = true;
    acceptor_ = std::thread([this] { AcceptConnections(); });
}

void HttpServer::StopListening() {
    if (!listener_) return;
    listening_ = false;
    // Closing a listening socket does not wake a thread that waits in accept() everywhere; a connection does.
    KnockAt(Endpoint(address_, port_), SOCK_STREAM);
    acceptor_.join();
    listener_.Close();
}

void HttpServer::AcceptConnections() {
    for (;;) {
        Socket socket(accept(listener_.Get(), nullptr, nullptr));
        // The knock of StopListening(), or a client that came at the same moment.
        if (!listening_) return socket.CloseWithReset();
        if (socket) {
            AddConnection(std::move(socket));
        } else {
            // Out of sockets or a connection that was gone before it was accepted: neither lasts.
            stopper_.Sleep(std::chrono::milliseconds(10));
        }
    }
}

void HttpServer::AddConnection(Socket socket) {
    // A thread cannot join itself: those that have ended are joined when the next connection comes.
    RemoveEnded();
    socket.TuneConnection(kIdleLimit);
    const std::lock_guard lock(mutex_);
    if (connections_.size() >= kMaxConnections) return;
    Connection& connection = connections_.emplace_back();
    connection.socket = std::move(socket);
    try {
        connection.thread = std::thread([this, &connection] { Run(connection); });
    } catch (const std::system_error&) {
        connections_.pop_back();  // no more threads: the client is turned away
    }
}

void HttpServer::RemoveEnded() {
    std::list<Connection> ended;
    {
        const std::lock_guard lock(mutex_);
        for (auto it = connections_.begin(); it != connections_.end();) {
            const auto current = it++;
            if (current->ended) ended.splice(ended.end(), connections_, current);
        }
    }
    // Joined without the lock, which an ending thread takes last.
    for (Connection& connection : ended)
        connection.thread.join();
}

void HttpServer::Run(Connection& connection) {
    const AfterAnswer after = Serve(connection.socket);
    const std::lock_guard lock(mutex_);
    if (after == AfterAnswer::Reset) connection.socket.CloseWithReset();
    connection.socket.Close();
    connection.ended = true;
}

AfterAnswer HttpServer::Serve(const Socket& socket) {
    HttpReceiver receiver(socket);
    bool counted = false;
    try {
        while (std::optional<HttpRequest> request = receiver.ReadHead()) {
            // Only connections that ask for something of the device count, not those that command it.
            if (!counted && !IsControlPath(request->path)) device_.counters.CountConnection(service_);
            counted = counted || !IsControlPath(request->path);
            const AfterAnswer after = ServeRequest(socket, receiver, std::move(*request));
            if (after != AfterAnswer::KeepOpen) return after;
        }
        return AfterAnswer::Close;
    } catch (const NetError&) {
        return AfterAnswer::Close;  // the peer has gone
    } catch (const ConnectionDropped&) {
        return AfterAnswer::Reset;
    } catch (const HttpError& error) {
        try {
            WriteAnswer(socket, {}, PlainResponse(error.Status()), {}, stopper_);
        } catch (const NetError&) {
        }
        return AfterAnswer::Close;
    } catch (const std::exception&) {
        return AfterAnswer::Reset;  // a fault rule asks for more memory than there is
    }
}

AfterAnswer HttpServer::ServeRequest(const Socket& socket, HttpReceiver& body, HttpRequest request) {
    const bool isControl = IsControlPath(request.path);
    // A rule may refuse the service while connections are open: they end with the next request.
    if (!isControl && !listening_) return AfterAnswer::Reset;
    if (!isControl) {
        device_.counters.Count(service_, request.path);
        request.faults = device_.faults.Match({service_, request.path, {}});
    }
    if (request.faults.Has(FaultKind::ReceiveOnly)) {
        body.DropAfter(request.faults.Number(FaultKind::ReceiveOnly));
    }
    // What the handler leaves of the body is discarded below, before the answer: many clients read only then.
    HttpResponse response = Handle(request, body, isControl);
    // Faults by path are known before the request is handled, those by operation only after.
    FaultSet faults = request.faults;
    faults.Merge(response.faults);
    const bool bodyDone = body.Discard(kMaxDiscarded);
    const std::function<void()> afterwards = std::move(response.afterwards);
    const AfterAnswer after = WriteAnswer(socket, request, std::move(response), faults, stopper_);
    if (afterwards) afterwards();
    return after == AfterAnswer::KeepOpen && !bodyDone ? AfterAnswer::Close : after;
}

HttpResponse HttpServer::Handle(const HttpRequest& request, HttpReceiver& body, bool isControl) {
    try {
        return (isControl ? control_ : handler_).Handle(request, body);
    } catch (const std::invalid_argument& error) {
        return PlainResponse(400, error.what());
    } catch (const std::logic_error& error) {
        return PlainResponse(500, error.what());
    }
}

}  // namespace CorvixSim
