/// One request and its response on one connection.
#pragma once

#include <memory>
#include <string_view>

#include "transport/sockets/bytestream.h"
#include "wire/http/responsereader.h"

namespace CorvixTransport {

namespace Http = Corvix::Http;

/// Whether the error means that the connection was lost, as opposed to a slow device or a malformed response.
bool IsBrokenConnection(unsigned long error);

/// Owns the connection until ReleaseReusable() hands it on.
class HttpExchange {
public:
    HttpExchange(std::unique_ptr<ByteStream> stream, const Http::Limits& limits, bool toHead)
        : stream_(std::move(stream)), reader_(limits, toHead) {}

    /// Sends bytes of the request. Stops once the device has refused the request: it no longer reads the rest.
    void Send(std::string_view bytes, const Waiting& waiting);

    /// Takes in what the device has sent already, without waiting for it.
    void TakeArrived(const Waiting& waiting);
    /// The same at less cost, but the end of the connection may go unnoticed until something is sent.
    void TakeArrivedBytes(const Waiting& waiting);

    /// Waits for "100 Continue" or the final answer before the body is sent. The wait is short, because many
    /// devices never send the former.
    void AwaitContinue(const Waiting& waiting);

    /// Waits for the whole response.
    void ReadResponse(const Waiting& waiting);

    /// The device has answered with a redirection or an error.
    bool IsRefused() const { return reader_.HasHead() && reader_.Head().status >= 300; }
    Http::ResponseReader& Reader() { return reader_; }
    const Http::ResponseReader& Reader() const { return reader_; }

    /// The connection, when it can carry another exchange after this one; else null.
    std::unique_ptr<ByteStream> ReleaseReusable();

private:
    void SendWhileWanted(std::string_view bytes, const Waiting& waiting);
    /// False when the connection has ended.
    bool ReadSome(const Waiting& waiting);

    std::unique_ptr<ByteStream> stream_;
    Http::ResponseReader reader_;
    bool surplus_ = false;
    bool allSent_ = true;
};

}  // namespace CorvixTransport
