#include "datamodel/ipp/ippdatamapper.h"

#include <string>
#include <utility>

#include "datamodel/collection/itemname.h"
#include "utilslib/boundary.h"
#include "utilslib/logging.h"
#include "utilslib/stringutils.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

constexpr std::wstring_view jobCommand = L"Get-Job-Attributes";
constexpr const wchar_t* parametersItem = L"IPPParams";
constexpr const char* noKey = " ";

/// The item's own text, else that of the map's parameters; null without either.
const wchar_t* FirstOf(const wchar_t* own, const IPPDataItemSpec* parameters,
                       const wchar_t* (IPPDataItemSpec::*get)() const) {
    if (own || !parameters) return own;
    return (parameters->*get)();
}

}  // namespace

IPPDataMapper::IPPDataMapper(DisposablePtr<IPPProvider> provider, DisposablePtr<DataMapSpec> map)
    : DataCollectionImpl(std::move(map)), provider_(std::move(provider)) {}

DisposablePtr<DataCollectionImpl> IPPDataMapper::Create(DisposablePtr<IPPProvider> provider,
                                                        DisposablePtr<DataMapSpec> map) {
    return DisposablePtr<DataCollectionImpl>::Share(new IPPDataMapper(std::move(provider), std::move(map)));
}

HRESULT IPPDataMapper::GetValue(const wchar_t* name, VARIANT* value) {
    const KyUtils::LogScope scope(logSource, "Corvix::IPPDataMapper::GetValue");
    if (!name || !value) return E_FAIL;
    return KyUtils::RaisingComErrors([&] {
        const HRESULT stored = DataCollectionImpl::GetValue(name, value);
        return SUCCEEDED(stored) ? stored : Fetch(name, value);
    });
}

HRESULT IPPDataMapper::Fetch(const wchar_t* name, VARIANT* value) {
    const std::wstring itemName(SplitItemName(name).item);
    const auto* item = dynamic_cast<const IPPDataItemSpec*>(Map()->GetDataItemSpec(itemName.c_str()));
    if (!item || !item->GetAttributeID() || !provider_) return E_FAIL;
    KyUtils::Variant raw;
    const HRESULT result = AskProvider(*item, raw.Receive());
    if (result != S_OK) return result;
    if (raw->vt == VT_EMPTY) return E_FAIL;
    return Answer(*item, name, std::move(raw), value);
}

HRESULT IPPDataMapper::AskProvider(const IPPDataItemSpec& item, VARIANT* raw) {
    const std::string attribute = KyUtils::ToUtf8(item.GetAttributeID());
    return item.IsTransient() ? AskAfresh(item, attribute.c_str(), raw)
                              : provider_->GetValue(attribute.c_str(), raw);
}

HRESULT IPPDataMapper::AskAfresh(const IPPDataItemSpec& item, const char* attribute, VARIANT* raw) {
    if (!item.GetCommand()) return E_FAIL;
    const auto* parameters = dynamic_cast<const IPPDataItemSpec*>(Map()->GetDataItemSpec(parametersItem));
    const wchar_t* resource = FirstOf(item.GetResourceUri(), parameters, &IPPDataItemSpec::GetResourceUri);
    if (item.GetCommand() != jobCommand)
        return provider_->GetIPPValue(attribute, 0, raw, nullptr, resource, 0, 0, noKey);
    const wchar_t* jobUri = FirstOf(item.GetJobUri(), parameters, &IPPDataItemSpec::GetJobUri);
    if (!jobUri) return E_FAIL;
    return provider_->GetIPPValue(attribute, 1, raw, KyUtils::ToUtf8(jobUri).c_str(), resource, 0, 0, noKey);
}

}  // namespace Corvix
