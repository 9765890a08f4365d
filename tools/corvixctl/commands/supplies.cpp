#include "commands/supplies.h"

#include <algorithm>
#include <cwchar>
#include <map>
#include <string_view>
#include <utility>

#include "device/ippanswers.h"

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
    // Capacities may count tenths of a gram: the product needs more than 32 bits.
    return std::to_wstring(static_cast<long long>(amount) * 100 / capacity) + L" %";
}

using Pairs = std::map<std::wstring, std::wstring, std::less<>>;

// "type=toner;level=82;": names and values.
Pairs ReadPairs(std::wstring_view entry) {
    Pairs pairs;
    while (!entry.empty()) {
        const std::wstring_view piece = entry.substr(0, entry.find(L';'));
        entry.remove_prefix(std::min(piece.size() + 1, entry.size()));
        const size_t equals = piece.find(L'=');
        if (equals != std::wstring_view::npos)
            pairs.emplace(piece.substr(0, equals), piece.substr(equals + 1));
    }
    return pairs;
}

Supply ReadEntry(Pairs pairs, const std::wstring& description) {
    long capacity = 0;
    ToNumber(pairs[L"maxcapacity"], capacity);
    Supply supply;
    supply.type = pairs[L"type"];
    supply.name = pairs[L"colorantname"].empty() ? supply.type : pairs[L"colorantname"];
    if (!description.empty()) supply.name = description;
    supply.level = LevelText(pairs[L"level"], capacity);
    return supply;
}

// What one attribute says of the i-th supply: nothing where it does not speak of as many.
std::wstring At(const List& list, size_t i, const List& other) {
    return list.size() == other.size() ? list[i] : std::wstring();
}

std::vector<Supply> FromEntries(const List& entries, const List& descriptions) {
    std::vector<Supply> supplies;
    for (size_t i = 0; i < entries.size(); ++i) {
        Pairs pairs = ReadPairs(entries[i]);
        if (!pairs.empty()) supplies.push_back(ReadEntry(std::move(pairs), At(descriptions, i, entries)));
    }
    return supplies;
}

// CUPS and older printers: levels are per cent already.
std::vector<Supply> FromMarkers(const Corvix::IPPAttributes& answer) {
    constexpr long percent = 100;
    const List names = TextsOf(answer, "marker-names");
    const List types = TextsOf(answer, "marker-types");
    const List levels = TextsOf(answer, "marker-levels");
    std::vector<Supply> supplies;
    for (size_t i = 0; i < levels.size(); ++i) {
        const std::wstring name = At(names, i, levels);
        supplies.push_back({name.empty() ? L"supply " + std::to_wstring(i + 1) : name, At(types, i, levels),
                            LevelText(levels[i], percent)});
    }
    return supplies;
}

}  // namespace

std::vector<Supply> ReadSupplies(const Corvix::IPPAttributes& answer) {
    const List entries = TextsOf(answer, "printer-supply");
    return entries.empty() ? FromMarkers(answer)
                           : FromEntries(entries, TextsOf(answer, "printer-supply-description"));
}

}  // namespace CorvixCtl
