/// The values that a collection knows, with their age.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "corvixdm/cacheprovider.h"
#include "corvixdm/datacollection.h"
#include "utilslib/com.h"

namespace Corvix {

/// One known value.
struct StoredValue {
    KyUtils::Variant value;
    std::uint64_t timeStamp = 0;  ///< FILETIME of when it was obtained, 0 when it never expires
    std::uint32_t lifespan = 0;   ///< in tenths of a second, 0 for ever
    ValueSource source = ValueSource::Store;
};

/// Values by name; owns them. One thread at a time.
class ValueStore {
public:
    ValueStore() = default;
    ValueStore(const ValueStore&) = delete;
    ValueStore& operator=(const ValueStore&) = delete;

    /// Replaces an older value of that name.
    void Put(std::wstring_view name, StoredValue value);
    /// The entry of exactly this name while it is fresh, or null. A stale entry stays.
    const StoredValue* FindFresh(std::wstring_view name) const;
    /// All entries as cache providers take them; valid while the store is unchanged.
    CachedValueMap View() const;
    void Remove(std::wstring_view name);
    size_t Count() const { return values_.size(); }

private:
    std::map<std::wstring, StoredValue, std::less<>> values_;
    // What follows the value put last. The elements of a sequence come in the order of their names, so most
    // values belong right before it and need not be searched for.
    std::map<std::wstring, StoredValue, std::less<>>::iterator successor_ = values_.end();
};

}  // namespace Corvix
