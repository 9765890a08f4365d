// The printer that run.sh has started, as the library reaches it, and what ipptool reports of it.
#pragma once

#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/ippport.h"
// Winsock's header comes before every other that includes windows.h.
#include "corvixdm/corvixdm.h"
#include "transport/nettransport.h"

namespace CorvixTest {

using Corvix::DisposablePtr;
using Corvix::KyNetAddress;

inline std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    if (!value) throw std::runtime_error(std::string(name) + " is not set: is this run by run.sh?");
    return value;
}

inline unsigned short PortOf(const char* variable) {
    return static_cast<unsigned short>(std::stoi(Environment(variable)));
}

inline std::wstring ToWide(const std::string& text) {
    const int length = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');
    wide.resize(
        static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), length)));
    return wide;
}

inline void ReplaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
}

/// What a read that may fail leaves: "(failed)" when it did, and then its output must be as it was.
template <class Read>
std::wstring TextOf(Read read) {
    VARIANT value;
    value.vt = VT_I4;
    value.lVal = 4711;
    if (const HRESULT result = read(&value); result != S_OK) {
        EXPECT_EQ(result, E_FAIL);
        EXPECT_TRUE(value.vt == VT_I4 && value.lVal == 4711) << "a failure touched the output";
        return L"(failed)";
    }
    std::wstring text = value.vt == VT_BSTR ? value.bstrVal : L"(no text)";
    VariantClear(&value);
    return text;
}

/// Every test ends with the address held by nobody else.
class RealPrinterTest : public testing::Test {
protected:
    using Attributes = std::map<std::string, std::wstring>;
    /// Whether its value differs from one second to the next.
    static bool Ticks(const std::string& attribute) { return attribute == "printer-up-time"; }

    void SetUp() override {
        if (!front_) GTEST_SKIP() << "port 631 cannot be taken";
    }
    void TearDown() override { EXPECT_EQ(address_->GetRefCount(), 1); }

    KyNetAddress* Address() const { return address_.Get(); }
    /// The exchanges since the last call.
    std::vector<CorvixTransport::ExchangeRecord> TakeExchanges() { return std::exchange(exchanges_, {}); }

    static unsigned short Port() { return PortOf("CORVIX_IPP_PORT"); }
    /// What ipptool reports, for a client that calls the printer by this host and port.
    static Attributes Reported(const std::string& authority) {
        std::ifstream file(Environment("CORVIX_IPP_ATTRIBUTES"));
        Attributes attributes;
        for (std::string line; std::getline(file, line);) {
            ReplaceAll(line, "localhost:" + std::to_string(Port()), authority);
            const size_t tab = line.find('\t');
            attributes[line.substr(0, tab)] = ToWide(line.substr(tab + 1));
        }
        return attributes;
    }

private:
    DisposablePtr<KyNetAddress> MakeAddress() {
        CorvixTransport::NetAddressOptions options;
        options.host = L"127.0.0.1";
        options.hostName = host;
        options.port = L"631";
        options.observer = [this](const auto& record) { exchanges_.push_back(record); };
        options.portMap.MapTcp(443, Port());
        options.portMap.MapTcp(631, Port());
        return DisposablePtr<KyNetAddress>(CorvixTransport::CreateNetAddress(options));
    }

    /// Where the library looks for the printer before it asks it.
    static constexpr const wchar_t* host = L"127.0.0.81";
    const IppPort front_{host};
    std::vector<CorvixTransport::ExchangeRecord> exchanges_;
    const DisposablePtr<KyNetAddress> address_ = MakeAddress();
};

}  // namespace CorvixTest
