// cache: what earlier runs left in the registry.
#include "base/console.h"
#include "base/systemtext.h"
#include "commands/commands.h"
#include "corvixdm/cacheprovider.h"
#include "maps/cachekey.h"
#include "maps/reading.h"
#include "output/format.h"

namespace CorvixCtl {
namespace {

const OptionGroup keyOptions = {
    L"Cache",
    {{L"key", L"KEY", L"the registry key of the cache, below HKEY_LOCAL_MACHINE"}},
};

// Nothing for a value that never grows old.
Cell AgeOf(unsigned long long timeStamp) {
    if (timeStamp == 0) return {};
    return Seconds{SecondsSince(timeStamp)};
}

void RequireSuccess(const std::wstring& key, HRESULT result) {
    if (FAILED(result)) throw Failure(ExitCode::Incomplete, DescribeCacheFailure(key, result));
}

ExitCode List(const std::wstring& key, Format format) {
    Records records{{{L"device"}, {L"protocol"}, {L"name"}, {L"value"}, {L"age"}}, {}};
    const auto add = [](const Corvix::RegCacheEntry* entry, void* context) {
        static_cast<Records*>(context)->rows.push_back(
            {entry->device, entry->protocol, entry->name, ToCell(entry->value), AgeOf(entry->timeStamp)});
    };
    RequireSuccess(key, ListRegCache(key.c_str(), add, &records));
    PrintAs(format, FormsOf(records, JsonDocument().Add(L"key", key), L"values"));
    return ExitCode::Done;
}

ExitCode Clear(const std::wstring& key) {
    // Values that are not the cache's stay: the key may hold more.
    unsigned removed = 0;
    RequireSuccess(key, ClearRegCache(key.c_str(), &removed));
    Complain(std::to_wstring(removed) + L" values removed");
    return ExitCode::Done;
}

ExitCode RunCache(const Arguments& arguments) {
    const Format format = ReadFormat(arguments);
    const std::wstring key =
        ReadCacheKey(L"key", arguments.Require(L"key", L"the registry key of the cache"));
    const std::wstring& action = arguments.Operands().front();
    if (action == L"list") return List(key, format);
    if (action == L"clear") return Clear(key);
    throw UsageError(L"cache " + action + L": expected list or clear");
}

}  // namespace

const Command& CacheCommand() {
    static const Command command = {
        L"cache",
        L"list|clear --key KEY",
        L"list or remove what get --cache keeps in the registry",
        L"Lists the values that get --cache KEY left, by device and protocol, or removes them. Removed are "
        L"only\n"
        L"values that carry a time stamp of the cache; what else stands below the key stays.",
        L"corvixctl cache list --key Software\\Example\\Cache\n"
        L"corvixctl cache clear --key Software\\Example\\Cache",
        {&keyOptions, &formatOptions},
        1,
        1,
        RunCache,
    };
    return command;
}

}  // namespace CorvixCtl
