#include "datamodel/collection/valuestore.h"

#include <utility>

#include "utilslib/clock.h"

namespace Corvix {

void ValueStore::Put(std::wstring_view name, StoredValue value) {
    const auto found = values_.find(name);
    if (found != values_.end()) {
        found->second = std::move(value);
    } else {
        values_.emplace(name, std::move(value));
    }
}

const StoredValue* ValueStore::FindFresh(std::wstring_view name) const {
    const auto found = values_.find(name);
    if (found == values_.end()) return nullptr;
    const StoredValue& stored = found->second;
    return KyUtils::IsExpired(stored.timeStamp, stored.lifespan) ? nullptr : &stored;
}

void ValueStore::Remove(std::wstring_view name) {
    const auto found = values_.find(name);
    if (found != values_.end()) values_.erase(found);
}

CachedValueMap ValueStore::View() const {
    CachedValueMap view;
    for (const auto& [name, stored] : values_) {
        view.emplace_hint(view.end(), name,
                          CachedValue{stored.value.Get(), stored.timeStamp, stored.lifespan});
    }
    return view;
}

}  // namespace Corvix
