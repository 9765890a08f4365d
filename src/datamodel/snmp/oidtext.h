/// Object identifiers as dotted decimal texts: their order, and what lies below what.
#pragma once

#include <string_view>

namespace Corvix {

/// Compares arc by arc, as SNMP orders objects: negative, 0 or positive. Arcs may have any number of digits.
int CompareOids(std::wstring_view left, std::wstring_view right);

/// Whether the object lies below the root; the root itself does not.
bool IsBelowOid(std::wstring_view root, std::wstring_view oid);

/// The identifier without its last arc; empty when it has one arc only.
std::wstring_view ParentOid(std::wstring_view oid);

}  // namespace Corvix
