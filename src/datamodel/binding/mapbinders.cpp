#include "datamodel/binding/mapbinders.h"

#include <cwchar>
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

/// What a protocol brings. `Provider` is the interface that its mapper asks.
template <class Provider>
struct Protocol {
    /// Whether the address lets the protocol be tried at all; asks the device nothing. Null: every address does.
    bool (*isPossible)(Address& address);
    /// Whether the device speaks something that takes the protocol's place. Null: nothing does.
    bool (*isReplaced)(Address& address);
    /// Null for a device that does not speak the protocol.
    DisposablePtr<Provider> (*make)(Address& address, const DataMapSpec& map);
    std::wstring (*readIdentity)(Provider& provider);
    DisposablePtr<DataCollectionImpl> (*makeMapper)(DisposablePtr<Provider>, DisposablePtr<DataMapSpec>);
    /// A provider that is made by the first call. Null where making one leaves nothing to defer.
    DisposablePtr<Provider> (*defer)(ProviderFactory<Provider> make);
};

// ---- XML

template <class ProviderImpl>
DisposablePtr<IXMLProvider> MakeXml(Address& address, const DataMapSpec&) {
    return ProviderImpl::Create(&address);
}

template <const XmlIdentity& where>
std::wstring ReadXmlIdentity(IXMLProvider& provider) {
    std::wstring text(where.textChars, L'\0');
    const HRESULT result =
        provider.GetValue(where.uri, where.xpath, text.data(), where.textChars, nullptr, true, 0);
    if (result != S_OK) return {};
    text.resize(std::wcslen(text.c_str()));
    return text;
}

template <unsigned kind>
DisposablePtr<IXMLProvider> DeferXml(ProviderFactory<IXMLProvider> make) {
    return DeferXmlProvider(kind, std::move(make));
}

/// Addresses of other kinds do not tell; their devices are asked.
bool HasWebServicePort(Address& address) {
    auto* network = dynamic_cast<KyNetAddress*>(&address);
    if (!network || network->IsWebServicePortAvailable()) return true;
    logSource.Debug(
        L"Skipping the WSPrint DataModel, webservice port not created. bWebServicePortAvailable = %ls",
        L"FALSE");
    return false;
}

// ---- IPP

DisposablePtr<IPPProvider> CreateIppProvider(Address& address, const wchar_t* resource) {
    IPPProviderImpl::Settings settings;
    settings.resource = resource ? resource : KyUtils::ToWide(defaultPrinterResource);
    return IPPProviderImpl::Create(&address, settings);
}

DisposablePtr<IPPProvider> MakeIpp(Address& address, const DataMapSpec& map) {
    const auto* parameters = dynamic_cast<const IPPDataItemSpec*>(map.GetDataItemSpec(L"IPPParams"));
    return CreateIppProvider(address, parameters ? parameters->GetResourceUri() : nullptr);
}

std::wstring ReadText(IPPProvider& provider, const char* attribute) {
    KyUtils::Variant value;
    const bool isRead = provider.GetValue(attribute, value.Receive()) == S_OK;
    return isRead ? std::wstring(value.Text()) : std::wstring();
}

std::wstring ReadUuid(IPPProvider& provider) { return ReadText(provider, "printer-uuid"); }

/// A device that speaks the print contract is not asked for its Pavo resources.
bool IsPrintContractDevice(Address& address) {
    const DisposablePtr<IPPProvider> provider = CreateIppProvider(address, nullptr);
    return provider && !ReadText(*provider, "veyra-pc-version-major").empty();
}

// ---- SNMP

DisposablePtr<OIDProvider> MakeOid(Address& address, const DataMapSpec&) {
    return CreateOidProviderOrNull(address);
}

// ---- the table

