/// The names that callers ask for.
#pragma once

#include <string_view>

namespace Corvix {

/// "Prefix:Item" in its parts; a missing prefix is empty.
struct ItemName {
    std::wstring_view prefix;  ///< before the first ":"
    std::wstring_view item;    ///< what follows it, the whole text without one
};

inline ItemName SplitItemName(std::wstring_view name) {
    const size_t colon = name.find(L':');
    if (colon == std::wstring_view::npos) return {{}, name};
    return {name.substr(0, colon), name.substr(colon + 1)};
}

}  // namespace Corvix
