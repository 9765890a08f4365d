#include "datamodel/binding/mapbinders.h"

#include <utility>

#include "datamodel/binding/deferredproviders.h"
#include "datamodel/ipp/ippdatamapper.h"
#include "datamodel/ipp/ippproviderimpl.h"
#include "datamodel/snmp/oiddatamapper.h"
#include "datamodel/snmp/oididentity.h"
#include "datamodel/snmp/oidproviderimpl.h"
#include "datamodel/xml/pavoproviderimpl.h"
#include "datamodel/xml/plsxmlproviderimpl.h"
#include "datamodel/xml/wsproviderimpl.h"
#include "datamodel/xml/xmldatamapper.h"
#include "datamodel/xml/xmlidentity.h"
#include "utilslib/com.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

std::wstring ReadIdentity(IXMLProvider& provider, const XmlIdentity& where) {
    std::wstring text(where.textChars, L'\0');
    const HRESULT result =
        provider.GetValue(where.uri, where.xpath, text.data(), where.textChars, nullptr, true, 0);
    return result == S_OK ? text.c_str() : std::wstring();
}

BoundMap BindXml(DisposablePtr<IXMLProvider> provider, DataMapSpec& map, bool identityWanted,
                 const XmlIdentity& where) {
    if (!provider) return {};
    std::wstring identity = identityWanted ? ReadIdentity(*provider, where) : std::wstring();
    return {XMLDataMapper::Create(std::move(provider), DisposablePtr<DataMapSpec>::Share(&map)),
            std::move(identity)};
}

DisposablePtr<IPPProvider> CreateIppProvider(Address& address, const wchar_t* resource) {
    IPPProviderImpl::Settings settings;
    settings.resource = resource ? resource : KyUtils::ToWide(defaultPrinterResource);
    return IPPProviderImpl::Create(&address, settings);
}

std::wstring ReadText(IPPProvider& provider, const char* attribute) {
    KyUtils::Variant value;
    return provider.GetValue(attribute, value.Receive()) == S_OK ? std::wstring(value.Text())
                                                                 : std::wstring();
}

BoundMap BindIpp(Address& address, DataMapSpec& map, bool identityWanted) {
    const auto* parameters = dynamic_cast<const IPPDataItemSpec*>(map.GetDataItemSpec(L"IPPParams"));
    DisposablePtr<IPPProvider> provider =
        CreateIppProvider(address, parameters ? parameters->GetResourceUri() : nullptr);
    return provider ? BindIppProvider(std::move(provider), map, identityWanted) : BoundMap();
}

/// Whether the device speaks the print contract, which takes the place of its Pavo resources.
bool IsPrintContractDevice(Address& address) {
    const DisposablePtr<IPPProvider> provider = CreateIppProvider(address, nullptr);
    return provider && !ReadText(*provider, "veyra-pc-version-major").empty();
}

BoundMap BindPavo(Address& address, DataMapSpec& map, bool identityWanted) {
    if (IsPrintContractDevice(address)) return {};
    return BindXml(PavoProviderImpl::Create(&address), map, identityWanted, pavoIdentity);
}

/// Addresses of other kinds do not tell; they are asked.
bool HasWebServicePort(Address& address) {
    auto* network = dynamic_cast<KyNetAddress*>(&address);
    return !network || network->IsWebServicePortAvailable();
}

BoundMap BindWs(Address& address, DataMapSpec& map, bool identityWanted) {
    if (!HasWebServicePort(address)) {
        logSource.Debug(
            L"Skipping the WSPrint DataModel, webservice port not created. bWebServicePortAvailable = %ls",
            L"FALSE");
        return {};
    }
    return BindXml(WSProviderImpl::Create(&address), map, identityWanted, wsIdentity);
}

BoundMap BindPlsxml(Address& address, DataMapSpec& map, bool identityWanted) {
    return BindXml(PLSXMLProviderImpl::Create(&address), map, identityWanted, plsxmlIdentity);
}

