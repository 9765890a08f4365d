#include "datamodel/ipp/ippattributecache.h"

#include <algorithm>

#include "utilslib/com.h"
#include "utilslib/stringutils.h"

namespace Corvix {

HRESULT CopyAttributeText(const Ipp::Message& response, std::string_view name, VARIANT* value) {
    const auto text = response.ValueText(name);
    if (!text) return S_FALSE;
    KyUtils::Variant copy = KyUtils::Variant::FromText(KyUtils::ToWide(*text));
    VariantClear(value);
    *value = copy.Release();
    return S_OK;
}

bool IPPAttributeCache::HoldsAllNamesOf(const Ipp::Message& response) const {
    for (const std::string_view name : response.Names()) {
        const auto holds = [&](const auto& merged) { return merged->Contains(name); };
        if (std::none_of(responses_.begin(), responses_.end(), holds)) return false;
    }
    return true;
}

void IPPAttributeCache::Merge(std::shared_ptr<const Ipp::Message> response) {
    // What adds nothing is let go, so that the cache grows with the attributes and not with the exchanges.
    if (response && !HoldsAllNamesOf(*response)) responses_.push_back(std::move(response));
}

HRESULT IPPAttributeCache::GetValue(std::string_view name, VARIANT* value) const {
    for (const auto& response : responses_) {
        if (CopyAttributeText(*response, name, value) == S_OK) return S_OK;
    }
    return S_FALSE;
}

}  // namespace Corvix
