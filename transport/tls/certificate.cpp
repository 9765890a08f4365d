#include "transport/tls/certificate.h"

#include <winhttp.h>

#include <memory>

namespace CorvixTransport {

namespace {

struct ChainDeleter {
    void operator()(const CERT_CHAIN_CONTEXT* chain) const { CertFreeCertificateChain(chain); }
};
using Chain = std::unique_ptr<const CERT_CHAIN_CONTEXT, ChainDeleter>;

struct PolicyError {
    long status;
    unsigned long code;
};

constexpr PolicyError policyErrors[] = {
    {CERT_E_CN_NO_MATCH, ERROR_WINHTTP_SECURE_CERT_CN_INVALID},
    {CERT_E_EXPIRED, ERROR_WINHTTP_SECURE_CERT_DATE_INVALID},
    {CERT_E_VALIDITYPERIODNESTING, ERROR_WINHTTP_SECURE_CERT_DATE_INVALID},
    {CERT_E_UNTRUSTEDROOT, ERROR_WINHTTP_SECURE_INVALID_CA},
    {CERT_E_UNTRUSTEDCA, ERROR_WINHTTP_SECURE_INVALID_CA},
    {CERT_E_CHAINING, ERROR_WINHTTP_SECURE_INVALID_CA},
    {CERT_E_WRONG_USAGE, ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE},
    {CERT_E_REVOKED, ERROR_WINHTTP_SECURE_CERT_REVOKED},
};

// The codes that WinHTTP reports for the same faults, which callers know.
unsigned long ErrorOf(DWORD status) {
    for (const PolicyError& error : policyErrors) {
        if (static_cast<DWORD>(error.status) == status) return error.code;
    }
    return ERROR_WINHTTP_SECURE_INVALID_CERT;
}

// Built even where it will not be trusted: the policy says what exactly is wrong with it.
Chain BuildChain(PCCERT_CONTEXT certificate) {
    CERT_CHAIN_PARA parameters = {};
    parameters.cbSize = sizeof parameters;
    // URLs in a device's certificate are not fetched.
    constexpr DWORD flags = CERT_CHAIN_CACHE_ONLY_URL_RETRIEVAL;
    PCCERT_CHAIN_CONTEXT chain = nullptr;
    const BOOL built = CertGetCertificateChain(nullptr, certificate, nullptr, certificate->hCertStore,
                                               &parameters, flags, nullptr, &chain);
    ThrowUnless(built != FALSE, ERROR_WINHTTP_SECURE_INVALID_CERT);
    return Chain(chain);
}

}  // namespace

unsigned long LeniencyOf(unsigned long securityFlags) {
    constexpr unsigned long both =
        SECURITY_FLAG_IGNORE_CERT_CN_INVALID | SECURITY_FLAG_IGNORE_CERT_DATE_INVALID;
    const unsigned long asked = securityFlags & both;
    return asked == both ? both | SECURITY_FLAG_IGNORE_UNKNOWN_CA : asked;
}

void CheckCertificate(PCCERT_CONTEXT certificate, const std::wstring& host, unsigned long leniency) {
    const Chain chain = BuildChain(certificate);
    // The policy takes a name that it could change.
    std::wstring name = host;
    SSL_EXTRA_CERT_CHAIN_POLICY_PARA server = {};
    server.cbSize = sizeof server;
    server.dwAuthType = AUTHTYPE_SERVER;
    server.fdwChecks = leniency;
    server.pwszServerName = name.data();
    CERT_CHAIN_POLICY_PARA policy = {};
    policy.cbSize = sizeof policy;
    policy.pvExtraPolicyPara = &server;
    CERT_CHAIN_POLICY_STATUS status = {};
    status.cbSize = sizeof status;
    const BOOL checked =
        CertVerifyCertificateChainPolicy(CERT_CHAIN_POLICY_SSL, chain.get(), &policy, &status);
    ThrowUnless(checked != FALSE, ERROR_WINHTTP_SECURE_INVALID_CERT);
    ThrowUnless(status.dwError == 0, ErrorOf(status.dwError));
}

}  // namespace CorvixTransport
