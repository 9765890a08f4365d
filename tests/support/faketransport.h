// A device of the test's own: answers HTTP requests from a table, writes down what it was asked, and fails at
// any call that it is told to.
#pragma once

#include <windows.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "corvixdm/transport.h"

namespace CorvixTest {

/// The fakes alive in this program. A test that ends with another number than it began with leaked one.
inline int liveFakes = 0;

/// Reference counting for a fake of any interface; begins with one reference.
template <class Interface>
class Counted : public Interface {
public:
    Counted() { ++liveFakes; }
    ~Counted() override { --liveFakes; }
    long AddRef() override { return ++count_; }
    long GetRefCount() const override { return count_; }
    long Dispose() override {
        const long left = --count_;
        if (left == 0) delete this;
        return left;
    }
    const wchar_t* GetTypeName() override { return L"fake"; }

private:
    long count_ = 1;
};

struct HttpAnswer {
    unsigned long status = 200;
    std::string body;
    HRESULT result = S_OK;    ///< of GetResponse()
    bool hasResponse = true;  ///< whether a successful GetResponse() hands out a response
    std::map<std::wstring, std::wstring> headers = {};
};

/// One request as the device saw it.
struct HttpExchange {
    unsigned long port = 0;
    std::wstring uri;
    std::wstring method;
    std::wstring userName;
    std::wstring password;
    std::wstring contentType;
    std::string body;
    std::vector<std::string> calls;  ///< the operations called on the request, in order
};

/// What the device serves, and what it was asked. Shared by the test and the address.
struct FakeDevice {
    std::wstring host = L"printer.test";
    bool hasWebServicePort = true;
    std::map<std::wstring, HttpAnswer> resources;           ///< by URI; others are answered with 404
    std::function<HttpAnswer(const HttpExchange&)> answer;  ///< instead of the table
    std::function<Corvix::MIBConnection*()> connectMib;     ///< see fakemib.h; none has no SNMP
    std::vector<HttpExchange> exchanges;
    int calls = 0;
    int failingCall = 0;  ///< which call with a result fails, counted from 1; 0 is none

    HRESULT NextResult() { return ++calls == failingCall ? HRESULT_FROM_WIN32(ERROR_NETNAME_DELETED) : S_OK; }
    HttpAnswer AnswerTo(const HttpExchange& exchange) const {
        if (answer) return answer(exchange);
        const auto found = resources.find(exchange.uri);
        return found == resources.end() ? HttpAnswer{404, {}, S_OK, true} : found->second;
    }
    /// The number of requests for one resource.
    size_t RequestsFor(const std::wstring& uri) const {
        size_t count = 0;
        for (const HttpExchange& exchange : exchanges)
            count += exchange.uri == uri;
        return count;
    }
};
using FakeDevicePtr = std::shared_ptr<FakeDevice>;

class FakeResponse final : public Counted<Corvix::HTTPResponse> {
public:
    explicit FakeResponse(HttpAnswer answer) : answer_(std::move(answer)) {}
    unsigned long GetStatusCode() override { return answer_.status; }
    const wchar_t* GetHeader(const wchar_t* name) override {
        const auto found = answer_.headers.find(name);
        return found == answer_.headers.end() ? nullptr : found->second.c_str();
    }
    const wchar_t* GetContentType() override { return nullptr; }
    unsigned long GetBodyLength() override { return static_cast<unsigned long>(answer_.body.size()); }
    const unsigned char* GetBody() override {
        return answer_.body.empty() ? nullptr : reinterpret_cast<const unsigned char*>(answer_.body.c_str());
    }
    const wchar_t* GetReasonPhrase() override { return nullptr; }

private:
    HttpAnswer answer_;
};

class FakeRequest final : public Counted<Corvix::HTTPRequest> {
public:
    FakeRequest(FakeDevicePtr device, unsigned long port) : device_(std::move(device)) {
        exchange_.port = port;
    }

