// A printer over the transport interfaces: answers each operation from a script, writes down what it was
// asked, and fails at any call. Several threads may use it at once.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "corvixdm/transport.h"
#include "support/ippbytes.h"
#include "utilslib/disposable.h"

namespace CorvixTest {

class ScriptedPrinter {
public:
    /// The answers to one operation, in their order; the last one holds for ever. An empty one is a broken
    /// connection.
    void Answer(int operation, std::vector<std::string> answers) {
        const std::lock_guard<std::mutex> lock(lock_);
        answers_[operation] = std::move(answers);
    }
    /// Called before the answer to an operation is given, on the thread that asked.
    void OnOperation(std::function<void(int)> watch) { watch_ = std::move(watch); }
    /// The k-th call that can fail does so, counted from 0; `forGood` also every one after it.
    void FailAt(int call, bool forGood) {
        const std::lock_guard<std::mutex> lock(lock_);
        failingCall_ = call;
        failsForGood_ = forGood;
    }
    /// Answers a streamed body after its first piece.
    void AnswerEarly() { answersEarly_ = true; }

    std::vector<int> Operations() const {
        const std::lock_guard<std::mutex> lock(lock_);
        return operations_;
    }
    std::string LastBody(int operation) const {
        const std::lock_guard<std::mutex> lock(lock_);
        const auto found = bodies_.find(operation);
        return found == bodies_.end() ? "" : found->second;
    }
    /// The last streamed body, as far as it was written.
    std::string Streamed() const {
        const std::lock_guard<std::mutex> lock(lock_);
        return streamed_;
    }
    /// The number of the next call that can fail.
    int NextCall() const {
        const std::lock_guard<std::mutex> lock(lock_);
        return calls_;
    }
    bool HasFailed() const {
        const std::lock_guard<std::mutex> lock(lock_);
        return failingCall_ >= 0 && calls_ > failingCall_;
    }

    // For the fakes below.
    HRESULT Call() {
        const std::lock_guard<std::mutex> lock(lock_);
        const int call = calls_++;
        const bool fails = failingCall_ >= 0 && (failsForGood_ ? call >= failingCall_ : call == failingCall_);
        return fails ? E_ABORT : S_OK;
    }
    bool AnswersEarly() const { return answersEarly_; }
    void NoteStreamed(const std::string& body) {
        const std::lock_guard<std::mutex> lock(lock_);
        streamed_ = body;
    }
    std::string AnswerTo(const std::string& body) {
        const int operation = body.size() < 4 ? 0 : body[3];
        if (watch_) watch_(operation);
        const std::lock_guard<std::mutex> lock(lock_);
        operations_.push_back(operation);
        bodies_[operation] = body;
        std::vector<std::string>& answers = answers_[operation];
        if (answers.empty()) return {};
        const std::string answer = answers.front();
        if (answers.size() > 1) answers.erase(answers.begin());
        return answer;
    }

private:
    mutable std::mutex lock_;
    std::map<int, std::vector<std::string>> answers_;
    std::map<int, std::string> bodies_;
    std::string streamed_;
    std::function<void(int)> watch_;
    std::vector<int> operations_;
    int calls_ = 0;
    int failingCall_ = -1;
    bool failsForGood_ = false;
    bool answersEarly_ = false;
};

class ScriptedResponse final : public Corvix::HTTPResponse, public KyUtils::IDisposableImpl {
public:
    explicit ScriptedResponse(std::string body) : body_(std::move(body)) {}
    unsigned long GetStatusCode() override { return 200; }
    const wchar_t* GetHeader(const wchar_t*) override { return nullptr; }
    const wchar_t* GetContentType() override { return L"application/ipp"; }
    unsigned long GetBodyLength() override { return static_cast<unsigned long>(body_.size()); }
    const unsigned char* GetBody() override { return reinterpret_cast<const unsigned char*>(body_.c_str()); }
    const wchar_t* GetReasonPhrase() override { return nullptr; }

private:
    const std::string body_;
};

class ScriptedRequest final : public Corvix::KyHTTPRequestEx, public KyUtils::IDisposableImpl {
public:
    explicit ScriptedRequest(ScriptedPrinter& printer) : printer_(printer) {}
    void SetURI(const wchar_t*) override {}
    void SetUserName(const wchar_t*) override {}
    void SetPassword(const wchar_t*) override {}
    HRESULT SetMethod(const wchar_t*) override { return printer_.Call(); }
    void AddHeader(const wchar_t*, const wchar_t*) override {}
    void SetContentType(const wchar_t*) override {}
    HRESULT Send(const unsigned char* body, unsigned long length) override {
        body_.assign(reinterpret_cast<const char*>(body), length);
        return printer_.Call();
    }
    HRESULT GetResponse(Corvix::HTTPResponse** response) override {
        if (FAILED(printer_.Call())) return E_ABORT;
        std::string answer = printer_.AnswerTo(body_);
        if (answer.empty()) return E_ABORT;
        auto* made = new ScriptedResponse(std::move(answer));
        made->AddRef();
        *response = made;
        return S_OK;
    }
    void SetRequestParameter(unsigned long) override {}
    unsigned long GetLastErrorCode() override { return ERROR_NETNAME_DELETED; }
    void Cancel() override {}
    void SetTimeout(unsigned long) override {}
    unsigned long long GetBytesWritten() override { return body_.size(); }
    HRESULT GetResult() override { return printer_.Call(); }
    /// Keeps the chunk without its frame.
    HRESULT Write(const unsigned char* piece, unsigned long length, bool) override {
        if (FAILED(printer_.Call())) return E_ABORT;
        const std::string chunk(reinterpret_cast<const char*>(piece), length);
        const size_t head = chunk.find("\r\n") + 2;
        if (chunk.size() > head + 2) body_ += chunk.substr(head, chunk.size() - head - 2);
        printer_.NoteStreamed(body_);
        return S_OK;
    }
    unsigned long GetResponseStatus() override { return printer_.AnswersEarly() ? 200 : 0; }
    void SetTotalBodyLength(unsigned long) override {}

private:
    ScriptedPrinter& printer_;
    std::string body_;
};

/// The printer's address: a USB port, which nobody probes on the network.
class ScriptedAddress final : public Corvix::KyNetAddress, public KyUtils::IDisposableImpl {
public:
    explicit ScriptedAddress(ScriptedPrinter& printer) : printer_(printer) {}
    unsigned long long GetConnectionParameter() override { return 0; }
    const wchar_t* GetHostName() override { return L"USB001"; }
    void SetHostName(const wchar_t*) override {}
    const wchar_t* GetDisplayName() override { return nullptr; }
    HRESULT CreateHTTPRequest(Corvix::HTTPRequest** request, unsigned long) override {
        if (FAILED(printer_.Call())) return E_ABORT;
        auto* made = new ScriptedRequest(printer_);
        made->AddRef();
        *request = made;
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
    ScriptedPrinter& printer_;
};

}  // namespace CorvixTest
