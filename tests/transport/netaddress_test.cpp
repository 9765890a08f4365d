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

TEST(NetAddress, TellsWhatItWasGiven) {
    NetAddressOptions options = Options(L"printer", L"631");
    options.displayName = L"Second floor";
    options.secure = true;
    options.securityFlags = 0x803100;
    options.webServicePortAvailable = false;
    const AddressPtr address(CreateNetAddress(options));
    EXPECT_EQ(address->GetRefCount(), 1);
    EXPECT_STREQ(address->GetHostName(), L"printer");
    EXPECT_STREQ(address->GetPort(), L"631");
    EXPECT_STREQ(address->GetDisplayName(), L"Second floor");
    EXPECT_TRUE(address->IsSecure());
    EXPECT_EQ(address->GetConnectionParameter(), 0x803100u);
    EXPECT_FALSE(address->IsWebServicePortAvailable());
    EXPECT_EQ(address->GetTimeout(), 30000u);
    EXPECT_STREQ(AddressPtr(CreateNetAddress(Options(L"x")))->GetPort(), L"");
    EXPECT_EQ(AddressPtr(CreateNetAddress(Options(L"x")))->GetDisplayName(), nullptr);
}

TEST(NetAddress, TellsWhatItWasSetTo) {
    const AddressPtr address(CreateNetAddress(Options(L"printer", L"631")));
    address->SetHostName(L"192.0.2.7");
    address->SetPort(L"8631");
    address->SetSecure(true);
    address->SetTimeout(5);
    EXPECT_STREQ(address->GetHostName(), L"192.0.2.7");
    EXPECT_STREQ(address->GetPort(), L"8631");
    EXPECT_TRUE(address->IsSecure());
    address->SetTimeout(0);
    EXPECT_EQ(address->GetTimeout(), 5u) << "no wait at all is no time-out";
    address->SetPort(nullptr);
    EXPECT_STREQ(address->GetPort(), L"");
}

TEST(NetAddress, MayGoByAnotherNameThanItsHost) {
    NetAddressOptions options = Options(L"printer", L"631");
    options.hostName = L"USB001";
    const AddressPtr address(CreateNetAddress(options));
    EXPECT_STREQ(address->GetHostName(), L"USB001");
    address->SetHostName(L"192.0.2.7");
    EXPECT_STREQ(address->GetHostName(), L"192.0.2.7");
}

TEST(NetAddress, StopsItsSnmpConnectionsToo) {
    const NetEvent stop;
    stop.Set();
    NetAddressOptions options = Options(L"127.0.0.71");
    options.stopEvent = stop.Get();
    options.snmp.retries = 0;
    const AddressPtr address(CreateNetAddress(options));
    Corvix::DisposablePtr<Corvix::MIBConnection> connection;
    ASSERT_EQ(address->CreateMIBConnection(connection.Receive()), S_OK);
    VARIANT value;
    VariantInit(&value);
    EXPECT_EQ(connection->GetValue(L"1.3.6.1.2.1.1.1.0", &value), HRESULT_FROM_WIN32(ERROR_CANCELLED));
}

TEST(NetAddress, KeepsTextsThatItHandedOut) {
    const AddressPtr address(CreateNetAddress(Options(L"printer", L"631")));
    const wchar_t* const port = address->GetPort();
    const wchar_t* const host = address->GetHostName();
    for (int i = 0; i < 100; ++i)
        address->SetPort(std::to_wstring(i).c_str());
    address->SetHostName(L"other");
    EXPECT_STREQ(port, L"631");
    EXPECT_STREQ(host, L"printer");
}

TEST(NetAddress, KnowsTheSameDevice) {
    const AddressPtr address(CreateNetAddress(Options(L"Printer", L"631")));
    EXPECT_TRUE(address->IsSameDevice(address.Get()));
    EXPECT_TRUE(address->IsSameDevice(AddressPtr(CreateNetAddress(Options(L"printer", L"631"))).Get()));
    EXPECT_FALSE(address->IsSameDevice(AddressPtr(CreateNetAddress(Options(L"printer", L"80"))).Get()));
    EXPECT_FALSE(address->IsSameDevice(AddressPtr(CreateNetAddress(Options(L"plotter", L"631"))).Get()));
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
    const struct {
        const wchar_t* text;
        const char* message;
    } cases[] = {
        {L"80", "port map entry \"80\": expected PORT=PORT or PORT/udp=PORT"},
        {L"80=18080,", "port map entry \"\": expected PORT=PORT or PORT/udp=PORT"},
        {L"http=80", "port map entry \"http=80\": the port before \"=\" is not a number from 1 to 65535"},
        {L"0=80", "port map entry \"0=80\": the port before \"=\" is not a number from 1 to 65535"},
        {L"80=65536", "port map entry \"80=65536\": the port after \"=\" is not a number from 1 to 65535"},
        {L"80=-1", "port map entry \"80=-1\": the port after \"=\" is not a number from 1 to 65535"},
        {L"80=12abc", "port map entry \"80=12abc\": the port after \"=\" is not a number from 1 to 65535"},
        {L"80=", "port map entry \"80=\": the port after \"=\" is not a number from 1 to 65535"},
        {L"80/sctp=1", "port map entry \"80/sctp=1\": the protocol after \"/\" is udp or tcp"},
        {L"80=1,80/tcp=2", "port map entry \"80/tcp=2\": this port is mapped twice"},
    };
    for (const auto& test : cases) {
        try {
            PortMap::Parse(test.text);
            ADD_FAILURE() << test.message;
        } catch (const std::invalid_argument& error) {
            EXPECT_STREQ(error.what(), test.message);
        }
    }
}

}  // namespace
}  // namespace CorvixTransport
