// A printer that takes everything and keeps nothing, so that what is measured is the library alone.
#pragma once

#include <windows.h>

#include <atomic>
#include <string>

#include "corvixdm/transport.h"
#include "support/faketransport.h"
#include "support/ippbytes.h"

namespace CorvixBench {

using CorvixTest::Counted;

/// Where the bytes end up. Both sides of a comparison hand theirs to it.
class Sink {
public:
    virtual ~Sink() = default;
    virtual HRESULT Take(const unsigned char* bytes, unsigned long length) {
        taken_ += length;
        last_ = length > 0 ? bytes[length - 1] : 0;
        return S_OK;
    }
    unsigned long long Taken() const { return taken_; }

private:
    unsigned long long taken_ = 0;
    volatile unsigned char last_ = 0;
};

struct DiscardingPrinter {
    Sink sink;
    /// From the first piece of a job on, whatever else is asked is not answered until it is cancelled.
    bool hangsDuringJobs = false;
    std::atomic<bool> hangs{false};
    std::atomic<int> hanging{0};  ///< those that wait for such an answer
};

class DiscardedResponse final : public Counted<Corvix::HTTPResponse> {
public:
    explicit DiscardedResponse(std::string body) : body_(std::move(body)) {}
    unsigned long GetStatusCode() override { return 200; }
    const wchar_t* GetHeader(const wchar_t*) override { return nullptr; }
    const wchar_t* GetContentType() override { return L"application/ipp"; }
    unsigned long GetBodyLength() override { return static_cast<unsigned long>(body_.size()); }
    const unsigned char* GetBody() override { return reinterpret_cast<const unsigned char*>(body_.c_str()); }
    const wchar_t* GetReasonPhrase() override { return nullptr; }

private:
    const std::string body_;
};

class DiscardingRequest final : public Counted<Corvix::KyHTTPRequestEx> {
public:
    explicit DiscardingRequest(DiscardingPrinter& printer) : printer_(printer) {}
    ~DiscardingRequest() override { CloseHandle(cancelled_); }
    void SetURI(const wchar_t*) override {}
    void SetUserName(const wchar_t*) override {}
    void SetPassword(const wchar_t*) override {}
    HRESULT SetMethod(const wchar_t*) override { return S_OK; }
    void AddHeader(const wchar_t*, const wchar_t*) override {}
    void SetContentType(const wchar_t*) override {}
    HRESULT Send(const unsigned char*, unsigned long) override { return S_OK; }
    HRESULT GetResponse(Corvix::HTTPResponse** response) override {
        if (printer_.hangs && !streamed_) {
            ++printer_.hanging;
            WaitForSingleObject(cancelled_, INFINITE);
            --printer_.hanging;
            return E_ABORT;
        }
        using namespace Corvix::Ipp::Testing;  // NOLINT: it spells messages
        *response = new DiscardedResponse(
            Body(Value(0x45, "printer-uri-supported", "ipp://discard/ipp/print") +
                 Value(0x23, "printer-state", Int(3)) + Keyword("printer-state-reasons", "none")));
        return S_OK;
    }
    void SetRequestParameter(unsigned long) override {}
    unsigned long GetLastErrorCode() override { return ERROR_CANCELLED; }
    void Cancel() override { SetEvent(cancelled_); }
    void SetTimeout(unsigned long) override {}
    unsigned long long GetBytesWritten() override { return printer_.sink.Taken(); }
    HRESULT GetResult() override { return S_OK; }
    HRESULT Write(const unsigned char* piece, unsigned long length, bool) override {
        streamed_ = true;
        printer_.hangs = printer_.hangsDuringJobs;
        return printer_.sink.Take(piece, length);
    }
    unsigned long GetResponseStatus() override { return 0; }
    void SetTotalBodyLength(unsigned long) override {}

private:
    DiscardingPrinter& printer_;
    const HANDLE cancelled_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    bool streamed_ = false;
};

/// At a local port, so that nobody probes for it.
class DiscardingAddress final : public Counted<Corvix::KyNetAddress> {
public:
    explicit DiscardingAddress(DiscardingPrinter& printer) : printer_(printer) {}
    unsigned long long GetConnectionParameter() override { return 0; }
    const wchar_t* GetHostName() override { return L"USB001"; }
    void SetHostName(const wchar_t*) override {}
    const wchar_t* GetDisplayName() override { return nullptr; }
    HRESULT CreateHTTPRequest(Corvix::HTTPRequest** request, unsigned long) override {
        *request = new DiscardingRequest(printer_);
        return S_OK;
    }
    HRESULT CreateMIBConnection(Corvix::MIBConnection**) override { return E_NOTIMPL; }
    void SetCredentials(const wchar_t*, const wchar_t*) override {}
    void SetTimeout(unsigned long) override {}
    unsigned long GetTimeout() override { return 0; }
    void SetPort(const wchar_t*) override {}
    const wchar_t* GetPort() override { return L"631"; }
    void SetSecure(bool) override {}
    bool IsSecure() override { return false; }
    void SetMaximumBodyLength(unsigned long) override {}
    bool IsSameDevice(Corvix::Address*) override { return false; }
    bool IsWebServicePortAvailable() override { return false; }

private:
    DiscardingPrinter& printer_;
};

}  // namespace CorvixBench