BoundMap BindOid(Address& address, DataMapSpec& map, bool identityWanted) {
    DisposablePtr<OIDProvider> provider = CreateOidProviderOrNull(address);
    if (!provider) return {};
    std::wstring identity = identityWanted ? ReadSerialNumber(*provider) : std::wstring();
    return {OIDDataMapper::Create(std::move(provider), DisposablePtr<DataMapSpec>::Share(&map)),
            std::move(identity)};
}

DisposablePtr<DataCollectionImpl> DeferOid(Address& address, DataMapSpec& map, IdentityCheck check) {
    auto make = [device = DisposablePtr<Address>::Share(&address), check = std::move(check)] {
        DisposablePtr<OIDProvider> provider = CreateOidProviderOrNull(*device);
        const bool right = check(provider ? ReadSerialNumber(*provider) : std::wstring());
        return right ? std::move(provider) : DisposablePtr<OIDProvider>();
    };
    return OIDDataMapper::Create(DeferOidProvider(std::move(make)), DisposablePtr<DataMapSpec>::Share(&map));
}

template <class ProviderImpl, const XmlIdentity& where>
DisposablePtr<DataCollectionImpl> DeferXml(Address& address, DataMapSpec& map, IdentityCheck check) {
    auto make = [device = DisposablePtr<Address>::Share(&address), check = std::move(check)] {
        DisposablePtr<IXMLProvider> provider = ProviderImpl::Create(device.Get());
        const bool right = check(provider ? ReadIdentity(*provider, where) : std::wstring());
        return right ? std::move(provider) : DisposablePtr<IXMLProvider>();
    };
    return XMLDataMapper::Create(DeferXmlProvider(ProviderImpl::kind, std::move(make)),
                                 DisposablePtr<DataMapSpec>::Share(&map));
}

DisposablePtr<DataCollectionImpl> DeferWs(Address& address, DataMapSpec& map, IdentityCheck check) {
    if (!HasWebServicePort(address)) return {};
    return DeferXml<WSProviderImpl, wsIdentity>(address, map, std::move(check));
}

struct BinderEntry {
    DataMapTypeEnum type;
    MapBinder bind;
    DeferredMapBinder defer;
};
/// Making an IPP provider is asking for everything that it answers, which leaves nothing to defer.
constexpr BinderEntry binders[] = {
    {DataMapTypeEnum::Pavo, BindPavo, DeferXml<PavoProviderImpl, pavoIdentity>},
    {DataMapTypeEnum::WS, BindWs, DeferWs},
    {DataMapTypeEnum::PLSXML, BindPlsxml, DeferXml<PLSXMLProviderImpl, plsxmlIdentity>},
    {DataMapTypeEnum::IPP, BindIpp, nullptr},
    {DataMapTypeEnum::OID, BindOid, DeferOid},
};
constexpr BinderEntry noBinders = {DataMapTypeEnum::Unknown, nullptr, nullptr};

const BinderEntry& EntryOf(DataMapTypeEnum type) {
    for (const BinderEntry& entry : binders) {
        if (entry.type == type) return entry;
    }
    return noBinders;
}

}  // namespace

DisposablePtr<OIDProvider> CreateOidProviderOrNull(Address& address) {
    try {
        return OIDProviderImpl::Create(&address);
    } catch (const _com_error& error) {
        if (error.Error() == E_OUTOFMEMORY) throw;
        logSource.ErrorResult(error.Error(), L"The device's SNMP description is no text");
        return {};
    }
}

BoundMap BindIppProvider(DisposablePtr<IPPProvider> provider, DataMapSpec& map, bool identityWanted) {
    std::wstring identity = identityWanted ? ReadText(*provider, "printer-uuid") : std::wstring();
    return {IPPDataMapper::Create(std::move(provider), DisposablePtr<DataMapSpec>::Share(&map)),
            std::move(identity)};
}

MapBinder BinderOf(DataMapTypeEnum type) { return EntryOf(type).bind; }

DeferredMapBinder DeferredBinderOf(DataMapTypeEnum type) { return EntryOf(type).defer; }

}  // namespace Corvix
