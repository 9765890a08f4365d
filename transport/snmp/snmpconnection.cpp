#include "transport/snmpconnection.h"

#include <new>
#include <utility>
#include <vector>

#include "transport/refcounted.h"
#include "transport/snmp/snmpexchange.h"
#include "transport/snmp/snmpvalue.h"
#include "utilslib/boundary.h"
#include "utilslib/stringutils.h"

namespace CorvixTransport {
namespace {

std::optional<Snmp::Oid> OidOf(const wchar_t* text) {
    return text ? Snmp::ParseOid(KyUtils::ToUtf8(text)) : std::nullopt;
}

class SnmpConnection final : public RefCounted<Corvix::MIBConnection> {
public:
    explicit SnmpConnection(const SnmpOptions& options) : exchange_(options) {}

    // 0, or the system error code.
    int Open() { return exchange_.Open(); }

    HRESULT GetValue(const wchar_t* oid, VARIANT* value) override;
    HRESULT GetMultipleValues(const wchar_t** oids, VARIANT* values, unsigned count) override;
    HRESULT GetNextOidAndValue(const wchar_t* oid, wchar_t* nextOid, unsigned nextOidChars,
                               VARIANT* value) override;
    HRESULT SetValue(const wchar_t* oid, const VARIANT& value) override;
    void SetTimeout(unsigned long milliseconds, unsigned retries) override {
        exchange_.SetTimeout(milliseconds, retries);
    }
    unsigned long GetLastErrorStatus() override {
        return static_cast<unsigned long>(exchange_.LastErrorStatus());
    }

    const wchar_t* GetTypeName() override { return L"CorvixTransport::SnmpConnection"; }

private:
    using Variables = SnmpExchange::Variables;

    HRESULT ReadAll(const Variables& asked, Variables* given);
    HRESULT ReadHalves(const Variables& asked, Variables* given);
    HRESULT ReadNext(Snmp::Oid oid);
    HRESULT Ask(Snmp::PduType type, Variables asked, Variables* given);

    SnmpExchange exchange_;
    // The last answer to a get-next and what it followed: a caller whose buffer was too small asks again.
    Snmp::Oid before_;
    Variables next_;
};

// The answer kept for a larger buffer is out of date once anything else is asked.
HRESULT SnmpConnection::Ask(Snmp::PduType type, Variables asked, Variables* given) {
    next_.clear();
    return exchange_.Ask(type, std::move(asked), given);
}

// One request for all objects; when the answer would be too big for the agent, one for each half, recursively.
HRESULT SnmpConnection::ReadAll(const Variables& asked, Variables* given) {
    Variables answered;
    const HRESULT result = Ask(Snmp::PduType::Get, asked, &answered);
    if (exchange_.LastErrorStatus() == Snmp::ErrorStatus::TooBig && asked.size() > 1)
        return ReadHalves(asked, given);
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
    return KyUtils::NeverThrowing([&]() -> HRESULT {
        Variables asked;
        for (unsigned i = 0; i < count; ++i) {
            std::optional<Snmp::Oid> oid = OidOf(oids[i]);
            if (!oid) return E_INVALIDARG;
            asked.push_back({std::move(*oid), {}});
        }
        Variables given;
        HRESULT result = ReadAll(asked, &given);
        // The caller gets all of the values or none.
        std::vector<KyUtils::Variant> read(given.size());
        for (size_t i = 0; SUCCEEDED(result) && i < given.size(); ++i)
            result = ToVariant(given[i].value, read[i]);
        if (FAILED(result)) return result;
        for (KyUtils::Variant& value : read)
            *values++ = value.Release();
        return S_OK;
    });
}

// Leaves the answer in `next_`.
HRESULT SnmpConnection::ReadNext(Snmp::Oid oid) {
    if (!next_.empty() && before_ == oid) return S_OK;
    before_ = oid;
    return Ask(Snmp::PduType::GetNext, {{std::move(oid), {}}}, &next_);
}

HRESULT SnmpConnection::GetNextOidAndValue(const wchar_t* oid, wchar_t* nextOid, unsigned nextOidChars,
                                           VARIANT* value) {
    if (!nextOid || !value) return E_INVALIDARG;
    return KyUtils::NeverThrowing([&]() -> HRESULT {
        std::optional<Snmp::Oid> start = OidOf(oid);
        if (!start) return E_INVALIDARG;
        HRESULT result = ReadNext(std::move(*start));
        Variables next = std::exchange(next_, {});
        KyUtils::Variant read;
        if (SUCCEEDED(result)) result = ToVariant(next.front().value, read);
        if (FAILED(result)) return result;
        const std::wstring name = KyUtils::ToWide(Snmp::FormatOid(next.front().oid));
        // The walk would lose an object, and ask for it again, if the answer were dropped here.
        if (name.size() >= nextOidChars) {
            next_ = std::move(next);
            return E_OUTOFMEMORY;
        }
        nextOid[name.copy(nextOid, name.size())] = L'\0';
        *value = read.Release();
        return S_OK;
    });
}

HRESULT SnmpConnection::SetValue(const wchar_t* oid, const VARIANT& value) {
    return KyUtils::NeverThrowing([&]() -> HRESULT {
        std::optional<Snmp::Oid> name = OidOf(oid);
        if (!name) return E_INVALIDARG;
        Snmp::VarBind variable{std::move(*name), {}};
        const HRESULT result = FromVariant(value, &variable.value);
        if (FAILED(result)) return result;
        Variables given;
        return Ask(Snmp::PduType::Set, {std::move(variable)}, &given);
    });
}

}  // namespace

// The one place that makes a connection: whoever fails here leaves the reason in the thread's last error.
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