    void SetURI(const wchar_t* path) override { Note("SetURI", exchange_.uri, path); }
    void SetUserName(const wchar_t* userName) override { Note("SetUserName", exchange_.userName, userName); }
    void SetPassword(const wchar_t* password) override { Note("SetPassword", exchange_.password, password); }
    HRESULT SetMethod(const wchar_t* method) override {
        Note("SetMethod", exchange_.method, method);
        return device_->NextResult();
    }
    void AddHeader(const wchar_t*, const wchar_t*) override { exchange_.calls.emplace_back("AddHeader"); }
    void SetContentType(const wchar_t* type) override { Note("SetContentType", exchange_.contentType, type); }
    HRESULT Send(const unsigned char* body, unsigned long length) override {
        exchange_.calls.emplace_back("Send");
        exchange_.body.assign(reinterpret_cast<const char*>(body), length);
        return device_->NextResult();
    }
    HRESULT GetResponse(Corvix::HTTPResponse** response) override {
        exchange_.calls.emplace_back("GetResponse");
        const HRESULT result = device_->NextResult();
        if (FAILED(result)) return result;
        device_->exchanges.push_back(exchange_);
        HttpAnswer answer = device_->AnswerTo(exchange_);
        if (FAILED(answer.result)) return answer.result;
        if (answer.hasResponse) *response = new FakeResponse(std::move(answer));
        return S_OK;
    }
    void SetRequestParameter(unsigned long) override { exchange_.calls.emplace_back("SetRequestParameter"); }
    unsigned long GetLastErrorCode() override { return ERROR_NETNAME_DELETED; }
    void Cancel() override {}
    void SetTimeout(unsigned long) override {}

private:
    void Note(const char* call, std::wstring& field, const wchar_t* text) {
        exchange_.calls.emplace_back(call);
        field = text;
    }

    FakeDevicePtr device_;
    HttpExchange exchange_;
};

/// An address of either kind: Corvix::KyNetAddress, or Corvix::Address alone.
template <class Interface>
class FakeAddressOf : public Counted<Interface> {
public:
    explicit FakeAddressOf(FakeDevicePtr device) : device_(std::move(device)) {}

    unsigned long long GetConnectionParameter() override { return 0; }
    const wchar_t* GetHostName() override { return device_->host.c_str(); }
    void SetHostName(const wchar_t* host) override { device_->host = host; }
    const wchar_t* GetDisplayName() override { return nullptr; }
    HRESULT CreateHTTPRequest(Corvix::HTTPRequest** request, unsigned long port) override {
        const HRESULT result = device_->NextResult();
        if (SUCCEEDED(result)) *request = new FakeRequest(device_, port);
        return result;
    }
    HRESULT CreateMIBConnection(Corvix::MIBConnection** connection) override {
        if (!device_->connectMib) return E_NOTIMPL;
        const HRESULT result = device_->NextResult();
        if (SUCCEEDED(result)) *connection = device_->connectMib();
        return result;
    }
    void SetCredentials(const wchar_t*, const wchar_t*) override {}
    void SetTimeout(unsigned long) override {}
    unsigned long GetTimeout() override { return 0; }
    void SetPort(const wchar_t* port) override { port_ = port; }
    const wchar_t* GetPort() override { return port_.c_str(); }
    void SetSecure(bool secure) override { secure_ = secure; }
    bool IsSecure() override { return secure_; }
    void SetMaximumBodyLength(unsigned long) override {}
    bool IsSameDevice(Corvix::Address* other) override { return other == this; }

protected:
    FakeDevice& Device() const { return *device_; }

private:
    FakeDevicePtr device_;
    std::wstring port_;
    bool secure_ = false;
};

using FakeLocalAddress = FakeAddressOf<Corvix::Address>;

class FakeAddress final : public FakeAddressOf<Corvix::KyNetAddress> {
public:
    using FakeAddressOf::FakeAddressOf;
    bool IsWebServicePortAvailable() override { return Device().hasWebServicePort; }
};

}  // namespace CorvixTest
