#include "transport/http/connectionpool.h"

#include <algorithm>

#include "transport/sockets/socketstream.h"
#include "transport/tls/tlsstream.h"

namespace CorvixTransport {

namespace {

// Devices close idle connections after 5 to 75 seconds, so an older one is most likely closed.
constexpr std::chrono::seconds maximumIdleTime(30);
constexpr size_t maximumIdleConnections = 8;

// A readable idle connection was closed by the device, or carries bytes that belong to no request.
bool IsUsable(ByteStream& stream, const Waiting& waiting) {
    bool readable = true;
    return RunGuarded([&] { readable = stream.IsReadable(waiting); }) == ERROR_SUCCESS && !readable;
}

}  // namespace

std::unique_ptr<ByteStream> OpenStream(const Endpoint& endpoint, const Waiting& waiting) {
    std::unique_ptr<ByteStream> stream = SocketStream::Connect(endpoint.host, endpoint.port, waiting);
    if (!endpoint.secure) return stream;
    return TlsStream::Open(std::move(stream), endpoint.host, endpoint.leniency, waiting);
}

std::unique_ptr<ByteStream> ConnectionPool::Take(const Endpoint& endpoint, const Waiting& waiting) {
    for (;;) {
        IdleList outdated;
        std::unique_ptr<ByteStream> stream = TakeNewest(endpoint, outdated);
        // Asked outside the lock: with TLS the question may read from the network.
        if (!stream || IsUsable(*stream, waiting)) return stream;
    }
}

std::unique_ptr<ByteStream> ConnectionPool::TakeNewest(const Endpoint& endpoint, IdleList& outdated) {
    const std::lock_guard<std::mutex> lock(mutex_);
    MoveOutdated(outdated);
    // The newest one is the least likely to have been closed meanwhile.
    const auto newest = std::find_if(idle_.rbegin(), idle_.rend(),
                                     [&](const Idle& idle) { return idle.endpoint == endpoint; });
    if (newest == idle_.rend()) return nullptr;
    std::unique_ptr<ByteStream> stream = std::move(newest->stream);
    idle_.erase(std::prev(newest.base()));
    return stream;
}

void ConnectionPool::MoveOutdated(IdleList& outdated) {
    const Clock::time_point oldest = Clock::now() - maximumIdleTime;
    while (!idle_.empty() && (idle_.front().since < oldest || idle_.size() > maximumIdleConnections))
        outdated.splice(outdated.end(), idle_, idle_.begin());
}

void ConnectionPool::Give(const Endpoint& endpoint, std::unique_ptr<ByteStream> stream) {
    IdleList outdated;
    const std::lock_guard<std::mutex> lock(mutex_);
    idle_.push_back({endpoint, std::move(stream), Clock::now()});
    MoveOutdated(outdated);
}

}  // namespace CorvixTransport
