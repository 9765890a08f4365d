#include "datamodel/binding/mapbinders.h"

#include <utility>

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

MapBinder BinderOf(DataMapTypeEnum type) {
    switch (type) {
        case DataMapTypeEnum::Pavo:
            return BindPavo;
        case DataMapTypeEnum::WS:
            return BindWs;
        case DataMapTypeEnum::PLSXML:
            return BindPlsxml;
        case DataMapTypeEnum::IPP:
            return BindIpp;
        case DataMapTypeEnum::OID:
            return BindOid;
        default:
            return nullptr;
    }
}

}  // namespace Corvix
