#include "datamodel/snmp/oidproviderimpl.h"

#include <string>
#include <string_view>
#include <utility>

#include "utilslib/com.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

/// hrDeviceDescr of the first device (RFC 2790): every printer with SNMP answers it.
constexpr wchar_t probeOid[] = L"1.3.6.1.2.1.25.3.2.1.3.1";
constexpr wchar_t triggerSeparator = L';';

bool HasDescription(MIBConnection& connection) {
    KyUtils::Variant description;
    const HRESULT result = connection.GetValue(probeOid, description.Receive());
    if (FAILED(result)) {
        logSource.ErrorResult(result, L"The device does not answer to SNMP");
        return false;
    }
    return !KyUtils::Variant::ToText(description.Get()).Text().empty();
}

/// Writes 1 to the object behind the ";" of an OID, which makes the device act after the read.
HRESULT WriteTrigger(MIBConnection& connection, const wchar_t* oid) {
    VARIANT one;
    VariantInit(&one);
    one.vt = VT_INT;
    one.intVal = 1;
    return connection.SetValue(oid, one);
}

}  // namespace

OIDProviderImpl::OIDProviderImpl(DisposablePtr<MIBConnection> connection)
    : connection_(std::move(connection)) {}

DisposablePtr<OIDProvider> OIDProviderImpl::Create(Address* address) {
    const KyUtils::LogScope scope(logSource, "Corvix::OIDProviderImpl::Create");
    if (!address) return {};
    DisposablePtr<MIBConnection> connection;
    const HRESULT result = address->CreateMIBConnection(connection.Receive());
    if (result != S_OK || !connection) {
        logSource.ErrorResult(result, L"The device has no SNMP connection");
        return {};
    }
    if (!HasDescription(*connection)) return {};
    return DisposablePtr<OIDProvider>::Share(new OIDProviderImpl(std::move(connection)));
}

HRESULT OIDProviderImpl::GetValue(const wchar_t* oid, VARIANT* value) {
    const KyUtils::LogScope scope(logSource, "Corvix::OIDProviderImpl::GetValue");
    if (!oid || !value) return E_FAIL;
    const std::wstring_view text(oid);
    const size_t separator = text.find(triggerSeparator);
    if (separator == std::wstring_view::npos) return connection_->GetValue(oid, value);
    const HRESULT read = connection_->GetValue(std::wstring(text.substr(0, separator)).c_str(), value);
    // The trigger is written even when the read failed, and its result is the answer then.
    const wchar_t* trigger = oid + separator + 1;
    return *trigger ? WriteTrigger(*connection_, trigger) : read;
}

HRESULT OIDProviderImpl::GetNextOidAndValue(const wchar_t* oid, wchar_t* nextOid, unsigned nextOidChars,
                                            VARIANT* value) {
    const KyUtils::LogScope scope(logSource, "Corvix::OIDProviderImpl::GetNextOidAndValue");
    if (!oid || !nextOid || nextOidChars == 0 || !value) return E_FAIL;
    return connection_->GetNextOidAndValue(oid, nextOid, nextOidChars, value);
}

HRESULT OIDProviderImpl::GetMultipleValues(const wchar_t** oids, VARIANT* values, unsigned count) {
    const KyUtils::LogScope scope(logSource, "Corvix::OIDProviderImpl::GetMultipleValues");
    if (!oids || !values || count == 0) return E_FAIL;
    return connection_->GetMultipleValues(oids, values, count);
}

}  // namespace Corvix
