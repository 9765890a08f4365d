// Takes HTTP requests off a connection.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/socket.h"
#include "http/message.h"
#include "wire/http/requestreader.h"

namespace CorvixSim {

/// Reads one request after the other: first its head, then its body, which is handed on as it arrives and never held as
/// a whole. Plain and chunked bodies look alike.
class HttpReceiver {
public:
    /// The socket stays the caller's and lives longer.
    explicit HttpReceiver(const Socket& socket) : socket_(socket) {}

    /// The head of the next request; nothing when the peer has ended the connection. What was left of the body before
    /// must have been read. Throws HttpError for a malformed head and NetError when the connection breaks.
    std::optional<HttpRequest> ReadHead();

    /// The next bytes of the body, 0 at its end. Throws HttpError when it breaks off or is malformed.
    size_t Read(char* buffer, size_t size);

    /// The rest of the body; throws HttpError 413 when it is longer than `limit`.
    std::string ReadAll(size_t limit);

    /// Reads on to the end so that the next request can be read; false when more than `limit` bytes are left.
    bool Discard(uint64_t limit);

    /// Lets Read() throw ConnectionDropped once so many bytes have been read.
    void DropAfter(uint64_t bytes) { dropAfter_ = bytes; }

private:
    bool Feed();
    void Continue();

    const Socket& socket_;
    std::vector<char> buffer_ = std::vector<char>(65536);
    std::string_view received_;  ///< what of buffer_ the reader has not taken yet
    std::optional<Corvix::Http::RequestReader> reader_;
    std::string body_;  ///< what has arrived of the body
    size_t next_ = 0;   ///< the first byte of body_ that was not handed on
    bool expectsContinue_ = false;
    uint64_t read_ = 0;
    uint64_t dropAfter_ = UINT64_MAX;
};

}  // namespace CorvixSim
