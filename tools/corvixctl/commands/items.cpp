// items: what a data map document offers.
#include "commands/commands.h"
#include "maps/mapfile.h"
#include "output/format.h"

namespace CorvixCtl {
namespace {

Cell LifespanOf(const MapItem& item) {
    if (item.isConstant || item.isParameters || item.isTransient || item.lifespan == 0) return {};
    return Seconds{item.lifespan / 10.0};
}

// Why there is no lifespan in seconds, for those who read the table.
Cell KeptText(const MapItem& item) {
    if (item.isParameters) return {};
    if (item.isTransient) return std::wstring(L"never");
    const Cell lifespan = LifespanOf(item);
    return IsEmpty(lifespan) ? Cell(std::wstring(L"for ever")) : lifespan;
}

std::wstring ProtocolOf(const MapInfo& map) { return map.protocol.empty() ? L"unknown" : map.protocol; }

std::wstring ToTables(const MapFile& file) {
    std::wstring text;
    for (const MapInfo& map : file.Maps()) {
        Records records{{{L"name"}, {L"kind"}, {L"kept"}, {L"source"}}, {}};
        for (const MapItem& item : map.items)
            records.rows.push_back({item.name, std::wstring(item.kind), KeptText(item), item.source});
        if (!text.empty()) text += L"\n";
        text += L"Map " + ProtocolOf(map) + L", " + std::to_wstring(map.items.size()) + L" items\n" +
                ToTable(records);
    }
    return text;
}

Records ItemRecords(const MapInfo& map) {
    Records records{{{L"name"}, {L"kind"}, {L"source"}, {L"lifespan"}, {L"transient"}}, {}};
    for (const MapItem& item : map.items) {
        records.rows.push_back(
            {item.name, std::wstring(item.kind), item.source, LifespanOf(item), item.isTransient});
    }
    return records;
}

JsonObject ToDocument(const MapFile& file) {
    std::vector<std::wstring> maps;
    for (const MapInfo& map : file.Maps()) {
        JsonObject listed;
        listed.Add(L"protocol", map.protocol).AddJson(L"items", ToJsonArray(ItemRecords(map)));
        maps.push_back(listed.Text());
    }
    return JsonDocument().Add(L"map", file.Path()).AddJson(L"maps", ToJsonArray(maps));
}

std::wstring ToCsv(const MapFile& file) {
    // CSV has no room for maps within a document: each row names its own.
    Records all{{{L"protocol"}, {L"name"}, {L"kind"}, {L"source"}, {L"lifespan"}, {L"transient"}}, {}};
    for (const MapInfo& map : file.Maps()) {
        for (auto& row : ItemRecords(map).rows) {
            row.insert(row.begin(), map.protocol);
            all.rows.push_back(std::move(row));
        }
    }
    return CorvixCtl::ToCsv(all);
}

ExitCode RunItems(const Arguments& arguments) {
    const Format format = ReadFormat(arguments);
    const MapFile file = MapFile::Load(arguments.Operands().front());
    PrintAs(format,
            {[&] { return ToTables(file); }, [&] { return ToDocument(file); }, [&] { return ToCsv(file); }});
    return ExitCode::Done;
}

}  // namespace

const Command& ItemsCommand() {
    static const Command command = {
        L"items",
        L"MAP",
        L"list the maps and items of a data map document",
        L"Lists each map of the document with its items: the name to ask for, the element that defines it,\n"
        L"how long a value is kept, and where it comes from. Needs no device.",
        L"corvixctl items maps/plsxml.xml\n"
        L"corvixctl items maps/printer-mib.xml --format csv",
        {&formatOptions},
        1,
        1,
        RunItems,
    };
    return command;
}

}  // namespace CorvixCtl
