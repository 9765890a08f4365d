#include "datamodel/binding/mapbinders.h"

#include <utility>

#include "datamodel/xml/pavoproviderimpl.h"
#include "datamodel/xml/plsxmlproviderimpl.h"
#include "datamodel/xml/wsproviderimpl.h"
#include "datamodel/xml/xmldatamapper.h"
#include "datamodel/xml/xmlidentity.h"
#include "utilslib/logging.h"

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

/// Whether the device speaks the print contract, which takes the place of its Pavo resources. Only an IPP
/// query can tell ("veyra-pc-version-major"), and the library has no IPP provider yet: until it has, no
/// device counts as one.
bool IsPrintContractDevice(Address&) { return false; }

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

}  // namespace

MapBinder BinderOf(DataMapTypeEnum type) {
    switch (type) {
        case DataMapTypeEnum::Pavo:
            return BindPavo;
        case DataMapTypeEnum::WS:
            return BindWs;
        case DataMapTypeEnum::PLSXML:
            return BindPlsxml;
        default:
            return nullptr;
    }
}

}  // namespace Corvix
