/// TLS over another stream, by the system's own Schannel.
#pragma once

#include <memory>
#include <string>

#include "transport/sockets/bytestream.h"
#include "transport/tls/schannel.h"

namespace CorvixTransport {

/// The bytes of a request are encrypted as they are handed in, so that a body of any size streams in constant
/// memory and an early answer is noticed, as without TLS.
/// Owns the stream below it.
class TlsStream final : public ByteStream {
public:
    /// Shakes hands and checks the device's certificate for this host; see LeniencyOf().
    static std::unique_ptr<TlsStream> Open(std::unique_ptr<ByteStream> inner, const std::wstring& host,
                                           unsigned long leniency, const Waiting& waiting);
    ~TlsStream() override;

    size_t Read(char* buffer, size_t capacity, const Waiting& waiting) override;
    size_t Write(std::string_view bytes, const Waiting& waiting) override;
    bool IsReadable(const Waiting& waiting) override;

private:
    TlsStream(std::unique_ptr<ByteStream> inner, const std::wstring& host, unsigned long leniency);

    void ShakeHands(const Waiting& waiting);
    void CheckPeer();
    void Receive(const Waiting& waiting);
    bool Decrypt(const Waiting& waiting);
    void Encrypt(std::string_view bytes);
    bool Flush(const Waiting& waiting);
    void SayGoodbye();

    std::unique_ptr<ByteStream> inner_;
    std::wstring host_;
    unsigned long leniency_;
    SchannelCredentials credentials_;
    SchannelContext context_;
    SecPkgContext_StreamSizes sizes_ = {};
    /// Bytes of the device that are not decrypted yet.
    std::string encrypted_;
    /// Decrypted bytes, of which the first plainTaken_ have been read.
    std::string plain_;
    size_t plainTaken_ = 0;
    /// A record on its way out, and how many of the caller's bytes are in it.
    std::string outgoing_;
    size_t outgoingSent_ = 0;
    size_t outgoingPlain_ = 0;
    bool ended_ = false;
};

}  // namespace CorvixTransport
