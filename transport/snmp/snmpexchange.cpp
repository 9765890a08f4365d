#include "transport/snmp/snmpexchange.h"

#include <algorithm>
#include <random>
#include <utility>

namespace CorvixTransport {
namespace {

struct StatusResult {
    std::int32_t status;
    HRESULT result;
};

// What an agent's error-status is to the caller; every other status is E_FAIL.
const StatusResult statusResults[] = {
    {Snmp::ErrorStatus::NoSuchName, HRESULT_FROM_WIN32(ERROR_NOT_FOUND)},
    {Snmp::ErrorStatus::BadValue, E_INVALIDARG},
    {Snmp::ErrorStatus::ReadOnly, E_ACCESSDENIED},
    {Snmp::ErrorStatus::NoAccess, E_ACCESSDENIED},
    {Snmp::ErrorStatus::WrongType, E_INVALIDARG},
    {Snmp::ErrorStatus::WrongLength, E_INVALIDARG},
    {Snmp::ErrorStatus::WrongEncoding, E_INVALIDARG},
    {Snmp::ErrorStatus::WrongValue, E_INVALIDARG},
    {Snmp::ErrorStatus::AuthorizationError, E_ACCESSDENIED},
    {Snmp::ErrorStatus::NotWritable, E_ACCESSDENIED},
};

HRESULT ResultOfStatus(std::int32_t status) {
    if (status == Snmp::ErrorStatus::NoError) return S_OK;
    for (const StatusResult& entry : statusResults) {
        if (entry.status == status) return entry.result;
    }
    return E_FAIL;
}

bool NamesTheSameObjects(const Snmp::Message& request, const Snmp::Message& answer) {
    return std::equal(
        request.variables.begin(), request.variables.end(), answer.variables.begin(),
        [](const Snmp::VarBind& asked, const Snmp::VarBind& given) { return asked.oid == given.oid; });
}

// Whether a message is the answer that is waited for. Everything else on the port is passed over: late
// answers to earlier requests, second copies, answers that name other objects than were asked for.
bool IsAnswerTo(const Snmp::Message& request, const Snmp::Message& answer) {
    if (answer.type != Snmp::PduType::Response || answer.version != request.version) return false;
    if (answer.requestId != request.requestId) return false;
    // With an error the variables mean nothing, and some agents leave them out.
    if (answer.errorStatus != Snmp::ErrorStatus::NoError) return true;
    if (answer.variables.size() != request.variables.size()) return false;
    return request.type == Snmp::PduType::GetNext || NamesTheSameObjects(request, answer);
}

}  // namespace

SnmpExchange::SnmpExchange(const SnmpOptions& options)
    : options_(options), requestId_(static_cast<std::int32_t>(std::random_device{}() & 0x7FFFFFFFu)) {}

int SnmpExchange::Open() {
    if (winsock_.Status() != 0) return winsock_.Status();
    const KyUtils::AddressList addresses = KyUtils::ResolveHost(options_.host, options_.port, SOCK_DGRAM);
    if (!addresses) return static_cast<int>(GetLastError());
    int error = WSAEADDRNOTAVAIL;
    // Which of a name's addresses the agent listens on shows only when it answers.
    for (const addrinfoW* address = addresses.get(); address; address = address->ai_next) {
        UdpSocket socket;
        const int result = socket.Open(*address);
        if (result == 0) {
            endpoints_.push_back(std::move(socket));
        } else {
            error = result;
        }
    }
    return endpoints_.empty() ? error : 0;
}

void SnmpExchange::SetTimeout(unsigned long milliseconds, unsigned retries) {
    options_.timeoutMilliseconds = milliseconds;
    options_.retries = retries;
}

// Begins at random, so that answers to an earlier process on the same port do not fit.
std::int32_t SnmpExchange::NextRequestId() {
    requestId_ = requestId_ == INT32_MAX ? 1 : requestId_ + 1;
    return requestId_;
}

void SnmpExchange::KeepOnly(size_t endpoint) {
    std::swap(endpoints_.front(), endpoints_[endpoint]);
    endpoints_.erase(endpoints_.begin() + 1, endpoints_.end());
}

int SnmpExchange::AwaitAnswer(UdpSocket& socket, const Snmp::Message& request, Snmp::Message* answer) {
    const auto deadline = UdpSocket::Clock::now() + std::chrono::milliseconds(options_.timeoutMilliseconds);
    for (;;) {
        std::string_view datagram;
        if (const int error = socket.Receive(deadline, options_.stopEvent, &datagram)) return error;
        std::optional<Snmp::Message> message = Snmp::DecodeMessage(datagram);
        if (!message || !IsAnswerTo(request, *message)) continue;
        *answer = std::move(*message);
        return 0;
    }
}

int SnmpExchange::Attempt(UdpSocket& socket, const Snmp::Message& request, std::string_view datagram,
                          Snmp::Message* answer) {
    if (options_.stopEvent && WaitForSingleObject(options_.stopEvent, 0) == WAIT_OBJECT_0)
        return ERROR_CANCELLED;
    const int error = socket.Send(datagram);
    return error != 0 ? error : AwaitAnswer(socket, request, answer);
}

// Repeats keep the request id, so that an answer that comes late still counts.
HRESULT SnmpExchange::SendAndWait(const Snmp::Message& request, Snmp::Message* answer) {
    const std::string datagram = Snmp::Encode(request);
    if (datagram.size() > UdpSocket::maxDatagram) {
        answer->errorStatus = Snmp::ErrorStatus::TooBig;
        return S_OK;
    }
    // Every address is tried at least once, even without retries.
    const size_t attempts = std::max<size_t>(size_t{options_.retries} + 1, endpoints_.size());
    int error = 0;
    for (size_t attempt = 0; attempt < attempts; ++attempt) {
        const size_t endpoint = attempt % endpoints_.size();
        error = Attempt(endpoints_[endpoint], request, datagram, answer);
        // Other errors may be of this address or of this attempt only.
        if (error == ERROR_CANCELLED) break;
        if (error != 0) continue;
        KeepOnly(endpoint);
        return S_OK;
    }
    return HRESULT_FROM_WIN32(static_cast<DWORD>(error));
}

HRESULT SnmpExchange::Ask(Snmp::PduType type, Variables asked, Variables* given) {
    Snmp::Message request;
    request.version = static_cast<Snmp::Version>(options_.version);
    request.community = type == Snmp::PduType::Set ? options_.writeCommunity : options_.readCommunity;
    request.type = type;
    request.requestId = NextRequestId();
    request.variables = std::move(asked);
    lastErrorStatus_ = Snmp::ErrorStatus::NoError;
    Snmp::Message answer;
    const HRESULT result = SendAndWait(request, &answer);
    if (FAILED(result)) return result;
    lastErrorStatus_ = answer.errorStatus;
    *given = std::move(answer.variables);
    return ResultOfStatus(answer.errorStatus);
}

}  // namespace CorvixTransport
