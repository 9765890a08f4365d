/// What the collections of all protocols share: the store, its write-back, and the way of a raw value into
/// it.
#pragma once

#include <string>
#include <string_view>

#include "corvixdm/datacollection.h"
#include "corvixdm/disposableptr.h"
#include "datamodel/collection/valuestore.h"
#include "utilslib/com.h"
#include "utilslib/disposable.h"

namespace Corvix {

/// The base of the data mappers. A mapper overrides GetValue(), asks this class first and the device only
/// when the store has no fresh value.
class DataCollectionImpl : public DataCollection, public KyUtils::IDisposableImpl {
public:
    /// Answers from the store alone. E_FAIL when the name is not there or its value is stale.
    HRESULT GetValue(const wchar_t* name, VARIANT* value) override;
    HRESULT GetValueOrigin(ValueOrigin* origin) const override;
    HRESULT LoadStaticItems(DataMapSpec* map) override;
    HRESULT StoreValue(const wchar_t* name, const VARIANT& value, unsigned lifespan) override;

    /// The cache that takes the store when the collection ends; the collection shares it from now on.
    void SetCacheProvider(ICacheProvider* cache);
    /// The store, for whoever fills it from a cache.
    ValueStore& Store() { return store_; }
    DataMapSpec* Map() const { return map_.Get(); }

protected:
    explicit DataCollectionImpl(DisposablePtr<DataMapSpec> map);
    ~DataCollectionImpl() override;

    /// Converts a raw value by the item's rules and, unless the item is transient, stores it under `key` (an
    /// empty key stores nothing).
    /// \return the converted value.
    /// \throws _com_error when a value cannot be copied or memory runs out.
    KyUtils::Variant ConvertAndStore(const DataItemSpec& item, std::wstring_view key,
                                     const KyUtils::Variant& raw);
    /// ConvertAndStore() for the value that was asked for: hands it to the caller and notes its origin.
    HRESULT Answer(const DataItemSpec& item, std::wstring_view key, KyUtils::Variant raw, VARIANT* value);
    /// Notes the origin of a value that the mapper hands to the caller itself.
    void NoteDeviceAnswer(KyUtils::Variant raw, std::uint32_t lifespan);

private:
    struct LastAnswer {
        ValueSource source = ValueSource::None;
        KyUtils::Variant raw;
        std::uint64_t timeStamp = 0;
        std::uint32_t lifespan = 0;
    };

    HRESULT Put(std::wstring_view name, KyUtils::Variant value, std::uint32_t lifespan, ValueSource source);
    void MoveStaticItem(const StaticDataItemSpec& item);
    void WriteBack() const;

    // Entered before and left after everything below, which may hold COM objects of this thread.
    KyUtils::ComApartment apartment_;
    DisposablePtr<ICacheProvider> cache_;
    ValueStore store_;
    DisposablePtr<DataMapSpec> map_;
    LastAnswer lastAnswer_;
};

}  // namespace Corvix
