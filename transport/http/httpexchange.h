// One request and its response on one connection.
#pragma once

#include <memory>
#include <string_view>

#include "transport/sockets/bytestream.h"
#include "wire/http/responsereader.h"

namespace CorvixTransport {

namespace Http = Corvix::Http;

// Whether the error means that the connection was gone, as opposed to a device that is slow or talks
// nonsense.
bool IsBrokenConnection(unsigned long error);

class HttpExchange {
public:
    HttpExchange(std::unique_ptr<ByteStream> stream, const Http::Limits& limits, bool toHead)
        : stream_(std::move(stream)), reader_(limits, toHead) {}

    // Sends bytes of the request. Comes back without sending the rest once the device has refused the
    // request: one that answers early is not listening any more.
    void Send(std::string_view bytes, const Waiting& waiting);

    // Takes in what the device has sent already, without waiting for it.
    void TakeArrived(const Waiting& waiting);
    // The same at less cost, but the end of the connection may go unnoticed until something is sent.
    void TakeArrivedBytes(const Waiting& waiting);

    // Waits for word from the device before the body is sent: "100 Continue", or its final answer. Patience
    // is short, because many devices never say it.
    void AwaitContinue(const Waiting& waiting);

    // Waits for the whole response.
    void ReadResponse(const Waiting& waiting);

    // The device has answered, and not with success.
    bool IsRefused() const { return reader_.HasHead() && reader_.Head().status >= 300; }
    Http::ResponseReader& Reader() { return reader_; }
    const Http::ResponseReader& Reader() const { return reader_; }

    // The connection, when it can carry another exchange after this one; else null.
    std::unique_ptr<ByteStream> ReleaseReusable();

private:
    void SendWhileWanted(std::string_view bytes, const Waiting& waiting);
    // False when the connection has ended.
    bool ReadSome(const Waiting& waiting);

    std::unique_ptr<ByteStream> stream_;
    Http::ResponseReader reader_;
    bool surplus_ = false;
    bool allSent_ = true;
};

}  // namespace CorvixTransport
