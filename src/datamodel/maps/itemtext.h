/// Optional texts of data items, as they are taken in and handed out.
#pragma once

#include <optional>
#include <string>

namespace Corvix {

/// A copy of the text; null stays null, which is not the same as empty.
inline std::optional<std::wstring> CopyText(const wchar_t* text) {
    return text ? std::make_optional<std::wstring>(text) : std::nullopt;
}

/// The object's own text, null when it has none.
inline const wchar_t* TextOrNull(const std::optional<std::wstring>& text) {
    return text ? text->c_str() : nullptr;
}

}  // namespace Corvix
