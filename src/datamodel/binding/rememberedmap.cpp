#include "datamodel/binding/rememberedmap.h"

#include <optional>
#include <string>
#include <utility>

#include "utilslib/logging.h"

namespace Corvix {
namespace {

const KyUtils::LogSource logSource(L"CorvixDM");

/// What a device was asked: which of the document's protocols it speaks first. Part of the record's name, because
/// another document may bind another protocol.
std::wstring QuestionOf(const DataMapSpecCollection& maps) {
    std::wstring question;
    for (unsigned i = 0; i < maps.GetCount(); ++i)
        (question += i ? L"," : L"") += maps.GetDataMapSpec(i)->GetProtocolType();
    return question;
}

DataMapSpec* FindMap(const DataMapSpecCollection& maps, const std::wstring& protocol) {
    for (unsigned i = 0; i < maps.GetCount(); ++i) {
        if (maps.GetDataMapSpec(i)->GetProtocolType() == protocol) return maps.GetDataMapSpec(i);
    }
    return nullptr;
}

/// Called when the device is asked after all. If another one took over the address, forget the record.
IdentityCheck CheckOf(RegCacheProvider& cache, std::wstring question, KnownDevice known) {
    return [cache = DisposablePtr<RegCacheProvider>::Share(&cache), question = std::move(question),
            known = std::move(known)](const std::wstring& identity) {
        const bool same = identity == known.identity;
        if (same) {
            cache->Memory()->Remember(question, known);
        } else {
            logSource.Warning(L"The device that was remembered is not there");
            cache->Memory()->Forget(question);
        }
        return same;
    };
}

}  // namespace

BoundMap BindFromMemory(Address& address, const DataMapSpecCollection& maps, RegCacheProvider& cache) {
    std::wstring question = QuestionOf(maps);
    const std::optional<KnownDevice> known = cache.Memory()->Recall(question);
    if (!known) return {};
    DataMapSpec* map = FindMap(maps, known->protocol);
    const DeferredMapBinder bind = map ? BindersOf(map->GetDataMapType()).defer : nullptr;
    if (!bind) return {};
    return {bind(address, *map, CheckOf(cache, std::move(question), *known)), known->identity};
}

void Remember(const BoundMap& bound, const DataMapSpecCollection& maps, const RegCacheProvider& cache) {
    if (bound.identity.empty()) return;
    cache.Memory()->Remember(QuestionOf(maps), {bound.mapper->Map()->GetProtocolType(), bound.identity});
}

}  // namespace Corvix
