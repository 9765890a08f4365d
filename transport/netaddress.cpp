#include "transport/netaddress.h"

#include "transport/http/netrequest.h"
#include "utilslib/stringutils.h"

namespace CorvixTransport {

namespace {

using Lock = std::lock_guard<std::mutex>;

}  // namespace

NetAddress::NetAddress(const NetAddressOptions& options)
    : options_(options),
      device_(std::make_shared<DeviceState>()),
      host_(options.host),
      hostName_(options.hostName.empty() ? options.host : options.hostName),
      port_(options.port) {}

unsigned long long NetAddress::GetConnectionParameter() { return options_.securityFlags; }

const wchar_t* NetAddress::GetHostName() {
    const Lock lock(mutex_);
    return hostName_.Get().c_str();
}

void NetAddress::SetHostName(const wchar_t* host) {
    RunGuarded([&] {
        const Lock lock(mutex_);
        host_.Set(host);
        hostName_.Set(host);
    });
}

const wchar_t* NetAddress::GetDisplayName() {
    return options_.displayName.empty() ? nullptr : options_.displayName.c_str();
}

// Everything is copied under the lock, so that a request never sees half of a change.
RequestSettings NetAddress::SettingsFor(unsigned short port) {
    const Lock lock(mutex_);
    RequestSettings settings;
    settings.device = device_;
    settings.host = host_.Get();
    settings.port = port;
    settings.realPort = options_.portMap.Tcp(port);
    settings.secure = options_.secure;
    settings.securityFlags = options_.securityFlags;
    settings.credentials = {KyUtils::ToUtf8(options_.userName), KyUtils::ToUtf8(options_.password)};
    settings.timeoutMilliseconds = options_.timeoutMilliseconds;
    settings.responseLimitMilliseconds = options_.responseLimitMilliseconds;
    settings.maximumBodyLength = options_.maximumBodyLength;
    settings.observer = options_.observer;
    settings.stopEvent = options_.stopEvent;
    return settings;
}

HRESULT NetAddress::CreateHTTPRequest(Corvix::HTTPRequest** request, unsigned long port) {
    if (!request || port == 0 || port > 65535) return E_INVALIDARG;
    const unsigned long error = RunGuarded([&] {
        *request = MakeRefCounted<NetRequest>(SettingsFor(static_cast<unsigned short>(port))).Release();
    });
    return HRESULT_FROM_WIN32(error);
}

// Host and port are those of the address, whatever the caller put into the SNMP options.
SnmpOptions NetAddress::SnmpSettings() {
    const Lock lock(mutex_);
    SnmpOptions snmp = options_.snmp;
    snmp.host = host_.Get();
    snmp.port = options_.portMap.Udp(161);
    snmp.stopEvent = options_.stopEvent;
    return snmp;
}

// The out argument is set only once the connection is made.
HRESULT NetAddress::CreateMIBConnection(Corvix::MIBConnection** connection) {
    if (!connection) return E_INVALIDARG;
    Corvix::MIBConnection* made = nullptr;
    const unsigned long error = RunGuarded([&] { made = CreateSnmpConnection(SnmpSettings()); });
    if (error != ERROR_SUCCESS) return HRESULT_FROM_WIN32(error);
    if (!made) return GetLastError() ? HRESULT_FROM_WIN32(GetLastError()) : E_FAIL;
    *connection = made;
    return S_OK;
}

void NetAddress::SetCredentials(const wchar_t* userName, const wchar_t* password) {
    RunGuarded([&] {
        const Lock lock(mutex_);
        options_.userName = userName ? userName : L"";
        options_.password = password ? password : L"";
    });
}

void NetAddress::SetTimeout(unsigned long milliseconds) {
    const Lock lock(mutex_);
    // 0 would mean that no answer is ever in time.
    if (milliseconds != 0) options_.timeoutMilliseconds = milliseconds;
}

unsigned long NetAddress::GetTimeout() {
    const Lock lock(mutex_);
    return options_.timeoutMilliseconds;
}

void NetAddress::SetPort(const wchar_t* port) {
    RunGuarded([&] {
        const Lock lock(mutex_);
        port_.Set(port);
    });
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

// Compares what the addresses call themselves, since several names may lead to one host on purpose.
bool NetAddress::IsSameDevice(Corvix::Address* other) {
    if (!other || !other->GetHostName() || !other->GetPort()) return false;
    const std::wstring_view host = other->GetHostName();
    const std::wstring_view port = other->GetPort();
    return KyUtils::EqualsIgnoringCase(host, GetHostName()) && port == GetPort();
}

bool NetAddress::IsWebServicePortAvailable() { return options_.webServicePortAvailable; }

Corvix::KyNetAddress* CreateNetAddress(const NetAddressOptions& options) { return new NetAddress(options); }

}  // namespace CorvixTransport
