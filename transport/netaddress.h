/// The address of the reference transport.
#pragma once

#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "transport/http/exchangecontext.h"
#include "transport/nettransport.h"
#include "transport/refcounted.h"

namespace CorvixTransport {

/// Texts that have been handed out as pointers: each stays where it is as long as the address lives, because
/// another thread may set a new one while a caller still reads the old.
class StableText {
public:
    explicit StableText(const std::wstring& text) { Set(text.c_str()); }
    void Set(const wchar_t* text) { current_ = &*texts_.insert(text ? text : L"").first; }
    const std::wstring& Get() const { return *current_; }

private:
    std::set<std::wstring> texts_;
    const std::wstring* current_ = nullptr;
};

/// Makes requests and connections with a copy of its current settings. Thread-safe; what all its requests share
/// lives on in DeviceState when the address goes.
class NetAddress final : public RefCounted<Corvix::KyNetAddress> {
public:
    explicit NetAddress(const NetAddressOptions& options);

    unsigned long long GetConnectionParameter() override;
    const wchar_t* GetHostName() override;
    void SetHostName(const wchar_t* host) override;
    const wchar_t* GetDisplayName() override;
    HRESULT CreateHTTPRequest(Corvix::HTTPRequest** request, unsigned long port) override;
    HRESULT CreateMIBConnection(Corvix::MIBConnection** connection) override;
    void SetCredentials(const wchar_t* userName, const wchar_t* password) override;
    void SetTimeout(unsigned long milliseconds) override;
    unsigned long GetTimeout() override;
    void SetPort(const wchar_t* port) override;
    const wchar_t* GetPort() override;
    void SetSecure(bool secure) override;
    bool IsSecure() override;
    void SetMaximumBodyLength(unsigned long bytes) override;
    bool IsSameDevice(Corvix::Address* other) override;
    bool IsWebServicePortAvailable() override;

    const wchar_t* GetTypeName() override { return L"CorvixTransport::NetAddress"; }

private:
    RequestSettings SettingsFor(unsigned short port);
    SnmpOptions SnmpSettings();

    std::mutex mutex_;
    /// Host and port of the options are those of the construction; the current ones are in the two texts.
    NetAddressOptions options_;
    const std::shared_ptr<DeviceState> device_;
    StableText host_;
    StableText hostName_;
    StableText port_;
};

}  // namespace CorvixTransport
