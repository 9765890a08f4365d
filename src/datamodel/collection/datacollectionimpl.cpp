#include "datamodel/collection/datacollectionimpl.h"

#include <new>
#include <utility>

#include "utilslib/clock.h"
#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

std::wstring StaticItemKey(const StaticDataItemSpec& item) {
    const wchar_t* name = item.GetName();
    if (!name || !*name) return {};
    const wchar_t* prefix = item.GetPrefix();
    return prefix ? std::wstring(prefix) + L":" + name : std::wstring(name);
}

}  // namespace

ICacheProvider::~ICacheProvider() = default;
DataCollection::~DataCollection() = default;

DataCollectionImpl::DataCollectionImpl(DisposablePtr<DataMapSpec> map)
    : apartment_(logSource), map_(std::move(map)) {}

DataCollectionImpl::~DataCollectionImpl() {
    if (!cache_) return;
    // A destructor must not throw; values that cannot be written are read from the device next time.
    try {
        WriteBack();
    } catch (const std::bad_alloc&) {
        logSource.Error(L"Out of memory: the values of this collection are not kept");
    } catch (const _com_error& error) {
        logSource.ErrorResult(error.Error(), L"The values of this collection are not kept");
    }
}

void DataCollectionImpl::WriteBack() const {
    const CachedValueMap values = store_.View();
    cache_->SetDataValues(&values);
}

void DataCollectionImpl::SetCacheProvider(ICacheProvider* cache) {
    cache_ = DisposablePtr<ICacheProvider>::Share(cache);
}

HRESULT DataCollectionImpl::GetValue(const wchar_t* name, VARIANT* value) {
    const KyUtils::LogScope scope(logSource, "Corvix::DataCollectionImpl::GetValue");
    if (!name || !value) return E_FAIL;
    const StoredValue* stored = store_.FindFresh(name);
    if (!stored) return E_FAIL;
    *value = KyUtils::Variant::Copy(stored->value.Get()).Release();
    lastAnswer_ = {stored->source, {}, stored->timeStamp, stored->lifespan};
    return S_OK;
}

HRESULT DataCollectionImpl::GetValueOrigin(ValueOrigin* origin) const {
    if (!origin) return E_FAIL;
    if (lastAnswer_.source == ValueSource::None) return S_FALSE;
    *origin = {lastAnswer_.source, KyUtils::Variant::Copy(lastAnswer_.raw.Get()).Release(),
               lastAnswer_.timeStamp, lastAnswer_.lifespan};
    return S_OK;
}

HRESULT DataCollectionImpl::StoreValue(const wchar_t* name, const VARIANT& value, unsigned lifespan) {
    const KyUtils::LogScope scope(logSource, "Corvix::DataCollectionImpl::StoreValue");
    if (!name) return E_FAIL;
    KyUtils::Variant copy;
    const HRESULT copied = KyUtils::CopyVariant(copy.Receive(), value);
    if (FAILED(copied)) return copied;
    return Put(name, std::move(copy), lifespan, ValueSource::Store);
}

HRESULT DataCollectionImpl::Put(std::wstring_view name, KyUtils::Variant value, std::uint32_t lifespan,
                                ValueSource source) {
    StoredValue stored{std::move(value), 0, lifespan, source};
    // What never expires needs no clock, and is stored even where that fails.
    if (lifespan != 0) {
        const auto now = KyUtils::CurrentFileTime();
        if (!now) return E_FAIL;
        stored.timeStamp = *now;
    }
    store_.Put(name, std::move(stored));
    return S_OK;
}

HRESULT DataCollectionImpl::LoadStaticItems(DataMapSpec* map) {
    const KyUtils::LogScope scope(logSource, "Corvix::DataCollectionImpl::LoadStaticItems");
    if (!map || map->SizeOf() == 0) return E_FAIL;
    // Taken out of the map as they go, so that the device is never asked for a constant.
    map->Begin();
    while (CvxDataItem* item = map->GetNextDataItemSpec()) {
        const auto* constant = dynamic_cast<const StaticDataItemSpec*>(item);
        if (!constant) continue;
        MoveStaticItem(*constant);
        map->RemoveFromMap();
    }
    return S_OK;
}

void DataCollectionImpl::MoveStaticItem(const StaticDataItemSpec& item) {
    const std::wstring key = StaticItemKey(item);
    const wchar_t* text = item.GetStaticDataItemValue();
    if (key.empty() || !text || !*text) return;
    Put(key, KyUtils::Variant::FromText(text), 0, ValueSource::Static);
}

KyUtils::Variant DataCollectionImpl::ConvertAndStore(const DataItemSpec& item, std::wstring_view key,
                                                     const KyUtils::Variant& raw) {
    KyUtils::Variant converted = KyUtils::Variant::Adopt(item.ConvertValue(raw.Get()));
    if (!item.IsTransient() && !key.empty()) {
        Put(key, KyUtils::Variant::Copy(converted.Get()), item.GetLifespan(), ValueSource::Store);
    }
    return converted;
}

HRESULT DataCollectionImpl::Answer(const DataItemSpec& item, std::wstring_view key, KyUtils::Variant raw,
                                   VARIANT* value) {
    KyUtils::Variant converted = ConvertAndStore(item, key, raw);
    NoteDeviceAnswer(std::move(raw), item.GetLifespan());
    *value = converted.Release();
    return S_OK;
}

void DataCollectionImpl::NoteDeviceAnswer(KyUtils::Variant raw, std::uint32_t lifespan) {
    const std::uint64_t now = KyUtils::CurrentFileTime().value_or(0);
    lastAnswer_ = {ValueSource::Device, std::move(raw), now, lifespan};
}

}  // namespace Corvix
