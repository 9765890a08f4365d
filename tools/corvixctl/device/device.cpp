#include "device/device.h"

#include <stdexcept>

#include "base/console.h"
#include "base/exitcodes.h"
#include "device/printeruri.h"
#include "transport/nettransport.h"
#include "utilslib/com.h"
#include "utilslib/stringutils.h"

namespace CorvixCtl {

const OptionGroup deviceOptions = {
    L"Device",
    {
        {L"device", L"HOST", L"the device: a host name, an IPv4 or an IPv6 address"},
        {L"port-map", L"PORT=REAL,...", L"other ports than the usual ones: 80=18080,161/udp=10161"},
        {L"user", L"NAME", L"user name for a device that asks for one"},
        {L"password", L"TEXT", L"the password that goes with it"},
        {L"timeout", L"TIME", L"longest wait for an answer: 5, 0.5 or 800ms (30, for SNMP 2)"},
    },
};

const OptionGroup snmpOptions = {
    L"SNMP",
    {
        {L"community", L"NAME", L"community name (public)"},
        {L"snmp-version", L"1|2c", L"protocol version (2c)"},
        {L"retries", L"N", L"how often an unanswered request is sent again (2)"},
    },
};

namespace {

using CorvixTransport::NetAddressOptions;

CorvixTransport::PortMap ReadPortMap(const Arguments& arguments) {
    const std::wstring text = arguments.Find(L"port-map").value_or(L"");
    try {
        return CorvixTransport::PortMap::Parse(text);
    } catch (const std::invalid_argument& error) {
        throw UsageError(L"--port-map " + text + L": " + KyUtils::ToWideOrLatin1(error.what()));
    }
}

CorvixTransport::SnmpVersion ReadSnmpVersion(const std::wstring& text) {
    if (text == L"1") return CorvixTransport::SnmpVersion::V1;
    if (text == L"2c") return CorvixTransport::SnmpVersion::V2c;
    throw UsageError(L"--snmp-version " + text + L": expected 1 or 2c");
}

void ReadSnmpOptions(const Arguments& arguments, CorvixTransport::SnmpOptions& snmp) {
    if (const auto version = arguments.Find(L"snmp-version")) snmp.version = ReadSnmpVersion(*version);
    if (const auto community = arguments.Find(L"community"))
        snmp.readCommunity = snmp.writeCommunity = KyUtils::ToUtf8(*community);
    if (const auto retries = arguments.Find(L"retries"))
        snmp.retries = static_cast<unsigned>(ReadNumber(L"retries", *retries, 100));
}

}  // namespace

std::wstring ReadHost(const Arguments& arguments) {
    std::wstring host = WithoutBrackets(arguments.Require(L"device", L"the host to ask"));
    if (host.find_first_of(L"/\\ \t[]@?#") != std::wstring::npos)
        throw UsageError(L"--device " + host +
                         L": expected a host name or an address alone, without scheme or path");
    // One colon parts a host from its port, two and more make an IPv6 address.
    const size_t colon = host.find(L':');
    if (colon != std::wstring::npos && host.find(L':', colon + 1) == std::wstring::npos) {
        throw UsageError(L"--device " + host +
                         L": give the host alone; another port is given with --port-map, " + L"such as 80=" +
                         host.substr(colon + 1));
    }
    return host;
}

NetAddressOptions ReadAddressOptions(const Arguments& arguments, const std::wstring& host) {
    NetAddressOptions options;
    options.host = host;
    options.portMap = ReadPortMap(arguments);
    options.stopEvent = InterruptEvent();
    options.userName = arguments.Find(L"user").value_or(L"");
    options.password = arguments.Find(L"password").value_or(L"");
    ReadSnmpOptions(arguments, options.snmp);
    if (const auto timeout = arguments.Find(L"timeout")) {
        options.timeoutMilliseconds = static_cast<unsigned>(ReadMilliseconds(L"timeout", *timeout));
        // Without the option both have their own: an agent answers at once or not at all.
        options.snmp.timeoutMilliseconds = options.timeoutMilliseconds;
    }
    return options;
}

Device OpenDevice(const Arguments& arguments) {
    return OpenDevice(ReadAddressOptions(arguments, ReadHost(arguments)));
}

Device OpenDevice(NetAddressOptions options) {
    Device device;
    device.host = options.host;
    device.journal = std::make_unique<ExchangeJournal>();
    // What the library asks on threads of its own, while it follows a job, is not the user's question.
    options.observer = [journal = device.journal.get(),
                        thread = GetCurrentThreadId()](const CorvixTransport::ExchangeRecord& exchange) {
        if (GetCurrentThreadId() == thread) journal->Record(exchange);
    };
    device.address = Corvix::DisposablePtr<Corvix::KyNetAddress>(CorvixTransport::CreateNetAddress(options));
    return device;
}

std::optional<std::wstring> WhyNoSnmp(Corvix::Address& address) {
    // A failed binding leaves open whether the agent is silent or only no printer: every agent has this object.
    constexpr const wchar_t* upTimeOid = L"1.3.6.1.2.1.1.3.0";
    Corvix::DisposablePtr<Corvix::MIBConnection> connection;
    const HRESULT connected = address.CreateMIBConnection(connection.Receive());
    if (FAILED(connected) || !connection)
        return CorvixTransport::DescribeNetError(static_cast<unsigned long>(HRESULT_CODE(connected)));
    KyUtils::Variant upTime;
    if (SUCCEEDED(connection->GetValue(upTimeOid, upTime.Receive()))) return std::nullopt;
    return L"no SNMP answer (another --community or --snmp-version?)";
}

void FailAsUnreachable(const Device& device, const std::wstring& reason) {
    throw Failure(ExitCode::Unreachable, L"device " + device.host + L" not reachable: " + reason +
                                             L"; check --device, --port-map and that it is switched on");
}

}  // namespace CorvixCtl
