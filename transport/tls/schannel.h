/// Owners of what Schannel hands out.
#pragma once

#include <string>
#include <string_view>

#include "transport/sockets/failure.h"

#ifndef SECURITY_WIN32
#define SECURITY_WIN32
#endif
#include <security.h>

#include <schannel.h>
#include <wincrypt.h>

namespace CorvixTransport {

class SchannelCredentials {
public:
    SchannelCredentials();
    ~SchannelCredentials() { FreeCredentialsHandle(&handle_); }
    SchannelCredentials(const SchannelCredentials&) = delete;
    SchannelCredentials& operator=(const SchannelCredentials&) = delete;

    CredHandle* Get() { return &handle_; }

private:
    CredHandle handle_;
};

/// What one step of a handshake came to.
struct HandshakeStep {
    SECURITY_STATUS status = SEC_E_OK;
    /// To be sent to the device.
    std::string token;
    /// How many of the bytes handed in are left over, at their end.
    size_t unused = 0;
};

class SchannelContext {
public:
    SchannelContext() { SecInvalidateHandle(&handle_); }
    ~SchannelContext();
    SchannelContext(const SchannelContext&) = delete;
    SchannelContext& operator=(const SchannelContext&) = delete;

    /// One step of a handshake, with the bytes that have come from the device so far.
    HandshakeStep Step(SchannelCredentials& credentials, const std::wstring& host, std::string& received);
    /// The message that ends the connection.
    std::string MakeGoodbye(SchannelCredentials& credentials, const std::wstring& host);

    bool IsMade() const { return SecIsValidHandle(&handle_); }
    CtxtHandle* Get() { return &handle_; }

private:
    CtxtHandle handle_;
};

/// The certificate that the device showed.
class PeerCertificate {
public:
    explicit PeerCertificate(SchannelContext& context);
    ~PeerCertificate() { CertFreeCertificateContext(certificate_); }
    PeerCertificate(const PeerCertificate&) = delete;
    PeerCertificate& operator=(const PeerCertificate&) = delete;

    PCCERT_CONTEXT Get() const { return certificate_; }

private:
    PCCERT_CONTEXT certificate_ = nullptr;
};

}  // namespace CorvixTransport
