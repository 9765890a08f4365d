#include "transport/snmpconnection.h"

#include <algorithm>
#include <new>
#include <random>
#include <utility>
#include <vector>

#include "transport/refcounted.h"
#include "transport/snmpvalue.h"
#include "transport/text.h"
#include "transport/udpsocket.h"
#include "wire/snmp/message.h"

namespace CorvixTransport {
namespace {

const HRESULT notFound = HRESULT_FROM_WIN32(ERROR_NOT_FOUND);

struct StatusResult {
    std::int32_t status;
    HRESULT result;
};

// What an agent's error-status is to the caller; every other status is E_FAIL.
const StatusResult statusResults[] = {
    {Snmp::ErrorStatus::NoSuchName, notFound},
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

std::optional<Snmp::Oid> OidOf(const wchar_t* text) {
    return text ? Snmp::ParseOid(ToUtf8(text)) : std::nullopt;
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

// Values on their way to the caller, who gets all of them or none.
class ValueList {
public:
    ValueList() = default;
    ValueList(const ValueList&) = delete;
    ValueList& operator=(const ValueList&) = delete;
    ~ValueList() {
        for (VARIANT& value : values_)
            VariantClear(&value);
    }

    HRESULT Add(const Snmp::VarBind& variable) {
        VariantInit(&values_.emplace_back());
        return ToVariant(variable.value, &values_.back());
    }

    void MoveTo(VARIANT* destination) {
        std::copy(values_.begin(), values_.end(), destination);
        values_.clear();
    }

private:
    std::vector<VARIANT> values_;
};

// Operations of the interface must not throw.
template <class Operation>
HRESULT WithoutThrowing(Operation operation) {
    try {
        return operation();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

class SnmpConnection final : public RefCounted<Corvix::MIBConnection> {
public:
    explicit SnmpConnection(const SnmpOptions& options)
        : options_(options), requestId_(static_cast<std::int32_t>(std::random_device{}() & 0x7FFFFFFFu)) {}

    // Resolves the host and opens the sockets. 0, or the system error code.
    int Open();

    HRESULT GetValue(const wchar_t* oid, VARIANT* value) override;
    HRESULT GetMultipleValues(const wchar_t** oids, VARIANT* values, unsigned count) override;
    HRESULT GetNextOidAndValue(const wchar_t* oid, wchar_t* nextOid, unsigned nextOidChars,
                               VARIANT* value) override;
    HRESULT SetValue(const wchar_t* oid, const VARIANT& value) override;
    void SetTimeout(unsigned long milliseconds, unsigned retries) override;
    unsigned long GetLastErrorStatus() override { return static_cast<unsigned long>(lastErrorStatus_); }

    const wchar_t* GetTypeName() override { return L"CorvixTransport::SnmpConnection"; }

private:
    using Variables = std::vector<Snmp::VarBind>;

    HRESULT ReadAll(Variables asked, Variables* given);
    HRESULT ReadHalves(const Variables& asked, Variables* given);
    HRESULT ReadNext(Snmp::Oid oid);
    HRESULT Exchange(Snmp::PduType type, Variables asked, Variables* given);
    HRESULT SendAndWait(const Snmp::Message& request, Snmp::Message* answer);
    int Attempt(UdpSocket& socket, const Snmp::Message& request, std::string_view datagram,
                Snmp::Message* answer);
    int AwaitAnswer(UdpSocket& socket, const Snmp::Message& request, Snmp::Message* answer);
    void KeepOnly(size_t endpoint);
    std::int32_t NextRequestId();

    WinsockSession winsock_;
    SnmpOptions options_;
    // One for each address of the host, until one has answered; then that alone.
    std::vector<UdpSocket> endpoints_;
    std::int32_t requestId_;
    std::int32_t lastErrorStatus_ = Snmp::ErrorStatus::NoError;
    // The last answer to a get-next and what it followed: a caller whose buffer was too small asks again.
    Snmp::Oid before_;
    Variables next_;
};

int SnmpConnection::Open() {
    if (winsock_.Status() != 0) return winsock_.Status();
    const AddressList addresses = ResolveHost(options_.host, options_.port, SOCK_DGRAM);
    if (!addresses) return static_cast<int>(GetLastError());
    int error = WSAEADDRNOTAVAIL;
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

void SnmpConnection::SetTimeout(unsigned long milliseconds, unsigned retries) {
    options_.timeoutMilliseconds = milliseconds;
    options_.retries = retries;
}

std::int32_t SnmpConnection::NextRequestId() {
    requestId_ = requestId_ == INT32_MAX ? 1 : requestId_ + 1;
    return requestId_;
}

void SnmpConnection::KeepOnly(size_t endpoint) {
    std::swap(endpoints_.front(), endpoints_[endpoint]);
    endpoints_.erase(endpoints_.begin() + 1, endpoints_.end());
}

int SnmpConnection::AwaitAnswer(UdpSocket& socket, const Snmp::Message& request, Snmp::Message* answer) {
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

int SnmpConnection::Attempt(UdpSocket& socket, const Snmp::Message& request, std::string_view datagram,
                            Snmp::Message* answer) {
    if (options_.stopEvent && WaitForSingleObject(options_.stopEvent, 0) == WAIT_OBJECT_0)
        return ERROR_CANCELLED;
    const int error = socket.Send(datagram);
    return error != 0 ? error : AwaitAnswer(socket, request, answer);
}

// Repeats keep the request id, so that an answer that comes late still counts.
HRESULT SnmpConnection::SendAndWait(const Snmp::Message& request, Snmp::Message* answer) {
    const std::string datagram = Snmp::Encode(request);
    if (datagram.size() > UdpSocket::maxDatagram) {
        answer->errorStatus = Snmp::ErrorStatus::TooBig;
        return S_OK;
    }
    const size_t attempts = std::max<size_t>(size_t{options_.retries} + 1, endpoints_.size());
    int error = 0;
    for (size_t attempt = 0; attempt < attempts; ++attempt) {
        const size_t endpoint = attempt % endpoints_.size();
        error = Attempt(endpoints_[endpoint], request, datagram, answer);
        if (error == ERROR_CANCELLED) break;
        if (error != 0) continue;
        KeepOnly(endpoint);
        return S_OK;
    }
    return HRESULT_FROM_WIN32(static_cast<DWORD>(error));
}

HRESULT SnmpConnection::Exchange(Snmp::PduType type, Variables asked, Variables* given) {
    Snmp::Message request;
    next_.clear();
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

// One request for all; where that makes too big an answer for the agent, two for half of them each, and so
// on.
HRESULT SnmpConnection::ReadAll(Variables asked, Variables* given) {
    Variables answered;
    const HRESULT result = Exchange(Snmp::PduType::Get, asked, &answered);
    if (lastErrorStatus_ == Snmp::ErrorStatus::TooBig && asked.size() > 1) return ReadHalves(asked, given);
    if (FAILED(result)) return result;
    given->insert(given->end(), std::make_move_iterator(answered.begin()),
                  std::make_move_iterator(answered.end()));
    return S_OK;
}

HRESULT SnmpConnection::ReadHalves(const Variables& asked, Variables* given) {
    const auto middle = asked.begin() + static_cast<std::ptrdiff_t>(asked.size() / 2);
    const HRESULT result = ReadAll(Variables(asked.begin(), middle), given);
    return FAILED(result) ? result : ReadAll(Variables(middle, asked.end()), given);
}

HRESULT SnmpConnection::GetValue(const wchar_t* oid, VARIANT* value) {
    return GetMultipleValues(&oid, value, 1);
}

HRESULT SnmpConnection::GetMultipleValues(const wchar_t** oids, VARIANT* values, unsigned count) {
    if (!oids || !values || count == 0) return E_INVALIDARG;
    return WithoutThrowing([&]() -> HRESULT {
        Variables asked;
        for (unsigned i = 0; i < count; ++i) {
            std::optional<Snmp::Oid> oid = OidOf(oids[i]);
            if (!oid) return E_INVALIDARG;
            asked.push_back({std::move(*oid), {}});
        }
        Variables given;
        HRESULT result = ReadAll(std::move(asked), &given);
        ValueList read;
        for (size_t i = 0; SUCCEEDED(result) && i < given.size(); ++i)
            result = read.Add(given[i]);
        if (FAILED(result)) return result;
        read.MoveTo(values);
        return S_OK;
    });
}

// Leaves the answer in `next_`.
HRESULT SnmpConnection::ReadNext(Snmp::Oid oid) {
    if (!next_.empty() && before_ == oid) return S_OK;
    before_ = oid;
    return Exchange(Snmp::PduType::GetNext, {{std::move(oid), {}}}, &next_);
}

HRESULT SnmpConnection::GetNextOidAndValue(const wchar_t* oid, wchar_t* nextOid, unsigned nextOidChars,
                                           VARIANT* value) {
    if (!nextOid || !value) return E_INVALIDARG;
    return WithoutThrowing([&]() -> HRESULT {
        std::optional<Snmp::Oid> start = OidOf(oid);
        if (!start) return E_INVALIDARG;
        HRESULT result = ReadNext(std::move(*start));
        Variables next = std::exchange(next_, {});
        ValueList read;
        if (SUCCEEDED(result)) result = read.Add(next.front());
        if (FAILED(result)) return result;
        const std::wstring name = ToWide(Snmp::FormatOid(next.front().oid));
        if (name.size() >= nextOidChars) {
            next_ = std::move(next);
            return E_OUTOFMEMORY;
        }
        nextOid[name.copy(nextOid, name.size())] = L'\0';
        read.MoveTo(value);
        return S_OK;
    });
}

HRESULT SnmpConnection::SetValue(const wchar_t* oid, const VARIANT& value) {
    return WithoutThrowing([&]() -> HRESULT {
        std::optional<Snmp::Oid> name = OidOf(oid);
        if (!name) return E_INVALIDARG;
        Snmp::VarBind variable{std::move(*name), {}};
        const HRESULT result = FromVariant(value, &variable.value);
        if (FAILED(result)) return result;
        Variables given;
        return Exchange(Snmp::PduType::Set, {std::move(variable)}, &given);
    });
}

}  // namespace

Corvix::MIBConnection* CreateSnmpConnection(const SnmpOptions& options) {
    try {
        Corvix::DisposablePtr<SnmpConnection> connection = MakeRefCounted<SnmpConnection>(options);
        const int error = connection->Open();
        if (error == 0) return connection.Release();
        SetLastError(static_cast<DWORD>(error));
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_OUTOFMEMORY);
    }
    return nullptr;
}

}  // namespace CorvixTransport
