/// Checks the certificate of a device.
#pragma once

#include <string>

#include "transport/sockets/failure.h"

#include <wincrypt.h>

namespace CorvixTransport {

/// What the security flags of a request let pass, as bits that the system's own check understands:
/// INTERNET_FLAG_IGNORE_CERT_CN_INVALID a certificate for another name, INTERNET_FLAG_IGNORE_CERT_DATE_INVALID
/// one that is out of date. Both together let pass an unknown issuer too, thus a self-signed certificate:
/// without name and date the device is not identified anyway. All other flags are ignored.
unsigned long LeniencyOf(unsigned long securityFlags);

/// Throws one of the ERROR_WINHTTP_SECURE_... codes when the certificate is refused. Revocation is not
/// checked: printers have no lists of it, and the check would ask other hosts.
void CheckCertificate(PCCERT_CONTEXT certificate, const std::wstring& host, unsigned long leniency);

}  // namespace CorvixTransport
