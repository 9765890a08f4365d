// An IPP printer over the fake transport: answers the attributes that it is asked for, or what it is told to.
#pragma once

#include <windows.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "corvixdm/disposableptr.h"
#include "corvixdm/ippprovider.h"
#include "support/faketransport.h"
#include "support/ippbytes.h"
#include "utilslib/disposable.h"

namespace Corvix::Testing {

namespace Bytes = Ipp::Testing;

inline std::string Text(std::string_view name, std::string_view value) {
    return Bytes::Value(0x41, name, value);
}
inline std::string Enum(std::string_view name, unsigned value) {
    return Bytes::Value(0x23, name, Bytes::Int(value));
}

/// A request as the printer reads it.
struct IppRequest {
    int operation = 0;
    std::string body;                                             ///< without chunk frames
    std::vector<std::pair<std::string, std::string>> attributes;  ///< each value under its attribute's name

    explicit IppRequest(const CorvixTest::HttpExchange& exchange)
        : body(exchange.streamed ? WithoutFrames(exchange.body) : exchange.body) {
        operation = static_cast<int>(Number(2));
        std::string name;
        for (size_t at = 8; body.at(at) != 3;) {
            if (body.at(at) < 0x10) {
                ++at;
                continue;
            }
            const size_t nameLength = Number(at + 1);
            if (nameLength > 0) name = body.substr(at + 3, nameLength);
            const size_t valueLength = Number(at + 3 + nameLength);
            attributes.emplace_back(name, body.substr(at + 5 + nameLength, valueLength));
            at += 5 + nameLength + valueLength;
        }
    }
    /// The values of an attribute, joined by ",".
    std::string operator[](const std::string& name) const {
        std::string joined;
        for (const auto& [key, value] : attributes) {
            if (key == name) joined += (joined.empty() ? "" : ",") + value;
        }
        return joined;
    }
    /// The attributes that the caller wants, without those that every printer query asks for.
    std::string Wanted() const {
        const std::string always = "printer-name,printer-uri-supported,";
        const std::string requested = (*this)["requested-attributes"];
        return requested.rfind(always, 0) == 0 ? requested.substr(always.size()) : requested;
    }
    static std::string WithoutFrames(const std::string& chunks) {
        std::string bytes;
        for (size_t at = 0; at < chunks.size();) {
            const size_t length = std::stoul(chunks.substr(at, 8), nullptr, 16);
            const size_t head = chunks.find("\r\n", at) + 2;
            bytes += chunks.substr(head, length);
            at = head + length + 2;
        }
        return bytes;
    }

private:
    size_t Number(size_t at) const {
        return static_cast<size_t>(static_cast<unsigned char>(body.at(at)) << 8 |
                                   static_cast<unsigned char>(body.at(at + 1)));
    }
};

/// An answer of a script that never comes.
inline const std::string brokenConnection;

/// The printer. At a USB port, so that nobody probes for it; the test may give it another host.
struct FakePrinter {
    CorvixTest::FakeDevicePtr device = std::make_shared<CorvixTest::FakeDevice>();
    DisposablePtr<CorvixTest::FakeAddress> address{new CorvixTest::FakeAddress(device)};
    std::map<std::string, std::string> attributes;      ///< encoded, by name: told to whoever asks
    std::map<std::string, std::string> slowAttributes;  ///< the same, but not among "all"
    std::map<std::string, std::string> jobAttributes;
    bool takesListsApart = true;  ///< of attributes of jobs, where they come as one value
    /// Called before an operation is answered, on the thread that asked.
    std::function<void(int)> watch;

    FakePrinter() {
        device->host = L"USB001";
        address->SetPort(L"631");
        device->answer = [this](const CorvixTest::HttpExchange& exchange) {
            const IppRequest request(exchange);
            if (watch) watch(request.operation);
            const std::lock_guard<std::mutex> guard(lock_);
            requests_.push_back(request);
            const auto scripted = script_.find(request.operation);
            return scripted == script_.end() ? CorvixTest::HttpAnswer{200, Answer(request)}
                                             : Next(scripted->second);
        };
    }
    FakePrinter(const FakePrinter&) = delete;
    FakePrinter& operator=(const FakePrinter&) = delete;

