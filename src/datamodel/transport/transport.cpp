// The interfaces that callers implement: the library ships what every such class shares.
#include "corvixdm/transport.h"

namespace Corvix {

HTTPResponse::HTTPResponse() = default;
HTTPResponse::HTTPResponse(const HTTPResponse&) : IDisposable() {}
HTTPResponse& HTTPResponse::operator=(const HTTPResponse&) { return *this; }
HTTPResponse::~HTTPResponse() = default;

HTTPRequest::HTTPRequest() = default;
HTTPRequest::HTTPRequest(const HTTPRequest&) : IDisposable() {}
HTTPRequest& HTTPRequest::operator=(const HTTPRequest&) { return *this; }
HTTPRequest::~HTTPRequest() = default;

KyHTTPRequestEx::KyHTTPRequestEx() = default;
KyHTTPRequestEx::KyHTTPRequestEx(const KyHTTPRequestEx& other) : IDisposable(), HTTPRequest(other) {}
KyHTTPRequestEx& KyHTTPRequestEx::operator=(const KyHTTPRequestEx&) { return *this; }
KyHTTPRequestEx::~KyHTTPRequestEx() = default;

MIBConnection::MIBConnection() = default;
MIBConnection::MIBConnection(const MIBConnection&) : IDisposable() {}
MIBConnection& MIBConnection::operator=(const MIBConnection&) { return *this; }
MIBConnection::~MIBConnection() = default;

Stream::Stream() = default;
Stream::Stream(const Stream&) : IDisposable() {}
Stream& Stream::operator=(const Stream&) { return *this; }
Stream::~Stream() = default;

Notifier::Notifier() = default;
Notifier::Notifier(const Notifier&) : IDisposable() {}
Notifier& Notifier::operator=(const Notifier&) { return *this; }
Notifier::~Notifier() = default;

Address::Address() = default;
Address::Address(const Address&) : IDisposable() {}
Address& Address::operator=(const Address&) { return *this; }
Address::~Address() = default;

KyNetAddress::KyNetAddress() = default;
KyNetAddress::KyNetAddress(const KyNetAddress& other) : IDisposable(), Address(other) {}
KyNetAddress& KyNetAddress::operator=(const KyNetAddress&) { return *this; }
KyNetAddress::~KyNetAddress() = default;

}  // namespace Corvix
