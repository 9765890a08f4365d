#include "commands/supplies.h"

#include <cwchar>
#include <map>
#include <utility>

namespace CorvixCtl {
namespace {

using List = std::vector<std::wstring>;

// Levels and capacities of the Printer MIB that are no amounts.
constexpr long someLeft = -3;

constexpr const wchar_t* unknownLevel = L"unknown";

bool ToNumber(const std::wstring& text, long& number) {
    wchar_t* end = nullptr;
    number = std::wcstol(text.c_str(), &end, 10);
    return !text.empty() && *end == L'\0';
}

std::wstring LevelText(const std::wstring& level, long capacity) {
    long amount = 0;
    if (!ToNumber(level, amount)) return unknownLevel;
    if (amount == someLeft) return L"some";
    if (amount < 0 || capacity <= 0) return unknownLevel;
    return std::to_wstring(static_cast<long long>(amount) * 100 / capacity) + L" %";
}

using Pairs = std::map<std::wstring, std::wstring>;

// "type,toner,level,82,,type,ink,level,50": names and values, one supply after the other. A name that comes
// again begins the next one; the empty piece between two is there only when a device ends each as it should.
std::vector<Pairs> EntriesOf(const std::wstring& text) {
    std::vector<Pairs> entries;
    for (const std::wstring& part : SplitList(text, L",,")) {
        const List pieces = SplitList(part, L",");
        entries.emplace_back();
        for (size_t i = 0; i + 1 < pieces.size(); i += 2) {
            if (entries.back().count(pieces[i])) entries.emplace_back();
            entries.back()[pieces[i]] = pieces[i + 1];
        }
    }
    return entries;
}

Supply ReadEntry(Pairs pairs) {
    long capacity = 0;
    ToNumber(pairs[L"maxcapacity"], capacity);
    Supply supply;
    supply.type = pairs[L"type"];
    supply.name = pairs[L"colorantname"].empty() ? supply.type : pairs[L"colorantname"];
    supply.level = LevelText(pairs[L"level"], capacity);
    return supply;
}

std::vector<Supply> FromSupplyEntries(const SupplyTexts& texts) {
    std::vector<Supply> supplies;
    for (Pairs& entry : EntriesOf(texts.supply)) {
        if (!entry.empty()) supplies.push_back(ReadEntry(std::move(entry)));
    }
    // A description that holds a comma would shift all that follow.
    const List descriptions = SplitList(texts.descriptions, L",");
    for (size_t i = 0; descriptions.size() == supplies.size() && i < supplies.size(); ++i)
        supplies[i].name = descriptions[i];
    return supplies;
}

std::vector<Supply> FromMarkers(const SupplyTexts& texts) {
    constexpr long percent = 100;
    const List names = SplitList(texts.names, L",");
    const List types = SplitList(texts.types, L",");
    std::vector<Supply> supplies;
    for (const std::wstring& level : SplitList(texts.levels, L",")) {
        const size_t i = supplies.size();
        supplies.push_back({L"supply " + std::to_wstring(i + 1), L"", LevelText(level, percent)});
    }
    for (size_t i = 0; i < supplies.size(); ++i) {
        if (names.size() == supplies.size()) supplies[i].name = names[i];
        if (types.size() == supplies.size()) supplies[i].type = types[i];
    }
    return supplies;
}

}  // namespace

std::vector<Supply> ReadSupplies(const SupplyTexts& texts) {
    return texts.supply.empty() ? FromMarkers(texts) : FromSupplyEntries(texts);
}

std::vector<std::wstring> SplitList(std::wstring_view text, std::wstring_view separator) {
    std::vector<std::wstring> pieces;
    while (!text.empty()) {
        const size_t end = text.find(separator);
        pieces.emplace_back(text.substr(0, end));
        text.remove_prefix(end == std::wstring_view::npos ? text.size() : end + separator.size());
    }
    return pieces;
}

}  // namespace CorvixCtl
