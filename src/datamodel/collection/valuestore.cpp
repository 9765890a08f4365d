#include "datamodel/collection/valuestore.h"

#include <iterator>
#include <utility>

#include "utilslib/clock.h"

namespace Corvix {

void ValueStore::Put(std::wstring_view name, StoredValue value) {
    // The hint makes storing a sequence in order linear.
    const auto at = values_.try_emplace(successor_, std::wstring(name));
    at->second = std::move(value);
    successor_ = std::next(at);
}

const StoredValue* ValueStore::FindFresh(std::wstring_view name) const {
    const auto found = values_.find(name);
    if (found == values_.end()) return nullptr;
    const StoredValue& stored = found->second;
    return KyUtils::IsExpired(stored.timeStamp, stored.lifespan) ? nullptr : &stored;
}

void ValueStore::Remove(std::wstring_view name) {
    const auto found = values_.find(name);
    if (found == values_.end()) return;
    // The hint must not be left pointing to the erased entry.
    if (found == successor_) ++successor_;
    values_.erase(found);
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
