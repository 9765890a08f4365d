// A device of the test's own, and the one transport to it: answers HTTP requests from a table or a script, writes
// down what it was asked, and fails at any call that it is told to. Several threads may use it at once.
#pragma once

#include <windows.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "corvixdm/transport.h"

namespace CorvixTest {

/// The fakes alive in this program. A test that ends with another number than it began with leaked one.
inline std::atomic<int> liveFakes = 0;

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
    std::atomic<long> count_ = 1;
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
    std::string body;  ///< all that was sent or written, chunk frames included
    bool streamed = false;
    std::vector<std::string> calls;  ///< the operations called on the request, in order
};

/// What the device serves, and what it was asked. Shared by the test and the address.
struct FakeDevice {
    std::wstring host = L"printer.test";
    bool hasWebServicePort = true;
    std::map<std::wstring, HttpAnswer> resources;           ///< by URI; others are answered with 404
    std::function<HttpAnswer(const HttpExchange&)> answer;  ///< instead of the table
    std::function<bool(const HttpExchange&)> hangs;         ///< which requests are answered only by Cancel()
    std::function<Corvix::MIBConnection*()> connectMib;     ///< see fakemib.h; none has no SNMP
    /// Takes the pieces of streamed bodies, which are then neither kept nor noted.
    std::function<HRESULT(const unsigned char*, unsigned long)> takePiece;
    bool isExtended = true;  ///< whether requests can be written piece by piece
    unsigned long earlyStatus =
        0;  ///< with which a streamed body is answered before its end; 0 is not at all

    std::vector<HttpExchange> exchanges;
    std::string written;           ///< the last streamed body, as far as it came
    std::vector<std::string> log;  ///< every call of address and requests with its argument
    std::atomic<int> calls = 0;
    std::atomic<int> failingCall = 0;  ///< which call with a result fails, counted from 1; 0 is none
    std::atomic<bool> failsForGood = false;
    std::atomic<int> hanging = 0;  ///< those that wait to be cancelled
    std::mutex lock;               ///< held while the lists above are written to

    HRESULT NextResult() {
        const int call = ++calls;
        const int failing = failingCall;
        const bool fails = failing > 0 && (failsForGood ? call >= failing : call == failing);
        return fails ? HRESULT_FROM_WIN32(ERROR_NETNAME_DELETED) : S_OK;
    }
    void Note(std::string call) {
        const std::lock_guard<std::mutex> guard(lock);
        log.push_back(std::move(call));
    }
    void Keep(const HttpExchange& exchange) {
        const std::lock_guard<std::mutex> guard(lock);
        exchanges.push_back(exchange);
    }
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

template <class Interface>
class FakeRequestOf : public Counted<Interface> {
public:
    FakeRequestOf(FakeDevicePtr device, unsigned long port) : device_(std::move(device)) {
        exchange_.port = port;
    }
    ~FakeRequestOf() override {
        device_->Note("~request");
        CloseHandle(cancelled_);
    }

    void SetURI(const wchar_t* path) override { Note("SetURI", exchange_.uri = path); }
    void SetUserName(const wchar_t* name) override { Note("SetUserName", exchange_.userName = name); }
    void SetPassword(const wchar_t* password) override { Note("SetPassword", exchange_.password = password); }
    HRESULT SetMethod(const wchar_t* method) override {
        Note("SetMethod", exchange_.method = method);
        return device_->NextResult();
    }
    void AddHeader(const wchar_t* name, const wchar_t* value) override {
        Note("AddHeader", std::wstring(name) + L": " + value);
    }
    void SetContentType(const wchar_t* type) override {
        Note("SetContentType", exchange_.contentType = type);
    }
    HRESULT Send(const unsigned char* body, unsigned long length) override {
        Note("Send");
        exchange_.body.assign(reinterpret_cast<const char*>(body), length);
        return device_->NextResult();
    }
    HRESULT GetResponse(Corvix::HTTPResponse** response) override {
        Note("GetResponse");
        const HRESULT result = device_->NextResult();
        if (FAILED(result)) return result;
        if (device_->hangs && device_->hangs(exchange_)) return Hang();
        device_->Keep(exchange_);
        HttpAnswer answer = device_->AnswerTo(exchange_);
        if (FAILED(answer.result)) return answer.result;
        if (answer.hasResponse) *response = new FakeResponse(std::move(answer));
        return S_OK;
    }
    void SetRequestParameter(unsigned long value) override {
        Note("SetRequestParameter", std::to_wstring(value));
    }
    unsigned long GetLastErrorCode() override { return ERROR_NETNAME_DELETED; }
    void Cancel() override { SetEvent(cancelled_); }
    void SetTimeout(unsigned long milliseconds) override {
        Note("SetTimeout", std::to_wstring(milliseconds));
    }

protected:
    void Note(const char* call, const std::wstring& argument = {}) {
        exchange_.calls.emplace_back(call);
        device_->Note(argument.empty() ? call : call + (" " + std::string(argument.begin(), argument.end())));
    }

