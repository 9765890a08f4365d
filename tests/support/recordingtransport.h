// A transport that writes down every call made of it, answers what the test scripts, and fails where it is
// told to.
#pragma once

#include <string>
#include <vector>

#include "corvixdm/transport.h"
#include "utilslib/disposable.h"
#include "utilslib/stringutils.h"

namespace Corvix::Testing {

/// What goes over one transport: its script, and what was called. Outlives the objects of the transport.
struct Wire {
    // The script.
    std::string answer;                ///< the body of the response
    unsigned long status = 200;        ///< its status
    const wchar_t* port = L"631";      ///< the address's port
    unsigned long errorCode = 0x2EFD;  ///< what a failed call leaves
    int failingCall = -1;              ///< counted from 0: this call fails, in the way that it can
    bool extended = true;              ///< requests can be written piece by piece
    bool answersWithoutBody = false;

    // What happened.
    std::vector<std::string> calls;
    std::string body;  ///< every byte sent or written

    /// Notes a call; true when it has to fail.
    bool Call(std::string text) {
        calls.push_back(std::move(text));
        return static_cast<int>(calls.size()) - 1 == failingCall;
    }
    bool Call(const char* name, const wchar_t* argument) {
        return Call(std::string(name) + " " + (argument ? KyUtils::ToUtf8(argument) : "(null)"));
    }
    bool Call(const char* name, unsigned long long argument) {
        return Call(name + (" " + std::to_string(argument)));
    }
};

class RecordingResponse final : public HTTPResponse, public KyUtils::IDisposableImpl {
public:
    explicit RecordingResponse(Wire& wire) : wire_(wire) {}
    unsigned long GetStatusCode() override { return wire_.Call("GetStatusCode") ? 503 : wire_.status; }
    const wchar_t* GetHeader(const wchar_t*) override { return nullptr; }
    const wchar_t* GetContentType() override { return L"application/ipp"; }
    unsigned long GetBodyLength() override { return static_cast<unsigned long>(wire_.answer.size()); }
    const unsigned char* GetBody() override {
        if (wire_.Call("GetBody") || wire_.answersWithoutBody) return nullptr;
        return reinterpret_cast<const unsigned char*>(wire_.answer.c_str());
    }
    const wchar_t* GetReasonPhrase() override { return nullptr; }

private:
    Wire& wire_;
};

template <class Interface>
class RecordingRequestOf : public Interface, public KyUtils::IDisposableImpl {
public:
    explicit RecordingRequestOf(Wire& wire) : wire_(wire) {}
    ~RecordingRequestOf() override { wire_.calls.push_back("~request"); }
    void SetURI(const wchar_t* path) override { wire_.Call("SetURI", path); }
    void SetUserName(const wchar_t* userName) override { wire_.Call("SetUserName", userName); }
    void SetPassword(const wchar_t* password) override { wire_.Call("SetPassword", password); }
    HRESULT SetMethod(const wchar_t* method) override { return Result(wire_.Call("SetMethod", method)); }
    void AddHeader(const wchar_t* name, const wchar_t* value) override {
        wire_.Call("AddHeader", (std::wstring(name) + L": " + value).c_str());
    }
    void SetContentType(const wchar_t* type) override { wire_.Call("SetContentType", type); }
    HRESULT Send(const unsigned char* body, unsigned long length) override {
        if (wire_.Call("Send")) return E_ABORT;
        wire_.body.append(reinterpret_cast<const char*>(body), length);
        return S_OK;
    }
    HRESULT GetResponse(HTTPResponse** response) override {
        if (wire_.Call("GetResponse")) return E_ABORT;
        auto* made = new RecordingResponse(wire_);
        made->AddRef();
        *response = made;
        return S_OK;
    }
    void SetRequestParameter(unsigned long value) override { wire_.Call("SetRequestParameter", value); }
    unsigned long GetLastErrorCode() override {
        wire_.calls.push_back("GetLastErrorCode");
        return wire_.errorCode;
    }
    void Cancel() override { wire_.Call("Cancel"); }
    void SetTimeout(unsigned long milliseconds) override { wire_.Call("SetTimeout", milliseconds); }

protected:
    static HRESULT Result(bool failing) { return failing ? E_ABORT : S_OK; }
    Wire& wire_;
};

using RecordingPlainRequest = RecordingRequestOf<HTTPRequest>;

class RecordingRequest final : public RecordingRequestOf<KyHTTPRequestEx> {
public:
    using RecordingRequestOf::RecordingRequestOf;
    unsigned long long GetBytesWritten() override { return wire_.body.size(); }
    HRESULT GetResult() override { return Result(wire_.Call("GetResult")); }
    HRESULT Write(const unsigned char* piece, unsigned long length, bool last) override {
        if (wire_.Call(last ? "Write last" : "Write", length)) return E_ABORT;
        if (length > 0) wire_.body.append(reinterpret_cast<const char*>(piece), length);
        return S_OK;
    }
    unsigned long GetResponseStatus() override { return 0; }
    void SetTotalBodyLength(unsigned long length) override { wire_.Call("SetTotalBodyLength", length); }
};

class RecordingAddress final : public KyNetAddress, public KyUtils::IDisposableImpl {
public:
    explicit RecordingAddress(Wire& wire) : wire_(wire) {}
    unsigned long long GetConnectionParameter() override {
        wire_.Call("GetConnectionParameter");
        return 0x7777;
    }
    const wchar_t* GetHostName() override { return L"10.0.0.5"; }
    void SetHostName(const wchar_t*) override {}
    const wchar_t* GetDisplayName() override { return nullptr; }
    HRESULT CreateHTTPRequest(HTTPRequest** request, unsigned long port) override {
        if (wire_.Call("CreateHTTPRequest", port)) return E_ABORT;
        if (wire_.extended) return Hand(new RecordingRequest(wire_), request);
        return Hand(new RecordingPlainRequest(wire_), request);
    }
    HRESULT CreateMIBConnection(MIBConnection**) override { return E_NOTIMPL; }
    void SetCredentials(const wchar_t*, const wchar_t*) override {}
    void SetTimeout(unsigned long) override {}
    unsigned long GetTimeout() override { return 0; }
    void SetPort(const wchar_t* port) override { wire_.Call("SetPort", port); }
    const wchar_t* GetPort() override {
        wire_.Call("GetPort");
        return wire_.port;
    }
    void SetSecure(bool secure) override { wire_.Call("SetSecure", secure ? 1 : 0); }
    bool IsSecure() override { return false; }
    void SetMaximumBodyLength(unsigned long) override {}
    bool IsSameDevice(Address*) override { return false; }
    bool IsWebServicePortAvailable() override { return false; }

private:
    template <class Request>
    static HRESULT Hand(Request* made, HTTPRequest** request) {
        made->AddRef();
        *request = made;
        return S_OK;
    }

    Wire& wire_;
};

}  // namespace Corvix::Testing
