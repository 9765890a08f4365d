/// The collection that answers the items of an `XMLDataMap`.
#pragma once

#include "corvixdm/xmlprovider.h"
#include "datamodel/collection/datacollectionimpl.h"

namespace Corvix {

class XMLDataMapper final : public DataCollectionImpl {
public:
    static DisposablePtr<DataCollectionImpl> Create(DisposablePtr<IXMLProvider> provider,
                                                    DisposablePtr<DataMapSpec> map);
    HRESULT GetValue(const wchar_t* name, VARIANT* value) override;
    std::wstring GetDataMapName() const override;

private:
    XMLDataMapper(DisposablePtr<IXMLProvider> provider, DisposablePtr<DataMapSpec> map);
    HRESULT Fetch(const wchar_t* name, VARIANT* value);
    HRESULT ReadText(const XMLDataItemSpec& item, std::wstring& text);

    DisposablePtr<IXMLProvider> provider_;
};

}  // namespace Corvix