    /// The answers to one operation, in their order; the last one holds for ever.
    void Script(int operation, std::vector<std::string> answers) {
        const std::lock_guard<std::mutex> guard(lock_);
        script_[operation] = std::move(answers);
    }
    /// The k-th call from now on that can fail does so, counted from 1; `forGood` also every one after it.
    void FailAt(int call, bool forGood = false) {
        device->failsForGood = forGood;
        device->failingCall = device->calls + call;
    }
    bool HasFailed() const { return device->failingCall > 0 && device->calls >= device->failingCall; }
    void Heal() { device->failingCall = 0; }

    void AnswerAlways(const CorvixTest::HttpAnswer& answer) {
        device->answer = [answer](const CorvixTest::HttpExchange&) { return answer; };
    }
    size_t Exchanges() const { return device->exchanges.size(); }
    IppRequest LastRequest() const { return IppRequest(device->exchanges.back()); }
    /// The requests of one operation that were answered by table or script.
    std::vector<IppRequest> Requests(int operation) const {
        const std::lock_guard<std::mutex> guard(lock_);
        std::vector<IppRequest> found;
        for (const IppRequest& request : requests_) {
            if (request.operation == operation) found.push_back(request);
        }
        return found;
    }
    size_t Count(int operation) const {
        const std::lock_guard<std::mutex> guard(lock_);
        return static_cast<size_t>(
            std::count_if(requests_.begin(), requests_.end(),
                          [&](const IppRequest& request) { return request.operation == operation; }));
    }
    std::string LastBody(int operation) const {
        const std::vector<IppRequest> requests = Requests(operation);
        return requests.empty() ? "" : requests.back().body;
    }
    DisposablePtr<IPPProvider> Provider() {
        return DisposablePtr<IPPProvider>(CreateIPPProvider(address.Get(), "/ipp/print"));
    }

private:
    static CorvixTest::HttpAnswer Next(std::vector<std::string>& answers) {
        const std::string answer = answers.empty() ? brokenConnection : answers.front();
        if (answers.size() > 1) answers.erase(answers.begin());
        return {200, answer, answer.empty() ? E_ABORT : S_OK};
    }
    std::string Answer(const IppRequest& request) const {
        const bool isUnknown = !takesListsApart && request.Wanted().find(',') != std::string::npos;
        if (request.operation == 9) return Bytes::Body(isUnknown ? "" : Among(jobAttributes, request));
        return Bytes::Body(Among(attributes, request) + Among(slowAttributes, request, false));
    }
    static std::string Among(const std::map<std::string, std::string>& known, const IppRequest& request,
                             bool inAll = true) {
        const std::string wanted = "," + request.Wanted() + ",";
        const bool all = inAll && (wanted == ",all," || wanted == ",printer-info,");
        std::string encoded;
        for (const auto& [name, bytes] : known) {
            if (all || wanted.find("," + name + ",") != std::string::npos) encoded += bytes;
        }
        return encoded;
    }

    mutable std::mutex lock_;
    std::map<int, std::vector<std::string>> script_;
    std::vector<IppRequest> requests_;
};

/// Every test ends with as many objects of the library and of the fakes as it began with.
class PrinterTest : public testing::Test {
protected:
    void TearDown() override {
        printer_.reset();
        EXPECT_EQ(KyUtils::LiveObjectCount(), objects_);
        EXPECT_EQ(CorvixTest::liveFakes, fakes_);
    }
    FakePrinter& Printer() { return *printer_; }
    void Renew() { printer_ = std::make_unique<FakePrinter>(); }

private:
    size_t objects_ = KyUtils::LiveObjectCount();
    int fakes_ = CorvixTest::liveFakes;
    std::unique_ptr<FakePrinter> printer_ = std::make_unique<FakePrinter>();
};

}  // namespace Corvix::Testing
