// A plain HTTP client that hides nothing: what came off the socket is what the test sees.
#pragma once

#include <winsock2.h>

#include <cstdint>
#include <string>
#include <vector>

enum class HttpEnd {
    Complete,   ///< the body was as long as its length said, or ended with the connection where none was said
    Truncated,  ///< the connection ended in the middle of the head or the body
    NoAnswer,   ///< the connection ended in order before the first byte
    Reset,      ///< the connection broke before the first byte
    Refused,    ///< there was no connection to be had
    TooMuch,    ///< the body was longer than the client takes; it hung up
};

struct HttpAnswer {
    HttpEnd end = HttpEnd::NoAnswer;
    int status = 0;
    std::string head;
    std::string body;

    /// Whether the head has this header line, in exactly this form.
    bool HasHeader(const std::string& line) const;
};

/// One connection; it is made with the first request and kept as long as the server keeps it.
class HttpClient {
public:
    HttpClient(const std::string& address, uint16_t port);
    ~HttpClient();
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;

    /// A request with a plain body; none when it is empty.
    HttpAnswer Exchange(const std::string& method, const std::string& path, const std::string& body = {},
                        const std::string& contentType = "text/plain");

    /// A POST whose body goes in these chunks.
    HttpAnswer PostChunked(const std::string& path, const std::vector<std::string>& chunks,
                           const std::string& contentType);

    /// Any bytes, whatever they are, and the answer to them.
    HttpAnswer ExchangeRaw(const std::string& bytes, bool answerHasBody = true);

    /// Sends bytes without waiting for anything; false when the connection does not take them.
    bool Send(const std::string& bytes);
    HttpAnswer Receive(bool answerHasBody = true);

private:
    bool Connect();
    bool ReadHead(HttpAnswer& answer);
    void ReadBody(HttpAnswer& answer);
    int Fill();

    std::string address_;
    uint16_t port_;
    SOCKET socket_ = INVALID_SOCKET;
    std::string received_;
};

/// One request on a connection of its own.
HttpAnswer HttpGet(const std::string& address, uint16_t port, const std::string& path);
