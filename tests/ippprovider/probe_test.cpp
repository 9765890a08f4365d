// The probe for a device, against real ports. Each test has a loopback address of its own: they run side by side.
#include "listener.h"
// Winsock's header comes before every other that includes windows.h.
#include "datamodel/ipp/target/deviceprobe.h"
#include "support/fakeprinter.h"
#include "utilslib/sync.h"

namespace Corvix {
namespace {

using namespace Testing;

std::wstring Wide(const std::string& text) { return {text.begin(), text.end()}; }

TEST(DeviceProbe, RefusesWhatIsNoAddress) {
    for (const wchar_t* text : {L"", L"localhost", L"printer.example", L"USB001", L"256.0.0.1", L"1.2.3",
                                L"127.0.0.1:99999", L"127.0.0.1x", L"1.2.3.4.5", L"[::1"})
        EXPECT_FALSE(DeviceExists(text, L"631")) << testing::PrintToString(std::wstring(text));
}

TEST(DeviceProbe, AnIpv6HostIsTriedAtThePortGiven) {
    std::wstring port;
    {
        const Listener listener("::1", 0);
        if (!listener) GTEST_SKIP() << "there is no IPv6 here";
        port = listener.Port();
        EXPECT_TRUE(DeviceExists(L"::1", port.c_str()));
    }
    EXPECT_FALSE(DeviceExists(L"::1", port.c_str()));
}

TEST(DeviceProbe, AnIpv4HostIsTriedAt631UnlessThePortIsExactly80) {
    const std::string host = "127.0.97.31";
    const Listener listener(host.c_str(), 631);
    if (!listener) GTEST_SKIP() << "port 631 cannot be taken";
    EXPECT_TRUE(DeviceExists(Wide(host), L"631"));
    EXPECT_TRUE(DeviceExists(Wide(host), L"8080"));
    EXPECT_TRUE(DeviceExists(Wide(host), L"080"));
    EXPECT_FALSE(DeviceExists(Wide(host), L"80"));
}

TEST(DeviceProbe, EndsWhenItIsInterrupted) {
    constexpr const char* silentHost = "127.0.97.32";
    const Listener listener(silentHost, 631, 1);
    if (!listener) GTEST_SKIP() << "port 631 cannot be taken";
    // Nobody takes the connections, so that soon no further one is answered at all.
    std::vector<std::unique_ptr<PendingConnection>> pending;
    for (int i = 0; i < 8; ++i)
        pending.push_back(std::make_unique<PendingConnection>(silentHost, 631));
    const KyUtils::Handle interrupt = KyUtils::CreateManualResetEvent();
    SetEvent(interrupt.Get());
    EXPECT_FALSE(DeviceExists(L"127.0.97.32", L"631", interrupt.Get()));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_CANCELLED});
}

class ProbedCreationTest : public PrinterTest {
protected:
    DWORD ErrorOfCreation(const std::string& host) {
        Printer().device->host = Wide(host);
        SetLastError(0);
        EXPECT_FALSE(Printer().Provider());
        return GetLastError();
    }
};

TEST_F(ProbedCreationTest, TellsADeviceWithoutIppFromNoDevice) {
    const std::string host = "127.0.97.33";
    EXPECT_EQ(ErrorOfCreation(host), static_cast<DWORD>(IPPError::NotReachable));
    const Listener listener(host.c_str(), 80);
    if (!listener) GTEST_SKIP() << "port 80 cannot be taken";
    EXPECT_EQ(ErrorOfCreation(host), static_cast<DWORD>(IPPError::NotSupported));
    EXPECT_EQ(Printer().Exchanges(), 0u);
}

TEST_F(ProbedCreationTest, AsksTheDeviceThatListens) {
    const std::string host = "127.0.97.34";
    const Listener listener(host.c_str(), 631);
    if (!listener) GTEST_SKIP() << "port 631 cannot be taken";
    Printer().device->host = Wide(host);
    const DisposablePtr<IPPProvider> provider = Printer().Provider();
    ASSERT_TRUE(provider);
    EXPECT_EQ(Printer().LastRequest()["printer-uri"], "ipp://127.0.97.34:631/ipp/print");
}

TEST_F(ProbedCreationTest, AsksAtAnIpv6Address) {
    const Listener listener("::1", 631);
    if (!listener) GTEST_SKIP() << "port 631 of ::1 cannot be taken";
    Printer().device->host = L"::1";
    const DisposablePtr<IPPProvider> provider(
        CreateIPPPrintProvider(Printer().address.Get(), L"ipp://[::1]/ipp/print"));
    ASSERT_TRUE(provider);
    EXPECT_EQ(Printer().LastRequest()["printer-uri"], "ipp://[::1]:631/ipp/print");
}

}  // namespace
}  // namespace Corvix
