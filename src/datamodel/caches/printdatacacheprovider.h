/// Values kept in the spooler's data of one installed printer.
#pragma once

#include <windows.h>

#include "corvixdm/cacheprovider.h"
#include "corvixdm/datamapspec.h"
#include "corvixdm/disposableptr.h"
#include "datamodel/caches/cachedvalues.h"
#include "datamodel/collection/valuestore.h"
#include "utilslib/disposable.h"

namespace Corvix {

class PrintDataCacheProvider final : public ICacheProvider, public KyUtils::IDisposableImpl {
public:
    /// Loads what the printer has. \param printer stays the caller's, open for as long as the provider lives.
    static DisposablePtr<PrintDataCacheProvider> Create(HANDLE printer);

    bool HasPrinter() const { return printer_ != INVALID_HANDLE_VALUE; }
    /// Puts what is fresh and in the map into the store.
    /// \return S_FALSE when there is neither an item nor a value.
    HRESULT FillDataMapSpec(const DataMapSpec* spec, ValueStore& target) const;

    HRESULT GetDataValue(const wchar_t* name, VARIANT* value) override;
    HRESULT SetDataValue(const wchar_t* name, const VARIANT& value, unsigned long long timeStamp) override;
    HRESULT SetDataValues(const CachedValueMap* values) override;

private:
    explicit PrintDataCacheProvider(HANDLE printer);
    void InitializeDictionary();
    void RegistryWrite(const std::wstring& name, const VARIANT& value, unsigned long long timeStamp) const;

    HANDLE printer_;
    CachedValues values_;
};

}  // namespace Corvix
