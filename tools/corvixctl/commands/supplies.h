// What is left in a printer, out of the attributes in which printers tell it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace CorvixCtl {

struct Supply {
    std::wstring name;
    std::wstring type;
    std::wstring level;  // "82 %", "unknown"
};

// The attributes as the library answers them, empty where the printer has none.
struct SupplyTexts {
    std::wstring supply;  // printer-supply
    std::wstring descriptions;
    std::wstring names;  // marker-names
    std::wstring types;
    std::wstring levels;
};

// From printer-supply, or else from marker-names and its companions.
std::vector<Supply> ReadSupplies(const SupplyTexts& texts);

// The pieces between the separators; an empty text has none.
std::vector<std::wstring> SplitList(std::wstring_view text, std::wstring_view separator);

}  // namespace CorvixCtl
