/// The attributes that the engine knows by name.
#pragma once

#include <array>
#include <string_view>

namespace Corvix::Ipp {

enum class ValueKind : unsigned char { Text, Integer, Boolean, Range, Resolution, DateTime };

struct AttributeRow {
    std::string_view name;
    unsigned char tag;
    ValueKind kind;
};

/// A constant table in a fixed order. Some rows are odd ("sides" is typed integer, "copies-supported" a
/// range, "job-media-sheet" lacks its final s); printers have been asked with these tags, so they stay.
extern const std::array<AttributeRow, 110> attributeTable;

/// The row of this exact name, the first one when there are several; null when there is none.
const AttributeRow* FindAttribute(std::string_view name);

/// The value tag of an attribute; an unknown name counts as a keyword.
unsigned char GetTypeOfAttribute(std::string_view name);

}  // namespace Corvix::Ipp
