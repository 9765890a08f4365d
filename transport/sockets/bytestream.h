/// A connection that carries bytes both ways, plain or encrypted.
#pragma once

#include <cstddef>
#include <string_view>

#include "transport/sockets/waiting.h"

namespace CorvixTransport {

/// All operations throw a Failure when the connection breaks, the time is up or the request is cancelled.
class ByteStream {
public:
    ByteStream() = default;
    ByteStream(const ByteStream&) = delete;
    ByteStream& operator=(const ByteStream&) = delete;
    virtual ~ByteStream() = default;

    /// Waits for bytes. \return how many came; 0 when the device has ended the connection.
    virtual size_t Read(char* buffer, size_t capacity, const Waiting& waiting) = 0;

    /// Sends bytes. Returns early when the device sends something meanwhile. \return how many were sent; to go
    /// on, the caller hands in the rest again, unchanged.
    virtual size_t Write(std::string_view bytes, const Waiting& waiting) = 0;

    /// Whether Read() would return at once: with bytes, with the end of the connection or with a failure.
    virtual bool IsReadable(const Waiting& waiting) = 0;

    /// A cheaper IsReadable() for frequent use: false when there are no bytes to read. It may miss the end of the
    /// connection.
    virtual bool MayBeReadable() { return true; }
};

}  // namespace CorvixTransport
