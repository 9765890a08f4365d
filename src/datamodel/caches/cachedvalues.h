/// Values as the caches keep them: each with a companion that holds its time stamp.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "corvixdm/datamapspec.h"
#include "datamodel/collection/valuestore.h"
#include "utilslib/com.h"

namespace Corvix {

/// When a value was obtained, if that can be told.
using TimeStamp = std::optional<std::uint64_t>;
using StampedVisitor =
    std::function<void(const std::wstring& name, const KyUtils::Variant& value, const TimeStamp& timeStamp)>;

/// The name under which a value's time stamp is kept. The name is historical: the stamp tells when the value
/// was obtained, and how long it is good for is the data map's to say.
std::wstring ExpiresName(std::wstring_view name);
/// The text of a time stamp.
std::wstring FormatTimeStamp(std::uint64_t timeStamp);
/// Nothing unless the text is a decimal number of 64 bits and nothing else.
TimeStamp ParseTimeStamp(std::wstring_view text);

/// What was read from a cache: values and companions alike, each under its own name.
class CachedValues {
public:
    /// Replaces an older value of that name.
    void Put(std::wstring name, KyUtils::Variant value);
    void Clear() { values_.clear(); }

    /// Calls `visit` for every value that has a companion, in name order, with the time stamp that the companion holds.
    void ForEachStamped(const StampedVisitor& visit) const;
    /// Copies the value of exactly this name. \return S_FALSE, with `value` as it was, when there is none.
    HRESULT Get(const wchar_t* name, VARIANT* value) const;
    /// Puts every value that has a companion, an item in the map and an age within the item's lifespan into
    /// the store. \return S_FALSE when there is neither an item nor a value.
    HRESULT FillDataMapSpec(const DataMapSpec* spec, ValueStore& target) const;

private:
    std::map<std::wstring, KyUtils::Variant, std::less<>> values_;
};

}  // namespace Corvix
