/// Connections that are kept alive between exchanges.
#pragma once

#include <chrono>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>

#include "transport/sockets/bytestream.h"

namespace CorvixTransport {

/// What two exchanges must have in common to share a connection. The leniency of the certificate check is part of
/// it: a strict request must not use a connection that only a lenient one accepted.
struct Endpoint {
    std::wstring host;
    unsigned short port = 0;
    bool secure = false;
    unsigned long leniency = 0;

    auto Key() const { return std::tie(host, port, secure, leniency); }
    bool operator==(const Endpoint& other) const { return Key() == other.Key(); }
    bool operator<(const Endpoint& other) const { return Key() < other.Key(); }
};

/// Connects, and shakes hands over TLS.
std::unique_ptr<ByteStream> OpenStream(const Endpoint& endpoint, const Waiting& waiting);

/// Owns the idle connections of one address. Thread-safe.
class ConnectionPool {
public:
    /// An idle connection to the endpoint that the device has not closed yet, or null.
    std::unique_ptr<ByteStream> Take(const Endpoint& endpoint, const Waiting& waiting);
    /// Keeps a connection for later; the oldest ones go when there are too many.
    void Give(const Endpoint& endpoint, std::unique_ptr<ByteStream> stream);

private:
    using Clock = std::chrono::steady_clock;

    struct Idle {
        Endpoint endpoint;
        std::unique_ptr<ByteStream> stream;
        Clock::time_point since;
    };
    using IdleList = std::list<Idle>;

    /// Outdated connections are taken out under the lock and closed after it, since closing TLS sends bytes.
    std::unique_ptr<ByteStream> TakeNewest(const Endpoint& endpoint, IdleList& outdated);
    void MoveOutdated(IdleList& outdated);

    std::mutex mutex_;
    IdleList idle_;
};

}  // namespace CorvixTransport
