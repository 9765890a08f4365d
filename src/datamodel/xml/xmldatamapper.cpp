#include "datamodel/xml/xmldatamapper.h"

#include <array>
#include <utility>

#include "datamodel/collection/itemname.h"
#include "datamodel/xml/pavoproviderimpl.h"
#include "datamodel/xml/plsxmlproviderimpl.h"
#include "datamodel/xml/wsproviderimpl.h"
#include "utilslib/boundary.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

struct ProtocolWord {
    unsigned kind;
    const wchar_t* word;
};
constexpr ProtocolWord protocolWords[] = {
    {PLSXMLProviderImpl::kind, L"PLSXML"}, {WSProviderImpl::kind, L"WS"}, {PavoProviderImpl::kind, L"Pavo"}};

const wchar_t* ProtocolWordOf(unsigned kind) {
    for (const ProtocolWord& known : protocolWords) {
        if (known.kind == kind) return known.word;
    }
    return L"";
}

}  // namespace

XMLDataMapper::XMLDataMapper(DisposablePtr<IXMLProvider> provider, DisposablePtr<DataMapSpec> map)
    : DataCollectionImpl(std::move(map)), provider_(std::move(provider)) {}

DisposablePtr<DataCollectionImpl> XMLDataMapper::Create(DisposablePtr<IXMLProvider> provider,
                                                        DisposablePtr<DataMapSpec> map) {
    return DisposablePtr<DataCollectionImpl>::Share(new XMLDataMapper(std::move(provider), std::move(map)));
}

std::wstring XMLDataMapper::GetDataMapName() const {
    if (!provider_) return L"XMLDataMap";
    return std::wstring(L"XMLDataMap[@Protocol='") + ProtocolWordOf(provider_->GetKind()) + L"']";
}

HRESULT XMLDataMapper::GetValue(const wchar_t* name, VARIANT* value) {
    return KyUtils::Entry(logSource, "Corvix::XMLDataMapper::GetValue", [&] {
        const HRESULT stored = DataCollectionImpl::GetValue(name, value);
        return SUCCEEDED(stored) ? stored : Fetch(name, value);
    });
}

HRESULT XMLDataMapper::Fetch(const wchar_t* name, VARIANT* value) {
    if (!name || !value || !provider_) return E_FAIL;
    const std::wstring itemName(SplitItemName(name).item);
    const auto* item = dynamic_cast<const XMLDataItemSpec*>(Map()->GetDataItemSpec(itemName.c_str()));
    if (!item || !item->GetUri() || !item->GetXPath()) return E_FAIL;
    std::wstring text;
    const HRESULT result = ReadText(*item, text);
    if (FAILED(result)) return result;
    return Answer(*item, name, KyUtils::Variant::FromText(text), value);
}

HRESULT XMLDataMapper::ReadText(const XMLDataItemSpec& item, std::wstring& text) {
    std::array<wchar_t, 256> small{};
    unsigned needed = 0;
    HRESULT result =
        provider_->GetValue(item.GetUri(), item.GetXPath(), small.data(), static_cast<unsigned>(small.size()),
                            &needed, !item.IsTransient(), item.GetLifespan());
    // S_FALSE, when nothing is selected, counts as an empty text.
    if (result != E_OUTOFMEMORY) {
        text = small.data();
        return result;
    }
    // Lifespan 0 takes the cached document, so that length and text come from the same one.
    text.resize(needed + size_t{1});
    result = provider_->GetValue(item.GetUri(), item.GetXPath(), text.data(),
                                 static_cast<unsigned>(text.size()), &needed, true, 0);
    text.resize(wcslen(text.c_str()));
    return result;
}

}  // namespace Corvix
