/// The collection that answers the items of an `IPPDataMap`.
#pragma once

#include "corvixdm/ippprovider.h"
#include "datamodel/collection/datacollectionimpl.h"

namespace Corvix {

class IPPDataMapper final : public DataCollectionImpl {
public:
    static DisposablePtr<DataCollectionImpl> Create(DisposablePtr<IPPProvider> provider,
                                                    DisposablePtr<DataMapSpec> map);
    HRESULT GetValue(const wchar_t* name, VARIANT* value) override;
    std::wstring GetDataMapName() const override { return L"IPPDataMap"; }

private:
    IPPDataMapper(DisposablePtr<IPPProvider> provider, DisposablePtr<DataMapSpec> map);
    HRESULT Fetch(const wchar_t* name, VARIANT* value);
    HRESULT AskProvider(const IPPDataItemSpec& item, VARIANT* raw);
    HRESULT AskAfresh(const IPPDataItemSpec& item, const char* attribute, VARIANT* raw);

    DisposablePtr<IPPProvider> provider_;
};

}  // namespace Corvix
