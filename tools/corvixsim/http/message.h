// HTTP requests and responses as the services see them.
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "device/faults.h"
#include "wire/http/heads.h"

namespace CorvixSim {

/// A request that cannot be served: it is answered with `Status()` and the connection is closed.
class HttpError : public std::runtime_error {
public:
    explicit HttpError(int status)
        : std::runtime_error(Corvix::Http::ReasonOf(static_cast<unsigned>(status))), status_(status) {}
    int Status() const { return status_; }

private:
    int status_;
};

/// Thrown where a fault has the connection dropped: the server resets it.
class ConnectionDropped : public std::runtime_error {
public:
    ConnectionDropped() : std::runtime_error("the connection is dropped") {}
};

struct HttpRequest {
    std::string method;
    std::string path;  ///< decoded, without the query
    bool keepAlive = false;
    Corvix::Http::Headers headers;
    FaultSet faults;  ///< those that befall it by its path

    /// The first header of this name, whatever its case, or an empty text.
    std::string Header(std::string_view name) const {
        const std::string* value = headers.Find(name);
        return value ? *value : std::string();
    }

    /// Whether the body is of this type, whatever its parameters.
    bool HasContentType(std::string_view type) const;
};

struct HttpResponse {
    int status = 200;
    std::string contentType = "text/plain; charset=utf-8";
    std::string body;
    Corvix::Http::Headers headers;
    std::function<void()> afterwards;  ///< what is to be done once the answer was written
    FaultSet faults;  ///< faults that only the handler could tell, such as those for an IPP operation
};

/// An answer without a document: a line of text that says what the status means.
HttpResponse PlainResponse(int status, const std::string& text = {});

/// The refusal of a method, with those that there are.
HttpResponse MethodNotAllowed(std::string_view allowed);

class HttpReceiver;

/// Answers the requests of one service. Called from many threads at once; the body is still to be read.
class HttpHandler {
public:
    virtual ~HttpHandler() = default;
    virtual HttpResponse Handle(const HttpRequest& request, HttpReceiver& body) = 0;
};

}  // namespace CorvixSim
