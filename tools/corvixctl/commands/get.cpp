// get: the values of a device.
#include <algorithm>
#include <functional>

#include "base/console.h"
#include "commands/commands.h"
#include "maps/cachekey.h"
#include "maps/mapfile.h"
#include "maps/reading.h"
#include "maps/target.h"
#include "output/format.h"

namespace CorvixCtl {
namespace {

using Corvix::DataCollection;
using Corvix::DataMapTypeEnum;
using Corvix::DisposablePtr;
using Corvix::ICacheProvider;
using Corvix::ValueSource;

const OptionGroup mapOptions = {
    L"Data map",
    {
        {L"map", L"FILE", L"the data map document"},
        {L"explain", nullptr,
         L"also tell where each value came from, its age, and what it was before conversion"},
        {L"cache", L"KEY", L"keep values in the registry, below HKEY_LOCAL_MACHINE, for later runs"},
    },
};

struct SourceName {
    ValueSource source;
    const wchar_t* name;
};
constexpr SourceName sourceNames[] = {
    {ValueSource::Static, L"static"},
    {ValueSource::Store, L"store"},
    {ValueSource::Cache, L"cache"},
    {ValueSource::Device, L"device"},
};

Cell SourceCell(ValueSource source) {
    for (const SourceName& known : sourceNames) {
        if (known.source == source) return std::wstring(known.name);
    }
    return {};
}

// ---- the cache

// How long an address is taken to lead to the device that it led to, in tenths of a second.
constexpr unsigned deviceLifespan = 10 * 60 * 10;

// The same host has other devices behind other ports. It may have others behind another community, too: a secret
// that is not written down, so such a device is asked each time who it is.
std::wstring WayTo(const Device& device, const Arguments& arguments) {
    if (arguments.Find(L"community")) return {};
    const auto ports = arguments.Find(L"port-map");
    return ports ? device.host + L" " + *ports : device.host;
}

// The cache that the user asked for; null without one.
DisposablePtr<ICacheProvider> OpenCache(const Device& device, const Arguments& arguments) {
    const std::optional<std::wstring> option = arguments.Find(L"cache");
    if (!option) return {};
    const std::wstring key = ReadCacheKey(L"cache", *option);
    // Not fatal: values can be read without being kept.
    const HRESULT access = CheckRegCacheAccess(key.c_str());
    if (FAILED(access)) Complain(L"values are not kept: " + DescribeCacheFailure(key, access));
    return DisposablePtr<ICacheProvider>(
        CreateRegCacheProviderForDevice(key.c_str(), WayTo(device, arguments).c_str(), deviceLifespan));
}

// ---- output

struct Answer {
    DataMapTypeEnum type;
    std::vector<Reading> readings;
};

struct Explanation {
    bool wanted;
    bool cached;  // what is left of a lifespan only a cache's user asks
};

// For programs: every column is always there.
Records ToRecords(const std::vector<Reading>& readings, Explanation explanation) {
    Records records{{{L"name"}, {L"value"}, {L"error"}}, {}};
    if (explanation.wanted) records.columns.insert(records.columns.end(), {{L"source"}, {L"raw"}, {L"age"}});
    if (explanation.wanted && explanation.cached) records.columns.push_back({L"left"});
    for (const Reading& reading : readings) {
        std::vector<Cell> row = {reading.name, reading.value, reading.error, SourceCell(reading.source),
                                 reading.raw,  reading.age,   reading.left};
        row.resize(records.columns.size());
        records.rows.push_back(std::move(row));
    }
    return records;
}

// For readers: what says nothing stays away, and what may be long stands last.
Records ToReadableRecords(const std::vector<Reading>& readings, Explanation explanation) {
    Records records{{{L"name"},
                     {L"value"},
                     {L"source"},
                     {L"age", true},
                     {L"left", true},
                     {L"raw", true},
                     {L"error", true}},
                    {}};
    for (const Reading& reading : readings) {
        const Cell raw = ToJson(reading.raw) == ToJson(reading.value) ? Cell() : reading.raw;
        records.rows.push_back({reading.name, reading.value, SourceCell(reading.source), reading.age,
                                explanation.cached ? reading.left : Cell(), raw, reading.error});
    }
    if (explanation.wanted) return records;
    constexpr size_t firstExplained = 2;
    constexpr size_t lastExplained = 6;
    const auto erase = [](auto& list) {
        list.erase(list.begin() + firstExplained, list.begin() + lastExplained);
    };
    erase(records.columns);
    for (auto& row : records.rows)
        erase(row);
    return records;
}

Forms FormsOf(const Answer& answer, const Device& device, Explanation explanation) {
    const auto records = [&answer, explanation] { return ToRecords(answer.readings, explanation); };
    return {[&answer, explanation] { return ToTable(ToReadableRecords(answer.readings, explanation)); },
            [&, records] {
                return JsonDocument()
                    .Add(L"device", device.host)
                    .Add(L"protocol", std::wstring(ProtocolName(answer.type)))
                    .AddJson(L"items", ToJsonArray(records()));
            },
            [records] { return ToCsv(records()); }};
}

// ---- the command

bool IsAnswered(const Reading& reading) { return IsEmpty(reading.error); }

// A constant says nothing about the device.
bool IsLearned(const Reading& reading) {
    return IsAnswered(reading) && reading.source != ValueSource::Static;
}

bool IsOutOfReach(const Device& device) {
    return device.journal->Unreachable() && !device.journal->HasAnswered();
}

// Nothing when the device that an earlier run remembered is not there.
std::optional<std::vector<Reading>> ReadItems(DataCollection& collection, const MapInfo& map,
                                              const Device& device, const std::vector<std::wstring>& names) {
    ItemReader reader(collection, map, device);
    for (const std::wstring& name : names) {
        // An item that is asked for twice is read twice: "--explain" then shows that the second value was stored.
        reader.Read(name);
        if (reader.WasMisled()) return std::nullopt;
        // Each further item would only wait for the same silence again.
        if (IsOutOfReach(device)) break;
    }
    const auto& readings = reader.Readings();
    if (IsOutOfReach(device) && std::none_of(readings.begin(), readings.end(), IsLearned))
        FailAsUnreachable(device, DescribeConnection(*device.journal->Unreachable()));
    return readings;
}

const MapInfo& BoundMap(const MapFile& file, const DataCollection& collection) {
    const MapInfo* map = file.FindMap(MapTypeOf(collection.GetDataMapName()));
    if (map) return *map;
    throw Failure(ExitCode::BadMap, L"map " + file.Path() + L": bound to " + collection.GetDataMapName() +
                                        L", which it does not hold");
}

std::optional<Answer> Ask(const Target& target, ICacheProvider* cache,
                          const std::vector<std::wstring>& names) {
    const MapFile file = target.LoadMap();
    const DisposablePtr<DataCollection> collection = target.Bind(file, cache);
    const MapInfo& map = BoundMap(file, *collection);
    auto readings = ReadItems(*collection, map, target.GetDevice(), names.empty() ? NamesOf(map) : names);
    if (!readings) return std::nullopt;
    return Answer{map.type, std::move(*readings)};
}

ExitCode RunGet(const Arguments& arguments) {
    const Format format = ReadFormat(arguments);
    const Target target = Target::Open(arguments, arguments.Require(L"map", L"the data map to use"));
    const Device& device = target.GetDevice();
    const DisposablePtr<ICacheProvider> cache = OpenCache(device, arguments);
    std::optional<Answer> answer = Ask(target, cache.Get(), arguments.Operands());
    // What was remembered turned out wrong and is forgotten: now the device is asked who it is.
    if (!answer) answer = Ask(target, cache.Get(), arguments.Operands());
    if (!answer) FailAsUnreachable(device, L"its identity changes all the time");
    const std::vector<Reading>& readings = answer->readings;
    const Explanation explanation = {arguments.Has(L"explain"), cache.Get() != nullptr};
    PrintAs(format, FormsOf(*answer, device, explanation));
    const auto failed = std::count_if(readings.begin(), readings.end(), std::not_fn(IsAnswered));
    if (failed == 0) return ExitCode::Done;
    Complain(std::to_wstring(failed) + L" of " + std::to_wstring(readings.size()) + L" items failed");
    return ExitCode::Incomplete;
}

}  // namespace

const Command& GetCommand() {
    static const Command command = {
        L"get",
        L"{--device HOST | --uri URI} --map FILE [OPTION...] [ITEM...]",
        L"read items of a device",
        L"Reads the items named, or all items of the map, and prints their values. Of several maps in the\n"
        L"document the first that fits the device is used. A walk or a table is printed element by element.\n"
        L"With a URI the document's IPP map is read from that printer.",
        L"corvixctl get --device 192.0.2.7 --map maps/plsxml.xml\n"
        L"corvixctl get --device printer.example --map maps/plsxml.xml --format json Model State\n"
        L"corvixctl get --device 127.0.0.2 --port-map 80=18080 --map maps/plsxml.xml --explain\n"
        L"corvixctl get --device 192.0.2.7 --map maps/plsxml.xml --cache Software\\Example\\Cache\n"
        L"corvixctl get --uri ipps://printer.example/ipp/print --insecure --map maps/ipp-everywhere.xml",
        {&mapOptions, &deviceOptions, &printerOptions, &snmpOptions, &formatOptions},
        0,
        anyNumber,
        RunGet,
    };
    return command;
}

}  // namespace CorvixCtl
