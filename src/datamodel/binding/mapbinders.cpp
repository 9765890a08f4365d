#include "datamodel/binding/mapbinders.h"

#include <array>
#include <utility>

#include "datamodel/xml/plsxmlproviderimpl.h"
#include "datamodel/xml/xmldatamapper.h"

namespace Corvix {
namespace {

/// Where the devices of an XML protocol tell who they are.
struct XmlIdentity {
    const wchar_t* uri;
    const wchar_t* xpath;
};
constexpr XmlIdentity plsxmlIdentity = {L"/veyra/device/product_information.xml", L"//ProductSerialNumber"};

std::wstring ReadIdentity(IXMLProvider& provider, const XmlIdentity& where) {
    std::array<wchar_t, 256> text{};
    const HRESULT result = provider.GetValue(where.uri, where.xpath, text.data(),
                                             static_cast<unsigned>(text.size()), nullptr, true, 0);
    return result == S_OK ? text.data() : std::wstring();
}

BoundMap BindXml(DisposablePtr<IXMLProvider> provider, DataMapSpec& map, bool identityWanted,
                 const XmlIdentity& where) {
    if (!provider) return {};
    std::wstring identity = identityWanted ? ReadIdentity(*provider, where) : std::wstring();
    return {XMLDataMapper::Create(std::move(provider), DisposablePtr<DataMapSpec>::Share(&map)),
            std::move(identity)};
}

BoundMap BindPlsxml(Address& address, DataMapSpec& map, bool identityWanted) {
    return BindXml(PLSXMLProviderImpl::Create(&address), map, identityWanted, plsxmlIdentity);
}

}  // namespace

MapBinder BinderOf(DataMapTypeEnum type) {
    switch (type) {
        case DataMapTypeEnum::PLSXML:
            return BindPlsxml;
        default:
            return nullptr;
    }
}

}  // namespace Corvix
