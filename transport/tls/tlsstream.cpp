#include "transport/tls/tlsstream.h"

#include <winhttp.h>

#include <algorithm>

#include "transport/tls/certificate.h"

namespace CorvixTransport {

namespace {

constexpr size_t receiveSize = 32 * 1024;

// A record has at most 18 KB and a certificate chain a few more; a device that sends more than this without
// anything that could be decrypted is not speaking TLS.
constexpr size_t maximumUndecrypted = 256 * 1024;

SecBuffer* FindBuffer(SecBuffer (&buffers)[4], ULONG type) {
    const auto found = std::find_if(std::begin(buffers), std::end(buffers),
                                    [type](const SecBuffer& buffer) { return buffer.BufferType == type; });
    return found == std::end(buffers) ? nullptr : found;
}

void KeepLast(std::string& bytes, size_t count) {
    bytes.erase(0, bytes.size() - std::min(count, bytes.size()));
}

}  // namespace

std::unique_ptr<TlsStream> TlsStream::Open(std::unique_ptr<ByteStream> inner, const std::wstring& host,
                                           unsigned long leniency, const Waiting& waiting) {
    std::unique_ptr<TlsStream> stream(new TlsStream(std::move(inner), host, leniency));
    stream->ShakeHands(waiting.Within(waiting.stallMilliseconds));
    return stream;
}

TlsStream::TlsStream(std::unique_ptr<ByteStream> inner, const std::wstring& host, unsigned long leniency)
    : inner_(std::move(inner)), host_(host), leniency_(leniency) {}

TlsStream::~TlsStream() {
    // The close notification is a courtesy: a failure to send it is ignored.
    const bool possible = !ended_ && outgoing_.empty() && sizes_.cbMaximumMessage != 0;
    if (possible) RunGuarded([this] { SayGoodbye(); });
}

void TlsStream::SayGoodbye() {
    const std::string goodbye = context_.MakeGoodbye(credentials_, host_);
    const Cancellation never;
    inner_->Write(goodbye, {never, 0, Deadline::After(1000)});
}

// Also run when the device renegotiates or updates its keys in the middle of the connection.
void TlsStream::ShakeHands(const Waiting& waiting) {
    bool askedForCertificate = false;
    for (;;) {
        HandshakeStep step = context_.Step(credentials_, host_, encrypted_);
        for (std::string_view token = step.token; !token.empty();)
            token.remove_prefix(inner_->Write(token, waiting));
        if (step.status == SEC_E_INCOMPLETE_MESSAGE) {
            Receive(waiting);
            continue;
        }
        // The device asks for a client certificate: a second step over the same bytes says that there is none.
        if (step.status == SEC_I_INCOMPLETE_CREDENTIALS && !askedForCertificate) {
            askedForCertificate = true;
            continue;
        }
        ThrowUnless(step.status == SEC_E_OK || step.status == SEC_I_CONTINUE_NEEDED,
                    ERROR_WINHTTP_SECURE_CHANNEL_ERROR);
        KeepLast(encrypted_, step.unused);
        if (step.status == SEC_E_OK) break;
        if (encrypted_.empty()) Receive(waiting);
    }
    CheckPeer();
}

void TlsStream::CheckPeer() {
    const PeerCertificate certificate(context_);
    CheckCertificate(certificate.Get(), host_, leniency_);
    const SECURITY_STATUS status = QueryContextAttributesW(context_.Get(), SECPKG_ATTR_STREAM_SIZES, &sizes_);
    ThrowUnless(status == SEC_E_OK, ERROR_WINHTTP_SECURE_CHANNEL_ERROR);
}

void TlsStream::Receive(const Waiting& waiting) {
    // Bounds the memory that a device can use up before anything was decrypted.
    ThrowUnless(encrypted_.size() < maximumUndecrypted, ERROR_WINHTTP_SECURE_CHANNEL_ERROR);
    const size_t before = encrypted_.size();
    encrypted_.resize(before + receiveSize);
    size_t count = 0;
    const unsigned long error =
        RunGuarded([&] { count = inner_->Read(encrypted_.data() + before, receiveSize, waiting); });
    encrypted_.resize(before + count);
    ThrowUnless(error == ERROR_SUCCESS, error);
    if (count != 0) return;
    // Many devices close without a TLS close notification: lengths and chunks tell whether something is missing.
    ThrowUnless(sizes_.cbMaximumMessage != 0, ERROR_WINHTTP_SECURE_CHANNEL_ERROR);
    ended_ = true;
}

// Decrypts the next record. False when more bytes are needed for it.
bool TlsStream::Decrypt(const Waiting& waiting) {
    if (encrypted_.empty()) return false;
    SecBuffer buffers[4] = {};
    buffers[0].BufferType = SECBUFFER_DATA;
    buffers[0].pvBuffer = encrypted_.data();
    buffers[0].cbBuffer = static_cast<ULONG>(encrypted_.size());
    SecBufferDesc description = {SECBUFFER_VERSION, 4, buffers};
    const SECURITY_STATUS status = DecryptMessage(context_.Get(), &description, 0, nullptr);
    if (status == SEC_E_INCOMPLETE_MESSAGE) return false;
    if (status == SEC_I_CONTEXT_EXPIRED) {
        ended_ = true;
        return true;
    }
    ThrowUnless(status == SEC_E_OK || status == SEC_I_RENEGOTIATE, ERROR_WINHTTP_SECURE_CHANNEL_ERROR);
    const SecBuffer* data = FindBuffer(buffers, SECBUFFER_DATA);
    if (data && data->cbBuffer) plain_.append(static_cast<const char*>(data->pvBuffer), data->cbBuffer);
    const SecBuffer* extra = FindBuffer(buffers, SECBUFFER_EXTRA);
    KeepLast(encrypted_, extra ? extra->cbBuffer : 0);
    if (status != SEC_I_RENEGOTIATE) return true;
    // A handshake message cannot be sent while a record of ours is half sent.
    ThrowUnless(outgoing_.empty(), ERROR_WINHTTP_SECURE_CHANNEL_ERROR);
    ShakeHands(waiting.Within(waiting.stallMilliseconds));
    return true;
}

size_t TlsStream::Read(char* buffer, size_t capacity, const Waiting& waiting) {
    while (plain_.empty() && !ended_) {
        waiting.Check();
        if (!Decrypt(waiting)) Receive(waiting);
    }
    // The text is taken from its front by a position: erasing would copy the rest for each read.
    const size_t count = std::min(capacity, plain_.size() - plainTaken_);
    std::copy_n(plain_.data() + plainTaken_, count, buffer);
    plainTaken_ += count;
    if (plainTaken_ == plain_.size()) {
        plain_.clear();
        plainTaken_ = 0;
    }
    return count;
}

bool TlsStream::IsReadable(const Waiting& waiting) {
    while (plain_.empty() && !ended_) {
        waiting.Check();
        if (Decrypt(waiting)) continue;
        if (!inner_->IsReadable(waiting)) return false;
        Receive(waiting);
    }
    return true;
}

size_t TlsStream::Write(std::string_view bytes, const Waiting& waiting) {
    size_t written = 0;
    while (written < bytes.size()) {
        // A record that is half sent goes out first, as it is: encrypting it again would use up a sequence number.
        if (outgoing_.empty()) Encrypt(bytes.substr(written));
        if (!Flush(waiting)) break;
        written += outgoingPlain_;
    }
    return written;
}

void TlsStream::Encrypt(std::string_view bytes) {
    outgoingPlain_ = std::min<size_t>(bytes.size(), sizes_.cbMaximumMessage);
    outgoingSent_ = 0;
    outgoing_.assign(sizes_.cbHeader, '\0');
    outgoing_.append(bytes.substr(0, outgoingPlain_));
    outgoing_.append(sizes_.cbTrailer, '\0');
    SecBuffer buffers[4] = {};
    char* at = outgoing_.data();
    const auto place = [&at](SecBuffer& buffer, ULONG type, size_t length) {
        buffer.BufferType = type;
        buffer.pvBuffer = at;
        buffer.cbBuffer = static_cast<ULONG>(length);
        at += length;
    };
    place(buffers[0], SECBUFFER_STREAM_HEADER, sizes_.cbHeader);
    place(buffers[1], SECBUFFER_DATA, outgoingPlain_);
    place(buffers[2], SECBUFFER_STREAM_TRAILER, sizes_.cbTrailer);
    SecBufferDesc description = {SECBUFFER_VERSION, 4, buffers};
    const SECURITY_STATUS status = EncryptMessage(context_.Get(), 0, &description, 0);
    ThrowUnless(status == SEC_E_OK, ERROR_WINHTTP_SECURE_CHANNEL_ERROR);
    // The trailer may be shorter than its maximum.
    outgoing_.resize(buffers[0].cbBuffer + buffers[1].cbBuffer + buffers[2].cbBuffer);
}

// False when the device sent something before the whole record was out; the rest of it is kept.
bool TlsStream::Flush(const Waiting& waiting) {
    while (outgoingSent_ < outgoing_.size()) {
        const std::string_view rest = std::string_view(outgoing_).substr(outgoingSent_);
        const size_t sent = inner_->Write(rest, waiting);
        outgoingSent_ += sent;
        if (sent < rest.size() && IsReadable(waiting)) return false;
    }
    outgoing_.clear();
    return true;
}

}  // namespace CorvixTransport
