#include "datamodel/caches/cachedvalues.h"

#include <limits>
#include <utility>

#include "datamodel/collection/itemname.h"
#include "utilslib/clock.h"

namespace Corvix {
namespace {

constexpr std::wstring_view expiresSuffix = L".Expires";

bool IsExpiresName(std::wstring_view name) {
    return name.size() >= expiresSuffix.size() &&
           name.substr(name.size() - expiresSuffix.size()) == expiresSuffix;
}

const DataItemSpec* FindItem(const DataMapSpec& map, std::wstring_view name) {
    return dynamic_cast<const DataItemSpec*>(map.GetDataItemSpec(std::wstring(name).c_str()));
}

bool HasElements(const DataItemSpec* item) {
    return dynamic_cast<const NextOIDDataItemSpec*>(item) || dynamic_cast<const OIDGetDataItemsSpec*>(item);
}

/// The item that a kept value is of: "Tray:InputTray.003" is an element of the item "InputTray".
const DataItemSpec* ItemOf(const DataMapSpec& map, std::wstring_view name) {
    if (const DataItemSpec* item = FindItem(map, name)) return item;
    const std::wstring_view bare = SplitItemName(name).item;
    if (const DataItemSpec* item = FindItem(map, bare)) return item;
    const size_t dot = bare.find(L'.');
    if (dot == std::wstring_view::npos) return nullptr;
    const DataItemSpec* item = FindItem(map, bare.substr(0, dot));
    return HasElements(item) ? item : nullptr;
}

}  // namespace

std::wstring ExpiresName(std::wstring_view name) {
    std::wstring companion;
    companion.reserve(name.size() + expiresSuffix.size());
    return companion.append(name).append(expiresSuffix);
}

std::wstring FormatTimeStamp(std::uint64_t timeStamp) { return std::to_wstring(timeStamp); }

TimeStamp ParseTimeStamp(std::wstring_view text) {
    constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
    if (text.empty()) return std::nullopt;
    std::uint64_t number = 0;
    for (const wchar_t c : text) {
        if (c < L'0' || c > L'9') return std::nullopt;
        const auto digit = static_cast<std::uint64_t>(c - L'0');
        // A number that overflows is as malformed as a letter.
        if (number > (largest - digit) / 10) return std::nullopt;
        number = number * 10 + digit;
    }
    return number;
}

void CachedValues::Put(std::wstring name, KyUtils::Variant value) {
    values_.insert_or_assign(std::move(name), std::move(value));
}

HRESULT CachedValues::Get(const wchar_t* name, VARIANT* value) const {
    if (!name || !value) return S_FALSE;
    const auto found = values_.find(std::wstring_view(name));
    if (found == values_.end()) return S_FALSE;
    *value = KyUtils::Variant::Copy(found->second.Get()).Release();
    return S_OK;
}

void CachedValues::ForEachStamped(const StampedVisitor& visit) const {
    for (const auto& [name, value] : values_) {
        // A value without a companion was not written by a cache, or not completely.
        if (IsExpiresName(name)) continue;
        const auto companion = values_.find(ExpiresName(name));
        if (companion != values_.end()) visit(name, value, ParseTimeStamp(companion->second.Text()));
    }
}

HRESULT CachedValues::FillDataMapSpec(const DataMapSpec* spec, ValueStore& target) const {
    if (!spec || (spec->SizeOf() == 0 && values_.empty())) return S_FALSE;
    ForEachStamped([&](const std::wstring& name, const KyUtils::Variant& value, const TimeStamp& timeStamp) {
        const DataItemSpec* item = ItemOf(*spec, name);
        if (!timeStamp || !item || KyUtils::IsExpired(*timeStamp, item->GetLifespan())) return;
        target.Put(
            name, {KyUtils::Variant::Copy(value.Get()), *timeStamp, item->GetLifespan(), ValueSource::Cache});
    });
    return S_OK;
}

}  // namespace Corvix