constexpr Protocol<IXMLProvider> pavo = {
    nullptr,
    IsPrintContractDevice,
    MakeXml<PavoProviderImpl>,
    ReadXmlIdentity<pavoIdentity>,
    XMLDataMapper::Create,
    DeferXml<PavoProviderImpl::kind>,
};
constexpr Protocol<IXMLProvider> ws = {
    HasWebServicePort,       nullptr,
    MakeXml<WSProviderImpl>, ReadXmlIdentity<wsIdentity>,
    XMLDataMapper::Create,   DeferXml<WSProviderImpl::kind>,
};
constexpr Protocol<IXMLProvider> plsxml = {
    nullptr,
    nullptr,
    MakeXml<PLSXMLProviderImpl>,
    ReadXmlIdentity<plsxmlIdentity>,
    XMLDataMapper::Create,
    DeferXml<PLSXMLProviderImpl::kind>,
};
/// Making an IPP provider is asking for everything that it answers.
constexpr Protocol<IPPProvider> ipp = {nullptr, nullptr, MakeIpp, ReadUuid, IPPDataMapper::Create, nullptr};
constexpr Protocol<OIDProvider> oid = {
    nullptr, nullptr, MakeOid, ReadSerialNumber, OIDDataMapper::Create, DeferOidProvider};

template <class Provider>
BoundMap BindProvider(const Protocol<Provider>& protocol, DisposablePtr<Provider> provider, DataMapSpec& map,
                      bool identityWanted) {
    std::wstring identity = identityWanted ? protocol.readIdentity(*provider) : std::wstring();
    return {protocol.makeMapper(std::move(provider), DisposablePtr<DataMapSpec>::Share(&map)),
            std::move(identity)};
}

template <const auto& protocol>
BoundMap BindAtOnce(Address& address, DataMapSpec& map, bool identityWanted) {
    if (protocol.isPossible && !protocol.isPossible(address)) return {};
    if (protocol.isReplaced && protocol.isReplaced(address)) return {};
    auto provider = protocol.make(address, map);
    return provider ? BindProvider(protocol, std::move(provider), map, identityWanted) : BoundMap();
}

template <const auto& protocol>
DisposablePtr<DataCollectionImpl> BindLater(Address& address, DataMapSpec& map, IdentityCheck check) {
    if (protocol.isPossible && !protocol.isPossible(address)) return {};
    auto spec = DisposablePtr<DataMapSpec>::Share(&map);
    auto make = [device = DisposablePtr<Address>::Share(&address), spec, check = std::move(check)] {
        auto provider = protocol.make(*device, *spec);
        const bool isRight = check(provider ? protocol.readIdentity(*provider) : std::wstring());
        return isRight ? std::move(provider) : decltype(provider)();
    };
    return protocol.makeMapper(protocol.defer(std::move(make)), std::move(spec));
}

constexpr MapBinders binders[] = {
    {DataMapTypeEnum::Pavo, BindAtOnce<pavo>, BindLater<pavo>},
    {DataMapTypeEnum::WS, BindAtOnce<ws>, BindLater<ws>},
    {DataMapTypeEnum::PLSXML, BindAtOnce<plsxml>, BindLater<plsxml>},
    {DataMapTypeEnum::IPP, BindAtOnce<ipp>, nullptr},
    {DataMapTypeEnum::OID, BindAtOnce<oid>, BindLater<oid>},
};
constexpr MapBinders noBinders = {DataMapTypeEnum::Unknown, nullptr, nullptr};

}  // namespace

const MapBinders& BindersOf(DataMapTypeEnum type) {
    for (const MapBinders& row : binders) {
        if (row.type == type) return row;
    }
    return noBinders;
}

BoundMap BindIppProvider(DisposablePtr<IPPProvider> provider, DataMapSpec& map, bool identityWanted) {
    return BindProvider(ipp, std::move(provider), map, identityWanted);
}

DisposablePtr<OIDProvider> CreateOidProviderOrNull(Address& address) {
    try {
        return OIDProviderImpl::Create(&address);
    } catch (const _com_error& error) {
        if (error.Error() == E_OUTOFMEMORY) throw;
        logSource.ErrorResult(error.Error(), L"The device's SNMP description is not text");
        return {};
    }
}

}  // namespace Corvix
