#include "transport/netaddress.h"

#include "transport/text.h"

namespace CorvixTransport {

namespace {

using Lock = std::lock_guard<std::mutex>;

}  // namespace

NetAddress::NetAddress(const NetAddressOptions& options)
    : options_(options), host_(options.host), port_(options.port) {}

unsigned long long NetAddress::GetConnectionParameter() { return options_.securityFlags; }

const wchar_t* NetAddress::GetHostName() {
    const Lock lock(mutex_);
    return host_.Get().c_str();
}

void NetAddress::SetHostName(const wchar_t* host) {
    const Lock lock(mutex_);
    host_.Set(host);
}

const wchar_t* NetAddress::GetDisplayName() {
    return options_.displayName.empty() ? nullptr : options_.displayName.c_str();
}

HRESULT NetAddress::CreateHTTPRequest(Corvix::HTTPRequest**, unsigned long) { return E_NOTIMPL; }

HRESULT NetAddress::CreateMIBConnection(Corvix::MIBConnection** connection) {
    if (!connection) return E_INVALIDARG;
    SnmpOptions snmp;
    {
        const Lock lock(mutex_);
        snmp = options_.snmp;
        snmp.host = host_.Get();
        snmp.port = options_.portMap.Udp(161);
    }
    Corvix::MIBConnection* made = CreateSnmpConnection(snmp);
    if (!made) return GetLastError() ? HRESULT_FROM_WIN32(GetLastError()) : E_FAIL;
    *connection = made;
    return S_OK;
}

void NetAddress::SetCredentials(const wchar_t* userName, const wchar_t* password) {
    const Lock lock(mutex_);
    options_.userName = userName ? userName : L"";
    options_.password = password ? password : L"";
}

void NetAddress::SetTimeout(unsigned long milliseconds) {
    const Lock lock(mutex_);
    options_.timeoutMilliseconds = milliseconds;
}

unsigned long NetAddress::GetTimeout() {
    const Lock lock(mutex_);
    return options_.timeoutMilliseconds;
}

void NetAddress::SetPort(const wchar_t* port) {
    const Lock lock(mutex_);
    port_.Set(port);
}

const wchar_t* NetAddress::GetPort() {
    const Lock lock(mutex_);
    return port_.Get().c_str();
}

void NetAddress::SetSecure(bool secure) {
    const Lock lock(mutex_);
    options_.secure = secure;
}

bool NetAddress::IsSecure() {
    const Lock lock(mutex_);
    return options_.secure;
}

void NetAddress::SetMaximumBodyLength(unsigned long bytes) {
    const Lock lock(mutex_);
    options_.maximumBodyLength = bytes;
}

bool NetAddress::IsSameDevice(Corvix::Address* other) {
    if (!other || !other->GetHostName() || !other->GetPort()) return false;
    // The other's texts are read before our lock is taken: it may be this very address.
    const std::wstring host = other->GetHostName();
    const std::wstring port = other->GetPort();
    const Lock lock(mutex_);
    return EqualsIgnoringCase<wchar_t>(host, host_.Get()) && port == port_.Get();
}

bool NetAddress::IsWebServicePortAvailable() { return options_.webServicePortAvailable; }

Corvix::KyNetAddress* CreateNetAddress(const NetAddressOptions& options) { return new NetAddress(options); }

}  // namespace CorvixTransport
