// HTTP messages as they travel: requests read off a socket, responses to be written.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/socket.h"
#include "device/faults.h"

namespace CorvixSim {

/// A request that cannot be served: it is answered with `Status()` and the connection is closed.
class HttpError : public std::runtime_error {
public:
    HttpError(int status, const std::string& why) : std::runtime_error(why), status_(status) {}
    int Status() const { return status_; }

private:
    int status_;
};

struct HttpRequest {
    std::string method;
    std::string path;   ///< decoded, without the query
    std::string query;  ///< as sent, without '?'
    bool keepAlive = false;
    std::vector<std::pair<std::string, std::string>> headers;
    FaultSet faults;  ///< those that befall it by its path

    /// The first header of this name, whatever its case, or an empty text.
    std::string Header(std::string_view name) const;
};

struct HttpResponse {
    int status = 200;
    std::string contentType = "text/plain; charset=utf-8";
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers;
    std::function<void()> afterwards;  ///< what is to be done once the answer was written
    FaultSet faults;  ///< faults that only the handler could tell, such as those for an IPP operation
};

/// An answer without a document: a line of text that says what the status means.
HttpResponse PlainResponse(int status, const std::string& text = {});

const char* ReasonOf(int status);

/// Reads lines and bytes off a connection.
class HttpChannel {
public:
    explicit HttpChannel(const Socket& socket) : socket_(socket) {}

    /// A line without its end, or nothing when the peer ended the connection before its first character.
    /// Throws HttpError for an endless line and NetError when the connection breaks.
    std::optional<std::string> ReadLine();

    /// As many bytes as there are, at most `size`; 0 when the peer has ended the connection.
    size_t Read(char* buffer, size_t size);

    void Write(std::string_view data) { SendAll(socket_, data); }

private:
    bool Fill();

    const Socket& socket_;
    std::vector<char> buffer_ = std::vector<char>(65536);
    size_t next_ = 0;
    size_t end_ = 0;
};

/// Reads the head of the next request; nothing when the peer has ended the connection.
/// Throws HttpError and NetError.
std::optional<HttpRequest> ReadRequestHead(HttpChannel& channel);

/// The body of a request as it arrives. Plain and chunked bodies look alike.
class HttpBody {
public:
    /// Throws HttpError when the head contradicts itself about the body.
    HttpBody(HttpChannel& channel, const HttpRequest& request);

    /// The next bytes, 0 at the end of the body. Throws HttpError when the body breaks off or is malformed.
    size_t Read(char* buffer, size_t size);

    /// The rest of the body; throws HttpError 413 when it is longer than `limit`.
    std::string ReadAll(size_t limit);

    /// Reads on to the end so that the next request can be read; false when more than `limit` bytes are left.
    bool Discard(uint64_t limit);

    /// Lets Read() throw ConnectionDropped once so many bytes have been read.
    void DropAfter(uint64_t bytes) { dropAfter_ = bytes; }

private:
    void Continue();
    void NextChunk();
    size_t ReadPiece(char* buffer, size_t size);

    HttpChannel& channel_;
    bool chunked_ = false;
    bool expectsContinue_ = false;
    bool ended_ = false;
    bool firstChunk_ = true;
    uint64_t left_ = 0;  ///< bytes left of the body or of the chunk
    uint64_t read_ = 0;
    uint64_t dropAfter_ = UINT64_MAX;
};

/// Thrown by HttpBody where a fault has the connection dropped: the server resets it.
class ConnectionDropped : public std::runtime_error {
public:
    ConnectionDropped() : std::runtime_error("the connection is dropped") {}
};

/// Answers the requests of one service. Called from many threads at once.
class HttpHandler {
public:
    virtual ~HttpHandler() = default;
    virtual HttpResponse Handle(const HttpRequest& request, HttpBody& body) = 0;
};

}  // namespace CorvixSim
