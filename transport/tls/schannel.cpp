#include "transport/tls/schannel.h"

#include <winhttp.h>

#include "transport/sockets/resolver.h"

namespace CorvixTransport {

namespace {

constexpr ULONG contextFlags = ISC_REQ_SEQUENCE_DETECT | ISC_REQ_REPLAY_DETECT | ISC_REQ_CONFIDENTIALITY |
                               ISC_REQ_ALLOCATE_MEMORY | ISC_REQ_STREAM | ISC_REQ_MANUAL_CRED_VALIDATION |
                               ISC_REQ_USE_SUPPLIED_CREDS;

SecBuffer MakeBuffer(ULONG type, void* bytes, size_t length) {
    SecBuffer buffer = {};
    buffer.BufferType = type;
    buffer.pvBuffer = bytes;
    buffer.cbBuffer = static_cast<ULONG>(length);
    return buffer;
}

// The text of a buffer that Schannel allocated, which is freed.
std::string TakeToken(SecBuffer& buffer) {
    if (!buffer.pvBuffer) return {};
    std::string token(static_cast<const char*>(buffer.pvBuffer), buffer.cbBuffer);
    FreeContextBuffer(buffer.pvBuffer);
    return token;
}

}  // namespace

SchannelCredentials::SchannelCredentials() {
    SCHANNEL_CRED wanted = {};
    wanted.dwVersion = SCHANNEL_CRED_VERSION;
    // CheckCertificate() checks the certificate, because what may pass depends on the request. The current user's
    // own certificates are never offered to a device.
    wanted.dwFlags = SCH_CRED_MANUAL_CRED_VALIDATION | SCH_CRED_NO_DEFAULT_CREDS | SCH_USE_STRONG_CRYPTO;
    wchar_t package[] = UNISP_NAME_W;
    const SECURITY_STATUS status = AcquireCredentialsHandleW(nullptr, package, SECPKG_CRED_OUTBOUND, nullptr,
                                                             &wanted, nullptr, nullptr, &handle_, nullptr);
    ThrowUnless(status == SEC_E_OK, ERROR_WINHTTP_SECURE_CHANNEL_ERROR);
}

SchannelContext::~SchannelContext() {
    if (IsMade()) DeleteSecurityContext(&handle_);
}

HandshakeStep SchannelContext::Step(SchannelCredentials& credentials, const std::wstring& host,
                                    std::string& received) {
    SecBuffer input[] = {MakeBuffer(SECBUFFER_TOKEN, received.data(), received.size()),
                         MakeBuffer(SECBUFFER_EMPTY, nullptr, 0)};
    SecBuffer output[] = {MakeBuffer(SECBUFFER_TOKEN, nullptr, 0)};
    SecBufferDesc inputs = {SECBUFFER_VERSION, 2, input};
    SecBufferDesc outputs = {SECBUFFER_VERSION, 1, output};
    // Server name indication is for names only; some devices hang up on an address there.
    std::wstring target = LooksNumeric(host) ? L"" : host;
    ULONG granted = 0;
    // The first step makes the context; the following ones take what the device sent.
    const bool first = !IsMade();
    HandshakeStep step;
    step.status = InitializeSecurityContextW(
        credentials.Get(), first ? nullptr : &handle_, target.empty() ? nullptr : target.data(), contextFlags,
        0, 0, first ? nullptr : &inputs, 0, &handle_, &outputs, &granted, nullptr);
    step.token = TakeToken(output[0]);
    if (input[1].BufferType == SECBUFFER_EXTRA) step.unused = input[1].cbBuffer;
    return step;
}

std::string SchannelContext::MakeGoodbye(SchannelCredentials& credentials, const std::wstring& host) {
    DWORD shutdown = SCHANNEL_SHUTDOWN;
    SecBuffer control = MakeBuffer(SECBUFFER_TOKEN, &shutdown, sizeof shutdown);
    SecBufferDesc controls = {SECBUFFER_VERSION, 1, &control};
    if (ApplyControlToken(&handle_, &controls) != SEC_E_OK) return {};
    std::string nothing;
    return Step(credentials, host, nothing).token;
}

PeerCertificate::PeerCertificate(SchannelContext& context) {
    const SECURITY_STATUS status =
        QueryContextAttributesW(context.Get(), SECPKG_ATTR_REMOTE_CERT_CONTEXT, &certificate_);
    ThrowUnless(status == SEC_E_OK && certificate_, ERROR_WINHTTP_SECURE_INVALID_CERT);
}

}  // namespace CorvixTransport
