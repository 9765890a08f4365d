// A connection that carries bytes both ways, plain or encrypted.
#pragma once

#include <cstddef>
#include <string_view>

#include "transport/sockets/waiting.h"

namespace CorvixTransport {

// All operations throw a Failure when the connection breaks, the time is up or the request is cancelled.
class ByteStream {
public:
    ByteStream() = default;
    ByteStream(const ByteStream&) = delete;
    ByteStream& operator=(const ByteStream&) = delete;
    virtual ~ByteStream() = default;

    // Waits for bytes. \return how many came; 0 when the device has ended the connection.
    virtual size_t Read(char* buffer, size_t capacity, const Waiting& waiting) = 0;

    // Sends bytes. Comes back early when something arrives from the device in the meantime: what was sent is
    // known from the result, and the rest is to be handed in again, unchanged, when the rest is still wanted.
    virtual size_t Write(std::string_view bytes, const Waiting& waiting) = 0;

    // Whether Read() would come back at once, be it with the end of the connection or a failure.
    virtual bool IsReadable(const Waiting& waiting) = 0;

    // A cheaper question for whoever asks it over and over: false when no bytes are there to be read. It may not
    // notice the end of the connection.
    virtual bool MayBeReadable() { return true; }
};

}  // namespace CorvixTransport
