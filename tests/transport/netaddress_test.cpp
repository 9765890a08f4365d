#include "transport/httptest.h"
#include "transport/sockets/waiting.h"

namespace CorvixTransport {
namespace {

using AddressPtr = Corvix::DisposablePtr<Corvix::KyNetAddress>;

NetAddressOptions Options(const wchar_t* host, const wchar_t* port = L"") {
    NetAddressOptions options;
    options.host = host;
    options.port = port;
    return options;
}

TEST(NetAddress, TellsWhatItWasGivenAndSetTo) {
    NetAddressOptions options = Options(L"printer", L"631");
    options.displayName = L"Second floor";
    options.securityFlags = 0x803100;
    options.webServicePortAvailable = false;
    const AddressPtr address(CreateNetAddress(options));
    EXPECT_EQ(address->GetRefCount(), 1);
    EXPECT_STREQ(address->GetDisplayName(), L"Second floor");
    EXPECT_EQ(address->GetConnectionParameter(), 0x803100u);
    EXPECT_FALSE(address->IsWebServicePortAvailable());
    EXPECT_FALSE(address->IsSecure());
    EXPECT_EQ(address->GetTimeout(), 30000u);
    const wchar_t* const host = address->GetHostName();
    const wchar_t* const port = address->GetPort();
    address->SetHostName(L"192.0.2.7");
    for (int i = 0; i <= 100; ++i)
        address->SetPort(std::to_wstring(i).c_str());
    address->SetSecure(true);
    address->SetTimeout(5);
    address->SetTimeout(0);
    EXPECT_STREQ(address->GetHostName(), L"192.0.2.7");
    EXPECT_STREQ(address->GetPort(), L"100");
    EXPECT_TRUE(address->IsSecure());
    EXPECT_EQ(address->GetTimeout(), 5u) << "no wait at all is no time-out";
    EXPECT_STREQ(host, L"printer") << "what was handed out stays";
    EXPECT_STREQ(port, L"631");
    address->SetPort(nullptr);
    EXPECT_STREQ(address->GetPort(), L"");
    options.secure = true;
    options.displayName.clear();
    options.hostName = L"USB001";
    const AddressPtr local(CreateNetAddress(options));
    EXPECT_TRUE(local->IsSecure());
    EXPECT_EQ(local->GetDisplayName(), nullptr);
    EXPECT_STREQ(local->GetHostName(), L"USB001") << "not the host";
    local->SetHostName(L"192.0.2.7");
    EXPECT_STREQ(local->GetHostName(), L"192.0.2.7");
}

TEST(NetAddress, StopsItsSnmpConnectionsToo) {
    const NetEvent stop;
    stop.Set();
    NetAddressOptions options = Options(L"127.0.0.71");
    options.stopEvent = stop.Get();
    const AddressPtr address(CreateNetAddress(options));
    Corvix::DisposablePtr<Corvix::MIBConnection> connection;
    ASSERT_EQ(address->CreateMIBConnection(connection.Receive()), S_OK);
    VARIANT value;
    VariantInit(&value);
    EXPECT_EQ(connection->GetValue(L"1.3.6.1.2.1.1.1.0", &value), HRESULT_FROM_WIN32(ERROR_CANCELLED));
}

TEST(NetAddress, KnowsTheSameDevice) {
    const AddressPtr address(CreateNetAddress(Options(L"Printer", L"631")));
    const auto isSame = [&](const wchar_t* host, const wchar_t* port) {
        return address->IsSameDevice(AddressPtr(CreateNetAddress(Options(host, port))).Get());
    };
    EXPECT_TRUE(isSame(L"printer", L"631"));
    EXPECT_FALSE(isSame(L"printer", L"80"));
    EXPECT_FALSE(isSame(L"plotter", L"631"));
    EXPECT_FALSE(address->IsSameDevice(nullptr));
}

TEST(NetError, IsDescribedForPeople) {
    const unsigned long codes[] = {ERROR_WINHTTP_SECURE_INVALID_CA, ERROR_TIMEOUT, WSAECONNREFUSED,
                                   ERROR_ACCESS_DENIED};
    for (const unsigned long code : codes) {
        const std::wstring text = DescribeNetError(code);
        EXPECT_GT(text.size(), 10u) << code;
        EXPECT_EQ(text.find_first_of(L"\r\n"), std::wstring::npos);
    }
    EXPECT_EQ(DescribeNetError(0x12345678), L"error 305419896");
}

TEST(PortMap, SendsPortsElsewhere) {
    const PortMap map = PortMap::Parse(L" 80=18080, 443/tcp = 8443 ,161/udp=10161");
    EXPECT_EQ(map.Tcp(80), 18080);
    EXPECT_EQ(map.Tcp(443), 8443);
    EXPECT_EQ(map.Udp(161), 10161);
    EXPECT_EQ(map.Tcp(161), 161) << "TCP and UDP are apart";
    EXPECT_EQ(map.Udp(80), 80);
    EXPECT_TRUE(PortMap::Parse(L"  ").IsEmpty());
}

TEST(PortMap, SaysWhatIsWrong) {
    const char* const form = "expected PORT=PORT or PORT/udp=PORT";
    const char* const before = "the port before \"=\" is not a number from 1 to 65535";
    const char* const after = "the port after \"=\" is not a number from 1 to 65535";
    const struct {
        const wchar_t* text;
        std::string entry;
        std::string what;
    } cases[] = {{L"80", "80", form},
                 {L"80=18080,", "", form},
                 {L"http=80", "http=80", before},
                 {L"0=80", "0=80", before},
                 {L"80=65536", "80=65536", after},
                 {L"80=-1", "80=-1", after},
                 {L"80=12abc", "80=12abc", after},
                 {L"80=", "80=", after},
                 {L"80/sctp=1", "80/sctp=1", "the protocol after \"/\" is udp or tcp"},
                 {L"80=1,80/tcp=2", "80/tcp=2", "this port is mapped twice"}};
    for (const auto& test : cases) {
        try {
            PortMap::Parse(test.text);
            ADD_FAILURE() << test.entry;
        } catch (const std::invalid_argument& error) {
            EXPECT_EQ(error.what(), "port map entry \"" + test.entry + "\": " + test.what);
        }
    }
}

}  // namespace
}  // namespace CorvixTransport
