#include "datamodel/binding/requestprocessor.h"

#include <array>
#include <new>
#include <string>

#include "datamodel/binding/mapbinders.h"
#include "datamodel/maps/ownedmaps.h"
#include "datamodel/xml/wsproviderimpl.h"
#include "utilslib/com.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

/// The first item in name order that is of the kind, or null.
template <class ItemSpec>
const ItemSpec* FirstItem(const DataMapSpec& map) {
    for (const auto& entry : map.GetItems()) {
        if (const auto* item = dynamic_cast<const ItemSpec*>(entry.second.get())) return item;
    }
    return nullptr;
}

/// An attribute that is there but empty counts as missing.
bool IsGiven(const wchar_t* text) { return text && *text; }

}  // namespace

std::unique_ptr<Requestor> Requestor::Create() {
    return std::unique_ptr<Requestor>(new (std::nothrow) Requestor);
}

HRESULT Requestor::Fail(RequestStatus status) {
    status_ = status;
    logSource.Error(L"The single request failed with status %u", static_cast<unsigned>(status));
    return E_FAIL;
}

HRESULT Requestor::CreateFromDOM(Address& device, const wchar_t* document, VARIANT& value) {
    const KyUtils::LogScope scope(logSource, "Corvix::Requestor::CreateFromDOM");
    ComPtr<IXMLDOMDocument> dom;
    if (LoadDomText(document, dom) != S_OK) return Fail(RequestStatus::DocumentNotLoaded);
    OwnedMaps maps;
    if (FAILED(ReadDataMaps(dom.Get(), maps))) return Fail(RequestStatus::NoDataMaps);
    return GetValueOrSetValueFromDataMapSpecsColl(device, *maps, value);
}

HRESULT Requestor::GetValueOrSetValueFromDataMapSpecsColl(Address& device, const DataMapSpecCollection& maps,
                                                          VARIANT& value) {
    const KyUtils::LogScope scope(logSource, "Corvix::Requestor::GetValueOrSetValueFromDataMapSpecsColl");
    if (maps.GetCount() == 0) return Fail(RequestStatus::NoItemName);
    // Only the first map counts, even where it cannot be served and a later one could.
    const DataMapSpec& map = *maps.GetDataMapSpec(0);
    const bool isRead = value.vt == VT_EMPTY;
    switch (map.GetDataMapType()) {
        case DataMapTypeEnum::WS:
            return isRead ? ReadFromWebService(device, map, value) : Fail(RequestStatus::WebServiceReadOnly);
        case DataMapTypeEnum::OID:
            return isRead ? ReadFromSnmp(device, map, value) : WriteToSnmp(device, map, value);
        default:
            return Fail(RequestStatus::UnsupportedMap);
    }
}

HRESULT Requestor::ReadFromWebService(Address& device, const DataMapSpec& map, VARIANT& value) {
    const auto provider = WSProviderImpl::Create(&device);
    if (!provider) return Fail(RequestStatus::NoWebServiceProvider);
    const auto* item = FirstItem<XMLDataItemSpec>(map);
    if (!item) return Fail(RequestStatus::NoItemName);
    if (!IsGiven(item->GetUri()) || !IsGiven(item->GetXPath())) return Fail(RequestStatus::NoXmlItem);
    std::array<wchar_t, 256> text{};
    const HRESULT read = provider->GetValue(item->GetUri(), item->GetXPath(), text.data(),
                                            static_cast<unsigned>(text.size()), nullptr, true, 0);
    if (read != S_OK) return Fail(RequestStatus::WebServiceReadFailed);
    value = KyUtils::Variant::FromText(text.data()).Release();
    return S_OK;
}

HRESULT Requestor::ReadFromSnmp(Address& device, const DataMapSpec& map, VARIANT& value) {
    const auto provider = CreateOidProviderOrNull(device);
    if (!provider) return Fail(RequestStatus::NoSnmpProvider);
    const auto* item = FirstItem<OIDDataItemSpec>(map);
    if (!item) return Fail(RequestStatus::NoItemName);
    if (!IsGiven(item->GetOid())) return Fail(RequestStatus::NoOidItem);
    KyUtils::Variant read;
    if (FAILED(provider->GetValue(item->GetOid(), read.Receive())))
        return Fail(RequestStatus::SnmpReadFailed);
    value = read.Release();
    return S_OK;
}

HRESULT Requestor::WriteToSnmp(Address& device, const DataMapSpec& map, const VARIANT& value) {
    const auto* item = FirstItem<OIDDataItemSpec>(map);
    if (!item) return Fail(RequestStatus::NoItemName);
    if (!IsGiven(item->GetOid())) return Fail(RequestStatus::NoOidItem);
    DisposablePtr<MIBConnection> connection;
    if (FAILED(device.CreateMIBConnection(connection.Receive())) || !connection) {
        return Fail(RequestStatus::SnmpWriteFailed);
    }
    // Tested after the connection: the statuses are reported in this order.
    if (value.vt != VT_INT) return Fail(RequestStatus::UnsupportedValueType);
    const HRESULT written = connection->SetValue(item->GetOid(), value);
    return FAILED(written) ? Fail(RequestStatus::SnmpWriteFailed) : written;
}

}  // namespace Corvix
