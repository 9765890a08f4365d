// An IPP printer over the fake transport: answers the attributes that it is asked for.
#pragma once

#include <windows.h>

#include <map>
#include <memory>
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

/// A request as the printer reads it.
struct IppRequest {
    unsigned operation = 0;
    std::vector<std::pair<std::string, std::string>> attributes;  ///< each value under its attribute's name

    explicit IppRequest(const std::string& body) {
        const auto number = [&](size_t at) {
            return static_cast<unsigned>(static_cast<unsigned char>(body.at(at)) << 8 |
                                         static_cast<unsigned char>(body.at(at + 1)));
        };
        operation = number(2);
        std::string name;
        for (size_t at = 8; body.at(at) != 3;) {
            if (body.at(at) < 0x10) {
                ++at;
                continue;
            }
            const size_t nameLength = number(at + 1);
            if (nameLength > 0) name = body.substr(at + 3, nameLength);
            const size_t valueLength = number(at + 3 + nameLength);
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
};

/// The printer. At a USB port, so that nobody probes for it; the test may give it another host.
struct FakePrinter {
    CorvixTest::FakeDevicePtr device = std::make_shared<CorvixTest::FakeDevice>();
    DisposablePtr<CorvixTest::FakeAddress> address{new CorvixTest::FakeAddress(device)};
    std::map<std::string, std::string> attributes;      ///< encoded, by name: told to whoever asks
    std::map<std::string, std::string> slowAttributes;  ///< the same, but not among "all"
    std::map<std::string, std::string> jobAttributes;
    bool takesListsApart = true;  ///< of attributes of jobs, where they come as one value

    FakePrinter() {
        device->host = L"USB001";
        address->SetPort(L"631");
        device->answer = [this](const CorvixTest::HttpExchange& exchange) {
            return CorvixTest::HttpAnswer{200, Answer(IppRequest(exchange.body)), S_OK, true};
        };
    }
    FakePrinter(const FakePrinter&) = delete;
    FakePrinter& operator=(const FakePrinter&) = delete;

    void AnswerAlways(const CorvixTest::HttpAnswer& answer) {
        device->answer = [answer](const CorvixTest::HttpExchange&) { return answer; };
    }
    size_t Exchanges() const { return device->exchanges.size(); }
    IppRequest LastRequest() const { return IppRequest(device->exchanges.back().body); }
    DisposablePtr<IPPProvider> Provider() {
        return DisposablePtr<IPPProvider>(CreateIPPProvider(address.Get(), "/ipp/print"));
    }

private:
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