    FakeDevicePtr device_;
    HttpExchange exchange_;

private:
    HRESULT Hang() {
        ++device_->hanging;
        WaitForSingleObject(cancelled_, INFINITE);
        --device_->hanging;
        return E_ABORT;
    }

    const HANDLE cancelled_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
};

using FakeRequest = FakeRequestOf<Corvix::HTTPRequest>;

class FakeStreamRequest final : public FakeRequestOf<Corvix::KyHTTPRequestEx> {
public:
    using FakeRequestOf::FakeRequestOf;
    unsigned long long GetBytesWritten() override { return exchange_.body.size(); }
    HRESULT GetResult() override {
        Note("GetResult");
        return device_->NextResult();
    }
    HRESULT Write(const unsigned char* piece, unsigned long length, bool last) override {
        exchange_.streamed = true;
        if (device_->takePiece) return device_->takePiece(piece, length);
        Note(last ? "Write last" : "Write", std::to_wstring(length));
        const HRESULT result = device_->NextResult();
        if (FAILED(result) || length == 0) return result;
        exchange_.body.append(reinterpret_cast<const char*>(piece), length);
        const std::lock_guard<std::mutex> guard(device_->lock);
        device_->written = exchange_.body;
        return S_OK;
    }
    unsigned long GetResponseStatus() override { return device_->earlyStatus; }
    void SetTotalBodyLength(unsigned long length) override {
        Note("SetTotalBodyLength", std::to_wstring(length));
    }
};

/// An address of either kind: Corvix::KyNetAddress, or Corvix::Address alone.
template <class Interface>
class FakeAddressOf : public Counted<Interface> {
public:
    explicit FakeAddressOf(FakeDevicePtr device) : device_(std::move(device)) {}

    unsigned long long GetConnectionParameter() override { return 0x7777; }
    const wchar_t* GetHostName() override { return device_->host.c_str(); }
    void SetHostName(const wchar_t* host) override { device_->host = host; }
    const wchar_t* GetDisplayName() override { return nullptr; }
    HRESULT CreateHTTPRequest(Corvix::HTTPRequest** request, unsigned long port) override {
        device_->Note("CreateHTTPRequest " + std::to_string(port));
        const HRESULT result = device_->NextResult();
        if (FAILED(result)) return result;
        if (device_->isExtended) {
            *request = new FakeStreamRequest(device_, port);
        } else {
            *request = new FakeRequest(device_, port);
        }
        return S_OK;
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
    void SetSecure(bool secure) override {
        device_->Note(secure ? "SetSecure 1" : "SetSecure 0");
        secure_ = secure;
    }
    bool IsSecure() override { return secure_; }
    void SetMaximumBodyLength(unsigned long) override {}
    bool IsSameDevice(Corvix::Address* other) override { return other == this; }

protected:
    FakeDevice& Device() const { return *device_; }

private:
    FakeDevicePtr device_;
    std::wstring port_;
    std::atomic<bool> secure_ = false;
};

using FakeLocalAddress = FakeAddressOf<Corvix::Address>;

class FakeAddress final : public FakeAddressOf<Corvix::KyNetAddress> {
public:
    using FakeAddressOf::FakeAddressOf;
    bool IsWebServicePortAvailable() override { return Device().hasWebServicePort; }
};

}  // namespace CorvixTest
